/*
 * What a route has besides a prefix and a next hop.
 */
#pragma once

#include "path_attributes.h"

#include <netinet/in.h>

#include <cstdint>
#include <vector>

struct route_path {
    in6_addr nexthop = {};
    uint32_t interface = 0, nexthop_table = 0, metric = 0;
    bool backup = false;
    path_attributes attributes = {};
};

struct route_details {
    uint32_t metric = 0, tag = 0, distance = 0; /* distance 0 for the protocol's */
    std::vector<route_path> paths;              /* at least one */
};

/* Whether the path can be written with one call, which alone gives it a metric. */
bool takes_one_call(const route_path &path);
/* NULL, or why no such route can be sent. */
const char *check_details(const route_details &details);
