/*
 * A table that is a hundred times as large.
 */
#include "roads.h"

#include <fmt/format.h>

#include "served_client.h"

namespace
{
constexpr unsigned few_rounds = 3;

void take(bench_run &run, const char *order, std::vector<uint32_t> (*routes)(uint32_t count))
{
    const std::vector<uint32_t> large = routes(run.options.large_routes), small = routes(run.options.small_routes);
    run.take({.name = fmt::format("download, {} {}", large.size(), order),
              .unit = "ns/route",
              .measure = [&] { return load_fresh(run.options, large); },
              .bound_name = fmt::format("{} routes", small.size()),
              .bound = [&] { return load_fresh(run.options, small); },
              .goal = 1.5,
              .routes = run.options.large_routes,
              .most_rounds = few_rounds});
}
} // namespace

void large_roads(bench_run &run)
{
    take(run, "rising", rising_routes);
    take(run, "shuffled", shuffled_routes);
}
