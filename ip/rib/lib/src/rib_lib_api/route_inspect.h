/*
 * Looking into routes and paths.
 */
#pragma once

#include <ipv6_rib/route_inspect.h>

#include "ip/rib/wire/route_record.h"

int rib_client_route_path_compare(const ip_rib_path *path1, const ip_rib_path *path2);
bool rib_client_route_advertised_by(const rib_routetype *route, const uint8_t *mask);
bool rib_client_route_advertised_by(const rib_routetype *route, rib_protoid_td protoid);
void rib_client_route_advertisers(const rib_routetype *route, uint8_t *mask);
