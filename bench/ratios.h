/*
 * Runs the benchmarks of a program and prints, from the same run, how they relate.
 */
#pragma once

#include <initializer_list>
#include <string>

#include <benchmark/benchmark.h>

enum class bench_per { run, item }; /* what times are compared: of an iteration, or of an item it processed */

struct bench_ratio {
    const char *what;
    const char *bound;
    const char *meaning;
    bench_per per = bench_per::run;
};

/* For main(): the exit status. A ratio is printed when both of its benchmarks ran; of repeated ones their medians count. */
int run_benchmarks(int argc, char **argv, std::initializer_list<bench_ratio> ratios);
