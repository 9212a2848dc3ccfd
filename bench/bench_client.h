/*
 * What the benchmarks against a server share: a run directory, and a client with a batch.
 */
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include <ipv6_rib/ipv6_rib.h>

constexpr size_t bench_record_bytes = 336 + 280; /* one route with one path */
constexpr size_t bench_batch_head = 48;
constexpr size_t bench_batch_records = 524240 / bench_record_bytes;
constexpr size_t bench_batch_bytes = bench_batch_head + bench_batch_records * bench_record_bytes;
constexpr uint8_t bench_prefix_len = 48;

/* The run directory of this process, which goes with it. */
const std::string &bench_run_dir();

/* The number-th of many /48 prefixes, and back. */
in6_addr_t bench_prefix(uint32_t number);
uint32_t bench_number(const uint8_t *prefix);

/* A bound client with a registered protocol and a batch. Throws std::runtime_error when something fails. */
class bench_client
{
public:
    ipv6_rib_conn_p conn = nullptr;
    void *reply = ipv6_rib_batch_args_out_allocate();
    uint32_t number = 0; /* of the next route */

    explicit bench_client(const char *instance = "1");
    ~bench_client();
    bench_client(const bench_client &) = delete;
    bench_client &operator=(const bench_client &) = delete;
    /* Fills a message with the next of so many routes, over and over, and sends it: the status. */
    int send_full_batch(uint32_t routes);

    /* Puts a route with one path, or its withdrawal, into the batch, which is sent first when it is full. */
    void announce(uint32_t route);
    void withdraw(uint32_t route);
    /* Sends what is in the batch, and looks at every result: a refusal is a failure. */
    void flush();
    void announce_all(std::span<const uint32_t> routes);
    void withdraw_all(std::span<const uint32_t> routes);
    /* Prefixes in the table. */
    uint32_t prefixes() const;

private:
    void add_route(uint32_t route);

    rib_batch_buffer *buffer_ = ipv6_rib_batch_buffer_allocate(0);
    const in6_addr_t nexthop_ = bench_prefix(7);
};

/* Results of a reply that are refusals. Every route result and path result is looked at, as a careful client does. */
size_t bench_refused(void *reply);
