/*
 * What a session wants to hear of: asked for, marked, joined by children, ended, and dropped with its source.
 */
#include <cerrno>
#include <cstring>

#include "tests/server/rig.h"

namespace
{

constexpr uint32_t REDIST = 12, MARKERS = 13, RESET = 17, NO_PARENT = 0xFFFF;

bytes_t redist(const char *name, rib_tableid_td table, uint32_t parent = NO_PARENT, uint32_t mode = 20, uint32_t command = REDIST)
{
    bytes_t message = request_of(command, {{84, 0x01020304}, {88, mode}, {92, table}, {96, 0x05060708}, {100, parent}});
    std::memcpy(&message[24], name, strlen(name));
    return message;
}

/* The source belongs to the owner. */
struct redistribution : testing::Test {
    redistribution() { rig.add_protocol(owner, "bgp"); }

    rig_td rig;
    rib_session &owner = rig.client("bgp"), &session = rig.client("watcher");
};

TEST_F(redistribution, asked_for_and_ended)
{
    rig.add_protocol(session, "isis");
    const auto marked = [](const char *name, rib_tableid_td table) { return redist(name, table, 0, 0, MARKERS); };
    const char *const of_bgp = "00000000 0000 0000 00000002 @20", *const of_isis = "00000000 0001 0000 00000002 @20";
    /* What is left are "source/table", with an m when it has markers. */
    const std::tuple<const char *, bytes_t, const char *, const char *> cases[] = {
        {"asked for", redist("isis", 7), of_isis, "1/7 "},
        {"no such source", redist("ospf", 7), "42d29400 ffff @20", "1/7 "},
        {"a mode of more than 16 bits", redist("bgp", 7, NO_PARENT, 0x10000), "00000016 ffff @20", "1/7 "},
        {"of another source", redist("bgp", 7), of_bgp, "0/7 1/7 "},
        {"in another table", redist("bgp", 8), of_bgp, "0/7 0/8 1/7 "},
        {"markers of one", marked("isis", 7), of_isis, "0/7 0/8 1/7m "},
        {"markers of what is not asked for", marked("isis", 8), "42d29400 ffff @20", "0/7 0/8 1/7m "},
        {"markers of a table", marked("", 8), "00000000 ffff 0000 00000002 @20", "0/7 0/8m 1/7m "},
        {"asked for again, it begins anew", redist("isis", 7), of_isis, "0/7 0/8m 1/7 "},
        {"the source is forgotten", {}, "0000004a", "1/7 "},
        {"another table ends", request_of(RESET, {{0, 8}}), "42d29400 @12", "1/7 "},
        {"the table ends", request_of(RESET, {{0, 7}}), "@12", ""},
        {"all end", request_of(RESET, {}), "42d29400 @12", ""},
    };
    for (const auto &[name, message, reply, left] : cases) {
        if (message.empty()) // a source goes instead
            rib_server_disconnect(rig.server, &owner);
        EXPECT_TRUE(same_bytes(rig.send(session, message), reply)) << name;
        std::string wanted;
        for (const auto &[key, kept] : session.redistributions.wanted) {
            wanted += std::to_string(key.source) + "/" + std::to_string(key.table) + (kept.markers ? "m " : " ");
            EXPECT_TRUE(kept.flags == 0x01020304 && kept.child_arg == 0x05060708 && kept.mode == 20);
        }
        EXPECT_EQ(wanted, left) << name;
    }
}

TEST_F(redistribution, parents)
{
    rib_session &elsewhere = *rib_server_connect(rig.server, {.pid = 5});
    rig.send(elsewhere, bind_request("other", "node1"));
    rig.server.last_client_id = NO_PARENT - 1;
    EXPECT_EQ(rig.client().client_id, NO_PARENT + 1) << "no client has the number that means no parent";
    const bytes_t joins = redist("bgp", 7, session.client_id);
    EXPECT_EQ(rig.result_of(owner, joins), uint32_t{EPERM}) << "the parent asked for nothing yet";
    EXPECT_EQ(rig.result_of(session, redist("bgp", 7)), 0u);
    EXPECT_EQ(rig.result_of(elsewhere, joins), uint32_t{EPERM}) << "of another process";
    EXPECT_EQ(rig.result_of(owner, joins), 0u);
    rib_server_disconnect(rig.server, &session);
    EXPECT_EQ(rig.result_of(owner, joins), uint32_t{EPERM}) << "the parent is gone";
}

TEST_F(redistribution, no_more_than_a_session_may_have)
{
    for (rib_tableid_td table = 0; table != 65'536; ++table)
        rig.send(session, redist("bgp", table));
    EXPECT_EQ(rig.result_of(session, redist("bgp", 65'536)), uint32_t{ENOSPC});
    EXPECT_EQ(rig.result_of(session, redist("bgp", 65'535)), 0u) << "one that is known";
}

} // namespace
