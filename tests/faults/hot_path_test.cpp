/*
 * What a routing process does all the time, against a real server: once it was done, it allocates nothing but what it hands out.
 */
#include <memory>

#include "tests/faults/operations.h"
#include "tests/support/failing_alloc.h"

namespace
{
constexpr rib_tableid_td TABLE = IPV6_RIB_TABLE_DEFAULT;
constexpr int times = 20;

/* Each gives how much was done, 0 for nothing. */
int encode(test_client &client)
{
    const in6_addr_t hop = addr("2001:db8:1::3");
    const uint32_t labels[2] = {16, 17};
    const rib_batch_path_init_in in = {.pi_infosource = {.afi = 2, .addr = {.v6 = &hop}}};
    int routes = 0;
    for (ipv6_rib_batch_buffer_clear(client.buffer); ipv6_rib_batch_buffer_route_fits(client.buffer, 3); routes++) {
        const in6_addr_t prefix = numbered_prefix(static_cast<uint32_t>(routes));
        ipv6_rib_batch_buffer_init_route(client.buffer, &prefix, 48);
        ipv6_rib_batch_buffer_route_set_srv6_end_func_type(client.buffer, 1);
        ipv6_rib_batch_buffer_add_route3(client.buffer);
        ipv6_rib_batch_buffer_add_path(client.buffer, 0, 0, &hop, &hop, 0, 0, 0);
        ipv6_rib_batch_buffer_add_path_init(client.buffer, &hop, &in);
        ipv6_rib_batch_buffer_path_set_remote_label_stack(client.buffer, 2, labels);
        ipv6_rib_batch_buffer_add_path_done(client.buffer);
    }
    return routes;
}

int send_and_walk(test_client &client)
{
    const in6_addr_t hop = addr("2001:db8:1::3");
    ipv6_rib_batch_buffer_clear(client.buffer);
    for (uint32_t number = 0; number != 100; number++)
        client.add(numbered_prefix(number), 48, hop);
    int paths = 0;
    if (ipv6_rib_batch_buffer_send(client.conn, client.buffer, client.reply) <= 0)
        return 0;
    for (void *at = ipv6_rib_batch_args_out_first_route(client.reply); at;
         at = ipv6_rib_batch_args_out_next_route(client.reply, at))
        for (void *path = ipv6_rib_batch_route_out_first_path(at); path; path = ipv6_rib_batch_route_out_next_path(at, path))
            paths++;
    return paths;
}

int send_protocols(test_client &client)
{
    struct chain_free {
        void operator()(rib_batch_buffer *first) const { ipv6_rib_batch_proto_buffer_free(first); }
    };
    static const std::unique_ptr<rib_batch_buffer, chain_free> chain(ipv6_rib_batch_proto_buffer_allocate(1));
    static const rib_register_protocol_in in = {.instance_name = "second"};
    rib_proto_result results[1];
    uint32_t count = 0;
    ipv6_rib_batch_proto_buffer_init(chain.get());
    ipv6_rib_batch_buffer_add_proto(chain.get(), &in);
    return ipv6_rib_batch_proto_buffer_send(client.conn, chain.get(), results, 1, &count) > 0 ? static_cast<int>(count) : 0;
}

int follow_next_hops(test_client &client)
{
    errcode code = ipv6_rib_nh_batch_init(client.conn, 0);
    for (uint8_t number = 0; number != 150 && code == 0; number++) {
        in6_addr_t hop = addr("2001:db8:1::");
        hop.s6_addr[15] = number;
        code = ipv6_rib_nh_batch_register(client.conn, 1, TABLE, &hop, 0, number);
    }
    return code == 0 && ipv6_rib_nh_batch_finish(client.conn) == 0;
}

void count_route(uint32_t, ipv6_routetype *route, void *routes)
{
    *static_cast<int *>(routes) += route->rt_path_count;
}

/* Asked for again, a redistribution begins anew. */
int fetch_table(test_client &client)
{
    uint16_t count;
    int paths = 0;
    if (ipv6_rib_redist_batch_init(client.conn, RIB_REDIST_ALL_FOREIGN) ||
        ipv6_rib_redist_batch_register(client.conn, 1, TABLE, RIB_REDIST_ALL_FOREIGN, 0, 0, &count) ||
        ipv6_rib_redist_batch_finish(client.conn, &count))
        return 0;
    const int32_t code = ipv6_rib_fetch_update(client.conn, &paths, nullptr, RIB_UPDATE_ROUTES, count_route, RIB_UPDATE_END);
    return code == 0 ? paths : 0;
}

template <auto look> int look_up(test_client &client)
{
    static const auto route = std::make_unique<ipv6_routetype>();
    const in6_addr_t asked = addr("2001:0:5::1");
    errcode code;
    return look(client.conn, TABLE, &asked, 128, RIB_LOOKUP_LONGEST, 0, route.get(), &code);
}

int list_routes(test_client &client)
{
    uint32_t flag = RIB_FETCH_FROM_START, count = 0;
    void *routes = nullptr;
    if (ipv6_rib_get_routes(client.conn, TABLE, "keeper", "test", {}, 0, {}, 0, &flag, &count, 0, &routes))
        return 0;
    rib_get_route_iter iter;
    ipv6_routetype *route = nullptr;
    for (errcode code = ipv6_rib_get_route_get_first_route(routes, &iter, &route); code == 0 && route;
         code = ipv6_rib_get_route_get_next_route(&iter, &route))
        ipv6_rib_route_xform(route);
    ipv6_rib_route_free(routes);
    return static_cast<int>(count);
}

struct hot_path {
    const char *name;
    int (*run)(test_client &client);
    size_t handed_out = 0; /* blocks that the caller releases */
};

TEST(hot_path, allocates_only_what_it_hands_out)
{
    static const hot_path paths[] = {
        {"encode", encode},
        {"send a batch and walk its results", send_and_walk},
        {"send protocols", send_protocols},
        {"batch of next hops", follow_next_hops},
        {"redistribute a table and fetch", fetch_table},
        {"lookup", look_up<ipv6_rib_route_lookup>},
        {"lookup as received", look_up<ipv6_rib_route_lookup_internal>},
        {"list routes", list_routes, 1},
    };
    const run_dir dir;
    fault_rig rig(dir);
    test_client client("subject");
    for (const hot_path &path : paths) {
        watch_over(path.name);
        const int done = path.run(client);
        EXPECT_GT(done, 0) << path.name;
        const failing_alloc counter(0);
        for (int time = 0; time != times; time++)
            EXPECT_EQ(path.run(client), done) << path.name;
        EXPECT_EQ(counter.count(), times * path.handed_out) << path.name;
    }
}
} // namespace
