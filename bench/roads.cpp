/*
 * Every road of a client to its server, end to end over the real channel, beside the least that can be done in its place. The
 * server is a process of its own, as it is in earnest.
 */
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "bench_client.h"
#include "roads/report.h"
#include "roads/roads.h"

namespace
{
struct road_group {
    const char *name;
    void (*measure)(bench_run &run);
    bool usual; /* without being asked for */
};

constexpr road_group groups[] = {
    {"download", download_roads, true}, {"lookup", lookup_roads, true},    {"listing", listing_roads, true},
    {"dump", dump_roads, true},         {"churn", churn_roads, true},      {"withdraw", withdraw_roads, true},
    {"memory", memory_roads, true},     {"netlink", netlink_roads, false}, {"large", large_roads, false},
};

struct command_line {
    run_options options;
    std::vector<std::string> only;
    bool with_netlink = false, large = false;
    std::string json;

    bool wants(const road_group &group) const
    {
        const std::string name = group.name;
        if ((name == "netlink" && with_netlink) || (name == "large" && large))
            return true;
        return only.empty() ? group.usual : std::find(only.begin(), only.end(), name) != only.end();
    }
};

std::string ribd_beside_itself()
{
    return std::filesystem::read_symlink("/proc/self/exe").replace_filename("ribd");
}

void add_options(CLI::App &app, command_line *line)
{
    std::vector<std::string> names;
    for (const road_group &group : groups)
        names.emplace_back(group.name);
    run_options &options = line->options;
    options.ribd = ribd_beside_itself();
    app.add_option("--ribd", options.ribd, "server to measure")->check(CLI::ExistingFile)->capture_default_str();
    app.add_option("--routes", options.routes, "size of the table")->check(CLI::Range(10'000, 16'000'000))->capture_default_str();
    app.add_option("--rounds", options.rounds, "rounds that count")->check(CLI::Range(1, 1000))->capture_default_str();
    app.add_option("--only", line->only, "these roads alone")->check(CLI::IsMember(names));
    app.add_flag("--with-netlink", line->with_netlink, "the kernel's interface for routes as well");
    app.add_option("--netlink-routes", options.netlink_routes, "routes for that")
        ->check(CLI::Range(1000, 16'000'000))
        ->capture_default_str();
    app.add_flag("--large", line->large, "a table of ten million routes as well; takes 3 GiB and minutes");
    app.add_option("--json", line->json, "file for the figures");
}

void measure(const command_line &line)
{
    bench_run_dir(); // before any process that is to share it
    print_heading(line.options);
    bench_run run(line.options, print_result);
    for (const road_group &group : groups)
        if (line.wants(group))
            group.measure(run);
    if (!line.json.empty())
        write_json(line.json, line.options, run.results());
}
} // namespace

int main(int argc, char **argv)
try {
    CLI::App app("Measures the roads of the client library", "roads");
    command_line line;
    add_options(app, &line);
    CLI11_PARSE(app, argc, argv);
    measure(line);
    return EXIT_SUCCESS;
} catch (const std::exception &error) {
    std::fprintf(stderr, "roads: %s\n", error.what());
    return EXIT_FAILURE;
}
