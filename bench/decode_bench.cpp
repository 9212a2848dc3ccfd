/*
 * What the library does with a full reply once it has it, beside moving each of its records and turning a dozen numbers. Only
 * that is timed: each round begins with the reply as it was received.
 */
#include <cstdlib>
#include <cstring>

#include "canned_channel.h"
#include "ratios.h"
#include "roads/told_records.h"

namespace
{
using benchmark_clock = std::chrono::steady_clock;
constexpr uint32_t listed = (524288 - 12) / told_route_bytes, told = (524288 - 12) / (16 + told_route_bytes);
constexpr uint32_t results = 524240 / 616;

void count_time(benchmark::State &state, benchmark_clock::time_point begin)
{
    state.SetIterationTime(std::chrono::duration<double>(benchmark_clock::now() - begin).count());
}

void move_and_swap(benchmark::State &state)
{
    const bytes reply = told_listing(told_route(told_attributes::none), listed);
    bytes area(reply.size());
    for (auto _ : state) {
        std::memcpy(area.data(), reply.data(), reply.size());
        const auto begin = benchmark_clock::now();
        move_and_swap_records(area.data() + 9, area.size() - 9);
        count_time(state, begin);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * listed);
}
BENCHMARK(move_and_swap)->UseManualTime();

/* The walk over a listing, each route converted. */
void decode_listing(benchmark::State &state)
{
    canned_connection();
    canned_answer = told_listing(told_route(told_attributes::none), listed);
    for (auto _ : state) {
        uint32_t flag = 0, count = 0;
        void *routes;
        if (ipv6_rib_get_routes(canned_connection(), IPV6_RIB_TABLE_DEFAULT, "", "", {}, 0, {}, 0, &flag, &count, 0, &routes) !=
            0)
            std::abort();
        const auto begin = benchmark_clock::now();
        rib_get_route_iter iter;
        ipv6_routetype *route;
        for (errcode err = ipv6_rib_get_route_get_first_route(routes, &iter, &route); err == 0;
             err = ipv6_rib_get_route_get_next_route(&iter, &route))
            ipv6_rib_route_xform(route);
        count_time(state, begin);
        ipv6_rib_route_free(routes);
    }
    state.SetItemsProcessed(state.iterations() * listed);
}
BENCHMARK(decode_listing)->UseManualTime();

/* A fetch from when its reply is there: framing, decoding in place, callbacks. */
void decode_updates(benchmark::State &state)
{
    canned_connection();
    canned_answer = told_updates(told_route(told_attributes::none), told);
    const rib_route_update_cb on_route = [](uint32_t, ipv6_routetype *route, void *) { benchmark::DoNotOptimize(route); };
    for (auto _ : state) {
        if (ipv6_rib_fetch_update(canned_connection(), nullptr, nullptr, RIB_UPDATE_ROUTES, on_route, RIB_UPDATE_END) != 0)
            std::abort();
        count_time(state, canned_answer_came);
    }
    state.SetItemsProcessed(state.iterations() * told);
}
BENCHMARK(decode_updates)->UseManualTime();

/* Converting a route that was looked up before. */
void convert_route(benchmark::State &state)
{
    canned_connection();
    canned_answer = bytes(8) + told_route(told_attributes::none) + bytes(8);
    static ipv6_routetype found, route;
    const in6_addr_t addr = {};
    errcode err;
    if (!ipv6_rib_route_lookup_internal(canned_connection(), 1, &addr, 128, RIB_LOOKUP_LONGEST, 0, &found, &err))
        std::abort();
    for (auto _ : state) {
        std::memcpy(&route, &found, told_route_bytes);
        ipv6_rib_route_xform(&route);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(convert_route);

/* One number of each result and of each path, where they are. */
void touch_results(benchmark::State &state)
{
    bytes reply = batch_results(results);
    uint32_t sum = 0;
    for (auto _ : state) {
        for (size_t at = 48; at < reply.size(); at += 616) {
            uint32_t numbers[2];
            std::memcpy(&numbers[0], &reply[at + 328], sizeof(uint32_t));
            std::memcpy(&numbers[1], &reply[at + 336 + 4], sizeof(uint32_t));
            sum += numbers[0] + numbers[1];
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * results);
}
BENCHMARK(touch_results);

/* The walk over the results of a batch. */
void walk_results(benchmark::State &state)
{
    canned_connection();
    canned_answer = batch_results(results);
    void *const reply = ipv6_rib_batch_args_out_allocate();
    rib_batch_buffer *const buffer = ipv6_rib_batch_buffer_allocate(1);
    ipv6_rib_batch_buffer_init(buffer, IPV6_RIB_TABLE_DEFAULT, 1);
    for (auto _ : state) {
        ipv6_rib_batch_buffer_send(canned_connection(), buffer, reply);
        const auto begin = benchmark_clock::now();
        uint32_t paths = 0;
        for (void *at = ipv6_rib_batch_args_out_first_route(reply); at; at = ipv6_rib_batch_args_out_next_route(reply, at))
            for (void *of = ipv6_rib_batch_route_out_first_path(at); of; of = ipv6_rib_batch_route_out_next_path(at, of))
                paths++;
        count_time(state, begin);
        if (paths != results)
            std::abort();
    }
    ipv6_rib_batch_buffer_free(buffer);
    ipv6_rib_batch_args_out_free(reply);
    state.SetItemsProcessed(state.iterations() * results);
}
BENCHMARK(walk_results)->UseManualTime();
} // namespace

int main(int argc, char **argv)
{
    return run_benchmarks(argc, argv,
                          {{"decode_listing", "move_and_swap", "a route", bench_per::item},
                           {"decode_updates", "move_and_swap", "a route", bench_per::item},
                           {"convert_route", "move_and_swap", "a route, its copy included", bench_per::item},
                           {"walk_results", "touch_results", "a route with its path", bench_per::item}});
}
