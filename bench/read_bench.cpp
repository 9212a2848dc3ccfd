/*
 * Looking routes up and listing them, beside the bare channel with the same message sizes, and beside a lookup that does
 * everything but the exchange: what of a lookup is the library's own.
 */
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>

#include <platform/msg_chan.h>

#include "bare_channel.h"
#include "bench_client.h"
#include "ratios.h"
#include "server/embed.h"

namespace
{
constexpr size_t lookup_sent = 24 + 40, lookup_answered = 8 + 136 + 104 + 8;
constexpr size_t listed_route = 136 + 104 + 8;
constexpr size_t list_sent = 24 + 160, list_routes = (524288 - 12) / listed_route, list_answered = 9 + list_routes * listed_route;

/* The last lookup's reply, to be given again without asking the server. */
uint8_t kept_reply[lookup_answered];
bool exchanges = true;
} // namespace

/* Takes the place of the platform's. */
int msg_send(uint32_t chan, const void *msg, size_t len, void *reply, size_t room)
{
    static const auto real = reinterpret_cast<decltype(&msg_send)>(dlsym(RTLD_NEXT, "msg_send"));
    if (exchanges) {
        const int result = real(chan, msg, len, reply, room);
        if (len == lookup_sent)
            std::memcpy(kept_reply, reply, std::min(room, sizeof kept_reply));
        return result;
    }
    std::memcpy(reply, kept_reply, sizeof kept_reply);
    return 0;
}

namespace
{
/* A server, and a client with some routes in it. */
struct filled_server {
    rib_embedded_server server{{.dir = bench_run_dir()}};
    bench_client client;
    explicit filled_server(unsigned batches)
    {
        for (; batches != 0; --batches)
            if (client.send_full_batch(UINT32_MAX) <= 0)
                std::abort();
    }
};

void bare_channel_lookup(benchmark::State &state)
{
    bench_bare_channel(state, lookup_sent, lookup_answered, 1);
}
BENCHMARK(bare_channel_lookup)->UseRealTime();

void look_up(benchmark::State &state, const filled_server &filled)
{
    static ipv6_routetype route;
    uint32_t number = 0;
    for (auto _ : state) {
        errcode err;
        const in6_addr_t prefix = bench_prefix(number++ % filled.client.number);
        if (!ipv6_rib_route_lookup(filled.client.conn, IPV6_RIB_TABLE_DEFAULT, &prefix, 128, RIB_LOOKUP_LONGEST, 0, &route, &err))
            state.SkipWithError("route not found");
    }
}

void lookup(benchmark::State &state)
{
    look_up(state, filled_server(1));
}
BENCHMARK(lookup)->UseRealTime();

void lookup_without_exchange(benchmark::State &state)
{
    static ipv6_routetype route;
    errcode err;
    const filled_server filled(1);
    const in6_addr_t prefix = bench_prefix(0);
    ipv6_rib_route_lookup(filled.client.conn, IPV6_RIB_TABLE_DEFAULT, &prefix, 128, RIB_LOOKUP_LONGEST, 0, &route, &err);
    exchanges = false;
    look_up(state, filled);
    exchanges = true;
}
BENCHMARK(lookup_without_exchange)->UseRealTime();

void bare_channel_list(benchmark::State &state)
{
    bench_bare_channel(state, list_sent, list_answered, list_routes);
}
BENCHMARK(bare_channel_list)->UseRealTime();

/* One pass of a listing, every route converted. */
void list(benchmark::State &state)
{
    const filled_server filled(3);
    int64_t listed = 0;
    for (auto _ : state) {
        uint32_t flag = 0, count = 0;
        void *routes;
        if (ipv6_rib_get_routes(filled.client.conn, IPV6_RIB_TABLE_DEFAULT, "", "", {}, 0, {}, 0, &flag, &count, 0, &routes) != 0)
            state.SkipWithError("no routes");
        rib_get_route_iter iter;
        ipv6_routetype *route;
        for (errcode err = ipv6_rib_get_route_get_first_route(routes, &iter, &route); err == 0;
             err = ipv6_rib_get_route_get_next_route(&iter, &route))
            ipv6_rib_route_xform(route);
        ipv6_rib_route_free(routes);
        listed += count;
    }
    state.SetItemsProcessed(listed);
}
BENCHMARK(list)->UseRealTime();
} // namespace

int main(int argc, char **argv)
{
    return run_benchmarks(argc, argv,
                          {{"lookup", "bare_channel_lookup", "round trip"},
                           {"lookup_without_exchange", "lookup", "the library's own share of a lookup"},
                           {"list", "bare_channel_list", "of one pass of 512 KiB"}});
}
