/*
 * Listing routes.
 */
#pragma once

#include <ipv6_rib/route_fetch.h>

#include "connection.h"
#include "ip/rib/wire/route_record.h"

errcode rib_client_get_routes(ip_rib_conn_p conn, uint32_t table, const char *proto_name, const char *instance_name,
                              const in6_addr_t &start, uint32_t start_len, const in6_addr_t &end, uint32_t end_len,
                              uint32_t *fetch_flag, uint32_t *route_count, uint32_t options, void **routes);
errcode rib_client_first_route(void *routes, rib_get_route_iter *iter, rib_routetype **route);
errcode rib_client_following_route(rib_get_route_iter *iter, rib_routetype **route);
