/*
 * Routes into an empty server, in full batches, every result looked at.
 */
#include "roads.h"

#include <future>

#include "bare_process.h"
#include "served_client.h"

namespace
{
using route_list = std::span<const uint32_t>;

/* Each has half of the routes and a connection of its own. */
sample two_producers(const run_options &options, route_list routes)
{
    served_client fresh(options, cores::two);
    further_client second(cores::two, "2");
    const size_t half = routes.size() / 2;
    const sample taken = time_each(routes.size(), [&] {
        auto other = std::async(std::launch::async, [&] { second.client.announce_all(routes.subspan(half)); });
        fresh.client.announce_all(routes.first(half));
        other.get();
    });
    fresh.expect_prefixes(routes.size());
    return taken;
}

sample bare_producer(const std::vector<exchange> &exchanges, route_list routes)
{
    bare_process fresh(cores::two);
    return time_each(routes.size(), [&] { fresh.replay_and_store(exchanges, routes); });
}

std::vector<exchange> exchanges_of(const run_options &options, route_list routes)
{
    served_client fresh(options, cores::two);
    return note_exchanges([&] { fresh.client.announce_all(routes); });
}
} // namespace

void download_roads(bench_run &run)
{
    const run_options &options = run.options;
    const struct {
        const char *name;
        std::vector<uint32_t> routes;
    } orders[] = {{"rising", rising_routes(options.routes)}, {"shuffled", shuffled_routes(options.routes)}};
    const std::vector<exchange> exchanges = exchanges_of(options, orders[0].routes);
    for (const auto &[name, routes] : orders) {
        const auto one = [&options, list = route_list(routes)] { return load_fresh(options, list); };
        run.take({.name = std::string("download, ") + name,
                  .unit = "ns/route",
                  .measure = one,
                  .bound_name = "bare channel, routes into a hash table",
                  .bound = [&, list = route_list(routes)] { return bare_producer(exchanges, list); },
                  .goal = 1.5});
        run.take({.name = std::string("download, ") + name + ", two producers",
                  .unit = "ns/route",
                  .measure = [&, list = route_list(routes)] { return two_producers(options, list); },
                  .bound_name = "one producer",
                  .bound = one,
                  .goal = 1.0});
    }
}
