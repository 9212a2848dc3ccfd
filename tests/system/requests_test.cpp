/*
 * The single requests against a real server over the real channel: routes one by one, listings, addresses, next hops,
 * redistribution.
 */
#include "system_test.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <random>

#include "server/embed.h"

namespace
{
using strings = std::vector<std::string>;
constexpr rib_tableid_td TABLE = IPV6_RIB_TABLE_DEFAULT;
constexpr errcode UNTOUCHED = 0xEEEEEEEE;

/* A prefix as text: "2001:db8::/32". */
struct prefix_td {
    in6_addr_t addr = {};
    uint8_t len = 0;
    explicit prefix_td(const std::string &text)
    {
        const size_t slash = text.find('/');
        addr = ::addr(text.substr(0, slash).c_str());
        len = static_cast<uint8_t>(std::stoul(text.substr(slash + 1)));
    }
};

/* What came of one single route. */
struct added_td {
    int result;
    uint8_t status = 0xEE;
    errcode err = UNTOUCHED;
};

added_td add(const test_client &client, const std::string &text, const char *nexthop, uint32_t interface = 0, uint32_t word = 0)
{
    const prefix_td prefix(text);
    ipv6_rib_route_add_args args;
    ipv6_rib_route_add_args_init(&args);
    args.conn = client.conn;
    args.protoid = client.protoid;
    args.table = TABLE;
    args.prefix = prefix.addr;
    args.prefix_len = prefix.len;
    args.next_hop = addr(nexthop);
    args.hop_word2 = interface;
    args.ext_word = word;
    added_td added = {};
    const ipv6_rib_route_add_out out = {.status = &added.status, .err = &added.err};
    added.result = ipv6_rib_route_add(&args, &out);
    return added;
}

errcode withdraw(const test_client &client, const std::string &text, const char *nexthop = "::", uint32_t interface = 0,
                 uint8_t *status = nullptr)
{
    const prefix_td prefix(text);
    const in6_addr_t hop = addr(nexthop);
    return ipv6_rib_route_delete(client.conn, client.protoid, TABLE, &prefix.addr, prefix.len, &hop, interface, 0, status,
                                 nullptr);
}

/* A listing in passes of so many routes: "prefix/len owner nexthop...". Ends with "error N" when it fails. */
strings listed(const test_client &client, uint32_t pass = 0, const char *name = "", const char *range = "::/0",
               uint32_t options = 0)
{
    prefix_td start(range);
    const prefix_td end(range);
    strings list;
    uint32_t flag = RIB_FETCH_FROM_START;
    do {
        uint32_t count = pass;
        void *routes;
        const errcode err = ipv6_rib_get_routes(client.conn, TABLE, name, *name ? "test" : "", start.addr, start.len, end.addr,
                                                end.len, &flag, &count, options, &routes);
        if (err) {
            list.push_back("error " + std::to_string(err));
            break;
        }
        EXPECT_TRUE(pass == 0 || count <= pass);
        rib_get_route_iter iter;
        ipv6_routetype *route;
        for (errcode end_of = ipv6_rib_get_route_get_first_route(routes, &iter, &route); end_of == 0 && route;
             end_of = ipv6_rib_get_route_get_next_route(&iter, &route)) {
            ipv6_rib_route_xform(route);
            std::memcpy(&start.addr, route->rt_prefix, sizeof start.addr);
            start.len = route->rt_prefix_len;
            std::string text =
                text_of(route->rt_prefix) + "/" + std::to_string(start.len) + " " + std::to_string(route->rt_protoid);
            for (unsigned i = 0; i < route->rt_path_count; i++)
                text += " " + text_of(route->rt_path[i].path_nexthop);
            list.push_back(text);
        }
        EXPECT_EQ(iter.index, count);
        ipv6_rib_route_free(routes);
    } while (flag);
    return list;
}

class requests : public ::testing::Test
{
protected:
    run_dir dir;
    rib_embedded_server server{{.dir = dir.path()}};
};

TEST_F(requests, single_routes_join_and_leave)
{
    test_client client, other("other");
    const added_td first = add(client, "2001:db8::/32", "fe80::1", 4);
    EXPECT_EQ(first.result, RIB_RESULT_OK);
    EXPECT_EQ(first.err, 0u);
    EXPECT_EQ(first.status, RIB_ROUTE_BEST);
    EXPECT_EQ(add(client, "2001:db8::/32", "fe80::1", 4).result, RIB_RESULT_NO_CHANGE);
    EXPECT_EQ(add(client, "2001:db8::/32", "fe80::2").result, RIB_RESULT_CHANGED);
    EXPECT_EQ(client.lookup("2001:db8::5"), "2001:db8::/32 fe80::1 fe80::2");
    EXPECT_EQ(add(client, "2001:db8::/32", "fe80::3", 0, RIB_ROUTE_ADD_REPLACE).result, RIB_RESULT_CHANGED);
    EXPECT_EQ(client.lookup("2001:db8::5"), "2001:db8::/32 fe80::3");

    EXPECT_EQ(add(client, "2001:db8::1/32", "fe80::1").result, RIB_RESULT_INVALID_PARAMETER);
    other.protoid = client.protoid; // not its own
    const added_td foreign = add(other, "2001:db8::/32", "fe80::1");
    EXPECT_EQ(foreign.result, RIB_RESULT_RPC_ERROR);
    EXPECT_EQ(foreign.err, errcode{EPERM});
    EXPECT_EQ(foreign.status, 0xEE);
    EXPECT_EQ(withdraw(other, "2001:db8::/32"), errcode{EPERM});

    uint8_t status = 0xEE;
    EXPECT_EQ(withdraw(client, "2001:db8::/32", "fe80::9"), RIB_SRV_ERR_NOT_FOUND);
    EXPECT_EQ(withdraw(client, "2001:db8::/32", "fe80::3", 0, &status), 0u);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(client.lookup("2001:db8::5"), "none");
    EXPECT_EQ(withdraw(client, "2001:db8::/32"), RIB_SRV_ERR_NOT_FOUND);
}

TEST_F(requests, listings_are_whole_and_go_on_where_they_ended)
{
    test_client bgp("bgp"), isis("isis");
    strings all, of_bgp;
    std::mt19937 random(7);
    for (uint32_t i = 0; i < 3000; i++) {
        const in6_addr_t prefix = numbered_prefix(i);
        const std::string text = text_of(&prefix) + "/48 ";
        for (const test_client *client : {&bgp, &isis}) {
            if (random() % 3 == 0)
                continue;
            if (!ipv6_rib_batch_buffer_route_fits(client->buffer, 1)) {
                EXPECT_EQ(client->send(), 1);
            }
            client->add(prefix, 48, addr("fe80::1"));
            all.push_back(text + std::to_string(client->protoid) + " fe80::1");
            if (client == &bgp)
                of_bgp.push_back(all.back());
        }
    }
    EXPECT_EQ(bgp.send(), 1);
    EXPECT_EQ(isis.send(), 1);
    for (const uint32_t pass : {0u, 1u, 7u, 1000u}) {
        EXPECT_TRUE(listed(bgp, pass) == all) << pass;
        EXPECT_TRUE(listed(isis, pass, "bgp") == of_bgp) << pass;
    }
    EXPECT_EQ(listed(bgp, 2, "", "2001::/46").size(),
              static_cast<size_t>(std::count_if(all.begin(), all.end(), [](const std::string &line) {
                  const prefix_td listed_prefix(line.substr(0, line.find(' ')));
                  return listed_prefix.addr.s6_addr32[0] == htonl(0x20010000) && ntohs(listed_prefix.addr.s6_addr16[2]) < 4;
              })));
    EXPECT_EQ(listed(bgp, 5, "", "::/0", RIB_FETCH_BEST_ONLY).size(), bgp.prefixes());

    for (size_t i = 1; i < of_bgp.size(); i += 2)
        EXPECT_EQ(withdraw(bgp, of_bgp[i].substr(0, of_bgp[i].find(' '))), 0u);
    strings left;
    for (size_t i = 0; i < of_bgp.size(); i += 2)
        left.push_back(of_bgp[i]);
    EXPECT_TRUE(listed(bgp, 0, "bgp") == left);
    EXPECT_EQ(ipv6_rib_protocol_unregister(bgp.conn, bgp.protoid, 0), 0u);
    EXPECT_EQ(listed(isis, 0, "bgp"), strings{"error 61"});
    EXPECT_EQ(listed(isis).size(), all.size() - of_bgp.size());
}

/* A router with two interfaces, and what can be asked about its addresses. */
class addresses : public requests
{
protected:
    test_client connected{"connected", ipv6_rib_bind, RIB_PROTO_KIND_CONNECTED};
    test_client local{"local", ipv6_rib_bind, RIB_PROTO_KIND_LOCAL};
    test_client bgp{"bgp"};

    void SetUp() override
    {
        add(connected, "2001:db8:1::/64", "::", 1);
        add(connected, "2001:db8:2::/64", "::", 2);
        add(local, "2001:db8:1::1/128", "::", 1);
        add(local, "2001:db8:2::1/128", "::", 2);
        add(local, "fe80::1/128", "::", 1);
        add(bgp, "2001:db8:ff::/48", "2001:db8:2::9");   // by way of interface 2
        add(bgp, "2001:db8:fff::/48", "2001:db8:ff::7"); // by way of the route before
        add(bgp, "2001:db8:a::/48", "2001:db8:b::1");    // a loop
        add(bgp, "2001:db8:b::/48", "2001:db8:a::1");
    }
};

TEST_F(addresses, are_told_apart)
{
    struct address_case_t {
        const char *address;
        uint32_t is_local, is_connected;
        int not_local;
        const char *subnet, *source;
    };
    static const address_case_t cases[] = {
        {"2001:db8:1::1", 1, 1, 0, "2001:db8:1::/64", "2001:db8:1::1"},
        {"2001:db8:2::77", 0, 2, 1, "2001:db8:2::/64", "2001:db8:2::1"},
        {"2001:db8:ff::1", 0, 0, 0, "none", "2001:db8:1::1"}, // as near as the other: the lower one
        {"fe80::1", 1, 0, 0, "none", "fe80::1"},
        {"fe80::2", 0, 0, 0, "none", "fe80::1"},
    };
    for (const address_case_t &c : cases) {
        SCOPED_TRACE(c.address);
        const in6_addr_t asked = addr(c.address);
        errcode err = UNTOUCHED;
        EXPECT_EQ(ipv6_rib_is_local(bgp.conn, TABLE, &asked, &err), c.is_local);
        EXPECT_EQ(err, 0u);
        EXPECT_EQ(ipv6_rib_is_connected(bgp.conn, TABLE, &asked, &err), c.is_connected);
        EXPECT_EQ(ipv6_rib_conn_not_local(bgp.conn, TABLE, &asked, &err), c.not_local);
        in6_addr_t found = {};
        uint32_t info = 0;
        const bool has_subnet = ipv6_rib_match_connected_subnet(bgp.conn, TABLE, &asked, &found, &info, &err) == 1;
        EXPECT_EQ(has_subnet ? text_of(&found) + "/" + std::to_string(info) : "none", c.subnet);
        uint32_t flags = UNTOUCHED;
        EXPECT_EQ(ipv6_rib_best_local_address_and_check(bgp.conn, TABLE, &asked, 0, &found, &info, &err, &flags), 1);
        EXPECT_EQ(text_of(&found), c.source);
        EXPECT_EQ(flags, (c.is_local ? RIB_ADDR_LOCAL : 0) | (c.is_connected ? RIB_ADDR_CONNECTED : 0));
    }
    const in6_addr_t asked = addr("2001:db8:1::9");
    EXPECT_EQ(ipv6_rib_best_local_address(bgp.conn, TABLE, &asked, 2, nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(ipv6_rib_best_local_address(bgp.conn, TABLE, &asked, 3, nullptr, nullptr, nullptr), 0);
}

TEST_F(addresses, next_hops_are_followed)
{
    struct next_hop_case_t {
        const char *address;
        uint32_t word1, word2, answer;
        const char *next_hop;
    };
    static const next_hop_case_t cases[] = {
        {"2001:db8:1::77", RIB_NEXT_HOP_RECURSIVE, 0, 1, "2001:db8:1::77"},
        {"2001:db8:ff::1", RIB_NEXT_HOP_RECURSIVE, 0, 2, "2001:db8:2::9"},
        {"2001:db8:fff::1", RIB_NEXT_HOP_RECURSIVE, 0, 2, "2001:db8:2::9"},
        {"2001:db8:fff::1", RIB_NEXT_HOP_ONE_STEP, 0, RIB_INTERFACE_NONE, "2001:db8:ff::7"},
        {"2001:db8:fff::1", RIB_NEXT_HOP_RECURSIVE, 49, 0, nullptr},
        {"2001:db8:a::5", RIB_NEXT_HOP_RECURSIVE, 0, 0, nullptr},
        {"2001:db8:c::5", RIB_NEXT_HOP_RECURSIVE, 0, 0, nullptr},
    };
    for (const next_hop_case_t &c : cases) {
        SCOPED_TRACE(c.address);
        const in6_addr_t asked = addr(c.address);
        in6_addr_t next_hop = {};
        uint32_t flags = 0;
        errcode err = UNTOUCHED;
        EXPECT_EQ(ipv6_rib_next_hop(bgp.conn, TABLE, &asked, c.word1, c.word2, 0, &next_hop, &flags, &err), c.answer);
        EXPECT_EQ(err, c.next_hop ? 0u : RIB_SRV_ERR_NOT_FOUND);
        EXPECT_EQ(text_of(&next_hop), c.next_hop ? c.next_hop : "::");
    }
    errcode err = UNTOUCHED;
    EXPECT_EQ(ipv6_rib_default_netsource(bgp.conn, TABLE, &err), 0u);
    EXPECT_EQ(err, RIB_SRV_ERR_NOT_FOUND);
    add(bgp, "::/0", "2001:db8:1::fe");
    EXPECT_EQ(ipv6_rib_default_netsource(bgp.conn, TABLE, &err), 1u);
}

TEST_F(addresses, next_hops_are_registered)
{
    const in6_addr_t nexthop = addr("2001:db8:ff::7"), unreached = addr("2001:db8:c::1");
    rib_nh_info info = {};
    errcode err = UNTOUCHED;
    EXPECT_EQ(ipv6_rib_next_hop_unregister(bgp.conn, TABLE, &nexthop, 0, 0, 0, &err), RIB_SRV_ERR_NOT_FOUND);
    EXPECT_EQ(ipv6_rib_next_hop_register(bgp.conn, TABLE, &nexthop, 0, 0, 0, &info, &err), 2u);
    EXPECT_EQ(err, 0u);
    EXPECT_EQ(text_of(&info.nh_address), "2001:db8:2::9");
    EXPECT_EQ(info.nh_words[1], 64u);
    EXPECT_EQ(info.nh_words[3], connected.protoid);
    EXPECT_EQ(info.nh_word, RIB_NH_REACHED);
    EXPECT_STREQ(info.nh_name, "connected/test");
    EXPECT_EQ(info.nh_name_len, std::strlen(info.nh_name));
    EXPECT_EQ(ipv6_rib_next_hop_register(bgp.conn, TABLE, &unreached, 0, 0, 0, &info, &err), 0u);
    EXPECT_EQ(err, 0u);
    EXPECT_EQ(info.nh_word, 0u);
    EXPECT_EQ(ipv6_rib_next_hop_unregister(bgp.conn, TABLE, &nexthop, 0, 0, 0, &err), 0u);
}

TEST_F(addresses, routes_are_checked)
{
    const in6_addr_t asked = addr("2001:db8:ff::1");
    in6_addr_t found = {};
    uint32_t value = 9, pair[2] = {};
    uint8_t data[512];
    const auto check = [&](uint64_t version, uint32_t room) {
        return ipv6_rib_get_check(bgp.conn, nullptr, TABLE, 128, version, 0, 0, asked, &found, &value, data, room, pair);
    };
    ASSERT_EQ(check(0, sizeof data), 144);
    EXPECT_EQ(value, 1u);
    EXPECT_EQ(text_of(&found), "2001:db8:ff::");
    EXPECT_EQ(pair[0], 48u);
    EXPECT_EQ(pair[1], 1u);
    const auto *route = reinterpret_cast<const ipv6_routetype *>(data + 8);
    EXPECT_EQ(ntohl(route->rt_table), TABLE);
    EXPECT_EQ(check(ntohl(route->rt_version), sizeof data), 0);
    EXPECT_EQ(value, 0u);
    EXPECT_EQ(check(0, 40 + 143), -1);
    EXPECT_EQ(ipv6_rib_get_check(bgp.conn, connected.conn, TABLE, 128, 0, 0, 0, asked, &found, &value, data, 512, pair), -1);
}

TEST_F(requests, redistribution_is_asked_for_and_ended)
{
    test_client source("source"), consumer("consumer"), child("child");
    errcode err = UNTOUCHED;
    EXPECT_EQ(ipv6_rib_redist_reset(consumer.conn, 0, &err), 0);
    EXPECT_EQ(err, RIB_SRV_ERR_NOT_FOUND);
    EXPECT_EQ(ipv6_rib_protocol_redist(consumer.conn, "nobody", "test", TABLE, 0, 10, &err), RIB_PROTOID_NONE);
    EXPECT_EQ(err, RIB_SRV_ERR_NOT_FOUND);
    const auto join = [&] {
        return ipv6_rib_child_protocol_redist(child.conn, "source", "test", TABLE, 7, 10, consumer.conn, 3, &err);
    };
    EXPECT_EQ(join(), RIB_PROTOID_NONE); // nothing to join yet
    EXPECT_EQ(ipv6_rib_redist_enable_rcmd_markers(consumer.conn, "source", "test", TABLE), RIB_SRV_ERR_NOT_FOUND);
    EXPECT_EQ(ipv6_rib_protocol_redist(consumer.conn, "source", "test", TABLE, 0, 10, &err), source.protoid);
    EXPECT_EQ(err, 0u);
    EXPECT_EQ(join(), source.protoid);
    EXPECT_EQ(ipv6_rib_redist_enable_rcmd_markers(consumer.conn, "source", "test", TABLE), 0u);
    EXPECT_EQ(ipv6_rib_redist_enable_rcmd_markers(consumer.conn, nullptr, nullptr, TABLE), 0u);
    EXPECT_EQ(ipv6_rib_redist_reset(consumer.conn, TABLE, &err), 1);
    EXPECT_EQ(join(), RIB_PROTOID_NONE);
    EXPECT_EQ(err, errcode{EPERM});
}

TEST_F(requests, advertising_protocols_are_seen_in_the_route)
{
    test_client owner("owner"), advertiser("advertiser");
    const prefix_td prefix("2001:db8::/32");
    const auto advertise = [&](uint32_t value) {
        return ipv6_rib_set_advertising_flag(advertiser.conn, TABLE, &prefix.addr, prefix.len, advertiser.protoid, value);
    };
    EXPECT_EQ(advertise(1), -1); // no such route
    add(owner, "2001:db8::/32", "fe80::1");
    ipv6_routetype route;
    errcode err;
    const auto advertised = [&] {
        EXPECT_EQ(ipv6_rib_route_lookup(owner.conn, TABLE, &prefix.addr, 32, RIB_LOOKUP_EXACT, 0, &route, &err), 1);
        return ipv6_rib_route_check_advertisement(&route, advertiser.protoid);
    };
    EXPECT_EQ(advertised(), 0);
    EXPECT_EQ(advertise(1), 0);
    EXPECT_EQ(advertise(1), 0); // was so already
    EXPECT_EQ(advertised(), 1);
    uint8_t mask[RIB_PROTOID_MASK_BYTES];
    ipv6_rib_route_copy_advertisement_mask(&route, mask);
    EXPECT_EQ(mask[0], 1 << advertiser.protoid);
    const adv_list list = {.adv_count = 8, .adv_value = 1, .adv_items = {}};
    EXPECT_EQ(ipv6_rib_set_advertising_flag3(advertiser.conn, TABLE, &prefix.addr, 32, advertiser.protoid, 0, 1, 2, &list), 0);
    EXPECT_EQ(advertised(), 0);
    EXPECT_EQ(advertise(1), 0);
    EXPECT_EQ(ipv6_rib_protocol_unregister(advertiser.conn, advertiser.protoid, 0), 0u);
    EXPECT_EQ(advertised(), 0);
}
} // namespace
