/*
 * Registrations of next hops: what is told of them and in which order, what it costs, and messages that are not what they
 * seem.
 */
#include <cerrno>
#include <tuple>

#include "tests/server/updates.h"

namespace
{

enum : uint32_t { OPEN, REGISTER, UNREGISTER, CONVERGE, NO_CONVERGE, SYNC, FINISH, CONTINUE };

/* Routes of one protocol, and a client that follows next hops. */
struct hops_td : rig_td {
    explicit hops_td(rib_server_options options = {}) : rig_td(options) {}

    void put(const std::vector<route_td> &routes, const bytes_t &marker = {})
    {
        std::vector<bytes_t> records;
        for (const route_td &route : routes)
            records.push_back(record(route));
        send(owner, single_batch(TABLE, direct, records.empty() ? std::vector<bytes_t>{marker} : records));
    }
    void put(const std::string &prefix, uint8_t len, uint32_t interface)
    {
        put({{prefix, len, {{"::", interface, 0, 0, interface == 0}}, interface != 0, 0x01020304}});
    }
    std::string fetch() { return told(send(session, FETCH), server.options.msg_version); }

    rib_session &owner = client("owner"), &session = client();
    rib_protoid_td direct = add_protocol(owner, "direct", {1, 3});
};

TEST(next_hop_batch, told_in_order_and_only_what_changed)
{
    for (const uint32_t version : {0u, 1u}) {
        hops_td rig({.msg_version = version});
        const auto ask = [&](const std::vector<hop_td> &hops) { EXPECT_EQ(word_of(rig.send(rig.session, next_hops(hops))), 0u); };
        const std::string one = "hop 1 via 2001:db8::1/32 of 0", two = "hop 2 via 2001:db8::2/32 of 0";
        const std::tuple<const char *, std::function<void()>, std::string> steps[] = {
            {"in the order of the batch",
             [&] {
                 ask({{OPEN}, {REGISTER, "2001:db8::2", 2}, {CONVERGE}, {REGISTER, "2001:db8::1", 1}});
             },
             "hop 2 lost; all told; hop 1 lost #1"},
            {"a change reaches both", [&] { rig.put("2001:db8::", 32, 7); }, one + "; " + two + " #1"},
            {"nothing new", [&] { rig.put("2001:db9::", 32, 7); }, " #1"},
            {"changed and changed back",
             [&] {
                 rig.put("2001:db8::1", 128, 8);
                 rig.put("2001:db8::1", 128, 0);
             },
             " #1"},
            {"the same in one message",
             [&] {
                 rig.put({{"2001:db8::1", 128, {{.interface = 8}}}, {"2001:db8::1", 128, {{.interface = 8, .withdraw = true}}}});
             },
             " #1"},
            {"one place in the line, behind it the marker",
             [&] {
                 rig.put("2001:db8::1", 128, 8);
                 rig.put({}, hex("04 @12"));
                 rig.put("2001:db8::", 32, 9);
                 rig.put({}, hex("04 @12"));
             },
             "hop 1 via 2001:db8::1/128 of 0; " + two + "; all told #1"},
            {"registered again, and its end",
             [&] {
                 ask({{CONTINUE}, {REGISTER, "2001:db8::1", 3}, {UNREGISTER, "2001:db8::2"}});
             },
             "hop 3 via 2001:db8::1/128 of 0 #1"},
            {"ended while it waits",
             [&] {
                 ask({{REGISTER, "2001:db8::4", 4}, {CONVERGE}, {UNREGISTER, "2001:db8::4"}, {NO_CONVERGE}, {FINISH}});
                 rig.put({}, hex("04 @12"));
             },
             " #1"},
            {"too short a prefix",
             [&] {
                 ask({{REGISTER, "2001:db8::5", 5, TABLE, 33}});
             },
             "hop 5 lost #1"},
            {"long enough", [&] { rig.put("2001:db8::", 33, 7); }, "hop 5 via 2001:db8::5/33 of 0 #1"},
            {"the end of its redistributions leaves next hops",
             [&] {
                 rig.send(rig.session, redist("direct"));
                 ask({{REGISTER, "2001:db9::1", 6}});
                 rig.send(rig.session, request_of(17, {}));
             },
             "hop 6 via 2001:db9::1/32 of 0 #1"},
            {"the protocol is of another kind", [&] { rig.send(rig.owner, request(11, bytes_t(20))); },
             "hop 3 via 2001:db8::1/128 of 0; hop 5 via 2001:db8::5/33 of 0; hop 6 via 2001:db9::1/32 of 0 #1"},
            {"a single registration takes its place",
             [&] {
                 rig.put("2001:db8::1", 128, 0);
                 rig.send(rig.session, request_of(20, {{0, TABLE}}, {{8, "2001:db8::1"}}));
             },
             " #1"},
            {"and is told of changes", [&] { rig.put("2001:db8::1", 128, 5); }, "hop 0 via 2001:db8::1/128 of 0 #1"},
            {"all of the owner's routes go", [&] { rig.send(rig.owner, protoid_request(10, rig.direct)); },
             "hop 5 lost; hop 0 lost; hop 6 lost #1"},
        };
        for (const auto &[name, work, expected] : steps) {
            work();
            EXPECT_EQ(rig.fetch(), expected) << name;
        }
    }
}

TEST(next_hop_batch, synchronous_registration_and_the_record)
{
    hops_td rig;
    rig.put("2001:db8::", 32, 0x05060708);
    rib_session &stranger = *rib_server_connect(rig.server, {});
    const char *found = "00000003 20010db8 @19 09 @24 0020 0000 20010db8 @43 09 @48 e0800000 0003 0001 01020304 05060708 00000000"
                        "00000000 00000020 00000000 0a0b0c0d @88";
    const auto refused = [](const std::string &code, const std::string &table, const std::string &addr, const std::string &len) {
        return "@26 ffff " + addr + " @48 " + table + " @64 " + code + " @72 " + len + " 00000000 0a0b0c0d @88";
    };
    const std::string addr = "20010db8 @43 09", ones = "ff*16", table = "e0800000";
    const std::tuple<const char *, rib_session &, hop_td, std::string> cases[] = {
        {"reached", rig.session, {SYNC, "2001:db8::9", 0x0A0B0C0D, TABLE, 32}, found},
        {"not reached", rig.session, {SYNC, "2001:db8::9", 0x0A0B0C0D, TABLE, 33}, refused("00000000", table, addr, "00000021")},
        {"too long", rig.session, {SYNC, "2001:db8::9", 0x0A0B0C0D, TABLE, 257}, refused("0000004a", table, addr, "00000101")},
        {"no table", rig.session, {SYNC, "2001:db8::9", 0x0A0B0C0D, 0, 2}, refused("0000004a", "00000000", addr, "00000002")},
        {"all ones",
         rig.session,
         {SYNC, "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", 0x0A0B0C0D, TABLE, 2},
         refused("0000004a", table, ones, "00000002")},
        {"not introduced", stranger, {SYNC, "2001:db8::9", 0x0A0B0C0D, TABLE, 2}, refused("00000001", table, addr, "00000002")},
    };
    for (const auto &[name, session, hop, reply] : cases)
        EXPECT_TRUE(same_bytes(rig.send(session, next_hops({hop})), reply)) << name;
    EXPECT_EQ(rig.fetch(), " #1") << "the reply told it";
    rig.send(rig.session, next_hops({{REGISTER, "2001:db8::9", 0x0A0B0C0D, TABLE, 32}}));
    const fetched_td got = fetched(rig.send(rig.session, FETCH));
    EXPECT_EQ(got.messages.at(0).word, TABLE);
    EXPECT_TRUE(same_bytes(got.messages.at(0).payload, tlv(1, hex(found)) + DELIMITER));
}

/* Of a message every prefix, and every byte changed: refused whole, or a message of its own right. */
TEST(next_hop_batch, malformed)
{
    hops_td rig;
    const bytes_t message = next_hops({{CONTINUE}, {REGISTER, "2001:db8::1", 1}, {CONVERGE}, {UNREGISTER, "::2"}, {FINISH}});
    const auto holds_nothing = [&] {
        const rib_next_hops &hops = rig.session.next_hops;
        return hops.registered.empty() && hops.converging.empty() && !rig.session.consumer.waits();
    };
    for (const bytes_t &whole : {message, next_hops({{SYNC, "2001:db8::1"}})})
        for (size_t len = 4; len != whole.size(); ++len)
            EXPECT_EQ(word_of(rig.send(rig.session, slice(whole, 0, len))), uint32_t{EBADMSG}) << len;
    const std::vector<hop_td> refused[] = {{},
                                           {{REGISTER, "::", 1, 0}},
                                           {{UNREGISTER, "::", 1, 0}},
                                           {{CONVERGE, "::", 1, 0}},
                                           {{NO_CONVERGE, "::", 1, 0}},
                                           {{REGISTER, "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"}},
                                           {{REGISTER, "::1", 0, TABLE, 129}},
                                           {{CONVERGE}, {OPEN}},
                                           {{CONVERGE}, {CONTINUE}},
                                           {{FINISH}, {CONVERGE}},
                                           {{OPEN}, {SYNC, "::1"}},
                                           {{8}},
                                           std::vector<hop_td>(101, {CONVERGE})};
    for (const std::vector<hop_td> &hops : refused)
        EXPECT_EQ(word_of(rig.send(rig.session, next_hops(hops))), uint32_t{EBADMSG}) << hops.size();
    EXPECT_TRUE(holds_nothing());
    for (size_t at = 4; at != message.size(); ++at)
        for (const int bits : {0x01, 0x04, 0x80, 0xFF}) {
            const size_t within = at < 28 ? 0 : (at - 28) % 56;
            const bool framing = at < 28 ? at >= 24 : (within >= 4 && within < 8) || within >= 52;
            bytes_t changed = message;
            changed[at] ^= static_cast<uint8_t>(bits);
            const errcode result = word_of(rig.send(rig.session, changed));
            EXPECT_TRUE(result == EBADMSG || (result == 0 && !framing)) << at;
            EXPECT_EQ(holds_nothing(), result != 0) << at;
            rib_next_hops_end(rig.server, rig.session);
            rig.session.consumer.line.clear();
        }
    EXPECT_EQ(word_of(rig.send(rig.session, next_hops({{UNREGISTER, "::1", 0, TABLE, 129}}))), 0u) << "a length not read";
    EXPECT_EQ(word_of(rig.send(*rib_server_connect(rig.server, {}), next_hops({{FINISH}}))), uint32_t{EPERM});
}

TEST(next_hop_batch, no_more_than_a_session_may_have)
{
    hops_td rig;
    for (uint32_t table = 1; table != RIB_SESSION_NEXT_HOPS; ++table)
        rig.send(rig.session, next_hops({{REGISTER, "::1", 0, table}, {CONVERGE, "::", 0, table}}));
    const std::pair<std::vector<hop_td>, errcode> cases[] = {
        {{{REGISTER, "::2"}, {REGISTER, "::3"}}, ENOSPC},
        {{{CONVERGE, "::", 0, 70'000}, {CONVERGE, "::", 0, 70'001}}, ENOSPC},
        {{{REGISTER, "::2"}, {CONVERGE, "::", 0, 70'000}}, 0},
        {{{REGISTER, "::3"}, {UNREGISTER, "::2"}}, ENOSPC},
        {{{REGISTER, "::2"}, {CONVERGE, "::", 0, 7}}, 0},
    };
    for (const auto &[hops, result] : cases)
        EXPECT_EQ(word_of(rig.send(rig.session, next_hops(hops))), result) << hops[0].addr;
    EXPECT_EQ(get32(rig.send(rig.session, next_hops({{SYNC, "::3"}})), 64), uint32_t{ENOSPC});
    EXPECT_EQ(rig.session.next_hops.registered.size(), RIB_SESSION_NEXT_HOPS);
}

/* Ten thousand next hops, followed by two clients: a change costs what it affects. */
TEST(next_hop_batch, cost)
{
    hops_td rig;
    rig.put("2001:db8::", 32, 7);
    rib_session &other = rig.client();
    for (uint32_t hop = 0; hop != 10'000; ++hop)
        for (rib_session *session : {&rig.session, &other})
            rig.send(*session, next_hops({{REGISTER, "2001:db8::1:" + std::to_string(hop), hop}}));
    EXPECT_EQ(rig.server.next_hops.resolved, 10'000u) << "resolved once for both";
    const rib_next_hop_steps &steps = rig.server.tables.find(TABLE)->audience->steps;
    const std::tuple<const char *, std::vector<route_td>, uint64_t, uint64_t> changes[] = {
        {"one of them", {{"2001:db8::1:5000", 128, {{.interface = 7}}}}, 1, 1},
        {"none", {{"2001:db9::", 32, {{.interface = 7}}}}, 0, 0},
        {"a change that comes to another", std::vector<route_td>(100, {"2001:db8::1:77", 128, {{.interface = 7}}}), 1, 1},
        {"all", {{"2001:db8::", 32, {{.interface = 7}}, true, 5}}, 10'000, 9'998},
    };
    for (const auto &[name, routes, visited, resolved] : changes) {
        const uint64_t before[] = {steps.visited(), rig.server.next_hops.resolved};
        rig.put(routes);
        EXPECT_EQ(steps.visited() - before[0], visited) << name;
        EXPECT_EQ(rig.server.next_hops.resolved - before[1], resolved) << name;
    }
    for (rib_session *session : {&rig.session, &other})
        rib_server_disconnect(rig.server, session);
    EXPECT_TRUE(rig.server.next_hops.tracked.empty() && !rig.server.tables.find(TABLE)->audience);
}

} // namespace
