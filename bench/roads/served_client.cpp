/*
 * Servers with a client, and orders of routes.
 */
#include "served_client.h"

#include <algorithm>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string>

served_client::served_client(const run_options &options, cores which)
    : seat_(which), server_(server_cpu(which), program({options.ribd, "--dir", bench_run_dir()}))
{
    seat_.settle();
}

served_client::served_client(const run_options &options, cores which, std::span<const uint32_t> routes)
    : served_client(options, which)
{
    client.announce_all(routes);
    expect_prefixes(routes.size());
}

void served_client::expect_prefixes(size_t count) const
{
    if (const uint32_t there = client.prefixes(); there != count)
        throw std::runtime_error("the server has " + std::to_string(there) + " prefixes instead of " + std::to_string(count));
}

sample load_fresh(const run_options &options, std::span<const uint32_t> routes)
{
    served_client fresh(options, cores::two);
    const sample taken = time_each(routes.size(), [&] { fresh.client.announce_all(routes); });
    fresh.expect_prefixes(routes.size());
    return taken;
}

std::vector<uint32_t> rising_routes(uint32_t count)
{
    std::vector<uint32_t> routes(count);
    std::iota(routes.begin(), routes.end(), 0u);
    return routes;
}

std::vector<uint32_t> shuffled_routes(uint32_t count)
{
    std::vector<uint32_t> routes = rising_routes(count);
    std::shuffle(routes.begin(), routes.end(), std::mt19937(1));
    return routes;
}
