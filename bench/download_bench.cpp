/*
 * Downloading routes into a server, beside the bare channel with the same message sizes.
 */
#include "bare_channel.h"
#include "bench_client.h"
#include "ratios.h"
#include "server/embed.h"

namespace
{
constexpr uint32_t table_routes = 1'000'000;

void bare_channel_batch(benchmark::State &state)
{
    bench_bare_channel(state, bench_batch_bytes, bench_batch_bytes, bench_batch_records);
}
BENCHMARK(bare_channel_batch)->UseRealTime();

void download(benchmark::State &state)
{
    rib_embedded_server server({.dir = bench_run_dir()});
    bench_client producer;
    for (auto _ : state)
        if (producer.send_full_batch(table_routes) <= 0 || bench_refused(producer.reply) != 0)
            state.SkipWithError("batch refused");
    state.SetItemsProcessed(static_cast<int64_t>(producer.number));
}
BENCHMARK(download)->UseRealTime();
} // namespace

int main(int argc, char **argv)
{
    return run_benchmarks(argc, argv, {{"download", "bare_channel_batch", "of one full message"}});
}
