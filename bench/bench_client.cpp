/*
 * Clients and the bare channel.
 */
#include "bench_client.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include <platform/msg_chan.h>

#include "bare_server.h"

const std::string &bench_run_dir()
{
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
    static const run_dir dir;
    return dir.path;
}

in6_addr_t bench_prefix(uint32_t number)
{
    in6_addr_t addr = {};
    addr.s6_addr[0] = 0x20;
    const uint32_t net = __builtin_bswap32(number);
    std::memcpy(&addr.s6_addr[2], &net, sizeof net);
    return addr;
}

bench_client::bench_client()
{
    errcode err;
    if (ipv6_rib_bind(&conn) == -1)
        std::abort();
    const rib_protoid_td protoid = ipv6_rib_register_protocol(conn, "bench", "1", RIB_PROTO_KIND_STATIC, 0, 0, 0, &err);
    ipv6_rib_batch_buffer_init(buffer_, IPV6_RIB_TABLE_DEFAULT, protoid);
}

bench_client::~bench_client()
{
    ipv6_rib_batch_args_out_free(reply);
    ipv6_rib_batch_buffer_free(buffer_);
    ipv6_rib_unbind(&conn);
}

int bench_client::send_full_batch(uint32_t routes)
{
    const in6_addr_t nexthop = bench_prefix(7);
    while (ipv6_rib_batch_buffer_route_fits(buffer_, 1)) {
        const in6_addr_t prefix = bench_prefix(number++ % routes);
        ipv6_rib_batch_buffer_add_route(buffer_, &prefix, 48, 0, 0);
        ipv6_rib_batch_buffer_add_path(buffer_, 0, 0, &nexthop, &nexthop, 0, 0, 0);
    }
    return ipv6_rib_batch_buffer_send(conn, buffer_, reply);
}

void bench_bare_channel(benchmark::State &state, size_t sent, size_t answered, size_t items)
{
    bare_server server(bench_run_dir(), "/dev/bench", answered);
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
