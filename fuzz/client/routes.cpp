/*
 * Routes with their paths and attributes: lookups and listings, converted when they arrive or later.
 */
#include <cstdlib>

#include "fuzz/client/operations.h"

static ipv6_routetype found;

static void convert_and_visit(ipv6_routetype *route)
{
    ipv6_rib_route_xform(route);
    visit(route);
}

static void look_up(ipv6_rib_conn_p conn)
{
    errcode err;
    if (ipv6_rib_route_lookup(conn, FUZZ_TABLE, &FUZZ_ADDRESS, 128, 0, 0, &found, &err))
        visit(&found);
}

static void look_up_unconverted(ipv6_rib_conn_p conn)
{
    errcode err;
    if (ipv6_rib_route_lookup_internal(conn, FUZZ_TABLE, &FUZZ_ADDRESS, 128, 0, 0, &found, &err))
        convert_and_visit(&found);
    if (ipv6_rib_route_lookup_longer_internal(conn, FUZZ_TABLE, &FUZZ_ADDRESS, 0, 0, &found, &err))
        convert_and_visit(&found);
    if (ipv6_rib_route_lookup_longer_range_internal(conn, FUZZ_TABLE, &FUZZ_ADDRESS, 0, 128, &found, &err))
        convert_and_visit(&found);
}

static void list(ipv6_rib_conn_p conn)
{
    uint32_t flag = 0, count = 0, walked = 0;
    void *routes;
    if (ipv6_rib_get_routes(conn, FUZZ_TABLE, "", "", FUZZ_ADDRESS, 0, FUZZ_ADDRESS, 0, &flag, &count, 0, &routes))
        return;
    rib_get_route_iter iter;
    ipv6_routetype *route;
    for (errcode code = ipv6_rib_get_route_get_first_route(routes, &iter, &route); code == 0 && route;
         code = ipv6_rib_get_route_get_next_route(&iter, &route), ++walked)
        convert_and_visit(route);
    if (walked != count)
        std::abort();
    ipv6_rib_route_free(routes);
}

static const client_operation operations[] = {look_up, look_up_unconverted, list};
const client_operations route_operations = operations;
