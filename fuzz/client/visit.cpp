/*
 * Looking at what was handed out, as far as the headers promise that it is there.
 */
#include <algorithm>

#include "fuzz/client/operations.h"

static volatile uint8_t seen;

void look_at(const void *bytes, size_t len)
{
    for (size_t at = 0; at < len; ++at)
        seen = static_cast<const uint8_t *>(bytes)[at];
}

void visit(const ipv6_routetype *route)
{
    uint8_t mask[RIB_PROTOID_MASK_BYTES];
    ipv6_rib_route_copy_advertisement_mask(route, mask);
    ipv6_rib_route_check_advertisement_mask(route, mask);
    ipv6_rib_route_check_advertisement(route, RIB_PROTOID_NONE);
    for (int at = 0; at < std::min<int>(route->rt_path_count, IPV6_RIB_ROUTE_PATHS); ++at) {
        const ip_rib_path path = {.path = route->rt_path[at]};
        ipv6_rib_route_path_compare(&path, &path);
    }
}
