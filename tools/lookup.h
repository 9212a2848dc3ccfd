/*
 * One route from the server. The record is this thread's and is overwritten by the next lookup; NULL when there is no route.
 * A lookup that itself fails, fails the command. Attributes of the paths are given where they are asked for.
 */
#pragma once

#include "address.h"

#include "path_attributes.h"

#include <ipv6_rib/route.h>

const ipv6_routetype *look_up(ipv6_rib_conn_p conn, rib_tableid_td table, const ip_prefix &what, uint32_t flags,
                              paths_attributes *attributes = nullptr);
/* The first more specific route within a prefix. */
const ipv6_routetype *look_up_longer(ipv6_rib_conn_p conn, rib_tableid_td table, const ip_prefix &what,
                                     paths_attributes *attributes = nullptr);

ip_prefix prefix_of(const ipv6_routetype &route);
/* The next hop of a path, :: when there is no such path. */
in6_addr nexthop_of(const ipv6_routetype &route, size_t path);
