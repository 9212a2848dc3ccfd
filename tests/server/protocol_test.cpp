/*
 * Protocols through their lives: who may do what, and what happens to the routes when a client dies, returns, or does
 * not return. The clock stands still unless a test moves it.
 */
#include <cerrno>

#include <gtest/gtest.h>

#include "tests/server/rig.h"

namespace
{

constexpr uint32_t NOT_FOUND = 0x42D29400;
const path_td VIA_A = {"fe80::a", 1};
const path_td VIA_B = {"fe80::b", 1};

enum command_t : uint32_t {
    PURGE = 7,
    FIND = 8,
    REGISTER = 9,
    UNREGISTER = 10,
    MODIFY = 11,
    COMPLETE = 19,
    FREE_SIDS = 30,
    CLEAR = 31
};

bytes_td load(rib_protoid_td protoid, rib_tableid_td table = TABLE)
{
    return single_batch(table, protoid, {record({"2001:db8::", 32, {VIA_A, VIA_B}}), record({"2001:db9::", 32, {VIA_A}})});
}
uint32_t prefixes(rig_td &rig, rib_session &session, rib_tableid_td table = TABLE)
{
    return get32(rig.send(session, status_request(table)), 8);
}
std::string route_of(rig_td &rig, rib_session &session, const char *addr)
{
    return found(rig, session, lookup_request(addr, 128, 0));
}

TEST(protocol, registration)
{
    rig_td rig;
    rib_session &first = rig.client("bgp");
    rib_session &second = rig.client("isis");
    const auto result = [&](rib_session &session, const bytes_td &message) { return get32(rig.send(session, message), 0); };
    EXPECT_EQ(hex_of(rig.send(first, register_request("bgp", "one", {0, 20}))), hex_of(hex("00000000 0000 0000000000000000")));
    EXPECT_EQ(hex_of(rig.send(first, register_request("bgp", "two", {0, 20}))), hex_of(hex("00000000 0001 0000000000000000")));
    EXPECT_EQ(hex_of(rig.send(first, register_request("bgp", "one", {3, 20}))), hex_of(hex("00000000 0000 0000000000000000")));
    EXPECT_EQ(hex_of(rig.send(second, register_request("bgp", "one", {0}))), hex_of(hex("00000010 ffff 0000000000000000")));
    EXPECT_EQ(result(first, register_request("", "", {0})), uint32_t{EINVAL});
    EXPECT_EQ(result(first, register_request("x", "", {4})), uint32_t{EINVAL}) << "kind";
    EXPECT_EQ(result(first, register_request("x", "", {0, 256})), uint32_t{EINVAL}) << "distance";
    EXPECT_EQ(result(first, register_request(std::string(41, 'x'), "", {0})), uint32_t{EINVAL}) << "a name without an end";
    for (int number = 2; number != 96; ++number)
        EXPECT_EQ(rig.add_protocol(first, "p" + std::to_string(number)), number);
    EXPECT_EQ(result(first, register_request("one more", "", {0})), uint32_t{ENOSPC});
    EXPECT_EQ(result(first, protoid_request(UNREGISTER, 40)), 0u);
    EXPECT_EQ(rig.add_protocol(second, "one more"), 40) << "a forgotten identifier is given again";
}

TEST(protocol, only_the_owner_may)
{
    rig_td rig;
    rib_session &owner = rig.client("bgp");
    rib_session &other = rig.client("isis");
    const rib_protoid_td id = rig.add_protocol(owner, "bgp");
    for (const uint32_t command : {PURGE, MODIFY, COMPLETE, FREE_SIDS, CLEAR, UNREGISTER}) {
        EXPECT_EQ(rig.result_of(other, protoid_request(command, id)), uint32_t{EPERM}) << command;
        EXPECT_EQ(rig.result_of(owner, protoid_request(command, 17)), NOT_FOUND) << command;
        EXPECT_EQ(rig.result_of(owner, protoid_request(command, 96)), NOT_FOUND) << command;
        EXPECT_EQ(rig.result_of(owner, protoid_request(command, id)), 0u) << command;
    }
}

TEST(protocol, names)
{
    rig_td rig;
    rib_session &session = rig.client();
    rig.send(session, register_request("bgp", "one", {3}));
    rig.send(session, register_request("isis", "two", {0}));
    const auto find = [&](const char *name, const char *instance, uint32_t kind) {
        bytes_td body(88);
        put_text(body, 0, name);
        put_text(body, 41, instance);
        put32(body, 84, kind);
        return get32(rig.send(session, request(FIND, body, 88, 96)), 2) & 0xFFFF;
    };
    EXPECT_EQ(find("isis", "two", 0), 1u);
    EXPECT_EQ(find("bgp", "one", 3), 0u);
    EXPECT_EQ(find("bgp", "one", 2), 0xFFFFu);
    EXPECT_EQ(find("bgp", "two", 0), 0xFFFFu);

    bytes_td body(198);
    body[4] = 1; /* identifiers 1, 50 and 0, in host order */
    body[6] = 50;
    put16(body, 196, 3);
    const bytes_td reply = rig.send(session, request(28, body, 198, 208));
    bytes_td expected(7884);
    put_text(expected, 4, "isis");
    put_text(expected, 4 + 41, "two");
    put_text(expected, 4 + 2 * 82, "bgp");
    put_text(expected, 4 + 2 * 82 + 41, "one");
    EXPECT_TRUE(reply == expected);
    put16(body, 196, 97);
    EXPECT_EQ(rig.result_of(session, request(28, body, 198, 208)), uint32_t{EINVAL});
}

TEST(protocol, a_modified_distance_chooses_again)
{
    rig_td rig;
    rib_session &session = rig.client();
    const rib_protoid_td first = rig.add_protocol(session, "first", {0, 20});
    const rib_protoid_td second = rig.add_protocol(session, "second", {0, 30});
    rig.send(session, load(first));
    rig.send(session, load(second));
    bytes_td modify(20);
    put16(modify, 4, first);
    put32(modify, 8, 40);
    EXPECT_EQ(rig.result_of(session, request(MODIFY, modify, 20, 28)), 0u);
    EXPECT_EQ(route_of(rig, session, "2001:db9::1"), "2001:db9::/32 state 1 protocol 1 via fe80::a of 1");
    put32(modify, 8, 256);
    EXPECT_EQ(rig.result_of(session, request(MODIFY, modify, 20, 28)), uint32_t{EINVAL});
}

struct withdrawal_td {
    const char *name;
    uint32_t command;
    uint32_t word;
    errcode result;
    uint32_t left[2]; /* prefixes of the two tables */
};
const withdrawal_td withdrawals[] = {
    {"unregister and withdraw", UNREGISTER, 0, 0, {0, 0}},
    {"unregister and hold", UNREGISTER, 1, 0, {2, 2}},
    {"unregister and what", UNREGISTER, 2, EINVAL, {2, 2}},
    {"purge all tables", PURGE, 0, 0, {0, 0}},
    {"purge one table", PURGE, TABLE, 0, {0, 2}},
    {"purge a table that is not there", PURGE, 5, 0, {2, 2}},
    {"clear one table", CLEAR, 77, 0, {2, 0}},
    {"complete an update", COMPLETE, 0, 0, {2, 2}},
};
TEST(protocol, withdrawals)
{
    for (const withdrawal_td &c : withdrawals) {
        SCOPED_TRACE(c.name);
        rig_td rig;
        rib_session &session = rig.client();
        const rib_protoid_td id = rig.add_protocol(session, "bgp");
        rig.send(session, load(id));
        rig.send(session, load(id, 77));
        EXPECT_EQ(rig.result_of(session, protoid_request(c.command, id, c.word)), c.result);
        EXPECT_EQ(prefixes(rig, session), c.left[0]);
        EXPECT_EQ(prefixes(rig, session, 77), c.left[1]);
    }
}

TEST(protocol, a_client_dies_and_returns)
{
    rig_td rig;
    rib_session &watcher = rig.client("watcher");
    rib_session *session = &rig.client("bgp");
    rig.add_protocol(watcher, "watcher");
    EXPECT_EQ(rig.add_protocol(*session, "bgp"), 1);
    rig.send(*session, load(1));
    rig.send(*session, protoid_request(COMPLETE, 1));
    rib_server_disconnect(rig.server, session);
    EXPECT_EQ(route_of(rig, watcher, "2001:db9::"), "2001:db9::/32 state 3 protocol 1 via fe80::a of 1");

    rig.now += 119'999;
    rib_server_expire(rig.server);
    session = &rig.client("bgp");
    EXPECT_EQ(rig.add_protocol(*session, "bgp"), 1);
    EXPECT_EQ(rib_server_deadline(rig.server), RIB_NEVER) << "who returned is not swept by the clock";
    EXPECT_EQ(get32(rig.send(watcher, status_request(TABLE)), 4), 1u) << "not complete before it says so again";

    /* One of two paths of one of two routes is sent again. */
    EXPECT_EQ(results_of(rig.send(*session, single_batch(TABLE, 1, {record({"2001:db8::", 32, {VIA_B}})}))), "r4 a4");
    EXPECT_EQ(route_of(rig, watcher, "2001:db8::"), "2001:db8::/32 state 1 protocol 1 via fe80::a of 2");
    EXPECT_EQ(route_of(rig, watcher, "2001:db9::"), "2001:db9::/32 state 3 protocol 1 via fe80::a of 1");
    rig.send(*session, single_batch(TABLE, 1, {complete_marker()}));
    EXPECT_EQ(route_of(rig, watcher, "2001:db8::"), "2001:db8::/32 state 1 protocol 1 via fe80::b of 1");
    EXPECT_EQ(route_of(rig, watcher, "2001:db9::"), "none");
    EXPECT_EQ(get32(rig.send(watcher, status_request(TABLE)), 4), 3u);
}

struct hold_td {
    const char *name;
    uint32_t asked;
    uint64_t deadline; /* after a death at 1000 ms */
};
TEST(protocol, hold_times)
{
    const hold_td cases[] = {{"the server's", 0, 121'000}, {"its own", 7, 8'000}, {"no end", 0xFFFFFFFF, RIB_NEVER}};
    for (const hold_td &c : cases) {
        SCOPED_TRACE(c.name);
        rig_td rig;
        rib_session &watcher = rig.client("watcher");
        rib_session &session = rig.client("bgp");
        const rib_protoid_td id = rig.add_protocol(session, "bgp", {0, 0, c.asked});
        rig.send(session, load(id));
        rib_server_disconnect(rig.server, &session);
        EXPECT_EQ(rib_server_deadline(rig.server), c.deadline);
        rig.now = c.deadline == RIB_NEVER ? RIB_NEVER - 1 : c.deadline - 1;
        rib_server_expire(rig.server);
        EXPECT_EQ(prefixes(rig, watcher), 2u);
        if (c.deadline == RIB_NEVER)
            continue;
        rig.now = c.deadline;
        rib_server_expire(rig.server);
        EXPECT_EQ(prefixes(rig, watcher), 0u);
        EXPECT_EQ(rig.add_protocol(watcher, "other"), id) << "forgotten with its last route";
    }
}

TEST(protocol, purges)
{
    rig_td rig;
    rib_session &watcher = rig.client("watcher");
    rib_session &session = rig.client("bgp");
    const rib_protoid_td id = rig.add_protocol(session, "bgp");
    rig.send(session, load(id));
    EXPECT_EQ(rig.result_of(watcher, purge_client_request("bgp", "node1")), uint32_t{EBUSY});
    rib_server_disconnect(rig.server, &session);
    EXPECT_EQ(rig.result_of(watcher, purge_client_request("bgp", "node2")), NOT_FOUND);

    rib_session &returned = rig.client("bgp");
    rig.add_protocol(returned, "bgp");
    rig.send(returned, single_batch(TABLE, id, {record({"2001:db9::", 32, {VIA_A}})}));
    bytes_td stale_only(16);
    put16(stale_only, 0, id);
    put32(stale_only, 8, 1);
    EXPECT_EQ(rig.result_of(returned, request(PURGE, stale_only, 16, 24)), 0u);
    EXPECT_EQ(route_of(rig, watcher, "2001:db8::"), "none");
    EXPECT_EQ(prefixes(rig, watcher), 1u);

    rib_server_disconnect(rig.server, &returned);
    EXPECT_EQ(rig.result_of(watcher, purge_client_request("bgp", "node1")), 0u);
    EXPECT_EQ(prefixes(rig, watcher), 0u);
    EXPECT_EQ(rig.result_of(watcher, purge_client_request("bgp", "node1")), NOT_FOUND);
}

} // namespace
