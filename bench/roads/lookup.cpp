/*
 * One longest-match lookup after the other in a full table.
 */
#include "roads.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <sys/socket.h>
#include <system_error>

#include "bare_process.h"
#include "served_client.h"

namespace
{
constexpr size_t lookups = 20'000;

/* Latencies of work for each of so many numbers. */
template <class work_t> sample latencies(size_t count, work_t work)
{
    std::vector<double> taken;
    taken.reserve(count);
    for (size_t i = 0; i < count; i++) {
        const stopwatch watch;
        work(i);
        taken.push_back(watch.ns());
    }
    std::sort(taken.begin(), taken.end());
    return {taken[count / 2], taken[count * 99 / 100]};
}

void look_up(ipv6_rib_conn_p conn, uint32_t number)
{
    static ipv6_routetype route;
    errcode err;
    const in6_addr_t prefix = bench_prefix(number);
    if (!ipv6_rib_route_lookup(conn, IPV6_RIB_TABLE_DEFAULT, &prefix, 128, RIB_LOOKUP_LONGEST, 0, &route, &err))
        throw std::runtime_error("a route was not found");
}

void must(ssize_t bytes, size_t expected)
{
    if (bytes != static_cast<ssize_t>(expected))
        throw std::system_error(bytes < 0 ? errno : EIO, std::generic_category(), "the blocking socket");
}

void receive(int socket, std::vector<char> *area)
{
    must(recv(socket, area->data(), area->size(), MSG_WAITALL), area->size());
}

/* A process that answers over a socket, both ends sleeping until something is there. */
class blocking_peer
{
public:
    blocking_peer(cores which, const exchange &sizes)
        : seat_(which), peer_(server_cpu(which), [sizes](int link) { answer(link, sizes); }), sent_(sizes.sent),
          answered_(sizes.answered)
    {
        seat_.settle();
    }
    void round_trip()
    {
        must(send(peer_.link(), sent_.data(), sent_.size(), MSG_NOSIGNAL), sent_.size());
        receive(peer_.link(), &answered_);
    }

private:
    static void answer(int link, const exchange &sizes)
    {
        std::vector<char> sent(sizes.sent), answered(sizes.answered);
        for (tell_ready(link);;) {
            receive(link, &sent);
            must(send(link, answered.data(), answered.size(), MSG_NOSIGNAL), answered.size());
        }
    }

    client_seat seat_;
    child_process peer_;
    std::vector<char> sent_, answered_;
};

/* A full table, and what one lookup moves. */
struct filled_table {
    std::vector<uint32_t> routes;
    served_client filled;
    exchange sizes;

    filled_table(const run_options &options, cores which)
        : routes(shuffled_routes(options.routes)), filled(options, which, routes),
          sizes(note_exchanges([this] { look_up(filled.client.conn, 0); }).at(0))
    {
    }
    sample measure() const
    {
        return latencies(lookups, [this](size_t i) { look_up(filled.client.conn, routes[i % routes.size()]); });
    }
};
} // namespace

void lookup_roads(bench_run &run)
{
    {
        const filled_table table(run.options, cores::one);
        bare_process bare(cores::one);
        run.take({.name = "lookup, one core",
                  .unit = "ns",
                  .measure = [&] { return table.measure(); },
                  .bound_name = "bare channel",
                  .bound = [&] { return latencies(lookups, [&](size_t) { bare.send(table.sizes); }); },
                  .goal = 1.10});
    }
    if (cpu_count() == 1)
        return;
    const filled_table table(run.options, cores::two);
    blocking_peer peer(cores::two, table.sizes);
    run.take({.name = "lookup, two cores",
              .unit = "ns",
              .measure = [&] { return table.measure(); },
              .bound_name = "blocking socket",
              .bound = [&] { return latencies(lookups, [&](size_t) { peer.round_trip(); }); },
              .goal = 0.6});
}
