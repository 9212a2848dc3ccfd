/*
 * What a table takes in the server, and what it takes in the client, where that must not depend on the table.
 */
#include "roads.h"

#include <unistd.h>

#include "served_client.h"

namespace
{
constexpr unsigned few_rounds = 3;

sample server_memory(const run_options &options, std::span<const uint32_t> routes)
{
    served_client fresh(options, cores::two);
    const size_t before = resident_bytes(fresh.server_pid());
    fresh.client.announce_all(routes);
    return {static_cast<double>(resident_bytes(fresh.server_pid()) - before) / static_cast<double>(routes.size())};
}

/* The first batch touches all that a client has. */
sample client_memory(const run_options &options, std::span<const uint32_t> routes)
{
    served_client fresh(options, cores::two);
    fresh.client.announce_all(routes.first(std::min(routes.size(), bench_batch_records)));
    const size_t before = resident_bytes(getpid());
    fresh.client.announce_all(routes);
    const size_t after = resident_bytes(getpid());
    return {(static_cast<double>(after) - static_cast<double>(before)) / 1024};
}
} // namespace

void memory_roads(bench_run &run)
{
    const std::vector<uint32_t> routes = rising_routes(run.options.routes);
    run.take({.name = "memory of the server",
              .unit = "bytes/route",
              .measure = [&] { return server_memory(run.options, routes); },
              .goal = 900,
              .most_rounds = few_rounds});
    run.take({.name = "growth of the client",
              .unit = "KiB",
              .measure = [&] { return client_memory(run.options, routes); },
              .goal = 64,
              .most_rounds = few_rounds});
}
