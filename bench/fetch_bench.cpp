/*
 * Fetching the initial dump of a table, every route decoded, beside moving as many bytes over the bare channel, and two
 * fetches at once beside one.
 */
#include <cstdlib>
#include <thread>

#include "bare_channel.h"
#include "bench_client.h"
#include "bench_consumer.h"
#include "ratios.h"
#include "server/embed.h"

namespace
{
constexpr unsigned table_batches = 24; /* about 20,000 routes */
constexpr size_t told_route = 136 + 104 + 8;
constexpr size_t fetch_sent = 280, fetch_answered = 524288;

/* A server with a table. Consumers ask for it anew for each fetch. */
struct filled_server {
    rib_embedded_server server{{.dir = bench_run_dir(), .msg_version = 1}};
    bench_client client;
    filled_server()
    {
        for (unsigned batches = table_batches; batches != 0; --batches)
            if (client.send_full_batch(UINT32_MAX) <= 0)
                std::abort();
    }
};

/* One item is a route, so that rates compare. */
void bare_channel_fetch(benchmark::State &state)
{
    bench_bare_channel(state, fetch_sent, fetch_answered, fetch_answered / told_route);
}
BENCHMARK(bare_channel_fetch)->UseRealTime();

void fetch(benchmark::State &state)
{
    filled_server filled;
    bench_consumer one;
    size_t routes = 0;
    for (auto _ : state)
        routes += one.fetch_dump();
    state.SetItemsProcessed(static_cast<int64_t>(routes));
}
BENCHMARK(fetch)->UseRealTime();

void two_fetches(benchmark::State &state)
{
    filled_server filled;
    bench_consumer first, second;
    size_t routes = 0;
    for (auto _ : state) {
        size_t beside = 0;
        std::thread other([&] { beside = second.fetch_dump(); });
        routes += first.fetch_dump();
        other.join();
        routes += beside;
    }
    state.SetItemsProcessed(static_cast<int64_t>(routes));
}
BENCHMARK(two_fetches)->UseRealTime();
} // namespace

int main(int argc, char **argv)
{
    return run_benchmarks(argc, argv,
                          {{"fetch", "bare_channel_fetch", "a route, with the bytes it takes", bench_per::item},
                           {"two_fetches", "fetch", "a route, two consumers at once beside one", bench_per::item}});
}
