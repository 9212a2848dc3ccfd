/*
 * Route lookups.
 */
#pragma once

#include "connection.h"
#include "ip/rib/wire/route_record.h"

/*
 * The exchange behind every lookup: length and flags as they are sent. 1 when a route was found and copied to route, as
 * received; else 0, with *err 0 when there is none.
 */
int rib_client_route_lookup(ip_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t length, uint32_t flags,
                            rib_routetype *route, errcode *err);
