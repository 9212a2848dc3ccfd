/*
 * Every operation of the library against a real server over the real channel.
 */
#include "system_test.h"

#include <array>
#include <cstring>
#include <memory>

#include "server/embed.h"

namespace
{
using strings = std::vector<std::string>;

class end_to_end : public ::testing::Test
{
protected:
    run_dir dir;
    rib_embedded_server server{{.dir = dir.path(), .msg_version = 1}};
};

TEST_F(end_to_end, binds_on_each_path)
{
    for (auto bind : {ipv6_rib_bind, ipv6_rib_bind_active, ipv6_rib_bind_standby, ipv6_rib_bind_primary_active}) {
        ipv6_rib_conn_p conn = nullptr;
        const int32_t connid = bind(&conn);
        ASSERT_GT(connid, 0);
        EXPECT_EQ(ipv6_rib_collocated(conn), 1);
        EXPECT_NE(ipv6_rib_get_my_client_id(conn), 0xFFFFFFFF);
        EXPECT_GT(ipv6_rib_rebind(conn), connid);
        EXPECT_EQ(ipv6_rib_client_bind_data(conn, nullptr, 0, 0, 2), 0u);
        ipv6_rib_unbind(&conn);
        EXPECT_EQ(conn, nullptr);
    }
}

TEST_F(end_to_end, protocols_live_and_end)
{
    test_client owner("bgp"), other("isis");
    errcode err = 1;
    EXPECT_EQ(ipv6_rib_findpdb(other.conn, "bgp", "test", 0, &err), owner.protoid);
    EXPECT_EQ(ipv6_rib_findpdb(other.conn, "bgp", "other", 0, &err), RIB_PROTOID_NONE);
    EXPECT_EQ(err, RIB_SRV_ERR_NOT_FOUND);
    const rib_register_protocol_in second = {.proto_name = "bgp", .instance_name = "second", .reg_word64 = 7};
    EXPECT_NE(ipv6_rib_register_protocol_2(owner.conn, &second, &err), owner.protoid);
    EXPECT_EQ(ipv6_rib_register_protocol(other.conn, "bgp", "test", 0, 0, 0, 0, &err), RIB_PROTOID_NONE);
    EXPECT_EQ(err, errcode{EBUSY});

    char names[RIB_PROTOID_COUNT][RIB_PROTO_NAME_PAIR];
    const rib_protoid_td asked[] = {other.protoid, 90, owner.protoid};
    EXPECT_EQ(ipv6_rib_batch_protoid_to_proto_info(owner.conn, 0, asked, 3, names), 0u);
    EXPECT_STREQ(names[0], "isis");
    EXPECT_STREQ(names[1], "");
    EXPECT_STREQ(names[2], "bgp");
    EXPECT_STREQ(names[2] + RIB_PROTO_NAME_FIELD, "test");

    EXPECT_EQ(ipv6_rib_modify_protocol(other.conn, owner.protoid, 0, 0, 0, 0, &err), 0);
    EXPECT_EQ(err, errcode{EPERM});
    EXPECT_EQ(ipv6_rib_modify_protocol(owner.conn, owner.protoid, RIB_PROTO_KIND_STATIC, 5, 0, 0, &err), 1);
    EXPECT_EQ(ipv6_rib_notify_fib_ug_updates(owner.conn), 0u);
    EXPECT_EQ(ipv6_rib_free_all_srv6_sid_req(owner.conn, 0, owner.protoid, 0, 0), 0u);
    EXPECT_EQ(ipv6_rib_purge_client(other.conn, "nobody", "nowhere"), RIB_SRV_ERR_NOT_FOUND);
    EXPECT_EQ(ipv6_rib_protocol_unregister(owner.conn, owner.protoid, 0), 0u);
    EXPECT_EQ(ipv6_rib_update_complete(owner.conn, owner.protoid, 0), RIB_SRV_ERR_NOT_FOUND);
}

TEST_F(end_to_end, routes_are_withdrawn_in_every_way)
{
    test_client client;
    errcode err;
    const std::array<std::function<void()>, 4> ways = {
        [&] { EXPECT_EQ(ipv6_rib_purge_protocol(client.conn, client.protoid, IPV6_RIB_TABLE_DEFAULT, 0, 0, &err), 0); },
        [&] { EXPECT_EQ(ipv6_rib_clear_aft_by_vrf(client.conn, client.protoid, IPV6_RIB_TABLE_DEFAULT, &err), 0); },
        [&] {
            client.withdraw(addr("2001:db8::"), 32);
            EXPECT_EQ(client.send(), 1);
        },
        [&] { EXPECT_EQ(ipv6_rib_protocol_unregister(client.conn, client.protoid, 0), 0u); },
    };
    for (const auto &withdraw : ways) {
        client.add(addr("2001:db8::"), 32, addr("fe80::1"));
        EXPECT_EQ(client.send(), 1);
        EXPECT_EQ(client.prefixes(), 1u);
        withdraw();
        EXPECT_EQ(client.prefixes(), 0u);
        EXPECT_EQ(client.lookup("2001:db8::1"), "none");
    }
}

TEST_F(end_to_end, each_record_of_a_batch_gets_its_result)
{
    test_client client;
    const in6_addr_t one = addr("fe80::1"), two = addr("fe80::2");
    client.add(addr("2001:db8::"), 32, one);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_path(client.buffer, 9, 0, &two, &two, 0, 0, 0), RIB_BATCH_BUFFER_OK);
    client.add(addr("2001:db8:1::1"), 48, one); // bits behind the prefix
    EXPECT_EQ(client.send_and_list(),
              (strings{"R 2001:db8::/32 0", "+ fe80::1 0", "+ fe80::2 0", "R 2001:db8:1::1/48 -3", "+ fe80::1 -3"}));
    EXPECT_EQ(client.lookup("2001:db8::5"), "2001:db8::/32 fe80::1 fe80::2");

    const in6_addr_t prefix = addr("2001:db8::");
    ipv6_rib_batch_buffer_add_route(client.buffer, &prefix, 32, 0, 0);
    ipv6_rib_batch_buffer_delete_path(client.buffer, &two, 9, 0);
    ipv6_rib_batch_buffer_delete_path(client.buffer, &two, 9, 0);
    EXPECT_EQ(client.send_and_list(), (strings{"R 2001:db8::/32 2", "- fe80::2 0", "- fe80::2 4"}));
    EXPECT_EQ(client.lookup("2001:db8::5"), "2001:db8::/32 fe80::1");
}

TEST_F(end_to_end, a_message_serves_several_tables)
{
    test_client client;
    const rib_tableid_td red = 0xE0800001;
    const in6_addr_t prefix = addr("2001:db8::"), nexthop = addr("fe80::1");
    ipv6_rib_batch_buffer_init2(client.buffer);
    for (const rib_tableid_td table : {IPV6_RIB_TABLE_DEFAULT, red}) {
        EXPECT_EQ(ipv6_rib_batch_table_init(client.buffer, table, client.protoid), RIB_BATCH_BUFFER_OK);
        client.add(prefix, 32, nexthop);
    }
    EXPECT_EQ(ipv6_rib_batch_table_init(client.buffer, red, 77), RIB_BATCH_BUFFER_OK); // nobody's protocol
    client.add(prefix, 32, nexthop);
    EXPECT_EQ(client.send_and_list(),
              (strings{"T e0800000 0", "R 2001:db8::/32 0", "+ fe80::1 0", "T e0800001 0", "R 2001:db8::/32 0", "+ fe80::1 0",
                       "T e0800001 -2", "R 2001:db8::/32 -2", "+ fe80::1 -2"}));
    EXPECT_EQ(client.prefixes(red), 1u);
}

TEST_F(end_to_end, a_carried_over_route_without_table_is_refused_aloud)
{
    test_client client;
    ipv6_rib_batch_buffer_init2(client.buffer);
    ipv6_rib_batch_table_init(client.buffer, IPV6_RIB_TABLE_DEFAULT, client.protoid);
    const in6_addr_t nexthop = addr("fe80::1");
    uint32_t routes = 0;
    rib_batch_buffer_result result;
    do {
        const in6_addr_t prefix = numbered_prefix(routes++);
        ipv6_rib_batch_buffer_add_route(client.buffer, &prefix, 48, 0, 0);
        result = ipv6_rib_batch_buffer_add_path(client.buffer, 0, 0, &nexthop, &nexthop, 0, 0, 0);
    } while (result == RIB_BATCH_BUFFER_OK);
    EXPECT_EQ(result, RIB_BATCH_BUFFER_FULL);
    EXPECT_EQ(client.send(), 1);
    EXPECT_EQ(client.prefixes(), routes - 1);
    EXPECT_EQ(client.send(), RIB_RESULT_NO_TABLE);
    EXPECT_EQ(client.prefixes(), routes - 1);
}

TEST_F(end_to_end, backup_paths_forward_only_when_nothing_else_does)
{
    test_client first("first"), second("second");
    const in6_addr_t prefix = addr("2001:db8::"), backup = addr("fe80::b"), primary = addr("fe80::a");
    const rib_batch_path_init_in in = {.pi_infosource = {.afi = 2, .addr = {.v6 = &backup}}};
    ipv6_rib_batch_buffer_init_route(first.buffer, &prefix, 32);
    ipv6_rib_batch_buffer_add_route3(first.buffer);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_path_init(first.buffer, &backup, &in), RIB_BATCH_BUFFER_OK);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_backup_path_done(first.buffer), RIB_BATCH_BUFFER_OK);
    EXPECT_EQ(first.send(), 1);
    EXPECT_EQ(first.lookup("2001:db8::1"), "2001:db8::/32 fe80::b");
    second.add(prefix, 32, primary);
    EXPECT_EQ(second.send(), 1);
    EXPECT_EQ(first.lookup("2001:db8::1"), "2001:db8::/32 fe80::a");
    ipv6_rib_batch_buffer_add_route(first.buffer, &prefix, 32, 0, 0);
    EXPECT_EQ(ipv6_rib_batch_buffer_del_path_init(first.buffer, &backup, &in), RIB_BATCH_BUFFER_OK);
    EXPECT_EQ(ipv6_rib_batch_buffer_del_backup_path_done(first.buffer), RIB_BATCH_BUFFER_OK);
    EXPECT_EQ(first.send_and_list(), (strings{"R 2001:db8::/32 0", "- fe80::b 0"}));
}

TEST_F(end_to_end, markers_complete_and_converge)
{
    test_client client;
    uint32_t status[2];
    client.add(addr("2001:db8::"), 32, addr("fe80::1"));
    EXPECT_EQ(ipv6_rib_batch_buffer_complete(client.buffer), RIB_BATCH_BUFFER_OK);
    EXPECT_EQ(ipv6_rib_batch_buffer_converge(client.buffer, 0, 0), RIB_BATCH_BUFFER_OK);
    EXPECT_EQ(client.send_and_list(), (strings{"R 2001:db8::/32 0", "+ fe80::1 0"}));
    EXPECT_EQ(ipv6_rib_get_table_status(client.conn, IPV6_RIB_TABLE_DEFAULT, status), 0u);
    EXPECT_EQ(status[0], RIB_TABLE_EXISTS | RIB_TABLE_COMPLETE | RIB_TABLE_CONVERGED);
}

TEST_F(end_to_end, routes_outlive_a_client_that_returns)
{
    {
        test_client client;
        client.add(addr("2001:db8:1::"), 48, addr("fe80::1"));
        client.add(addr("2001:db8:2::"), 48, addr("fe80::1"));
        EXPECT_EQ(client.send(), 1);
    }
    test_client again;
    EXPECT_EQ(again.prefixes(), 2u);
    again.add(addr("2001:db8:1::"), 48, addr("fe80::1"));
    EXPECT_EQ(again.send(), 1);
    EXPECT_EQ(ipv6_rib_update_complete(again.conn, again.protoid, 0), 0u);
    EXPECT_EQ(again.lookup("2001:db8:1::1"), "2001:db8:1::/48 fe80::1");
    EXPECT_EQ(again.lookup("2001:db8:2::1"), "none");
}

TEST_F(end_to_end, a_client_that_rebinds_has_its_protocol_again_at_once)
{
    test_client client;
    client.add(addr("2001:db8::"), 32, addr("fe80::1"));
    EXPECT_EQ(client.send(), 1);
    for (int i = 0; i < 50; i++) {
        ASSERT_GT(ipv6_rib_rebind(client.conn), 0);
        errcode err = 1;
        ASSERT_EQ(ipv6_rib_register_protocol(client.conn, "static", "test", 0, 0, 0, 0, &err), client.protoid) << err;
    }
    EXPECT_EQ(client.prefixes(), 1u);
}

TEST_F(end_to_end, protocols_register_in_batches)
{
    test_client client("bgp");
    constexpr uint32_t count = 20;
    rib_batch_buffer *chain = ipv6_rib_batch_proto_buffer_allocate(count);
    ipv6_rib_batch_proto_buffer_init(chain);
    for (uint32_t i = 0; i < count; i++) {
        const std::string name = "vrf" + std::to_string(i);
        const rib_register_protocol_in in = {.instance_name = name.c_str()};
        EXPECT_EQ(ipv6_rib_batch_buffer_add_proto(chain, &in), RIB_BATCH_BUFFER_OK);
    }
    rib_proto_result results[count];
    uint32_t answered = 0;
    EXPECT_EQ(ipv6_rib_batch_proto_buffer_send(client.conn, chain, results, count, &answered), 1);
    ASSERT_EQ(answered, count);
    ipv6_rib_batch_proto_buffer_init(chain);
    errcode err;
    for (const rib_proto_result &result : results) {
        EXPECT_EQ(result.pr_result, 0);
        EXPECT_EQ(ipv6_rib_findpdb(client.conn, "bgp", result.pr_instance_name, 0, &err), result.pr_protoid);
        ipv6_rib_batch_buffer_del_proto(chain, 0, result.pr_protoid);
    }
    answered = 0;
    EXPECT_EQ(ipv6_rib_batch_proto_buffer_send(client.conn, chain, results, count, &answered), 1);
    EXPECT_EQ(answered, count);
    EXPECT_EQ(ipv6_rib_findpdb(client.conn, "bgp", "vrf3", 0, &err), RIB_PROTOID_NONE);
    ipv6_rib_batch_proto_buffer_free(chain);
}

TEST_F(end_to_end, every_lookup_finds_its_route)
{
    test_client client;
    for (const char *prefix : {"2001:db8::/32", "2001:db8:1::/48", "2001:db8:1:8000::/49", "2001:db8:2::/48"}) {
        const std::string text = prefix;
        client.add(addr(text.substr(0, text.find('/')).c_str()), static_cast<uint8_t>(std::stoi(text.substr(text.find('/') + 1))),
                   addr("fe80::1"));
    }
    EXPECT_EQ(client.send(), 1);
    EXPECT_EQ(client.lookup("2001:db8:1::1"), "2001:db8:1::/48 fe80::1");
    EXPECT_EQ(client.lookup("2001:db8:1:8000::1"), "2001:db8:1:8000::/49 fe80::1");
    EXPECT_EQ(client.lookup("2001:db8:9::1"), "2001:db8::/32 fe80::1");
    EXPECT_EQ(client.lookup("2001:db8:1::", 48, RIB_LOOKUP_EXACT), "2001:db8:1::/48 fe80::1");
    EXPECT_EQ(client.lookup("2001:db8:9::", 48, RIB_LOOKUP_EXACT), "none");
    EXPECT_EQ(client.lookup("2001:db9::1"), "none");

    const auto route = std::make_unique<ipv6_routetype>();
    const in6_addr_t one = addr("2001:db8:1::"), deep = addr("2001:db8:1:8000::1");
    errcode err = 1;
    ASSERT_EQ(ipv6_rib_route_lookup_longer_internal(client.conn, IPV6_RIB_TABLE_DEFAULT, &one, 48, 0, route.get(), &err), 1);
    EXPECT_EQ(route->rt_prefix_len, 49);
    ASSERT_EQ(ipv6_rib_route_lookup_longer_range_internal(client.conn, IPV6_RIB_TABLE_DEFAULT, &deep, 33, 48, route.get(), &err),
              1);
    EXPECT_EQ(route->rt_prefix_len, 48);
    ipv6_rib_route_xform(route.get());
    EXPECT_EQ(route->rt_table, IPV6_RIB_TABLE_DEFAULT);
    EXPECT_EQ(route->rt_protoid, client.protoid);
}

TEST_F(end_to_end, what_was_downloaded_comes_back)
{
    test_client client;
    const in6_addr_t prefix = addr("2001:db8::"), nexthop = addr("fe80::1"), source = addr("2001:db8::99");
    ipv6_rib_batch_buffer_add_route2(client.buffer, &prefix, 32, 0x0102, 0x00010203, 0x04050607, 0, 0x08090A0B, 33);
    ipv6_rib_batch_buffer_add_path2(client.buffer, 0x11121314, 0, &nexthop, 0x21222324, &source, 0x31323334, 0x4142, 0x51525354,
                                    1048575, nullptr);
    EXPECT_EQ(client.send(), 1);
    const auto route = std::make_unique<ipv6_routetype>();
    errcode err = 1;
    ASSERT_EQ(ipv6_rib_route_lookup(client.conn, IPV6_RIB_TABLE_DEFAULT, &prefix, 32, RIB_LOOKUP_EXACT, 0, route.get(), &err), 1);
    EXPECT_EQ(route->rt_type, 0x0102);
    EXPECT_EQ(+route->rt_flags & 0xFFFF7FFF, 0x00010203u);
    EXPECT_EQ(+route->rt_metric, 0x04050607u);
    EXPECT_EQ(+route->rt_tag, 0x08090A0Bu);
    EXPECT_EQ(route->rt_distance, 33);
    EXPECT_EQ(route->rt_state, RIB_ROUTE_BEST);
    ASSERT_EQ(route->rt_path_count, 1);
    const rib_pathtype &path = route->rt_path[0];
    EXPECT_EQ(+path.path_interface, 0x11121314u);
    EXPECT_EQ(+path.path_nexthop_table, 0x21222324u);
    EXPECT_EQ(+path.path_metric, 0x31323334u);
    EXPECT_EQ(+path.path_u16_80, 0x4142);
    EXPECT_EQ(+path.path_u32_52, 0x51525354u);
    EXPECT_EQ(+path.path_label, 1048575u);
    EXPECT_EQ(path.path_label_count, 1);
    EXPECT_EQ(std::memcmp(&path.path_nexthop, &nexthop, 16), 0);
    EXPECT_EQ(std::memcmp(&path.path_infosource, &source, 16), 0);
}
} // namespace
