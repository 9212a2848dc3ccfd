/*
 * Roads and their rounds. A road is measured beside its bound, in turns, so that what the machine does besides hits both.
 */
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct run_options {
    std::string ribd;
    uint32_t routes = 1'000'000;
    unsigned rounds = 7;
    uint32_t netlink_routes = 200'000;
    uint32_t large_routes = 10'000'000, small_routes = 100'000;
};

/* What one round gives: the figure, and the 99th percentile of what it is the median of, 0 when there is none. */
struct sample {
    double figure;
    double p99 = 0;
};

struct road {
    std::string name, unit;
    std::function<sample()> measure;
    std::string bound_name = "";
    std::function<sample()> bound = nullptr; /* none: the goal is for the figure itself */
    double goal = 0;                         /* most that figure / bound should be; 0 for none */
    uint32_t routes = 0;                     /* in its table; 0 for as many as the options say */
    unsigned most_rounds = UINT32_MAX;
};

/* Medians of all rounds. */
struct road_result {
    std::string name, unit, bound_name;
    sample measured, bound;
    double ratio = 0, goal = 0;
    unsigned rounds = 0;

    bool has_bound() const { return !bound_name.empty(); }
    /* What the goal is about. */
    double judged() const { return has_bound() ? ratio : measured.figure; }
    bool missed() const { return goal > 0 && judged() > goal; }
};

class bench_run
{
public:
    using on_result_td = std::function<void(const road_result &)>;

    bench_run(run_options options, on_result_td on_result);
    const run_options options;

    /* A round that does not count, and then the others. */
    void take(const road &what);
    const std::vector<road_result> &results() const { return results_; }

private:
    on_result_td on_result_;
    std::vector<road_result> results_;
};
