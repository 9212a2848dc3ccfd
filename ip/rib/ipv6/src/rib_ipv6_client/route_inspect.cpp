/*
 * Exported functions: looking into routes and paths.
 */
#include "ip/rib/lib/src/rib_lib_api/route_inspect.h"

int ipv6_rib_route_path_compare(const ip_rib_path *path1, const ip_rib_path *path2)
{
    return rib_client_route_path_compare(path1, path2);
}

int ipv6_rib_route_check_advertisement(const ipv6_routetype *route, uint16_t protoid)
{
    return route && rib_client_route_advertised_by(route, protoid);
}

int ipv6_rib_route_check_advertisement_mask(const ipv6_routetype *route, const uint8_t *mask)
{
    return route && mask && rib_client_route_advertised_by(route, mask);
}

void ipv6_rib_route_copy_advertisement_mask(const ipv6_routetype *route, uint8_t *mask)
{
    if (route && mask)
        rib_client_route_advertisers(route, mask);
}
