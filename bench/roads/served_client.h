/*
 * A client of a ribd that runs for it alone, and what the roads do with them.
 */
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "bench/bench_client.h"
#include "child_process.h"
#include "machine.h"
#include "run.h"
#include "stopwatch.h"

/* An empty server and a client, where they belong. */
class served_client
{
    client_seat seat_;
    child_process server_;

public:
    bench_client client;

    served_client(const run_options &options, cores which);
    /* With these routes in it. */
    served_client(const run_options &options, cores which, std::span<const uint32_t> routes);
    pid_t server_pid() const { return server_.pid(); }
    /* Throws std::runtime_error when the table does not have so many prefixes. */
    void expect_prefixes(size_t count) const;
};

/* Loads routes into an empty server: the time for each. */
sample load_fresh(const run_options &options, std::span<const uint32_t> routes);

/* A further client of the same server, in the same place. */
class further_client
{
    client_seat seat_;

public:
    bench_client client;

    further_client(cores which, const char *instance) : seat_(which), client(instance) { seat_.settle(); }
};

/* The numbers of a table's routes in an order: 0, 1, 2 ..., or the same shuffled, each time alike. */
std::vector<uint32_t> rising_routes(uint32_t count);
std::vector<uint32_t> shuffled_routes(uint32_t count);
