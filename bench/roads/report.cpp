/*
 * The table and the file.
 */
#include "report.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "machine.h"

namespace
{
/* With the digits that tell. */
std::string number(double value)
{
    return value < 10 ? fmt::format("{:.3g}", value) : fmt::format("{:.0f}", value);
}

std::string goal_text(const road_result &result)
{
    if (result.goal == 0)
        return "";
    return fmt::format("<= {}{}", number(result.goal), result.missed() ? "  MISSED" : "");
}

void print_row(const std::string &name, const std::string &figure, const std::string &p99, const std::string &bound,
               const std::string &ratio, const std::string &goal, const std::string &bound_name)
{
    fmt::print("{:42} {:>18} {:>8} {:>8} {:>7}  {:16} {}\n", name, figure, p99, bound, ratio, goal, bound_name);
    std::fflush(stdout);
}

nlohmann::ordered_json to_json(const road_result &result)
{
    nlohmann::ordered_json json = {{"name", result.name},
                                   {"unit", result.unit},
                                   {"figure", result.measured.figure},
                                   {"rounds", result.rounds},
                                   {"missed", result.missed()}};
    if (result.measured.p99 > 0)
        json["p99"] = result.measured.p99;
    if (result.has_bound())
        json.update({{"bound", result.bound_name}, {"bound_figure", result.bound.figure}, {"ratio", result.ratio}});
    if (result.goal > 0)
        json["goal"] = result.goal;
    return json;
}
} // namespace

void print_heading(const run_options &options)
{
    fmt::print("{}\n{} routes, medians of {} rounds\n", machine_name(), options.routes, options.rounds);
    if (cpu_count() == 1)
        fmt::print("one CPU: client and server share it in every road, and lookups on two are left out\n");
    print_row("\nroad", "figure", "p99", "bound", "ratio", "goal", "bound is");
}

void print_result(const road_result &result)
{
    const sample &measured = result.measured;
    print_row(result.name, number(measured.figure) + " " + result.unit, measured.p99 > 0 ? number(measured.p99) : "",
              result.has_bound() ? number(result.bound.figure) : "",
              result.has_bound() ? fmt::format("{:.2f}", result.ratio) : "", goal_text(result), result.bound_name);
}

void write_json(const std::string &file, const run_options &options, const std::vector<road_result> &results)
{
    nlohmann::ordered_json json = {{"machine", machine_name()},
                                   {"cpus", cpu_count()},
                                   {"routes", options.routes},
                                   {"roads", nlohmann::ordered_json::array()}};
    for (const road_result &result : results)
        json["roads"].push_back(to_json(result));
    std::ofstream out(file);
    out << json.dump(2) << '\n';
    if (!out.flush())
        throw std::runtime_error(file + " cannot be written");
}
