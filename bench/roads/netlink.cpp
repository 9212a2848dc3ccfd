/*
 * Downloading beside the kernel's own interface for the same thing: netlink, many routes in a send.
 */
#include "roads.h"

#include <chrono>
#include <thread>

#include <fmt/format.h>

#include "netlink_peer.h"
#include "served_client.h"

/* The kernel goes on taking a namespace down when its last process has ended. */
static sample load_kernel_alone(const std::vector<uint32_t> &routes)
{
    const sample loaded = load_kernel(routes);
    std::this_thread::sleep_for(std::chrono::seconds(2));
    return loaded;
}

static void take(bench_run &run, const char *order, const std::vector<uint32_t> &routes, double goal)
{
    run.take({.name = fmt::format("download, {} {}, beside netlink", routes.size(), order),
              .unit = "ns/route",
              .measure = [&] { return load_fresh(run.options, routes); },
              .bound_name = "kernel's table over netlink",
              .bound = [&] { return load_kernel_alone(routes); },
              .goal = goal});
}

void netlink_roads(bench_run &run)
try {
    take(run, "rising", rising_routes(run.options.netlink_routes), 1.0 / 5);
    take(run, "shuffled", shuffled_routes(run.options.netlink_routes), 1.0 / 8);
} catch (const netlink_unavailable &reason) {
    fmt::print("netlink: left out: {}\n", reason.what());
}
