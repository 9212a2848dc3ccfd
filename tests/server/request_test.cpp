/*
 * Single requests: the introduction of a client, lookups, and messages that are not what they should be.
 */
#include <cerrno>

#include <gtest/gtest.h>

#include "tests/server/rig.h"

namespace
{

TEST(request, bind_data)
{
    rig_td rig({.msg_version = 1});
    rig.server.node_id = 0x01020304;
    rib_session *session = rib_server_connect(rig.server, {});
    bytes_td bind = bind_request(std::string(40, 'p'), std::string(32, 'n'));
    put32(bind, 24, 0);
    for (uint8_t at = 0; at != 72; ++at)
        put8(bind, 24u + 8u + at, static_cast<uint8_t>(0x40 + at));      /* event and pulse value */
    const bytes_td answer = hex("00000000 01020304 00000001"             // result, node, client
                                "00000000 0068 0008 01 01 0000 00000001" // bind reply: version 1 of updates
                                "00000000 0000 0000");
    EXPECT_EQ(hex_of(rig.send(*session, bind)), hex_of(answer));
    EXPECT_EQ(session->process, std::string(39, 'p'));
    EXPECT_EQ(session->node, std::string(31, 'n'));
    EXPECT_TRUE(session->has_event);
    EXPECT_EQ(session->event.front(), 0x40);
    EXPECT_EQ(session->event.back(), 0x7F);
    EXPECT_EQ(session->pulse_value, 0x8081828384858687u);
    EXPECT_EQ(hex_of(rig.send(*session, bind)), hex_of(answer)) << "again";

    rib_session *second = rib_server_connect(rig.server, {});
    put16(bind, 24 + 156, 45);
    EXPECT_EQ(hex_of(rig.send(*second, bind)), hex_of(hex("0000004a 00000000 00000000 0000000000000000"))) << "no option record";
    EXPECT_FALSE(second->bound);
}

TEST(request, bare_messages)
{
    const struct {
        const char *name;
        bytes_td message;
        bool bound;
        const char *reply;
    } cases[] = {
        {"nothing at all", hex(""), true, "0000004a"},
        {"a message type that is not known", hex("7480 0000 00000000"), true, "0000004a"},
        {"less than a header", hex("0080a505 00000000 00000000 00000000 00000000 000000"), true, "0000004a"},
        {"a command that is not known", request(0x20, {}, 0, 0), true, "00000026"},
        {"the largest command", request(0xFFFFFFFF, {}, 0, 0), true, "00000026"},
        {"a command without a code", request(0x0F, {}, 0, 0), true, "00000026"},
        {"any command before the introduction", request(0x0F, {}, 0, 0), false, "00000001"},
        {"a status before the introduction", status_request(1), false, "00000001 00000000 00000000 0000000000000000"},
        {"a batch before the introduction", multi_batch({}), false,
         "00000030 00000000 00000000 00000000 00000000 00000000 fffe 0000 00000000 00000000 00000000 00000000 00000000"},
        {"forwarding-table updates", request(27, {}, 0, 8), true, "00000000"},
        {"forwarding-table updates without a list", request(27, {}, 0, 0), true, "0000004a"},
        {"a body too long", request(23, {}, 0, 16), true, "0000004a 00000000 00000000 0000000000000000"},
        {"a list without its end", request(23, hex("00000001 00000000 0001 0000"), 12, 12), true,
         "0000004a 00000000 00000000 0000000000000000"},
    };
    for (const auto &c : cases) {
        rig_td rig;
        rib_session &session = c.bound ? rig.client() : *rib_server_connect(rig.server, {});
        EXPECT_EQ(hex_of(rig.send(session, c.message)), hex_of(hex(c.reply))) << c.name;
    }
}

/* Every command with every length: an answer of its layout, without an old byte in it. */
TEST(request, every_truncation)
{
    rig_td rig;
    rib_session &session = rig.client();
    for (uint32_t command = 0; command != 0x22; ++command)
        for (size_t sent = 0; sent != 256; ++sent) {
            const bytes_td reply = rig.send(session, request(command, {}, 0, sent));
            ASSERT_GE(reply.size(), 4u) << command << " with " << sent;
            ASSERT_EQ(std::count(reply.begin(), reply.end(), OLD_BYTE), 0) << command << " with " << sent;
        }
}

struct lookup_case_td {
    const char *name;
    const char *addr;
    uint32_t length;
    uint32_t flags;
    const char *prefix; /* the route found begins so */
};
const lookup_case_td lookup_cases[] = {
    {"longest of all", "2001:db8:1:1::1", 128, 0, "2001:db8:1:1::/64 "},
    {"longest of at most 63 bits", "2001:db8:1:1::1", 63, 0, "2001:db8:1::/48 "},
    {"longest behind a neighbour", "2001:db8:1:2::1", 128, 0, "2001:db8:1::/48 "},
    {"the default", "3fff::", 128, 0, "::/0 "},
    {"exact", "2001:db8:1::", 48, 1, "2001:db8:1::/48 "},
    {"exact, with bits behind the length", "2001:db8:1:ffff::", 48, 1, "2001:db8:1::/48 "},
    {"exact, but longer", "2001:db8:1::", 47, 1, "none"},
    {"first longer", "2001:db8::", 32, 4, "2001:db8:1::/48 "},
    {"none longer", "2001:db8:1:1::", 64, 4, "none"},
    {"first longer than nothing", "::", 0, 4, "2001:db8::/32 "},
    {"in a range", "2001:db8:1:1::1", 63u << 16 | 33, 0x4000, "2001:db8:1::/48 "},
    {"in a range without routes", "2001:db8:1:1::1", 47u << 16 | 33, 0x4000, "none"},
    {"in a range upside down", "::", 33u << 16 | 34, 0x4000, "22"},
    {"more than 128 bits", "::", 129, 0, "22"},
    {"more than 128 bits in a range", "::", 129u << 16, 0x4000, "22"},
    {"flags that exclude one another", "::", 128, 5, "22"},
    {"flags that are not known", "::", 128, 0x1000, "22"},
};

TEST(request, lookups)
{
    rig_td rig;
    rib_session &session = rig.client();
    const rib_protoid_td id = rig.add_protocol(session, "bgp");
    const path_td via = {"fe80::a", 1};
    const bytes_td batch = single_batch(TABLE, id,
                                        {record({"2001:db8:1:1::", 64, {via}}), record({"2001:db8:1::", 48, {via}}),
                                         record({"2001:db8::", 32, {via}}), record({"::", 0, {via}})});
    EXPECT_EQ(results_of(rig.send(session, batch)), "r0 a0 r0 a0 r0 a0 r0 a0");
    for (const lookup_case_td &c : lookup_cases)
        EXPECT_EQ(found(rig, session, lookup_request(c.addr, c.length, c.flags)).substr(0, strlen(c.prefix)), c.prefix) << c.name;
    EXPECT_EQ(hex_of(rig.send(session, lookup_request("::", 128, 0, 99))), hex_of(hex("42d29400 00000000 0000000000000000")));
}

} // namespace
