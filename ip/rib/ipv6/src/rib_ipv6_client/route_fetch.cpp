/*
 * Exported functions: listing routes.
 */
#include "ip/rib/lib/src/rib_lib_api/route_fetch.h"

errcode ipv6_rib_get_routes(ipv6_rib_conn_p conn, uint32_t table, const char *proto_name, const char *instance_name,
                            in6_addr_t start, uint32_t start_len, in6_addr_t end, uint32_t end_len, uint32_t *fetch_flag,
                            uint32_t *route_count, uint32_t options, void **routes)
{
    return rib_client_get_routes(conn, table, proto_name, instance_name, start, start_len, end, end_len, fetch_flag, route_count,
                                 options, routes);
}

errcode ipv6_rib_get_route_get_first_route(void *routes, rib_get_route_iter *iter, ipv6_routetype **route)
{
    return rib_client_first_route(routes, iter, route);
}

errcode ipv6_rib_get_route_get_next_route(rib_get_route_iter *iter, ipv6_routetype **route)
{
    return rib_client_following_route(iter, route);
}
