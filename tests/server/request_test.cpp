/*
 * Single requests: the introduction of a client, lookups, and messages that are not what they should be.
 */
#include <algorithm>
#include <tuple>

#include "tests/server/rig.h"

namespace
{

TEST(request, bind_data)
{
    rig_td rig({.msg_version = 1});
    rig.server.node_id = 0x01020304;
    rib_session *session = rib_server_connect(rig.server, {});
    bytes_t bind = bind_request(std::string(40, 'p'), std::string(32, 'n'));
    put_net(&bind, 24, 0, 4);
    for (uint8_t at = 0; at != 72; ++at)
        bind[24u + 8u + at] = static_cast<uint8_t>(0x40 + at); /* event and pulse value */
    const bytes_t answer =
        hex("00000000 01020304 00000001 00000000 0068 0008 01 01 0000 00000001 @36"); /* version 1 of updates */
    EXPECT_TRUE(same_bytes(rig.send(*session, bind), answer));
    EXPECT_EQ(session->process, std::string(39, 'p'));
    EXPECT_EQ(session->node, std::string(31, 'n'));
    EXPECT_TRUE(session->has_event);
    EXPECT_EQ(session->event.front(), 0x40);
    EXPECT_EQ(session->event.back(), 0x7F);
    EXPECT_EQ(session->pulse_value, 0x8081828384858687u);
    EXPECT_TRUE(same_bytes(rig.send(*session, bind), answer)) << "again";

    rib_session *second = rib_server_connect(rig.server, {});
    put_net(&bind, 24 + 156, 45, 2);
    EXPECT_TRUE(same_bytes(rig.send(*second, bind), "0000004a @20")) << "no option record";
    EXPECT_FALSE(second->bound);
}

TEST(request, bare_messages)
{
    const std::tuple<const char *, bytes_t, bool, const char *> cases[] = {
        {"nothing at all", {}, true, "0000004a"},
        {"a message type that is not known", hex("7780 0000 00000000"), true, "0000004a"},
        {"less than a header", hex("0080a505 @23"), true, "0000004a"},
        {"a command that is not known", request(0x20, {}, 0), true, "00000026"},
        {"a command without a code", request(0x0F, {}, 0), true, "00000026"},
        {"any command before the introduction", request(0x0F, {}, 0), false, "00000001"},
        {"a status before the introduction", status_request(1), false, "00000001 @20"},
        {"a batch before the introduction", multi_batch({}), false, "00000030 @24 fffe @48"},
        {"forwarding-table updates", request(27, {}), true, "00000000"},
        {"forwarding-table updates without a list", request(27, {}, 0), true, "0000004a"},
        {"a body too long", request(23, {}, 16), true, "0000004a @20"},
        {"a list without its end", request(23, hex("00000001 00000000 0001 0000"), 0), true, "0000004a @20"},
    };
    for (const auto &[name, message, bound, reply] : cases) {
        rig_td rig;
        rib_session &session = bound ? rig.client() : *rib_server_connect(rig.server, {});
        EXPECT_TRUE(same_bytes(rig.send(session, message), reply)) << name;
    }
}

/* Every command with every length: an answer of its layout, without an old byte in it. */
TEST(request, every_truncation)
{
    rig_td rig;
    rib_session &session = rig.client();
    for (uint32_t command = 0; command != 0x22; ++command)
        for (size_t sent = 0; sent != 256; ++sent) {
            const bytes_t reply = rig.send(session, request(command, {}, sent));
            ASSERT_GE(reply.size(), 4u) << command << " with " << sent;
            ASSERT_EQ(std::count(reply.begin(), reply.end(), OLD_BYTE), 0) << command << " with " << sent;
        }
}

/* Cut anywhere, or whatever a byte becomes, it is answered in its layout, without an old byte. */
TEST(request, anything_may_come)
{
    const std::vector<addr_td> addr = {{8, "2001:db8::"}};
    const std::pair<bytes_t, size_t> cases[] = {
        /* a request that is in order, and the length of its refusal */
        {request_of(1, {{4, TABLE}, {24, 32, 1}, {52, 1}, {96, 0x100001}, {112, 1}}, addr), 12},
        {request_of(2, {{4, TABLE}, {24, 32, 2}}, addr), 8},
        {request_of(14, {{0, TABLE}, {24, 32}, {32, 1}, {44, 8, 2}}, addr), 12},
        {request_of(0, {{0, TABLE}}, addr), 40},
        {request_of(3, {{0, TABLE}}, addr), 40},
        {request_of(4, {{0, TABLE}}, addr), 40},
        {request_of(5, {{0, TABLE}}), 16},
        {request_of(20, {{0, TABLE}}, addr), 136},
        {request_of(21, {{0, TABLE}}, addr), 4},
        {request_of(22, {{0, TABLE}, {4, 0xFFFF}, {48, 128}, {52, 184}}, {{32, "2001:db8::"}}), 40},
        {request_of(12, {{0, 'b', 1}, {88, 20}, {92, TABLE}, {100, 0xFFFF}}), 20},
        {request_of(13, {{92, TABLE}}), 20},
        {request_of(17, {{0, TABLE}}), 12},
        {request_of(26, {{84, TABLE}, {144, 9000}}), 9},
    };
    rig_td rig;
    rib_session &session = rig.client();
    rig.add_protocol(session, "b", {1});
    const auto answer = [&](const bytes_t &message) {
        rig.send(session, cases[0].first); // there is a route for whatever comes
        const bytes_t reply = rig.send(session, message);
        EXPECT_EQ(std::count(reply.begin(), reply.end(), OLD_BYTE), 0);
        return reply;
    };
    for (const auto &[message, refusal] : cases) {
        SCOPED_TRACE(get32(message, 20));
        EXPECT_GE(answer(message).size(), refusal);
        for (size_t at = 24; at != message.size() && !HasFailure(); ++at) {
            bytes_t cut = answer(slice(message, 0, at));
            EXPECT_TRUE(cut.size() == refusal && get32(cut, 0) == EBADMSG) << at;
            for (const uint8_t value : hex("01 02 7f 80 81 ff")) {
                bytes_t flipped = message;
                flipped[at] = value;
                EXPECT_GE(answer(flipped).size(), refusal) << at;
            }
        }
    }
}

TEST(request, lookups)
{
    rig_td rig;
    rib_session &session = rig.client();
    const rib_protoid_td id = rig.add_protocol(session, "bgp");
    const std::vector<path_td> via = {{"fe80::a", 1}};
    rig.send(session, single_batch(TABLE, id,
                                   {record({"2001:db8:1:1::", 64, via}), record({"2001:db8:1::", 48, via}),
                                    record({"2001:db8::", 32, via}), record({"::", 0, via})}));
    /* By address, length and flags a route is found whose text begins so. */
    const std::tuple<const char *, const char *, uint32_t, uint32_t, std::string> cases[] = {
        {"longest of at most 63 bits", "2001:db8:1:1::1", 63, 0, "2001:db8:1::/48 "},
        {"the default", "3fff::", 128, 0, "::/0 "},
        {"exact, with bits behind the length", "2001:db8:1:ffff::", 48, 1, "2001:db8:1::/48 "},
        {"exact, but longer", "2001:db8:1::", 47, 1, "none"},
        {"first longer", "2001:db8::", 32, 4, "2001:db8:1::/48 "},
        {"in a range", "2001:db8:1:1::1", 63u << 16 | 33, 0x4000, "2001:db8:1::/48 "},
        {"in a range upside down", "::", 33u << 16 | 34, 0x4000, "22"},
        {"more than 128 bits", "::", 129, 0, "22"},
        {"more than 128 bits in a range", "::", 129u << 16, 0x4000, "22"},
        {"flags that exclude one another", "::", 128, 5, "22"},
        {"flags that are not known", "::", 128, 0x1000, "22"},
    };
    for (const auto &[name, addr, length, flags, prefix] : cases)
        EXPECT_EQ(rig.found(session, addr, length, flags).substr(0, prefix.size()), prefix) << name;
    EXPECT_TRUE(same_bytes(rig.send(session, lookup_request("::", 128, 0, 99)), "42d29400 @16"));
}

} // namespace
