/*
 * The console report, and the ratios behind it.
 */
#include "ratios.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <unistd.h>
#include <utility>
#include <vector>

namespace
{
class collector : public benchmark::ConsoleReporter
{
public:
    collector() : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_ColorTabular : OO_Tabular) {}
    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs)
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                take(run);
        ConsoleReporter::ReportRuns(runs);
    }
    /* Median of a benchmark's times; 0 when it did not run. */
    double time_of(const std::string &name, bench_per per)
    {
        std::vector<double> &times = times_[{name, per}];
        if (times.empty())
            return 0;
        std::nth_element(times.begin(), times.begin() + static_cast<ptrdiff_t>(times.size() / 2), times.end());
        return times[times.size() / 2];
    }

private:
    void take(const Run &run)
    {
        const std::string &name = run.run_name.function_name;
        times_[{name, bench_per::run}].push_back(run.GetAdjustedRealTime());
        const auto rate = run.counters.find("items_per_second");
        if (rate != run.counters.end())
            times_[{name, bench_per::item}].push_back(1 / rate->second);
    }

    std::map<std::pair<std::string, bench_per>, std::vector<double>> times_;
};
} // namespace

int run_benchmarks(int argc, char **argv, std::initializer_list<bench_ratio> ratios)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    collector report;
    benchmark::RunSpecifiedBenchmarks(&report);
    for (const bench_ratio &ratio : ratios) {
        const double what = report.time_of(ratio.what, ratio.per);
        const double bound = report.time_of(ratio.bound, ratio.per);
        if (what > 0 && bound > 0)
            std::printf("%s / %s = %.3g  %s\n", ratio.what, ratio.bound, what / bound, ratio.meaning);
    }
    return 0;
}
