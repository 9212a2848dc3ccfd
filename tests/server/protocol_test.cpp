/*
 * Protocols through their lives: who may do what, and what happens to the routes when a client dies, returns, or does
 * not return. The clock stands still unless a test moves it.
 */
#include <cerrno>
#include <tuple>

#include "tests/server/rig.h"

namespace
{

const path_td VIA_A = {"fe80::a", 1};
const path_td VIA_B = {"fe80::b", 1};

constexpr uint32_t PURGE = 7, FIND = 8, UNREGISTER = 10, MODIFY = 11, COMPLETE = 19, NAMES = 28, PURGE_CLIENT = 29, CLEAR = 31;

bytes_t load(rib_protoid_td protoid, rib_tableid_td table = TABLE)
{
    return single_batch(table, protoid, {record({"2001:db8::", 32, {VIA_A, VIA_B}}), record({"2001:db9::", 32, {VIA_A}})});
}
/* Protocol 0 of one client, with routes, and another client that watches. */
struct protocol_rig_td : rig_td {
    explicit protocol_rig_td(const std::vector<uint32_t> &words = {})
    {
        add_protocol(session, "bgp", words);
        send(session, load(0));
    }
    uint32_t prefixes(rib_tableid_td table = TABLE) { return get32(send(watcher, status_request(table)), 8); }

    rib_session &session = client("bgp"), &watcher = client("watcher");
};

TEST(protocol, registration)
{
    rig_td rig;
    rib_session &first = rig.client("bgp"), &second = rig.client("isis");
    const auto asks = [&](rib_session &session, const char *name, const char *instance, uint32_t kind, uint32_t distance) {
        return rig.send(session, register_request(name, instance, {kind, distance}));
    };
    EXPECT_TRUE(same_bytes(asks(first, "bgp", "one", 0, 20), "00000000 0000 @14"));
    EXPECT_TRUE(same_bytes(asks(first, "bgp", "two", 0, 20), "00000000 0001 @14"));
    EXPECT_TRUE(same_bytes(asks(first, "bgp", "one", 3, 20), "00000000 0000 @14")) << "again";
    EXPECT_TRUE(same_bytes(asks(second, "bgp", "one", 0, 0), "00000010 ffff @14")) << "that of another client";
    EXPECT_TRUE(same_bytes(asks(first, "", "", 0, 0), "00000016 ffff @14"));
    EXPECT_TRUE(same_bytes(asks(first, "x", "", 4, 0), "00000016 ffff @14")) << "kind";
    EXPECT_TRUE(same_bytes(asks(first, "x", "", 0, 256), "00000016 ffff @14")) << "distance";
    EXPECT_TRUE(same_bytes(asks(first, std::string(41, 'x').c_str(), "", 0, 0), "00000016 ffff @14")) << "a name without an end";
    for (int id = 2; id != 96; ++id)
        EXPECT_EQ(rig.add_protocol(first, "p" + std::to_string(id)), id);
    EXPECT_EQ(rig.result_of(first, register_request("one more", "", {0})), uint32_t{ENOSPC});
    EXPECT_EQ(rig.result_of(first, protoid_request(UNREGISTER, 40)), 0u);
    EXPECT_EQ(rig.add_protocol(second, "one more"), 40) << "a forgotten identifier is given again";
}

TEST(protocol, only_the_owner_may)
{
    protocol_rig_td rig;
    for (const uint32_t command : {PURGE, MODIFY, COMPLETE, uint32_t{30}, CLEAR, UNREGISTER}) {
        EXPECT_EQ(rig.result_of(rig.watcher, protoid_request(command, 0)), uint32_t{EPERM}) << command;
        for (const rib_protoid_td id : std::initializer_list<rib_protoid_td>{17, 96})
            EXPECT_EQ(rig.result_of(rig.session, protoid_request(command, id)), NOT_FOUND) << command;
        EXPECT_EQ(rig.result_of(rig.session, protoid_request(command, 0)), 0u) << command;
    }
}

TEST(protocol, names)
{
    rig_td rig;
    rib_session &session = rig.client();
    rig.send(session, register_request("bgp", "one", {3}));
    rig.send(session, register_request("isis", "two", {0}));
    for (const auto &[names, id] : {std::pair{"'isis' @41 'two' @88", 1u}, {"'bgp' @41 'one' @87 02", 0xFFFFu}})
        EXPECT_EQ(get32(rig.send(session, request(FIND, hex(names))), 2) & 0xFFFF, id) << names;
    /* Identifiers 1, 50 and 0, in host order. */
    EXPECT_TRUE(same_bytes(rig.send(session, request(NAMES, hex("@4 01 00 32 @196 0003"), 10)),
                           "@4 'isis' @45 'two' @168 'bgp' @209 'one' @7884"));
    EXPECT_EQ(rig.result_of(session, request(NAMES, hex("@196 0061"), 10)), uint32_t{EINVAL});
}

TEST(protocol, a_modified_distance_chooses_again)
{
    protocol_rig_td rig({0, 20});
    rig.send(rig.session, load(rig.add_protocol(rig.session, "second", {0, 30})));
    EXPECT_EQ(rig.result_of(rig.session, request(MODIFY, hex("@8 00000028 @20"))), 0u);
    EXPECT_EQ(rig.found(rig.session, "2001:db9::1"), "2001:db9::/32 state 1 protocol 1 fe80::a of 1");
    EXPECT_EQ(rig.result_of(rig.session, request(MODIFY, hex("@8 00000100 @20"))), uint32_t{EINVAL});
}

TEST(protocol, withdrawals)
{
    /* The command, its word, its result, the prefixes that are left in the two tables. */
    const std::tuple<const char *, uint32_t, uint32_t, errcode, uint32_t, uint32_t> cases[] = {
        {"unregister and withdraw", UNREGISTER, 0, 0, 0, 0},
        {"unregister and hold", UNREGISTER, 1, 0, 2, 2},
        {"unregister and what", UNREGISTER, 2, EINVAL, 2, 2},
        {"purge all tables", PURGE, 0, 0, 0, 0},
        {"purge one table", PURGE, TABLE, 0, 0, 2},
        {"purge a table that is not there", PURGE, 5, 0, 2, 2},
        {"clear one table", CLEAR, 77, 0, 2, 0},
        {"complete an update", COMPLETE, 0, 0, 2, 2},
    };
    for (const auto &[name, command, word, result, first, second] : cases) {
        protocol_rig_td rig;
        rig.send(rig.session, load(0, 77));
        EXPECT_EQ(rig.result_of(rig.session, protoid_request(command, 0, word)), result) << name;
        EXPECT_EQ(rig.prefixes(), first) << name;
        EXPECT_EQ(rig.prefixes(77), second) << name;
    }
}

TEST(protocol, a_client_dies_and_returns)
{
    protocol_rig_td rig;
    rig.send(rig.session, protoid_request(COMPLETE, 0));
    rib_server_disconnect(rig.server, &rig.session);
    EXPECT_EQ(rig.found(rig.watcher, "2001:db9::"), "2001:db9::/32 state 3 protocol 0 fe80::a of 1");

    rig.now += 119'999;
    rib_server_expire(rig.server);
    rib_session &returned = rig.client("bgp");
    EXPECT_EQ(rig.add_protocol(returned, "bgp"), 0);
    EXPECT_EQ(rib_server_deadline(rig.server), RIB_NEVER) << "who returned is not swept by the clock";
    EXPECT_EQ(get32(rig.send(rig.watcher, status_request(TABLE)), 4), 1u) << "not complete before it says so again";

    /* One of two paths of one of two routes is sent again. */
    EXPECT_EQ(results_of(rig.send(returned, single_batch(TABLE, 0, {record({"2001:db8::", 32, {VIA_B}})}))), "r4 a4");
    EXPECT_EQ(rig.found(returned, "2001:db8::"), "2001:db8::/32 state 1 protocol 0 fe80::a of 2");
    EXPECT_EQ(rig.found(returned, "2001:db9::"), "2001:db9::/32 state 3 protocol 0 fe80::a of 1");
    rig.send(returned, single_batch(TABLE, 0, {hex("03 000000")})); // complete
    EXPECT_EQ(rig.found(returned, "2001:db8::"), "2001:db8::/32 state 1 protocol 0 fe80::b of 1");
    EXPECT_EQ(rig.found(returned, "2001:db9::"), "none");
    EXPECT_EQ(get32(rig.send(rig.watcher, status_request(TABLE)), 4), 3u);
}

TEST(protocol, hold_times)
{
    /* What was asked for, and the deadline after a death at 1000 ms: the server's, its own, none. */
    const std::pair<uint32_t, uint64_t> cases[] = {{0, 121'000}, {7, 8'000}, {0xFFFFFFFF, RIB_NEVER}};
    for (const auto &[asked, deadline] : cases) {
        protocol_rig_td rig({0, 0, asked});
        const bool ends = deadline != RIB_NEVER;
        rib_server_disconnect(rig.server, &rig.session);
        EXPECT_EQ(rib_server_deadline(rig.server), deadline);
        rig.now = deadline - 1;
        rib_server_expire(rig.server);
        EXPECT_EQ(rig.prefixes(), 2u) << asked;
        rig.now += ends;
        rib_server_expire(rig.server);
        EXPECT_EQ(rig.prefixes(), ends ? 0u : 2u) << asked;
        EXPECT_EQ(rig.add_protocol(rig.watcher, "other"), ends ? 0 : 1) << "forgotten with its last route";
    }
}

TEST(protocol, purges)
{
    protocol_rig_td rig;
    const auto purge_client = [&](const char *node) {
        return rig.result_of(rig.watcher, request(PURGE_CLIENT, hex(std::string("'bgp' @40 '") + node + "' @76")));
    };
    EXPECT_EQ(purge_client("node1"), uint32_t{EBUSY});
    rib_server_disconnect(rig.server, &rig.session);
    EXPECT_EQ(purge_client("node2"), NOT_FOUND);

    rib_session &returned = rig.client("bgp");
    rig.add_protocol(returned, "bgp");
    rig.send(returned, single_batch(TABLE, 0, {record({"2001:db9::", 32, {VIA_A}})}));
    EXPECT_EQ(rig.result_of(returned, request(PURGE, hex("@8 00000001 @16"))), 0u) << "what is stale";
    EXPECT_EQ(rig.found(returned, "2001:db8::"), "none");
    EXPECT_EQ(rig.prefixes(), 1u);

    rib_server_disconnect(rig.server, &returned);
    EXPECT_EQ(purge_client("node1"), 0u);
    EXPECT_EQ(rig.prefixes(), 0u);
    EXPECT_EQ(purge_client("node1"), NOT_FOUND);
}

} // namespace
