/*
 * The bare channel as a benchmark.
 */
#pragma once

#include <benchmark/benchmark.h>

/* Messages and replies of these sizes over a channel to a server that does nothing; each stands for so many items. */
void bench_bare_channel(benchmark::State &state, size_t sent, size_t answered, size_t items);
