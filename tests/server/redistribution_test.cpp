/*
 * What a session wants to hear of: asked for, marked, joined by children, ended, and dropped with its source.
 */
#include <cerrno>

#include "tests/server/updates.h"

namespace
{

constexpr uint32_t MARKERS = 13, RESET = 17, NO_PARENT = NONE;

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
        {"asked for", redist("isis", 7), of_isis, "isis/7 "},
        {"no such source", redist("ospf", 7), "42d29400 ffff @20", "isis/7 "},
        {"a mode of more than 16 bits", redist("bgp", 7, 0x10000), "00000016 ffff @20", "isis/7 "},
        {"of another source", redist("bgp", 7), of_bgp, "bgp/7 isis/7 "},
        {"in another table", redist("bgp", 8), of_bgp, "bgp/7 bgp/8 isis/7 "},
        {"markers of one", marked("isis", 7), of_isis, "bgp/7 bgp/8 isis/7m "},
        {"markers of what is not asked for", marked("isis", 8), "42d29400 ffff @20", "bgp/7 bgp/8 isis/7m "},
        {"markers of a table", marked("", 8), "00000000 ffff 0000 00000002 @20", "bgp/7 bgp/8m isis/7m "},
        {"asked for again, it begins anew", redist("isis", 7), of_isis, "bgp/7 bgp/8m isis/7 "},
        {"the table as a whole too", registrations(ALL, {{8, 0, 9}}), "@4", "/8 bgp/7 bgp/8m isis/7 "},
        {"the source is forgotten", {}, "0000004a", "/8 bgp/7 bgp/8m isis/7 "},
        {"markers of one that is forgotten", marked("bgp", 7), "@4 ffff 0000 00000002 @20", "/8 bgp/7m bgp/8m isis/7 "},
        {"another table ends", request_of(RESET, {{0, 9}}), "42d29400 @12", "/8 bgp/7m bgp/8m isis/7 "},
        {"the table ends", request_of(RESET, {{0, 8}}), "@12", "bgp/7m isis/7 "},
        {"all end", request_of(RESET, {}), "@12", ""},
        {"none is left", request_of(RESET, {}), "42d29400 @12", ""},
    };
    for (const auto &[name, message, reply, left] : cases) {
        if (message.empty()) // a source goes instead
            rib_server_disconnect(rig.server, &owner);
        EXPECT_TRUE(same_bytes(rig.send(session, message), reply)) << name;
        std::string wanted;
        for (const auto &[key, kept] : session.consumer.interests) {
            wanted += key.proto_name + "/" + std::to_string(key.table) + (kept->markers ? "m " : " ");
            EXPECT_EQ(kept->words.flags, key.proto_name.empty() ? 9 : 0x01020304);
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
    const bytes_t joins = redist("bgp", 7, ALL, session.client_id);
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
