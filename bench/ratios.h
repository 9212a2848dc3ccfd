/*
 * Runs the benchmarks of a program and prints, from the same run, how they relate.
 */
#pragma once

#include <initializer_list>
#include <string>

#include <benchmark/benchmark.h>

struct bench_ratio {
    const char *what;
    const char *bound;
    const char *meaning;
};

/* For main(): the exit status. A ratio is printed when both of its benchmarks ran; of repeated ones their medians count. */
int run_benchmarks(int argc, char **argv, std::initializer_list<bench_ratio> ratios);
