/*
 * A client that asks for the routes of the default table and fetches them.
 */
#pragma once

#include <cstddef>

#include <ipv6_rib/ipv6_rib.h>

class bench_consumer
{
public:
    /* Bound with an event manager that ipv6_rib_notify() knows, or without one. Throws std::runtime_error. */
    explicit bench_consumer(struct event_manager *manager = nullptr);
    ~bench_consumer() { ipv6_rib_unbind(&conn_); }
    bench_consumer(const bench_consumer &) = delete;
    bench_consumer &operator=(const bench_consumer &) = delete;

    /* Asks for all routes, which begins a dump of the table. */
    void ask();
    /* Fetches what waits, up to its end. */
    void fetch(rib_route_update_cb on_route, void *context);
    /* Asks, and fetches all of it: the number of routes. */
    size_t fetch_dump();

private:
    ipv6_rib_conn_p conn_ = nullptr;
};
