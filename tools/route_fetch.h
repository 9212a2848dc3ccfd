/*
 * Routes of a table in passes, so that a table of any size takes the memory of one pass. Each route is told as it was when its
 * pass was made; the table may change in between.
 */
#pragma once

#include "path_attributes.h"
#include "route_range.h"

#include <ipv6_rib/route_fetch.h>

#include <absl/functional/function_ref.h>

#include <cstdint>
#include <string>

struct route_filter {
    rib_tableid_td table = IPV6_RIB_TABLE_DEFAULT;
    std::string protocol, instance; /* whose routes; both empty for everyone's */
    route_range range;
    bool best_only = false;
    uint32_t in_a_pass = 0; /* most routes of one pass, 0 for as many as fit */
};

/* Tells a route, in host order, and the attributes of its paths; both are gone afterwards. Returns whether to go on. */
using route_teller = absl::FunctionRef<bool(const ipv6_routetype &route, const paths_attributes &attributes)>;

/* Tells the routes in prefix order, those of one prefix in the order of their protocols, and returns how many were told: 0 when
 * nothing matches, or table or protocol is not there. Fails the command when an exchange fails. */
uint64_t for_each_route(ipv6_rib_conn_p conn, const route_filter &filter, route_teller tell);
