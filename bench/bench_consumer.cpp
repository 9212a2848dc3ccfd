/*
 * Registering for a table, and fetching it.
 */
#include "bench_consumer.h"

#include <stdexcept>

bench_consumer::bench_consumer(struct event_manager *manager)
{
    if ((manager ? ipv6_rib_bind_mevm(manager, &conn_) : ipv6_rib_bind(&conn_)) == -1)
        throw std::runtime_error("no server");
}

void bench_consumer::ask()
{
    uint16_t count;
    if (ipv6_rib_redist_batch_init(conn_, RIB_REDIST_ALL) != 0 ||
        ipv6_rib_redist_batch_register(conn_, 1, IPV6_RIB_TABLE_DEFAULT, RIB_REDIST_ALL, 0, 0, &count) != 0 ||
        ipv6_rib_redist_batch_finish(conn_, &count) != 0)
        throw std::runtime_error("no redistribution");
}

void bench_consumer::fetch(rib_route_update_cb on_route, void *context)
{
    if (ipv6_rib_fetch_update(conn_, context, nullptr, RIB_UPDATE_ROUTES, on_route, RIB_UPDATE_END) != 0)
        throw std::runtime_error("a fetch failed");
}

size_t bench_consumer::fetch_dump()
{
    size_t routes = 0;
    ask();
    fetch([](uint32_t, ipv6_routetype *, void *number) { ++*static_cast<size_t *>(number); }, &routes);
    return routes;
}
