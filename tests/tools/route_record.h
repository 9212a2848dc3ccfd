/*
 * Route records as the library hands them over, made by hand.
 */
#pragma once

#include "tools/address.h"

#include <ipv6_rib/route.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

/* Stands in for the server's names of protocols. */
inline std::string named(rib_protoid_td id)
{
    return "p" + std::to_string(id);
}

inline in6_addr addr(const char *text)
{
    in6_addr read;
    EXPECT_EQ(parse_address(text, &read), nullptr);
    return read;
}

inline void add_path(ipv6_routetype *route, const char *nexthop, uint32_t interface, uint8_t state,
                     uint32_t label = RIB_LABEL_NONE)
{
    rib_pathtype &path = route->rt_path[route->rt_path_count++];
    std::memcpy(path.path_nexthop, addr(nexthop).s6_addr, 16);
    path.path_interface = interface;
    path.path_state = state;
    path.path_label = label;
    path.path_metric = 6;
}

/* 2001:db8::/32 without paths. */
inline ipv6_routetype route_record(uint8_t state, rib_protoid_td protoid)
{
    ipv6_routetype route = {.rt_prefix_len = 32, .rt_distance = 20, .rt_state = state, .rt_protoid = protoid, .rt_metric = 5};
    std::memcpy(route.rt_prefix, addr("2001:db8::").s6_addr, 16);
    return route;
}
