/*
 * Encoding one route with one path (616 bytes), beside copying as many bytes to the same places.
 */
#include <cstring>
#include <vector>

#include <ipv6_rib/ipv6_rib.h>

#include "ratios.h"

static constexpr size_t record_bytes = 336 + 280;
static constexpr size_t records = 524240 / record_bytes;

static in6_addr_t address(uint32_t number)
{
    in6_addr_t addr = {};
    addr.s6_addr[0] = 0x20;
    std::memcpy(&addr.s6_addr[2], &number, sizeof number);
    return addr;
}

/* The bound: libc's copy of a record, and its prefix. The size is hidden so that the compiler calls the library. */
static void copy_616(benchmark::State &state)
{
    std::vector<char> data(records * record_bytes), image(record_bytes, 1);
    size_t size = record_bytes, at = 0;
    uint32_t number = 0;
    benchmark::DoNotOptimize(size);
    for (auto _ : state) {
        const in6_addr_t prefix = address(number++);
        std::memcpy(data.data() + at, image.data(), size);
        std::memcpy(data.data() + at + 48, &prefix, sizeof prefix);
        at = at + 2 * record_bytes > data.size() ? 0 : at + record_bytes;
        benchmark::ClobberMemory();
    }
}
BENCHMARK(copy_616);

/* Writes routes into one buffer, each with the path that add_path writes, and empties it when it is full. */
template <class add_path_t> static void encode(benchmark::State &state, add_path_t add_path)
{
    rib_batch_buffer *buffer = ipv6_rib_batch_buffer_allocate(0);
    ipv6_rib_batch_buffer_init(buffer, IPV6_RIB_TABLE_DEFAULT, 1);
    uint32_t number = 0;
    for (auto _ : state) {
        const in6_addr_t prefix = address(number++);
        if (!ipv6_rib_batch_buffer_route_fits(buffer, 1))
            ipv6_rib_batch_buffer_clear(buffer);
        ipv6_rib_batch_buffer_add_route(buffer, &prefix, 48, 0, 0);
        add_path(buffer);
    }
    ipv6_rib_batch_buffer_free(buffer);
}

static void encode_route_and_path(benchmark::State &state)
{
    const in6_addr_t nexthop = address(7);
    encode(state, [&](rib_batch_buffer *buffer) { ipv6_rib_batch_buffer_add_path(buffer, 0, 0, &nexthop, &nexthop, 0, 0, 0); });
}
BENCHMARK(encode_route_and_path);

static void encode_withdrawal(benchmark::State &state)
{
    const in6_addr_t every = {};
    encode(state, [&](rib_batch_buffer *buffer) { ipv6_rib_batch_buffer_delete_path(buffer, &every, 0, 0); });
}
BENCHMARK(encode_withdrawal);

int main(int argc, char **argv)
{
    return run_benchmarks(
        argc, argv, {{"encode_route_and_path", "copy_616", "of one route"}, {"encode_withdrawal", "copy_616", "of one route"}});
}
