/*
 * The whole table in passes of 512 KiB, every route converted.
 */
#include "roads.h"

#include <cstring>
#include <stdexcept>

#include "bare_process.h"
#include "served_client.h"
#include "told_records.h"

namespace
{
/* Converts the routes of a pass; the last one is where the next pass goes on. */
uint32_t walk(void *routes, in6_addr_t *last, uint32_t *last_len)
{
    uint32_t walked = 0;
    rib_get_route_iter iter;
    ipv6_routetype *route;
    for (errcode err = ipv6_rib_get_route_get_first_route(routes, &iter, &route); err == 0;
         err = ipv6_rib_get_route_get_next_route(&iter, &route)) {
        ipv6_rib_route_xform(route);
        std::memcpy(last, route->rt_prefix, sizeof *last);
        *last_len = route->rt_prefix_len;
        walked++;
    }
    return walked;
}

void list_all(ipv6_rib_conn_p conn, size_t expected)
{
    in6_addr_t start = {};
    uint32_t start_len = 0, flag = RIB_FETCH_FROM_START;
    size_t listed = 0;
    do {
        uint32_t count = 0;
        void *routes;
        if (ipv6_rib_get_routes(conn, IPV6_RIB_TABLE_DEFAULT, "", "", start, start_len, {}, 0, &flag, &count, 0, &routes) != 0)
            throw std::runtime_error("a listing failed");
        listed += walk(routes, &start, &start_len);
        ipv6_rib_route_free(routes);
    } while (flag != RIB_FETCH_FROM_START);
    if (listed != expected)
        throw std::runtime_error("a listing is not complete");
}
} // namespace

void listing_roads(bench_run &run)
{
    const std::vector<uint32_t> routes = rising_routes(run.options.routes);
    served_client filled(run.options, cores::two, routes);
    const auto list = [&] { list_all(filled.client.conn, routes.size()); };
    const std::vector<exchange> exchanges = note_exchanges(list);
    bare_process bare(cores::two);
    run.take({.name = "listing",
              .unit = "ns/route",
              .measure = [&] { return time_each(routes.size(), list); },
              .bound_name = "bare channel, records moved",
              .bound = [&] { return time_each(routes.size(), [&] { bare.replay(exchanges, move_records); }); }});
}
