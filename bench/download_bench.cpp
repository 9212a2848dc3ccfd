/*
 * Downloading routes into a server and looking them up, beside the bare channel with the same message sizes.
 */
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include <ipv6_rib/ipv6_rib.h>
#include <platform/msg_chan.h>

#include "bare_server.h"
#include "server/embed.h"

namespace
{
constexpr size_t batch_data = 524240;
constexpr size_t record_bytes = 616;
constexpr size_t batch_records = batch_data / record_bytes;
constexpr size_t batch_bytes = 48 + batch_records * record_bytes;
constexpr uint32_t table_routes = 1'000'000;
constexpr size_t lookup_sent = 24 + 40, lookup_answered = 8 + 136 + 104 + 8;

/* A run directory that goes with the process. */
struct run_dir {
    std::string path = "/tmp/rib_bench_XXXXXX";
    run_dir()
    {
        if (!mkdtemp(path.data()))
            std::abort();
        setenv("MSG_CHAN_DIR", path.c_str(), 1);
    }
    ~run_dir() { std::filesystem::remove_all(path); }
};
run_dir dir;

in6_addr_t prefix_of(uint32_t number)
{
    in6_addr_t addr = {};
    addr.s6_addr[0] = 0x20;
    const uint32_t net = __builtin_bswap32(number);
    std::memcpy(&addr.s6_addr[2], &net, sizeof net);
    return addr;
}

/* A bound client with a registered protocol and a batch. */
struct client {
    ipv6_rib_conn_p conn = nullptr;
    rib_batch_buffer *buffer = ipv6_rib_batch_buffer_allocate(0);
    void *reply = ipv6_rib_batch_args_out_allocate();
    uint32_t number = 0; /* of the next route */

    client()
    {
        errcode err;
        if (ipv6_rib_bind(&conn) == -1)
            std::abort();
        const rib_protoid_td protoid = ipv6_rib_register_protocol(conn, "bench", "1", RIB_PROTO_KIND_STATIC, 0, 0, 0, &err);
        ipv6_rib_batch_buffer_init(buffer, IPV6_RIB_TABLE_DEFAULT, protoid);
    }
    ~client()
    {
        ipv6_rib_batch_args_out_free(reply);
        ipv6_rib_batch_buffer_free(buffer);
        ipv6_rib_unbind(&conn);
    }
    /* Fills a message and sends it: the status. */
    int send_full_batch()
    {
        const in6_addr_t nexthop = prefix_of(7);
        while (ipv6_rib_batch_buffer_route_fits(buffer, 1)) {
            const in6_addr_t prefix = prefix_of(number++ % table_routes);
            ipv6_rib_batch_buffer_add_route(buffer, &prefix, 48, 0, 0);
            ipv6_rib_batch_buffer_add_path(buffer, 0, 0, &nexthop, &nexthop, 0, 0, 0);
        }
        return ipv6_rib_batch_buffer_send(conn, buffer, reply);
    }
};

void bare_channel(benchmark::State &state, size_t sent, size_t answered, size_t items)
{
    bare_server server(dir.path, "/dev/bench", answered);
    uint32_t chan;
    if (msg_chan_connect("/dev/bench", 0, 0, &chan) != 0)
        std::abort();
    std::vector<char> msg(sent), reply(answered);
    for (auto _ : state)
        if (msg_send(chan, msg.data(), msg.size(), reply.data(), reply.size()) != 0)
            state.SkipWithError("send failed");
    msg_chan_disconnect(&chan);
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(items));
}

void bare_channel_batch(benchmark::State &state)
{
    bare_channel(state, batch_bytes, batch_bytes, batch_records);
}
BENCHMARK(bare_channel_batch)->UseRealTime();

/* Every route result and path result is looked at, as a careful client does. */
size_t refused(void *reply)
{
    size_t count = 0;
    for (void *at = ipv6_rib_batch_args_out_first_route(reply); at; at = ipv6_rib_batch_args_out_next_route(reply, at)) {
        count += static_cast<rib_batch_route_out *>(at)->ro_result < 0;
        for (void *path = ipv6_rib_batch_route_out_first_path(at); path; path = ipv6_rib_batch_route_out_next_path(at, path))
            count += static_cast<rib_batch_path_out *>(path)->po_result < 0;
    }
    return count;
}

void download(benchmark::State &state)
{
    rib_embedded_server server({.dir = dir.path});
    client producer;
    for (auto _ : state)
        if (producer.send_full_batch() <= 0 || refused(producer.reply) != 0)
            state.SkipWithError("batch refused");
    state.SetItemsProcessed(static_cast<int64_t>(producer.number));
}
BENCHMARK(download)->UseRealTime();

void bare_channel_lookup(benchmark::State &state)
{
    bare_channel(state, lookup_sent, lookup_answered, 1);
}
BENCHMARK(bare_channel_lookup)->UseRealTime();

void lookup(benchmark::State &state)
{
    rib_embedded_server server({.dir = dir.path});
    client producer;
    if (producer.send_full_batch() <= 0)
        state.SkipWithError("batch refused");
    static ipv6_routetype route;
    uint32_t number = 0;
    for (auto _ : state) {
        errcode err;
        const in6_addr_t prefix = prefix_of(number++ % producer.number);
        if (!ipv6_rib_route_lookup(producer.conn, IPV6_RIB_TABLE_DEFAULT, &prefix, 128, RIB_LOOKUP_LONGEST, 0, &route, &err))
            state.SkipWithError("route not found");
    }
}
BENCHMARK(lookup)->UseRealTime();
} // namespace

BENCHMARK_MAIN();
