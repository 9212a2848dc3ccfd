/*
 * What the benchmarks against a server share: a run directory, a client with a batch, and the bare channel.
 */
#pragma once

#include <benchmark/benchmark.h>
#include <string>

#include <ipv6_rib/ipv6_rib.h>

constexpr size_t bench_record_bytes = 336 + 280; /* one route with one path */
constexpr size_t bench_batch_records = 524240 / bench_record_bytes;
constexpr size_t bench_batch_bytes = 48 + bench_batch_records * bench_record_bytes;

/* The run directory of this process, which goes with it. */
const std::string &bench_run_dir();

/* The number-th of many /48 prefixes. */
in6_addr_t bench_prefix(uint32_t number);

/* A bound client with a registered protocol and a batch. Aborts when it cannot bind. */
class bench_client
{
public:
    ipv6_rib_conn_p conn = nullptr;
    void *reply = ipv6_rib_batch_args_out_allocate();
    uint32_t number = 0; /* of the next route */

    bench_client();
    ~bench_client();
    bench_client(const bench_client &) = delete;
    bench_client &operator=(const bench_client &) = delete;
    /* Fills a message with the next of so many routes, over and over, and sends it: the status. */
    int send_full_batch(uint32_t routes);

private:
    rib_batch_buffer *buffer_ = ipv6_rib_batch_buffer_allocate(0);
};

/* Messages and replies of these sizes over a channel to a server that does nothing; each stands for so many items. */
void bench_bare_channel(benchmark::State &state, size_t sent, size_t answered, size_t items);
