/*
 * Rounds and medians.
 */
#include "run.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "machine.h"

namespace
{
/* What a server takes, rather more than less; and as memory comes in no order, much besides. */
constexpr size_t bytes_for_a_route = 256, bytes_besides = size_t{2} << 30;

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

sample median(const std::vector<sample> &samples)
{
    std::vector<double> figures, tails;
    for (const sample &each : samples) {
        figures.push_back(each.figure);
        tails.push_back(each.p99);
    }
    return {median(figures), median(tails)};
}
} // namespace

bench_run::bench_run(run_options wanted, on_result_td on_result) : options(std::move(wanted)), on_result_(std::move(on_result)) {}

/* Of the rounds' ratios: what slows the machine down for a while slows both down. */
static double median_ratio(const std::vector<sample> &measured, const std::vector<sample> &bound)
{
    std::vector<double> ratios;
    for (size_t round = 0; round < bound.size(); round++)
        ratios.push_back(measured[round].figure / bound[round].figure);
    return median(ratios);
}

void bench_run::take(const road &what)
{
    const unsigned rounds = std::min(options.rounds, what.most_rounds);
    std::vector<sample> measured, bound;
    const size_t memory = bytes_besides + bytes_for_a_route * (what.routes ? what.routes : options.routes);
    for (unsigned round = 0; round <= rounds; round++) {
        ready_memory(memory);
        measured.push_back(what.measure());
        if (what.bound) {
            ready_memory(memory);
            bound.push_back(what.bound());
        }
        if (round == 0) {
            measured.clear();
            bound.clear();
        }
    }
    road_result result = {what.name, what.unit, what.bound_name, median(measured), {}, 0, what.goal, rounds};
    if (what.bound) {
        result.bound = median(bound);
        result.ratio = median_ratio(measured, bound);
    }
    results_.push_back(result);
    on_result_(result);
}
