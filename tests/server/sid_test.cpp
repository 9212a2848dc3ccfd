/*
 * Requests for SRv6 SIDs and IIDs: what each gets, and what becomes of it.
 */
#include "tests/server/sids.h"
#include "tests/server/updates.h"

namespace
{

/* Protocol 0 belongs to the client, protocol 1 to another. */
struct sid_rig_td : rig_td {
    explicit sid_rig_td(rib_server_options options = {}) : rig_td(options)
    {
        add_protocol(session, "bgp", {0, 20});
        add_protocol(other, "isis", {0, 115});
    }
    bytes_t ask(const auto &one, rib_protoid_td protoid = 0) { return send(protoid ? other : session, asks(one, protoid)); }
    std::string answer(const auto &one, rib_protoid_td protoid = 0) { return text_of(answer_of(ask(one, protoid))); }

    rib_session &session = client("bgp");
    rib_session &other = client("isis");
};

struct sid_step_td {
    const char *name;
    sid_td sid;
    const char *answer;
    rib_protoid_td protoid = 0;
};
const sid_step_td sid_steps[] = {
    {"the first one", {1}, "0 0 2001:db8:0:1:e000::/80 57344"},
    {"the same request", {1}, "4 0 2001:db8:0:1:e000::/80 57344"},
    {"of another protocol", {1}, "0 0 2001:db8:0:1:e001::/80 57345", 1},
    {"under another locator", {3, 0xFFFF0000, "2001:db8:2::", 3}, "0 0 2001:db8:2:0:e000::/80 57344"},
    {"formats that share a locator", {4, 0xFFFF, "2001:db8:2::", 1}, "0 0 2001:db8:2:0:e001::/80 57345"},
    {"a locator of 48 bits", {5, ANY, "2001:db8:3::", 2}, "0 0 2001:db8:3:e000::/64 57344"},
    {"an explicit one", {6, 0x10}, "0 0 2001:db8:0:1:10::/80 16"},
    {"an explicit one beside what it has", {6, 0x11}, "-3 16 ::/0 0"},
    {"the last function", {9, 0xFFFE}, "0 0 2001:db8:0:1:fffe::/80 65534"},
    {"function 0", {10, 0}, "-3 22 ::/0 0"},
    {"a function too large", {10, 0x10000}, "-3 22 ::/0 0"},
    {"no endpoint behaviour", {10, ANY, "2001:db8::", 1, 13}, "-3 22 ::/0 0"},
    {"a format that does not exist", {10, ANY, "2001:db8::", 5}, "-3 22 ::/0 0"},
    {"no locator", {10, ANY, "::"}, "-3 22 ::/0 0"},
    {"bits behind the locator", {10, ANY, "2001:db8:0:1:8000::"}, "-3 22 ::/0 0"},
    {"neither to have nor to free", {.interface = 10, .free = 2}, "-3 22 ::/0 0"},
    {"freed by its function", {.interface = 99, .opcode = 0x10, .free = 1}, "0 0 2001:db8:0:1:10::/80 16"},
    {"another one's is not freed by its function", {.interface = 99, .opcode = 0xE001, .free = 1}, "-3 2 ::/0 0"},
};

TEST(sids, steps)
{
    sid_rig_td rig;
    for (const sid_step_td &step : sid_steps)
        EXPECT_EQ(rig.answer(step.sid, step.protoid), step.answer) << step.name;
    EXPECT_EQ(rig.result_of(rig.session, protoid_request(30, 1)), 1u) << "another one's";
    EXPECT_EQ(rig.result_of(rig.session, protoid_request(30, 0)), 0u);
    EXPECT_EQ(get32(rig.send(rig.session, status_request(SIDS)), 8), 1u) << "the other protocol keeps its own";
}

struct iid_step_td {
    const char *name;
    iid_td iid;
    const char *answer;
};
const iid_step_td iid_steps[] = {
    {"the first one", {1}, "0 0 ::ffff:128.0.0.0/128 2147483648"},
    {"the same request, of an unknown kind", {.key = 1, .kind = 7}, "4 0 ::ffff:128.0.0.0/128 2147483648"},
    {"another key", {2}, "0 0 ::ffff:128.0.0.1/128 2147483649"},
    {"one that is wanted", {3, 0x0A000001}, "0 0 ::ffff:10.0.0.1/128 167772161"},
    {"which is taken", {4, 0x0A000001}, "-3 16 ::/0 0"},
    {"another one beside what it has", {3, 0x0A000002}, "-3 16 ::/0 0"},
    {"the highest", {5, 0xFFFFFFFE}, "0 0 ::ffff:255.255.255.254/128 4294967294"},
    {"above it", {6, 0xFFFFFFFF}, "-3 22 ::/0 0"},
    {"in a block", {.key = 1, .kind = 2, .sid = "2001:db8:1:2::5", .format = 3}, "0 0 2001:db8:1:fffe:8000::/128 32768"},
    {"by another SID of the block",
     {.key = 1, .kind = 2, .sid = "2001:db8:1::", .format = 3},
     "4 0 2001:db8:1:fffe:8000::/128 32768"},
    {"in a block that the marker hides", {1, 0, 2, 0, 0, "2001:db8:900::", 1}, "0 0 2001:db8:fffe:8000::/128 32768"},
    {"in one that looks alike", {1, 0, 2, 0, 0, "2001:db8:a00::", 1}, "0 0 2001:db8:fffe:8001::/128 32769"},
    {"wanted in a block", {2, 7, 2, 0, 0, "2001:db8:1::", 3}, "0 0 2001:db8:1:fffe:7::/128 7"},
    {"too large for a block", {3, 0xFFFF, 2, 0, 0, "2001:db8:1::", 3}, "-3 22 ::/0 0"},
    {"a format that does not exist", {3, 0, 2, 0, 0, "2001:db8:1::", 9}, "-3 22 ::/0 0"},
    {"no block", {3, 0, 2, 0, 0, "::1", 3}, "-3 22 ::/0 0"},
    {"explicit", {1, 9, 4, 0x1122334455667788, 0xAABBCCDD}, "0 0 0:2:aabb:ccdd:1122:3344:5566:7788/128 0"},
    {"explicit, taken", {2, 0, 4, 0x1122334455667788, 0xAABBCCDD}, "-3 16 ::/0 0"},
    {"freed", {.key = 2, .free = 1}, "0 0 ::ffff:128.0.0.1/128 2147483649"},
    {"freed by its number", {.key = 99, .iid = 0x0A000001, .free = 1}, "0 0 ::ffff:10.0.0.1/128 167772161"},
    {"explicit, freed", {1, 0, 4, 0x1122334455667788, 0xAABBCCDD, "::", 0, 1}, "0 0 0:2:aabb:ccdd:1122:3344:5566:7788/128 0"},
    {"explicit, freed twice", {1, 0, 4, 0x1122334455667788, 0xAABBCCDD, "::", 0, 1}, "-3 2 ::/0 0"},
};

TEST(iids, steps)
{
    sid_rig_td rig;
    for (const iid_step_td &step : iid_steps)
        EXPECT_EQ(rig.answer(step.iid), step.answer) << step.name;
}

/* What was given out is a route whose attribute is the request as it came last. */
TEST(sids, routes)
{
    sid_rig_td rig;
    rig.send(rig.other, registrations(ALL, {{SIDS}}));
    rig.send(rig.other, FETCH);
    rig.ask(sid_td{.interface = 1, .context = 5});
    const answer_td again = answer_of(rig.ask(sid_td{.interface = 1, .context = 0x0102030405060708}));
    EXPECT_EQ(std::make_tuple(again.kind, again.free, again.context), std::make_tuple(14, 0, 0x0102030405060708u));
    const bytes_t found = rig.send(rig.session, lookup_request("2001:db8:0:1:e000::5", 128, 0, SIDS));
    const bytes_t value = request_attr(sid_td{.interface = 1, .context = 0x0102030405060708});
    EXPECT_TRUE(
        same_bytes(slice(found, 8 + 136 + 104, found.size()), tlv(9, hex("0000 0100") + slice(value, 4, 256)) + DELIMITER));
    EXPECT_EQ(get32(found, 16 + 56), 18u) << "behaviour";
    EXPECT_EQ(found.at(16 + 1), 20) << "distance";
    EXPECT_EQ(told(rig.send(rig.other, FETCH)), "2001:db8:0:1:e000::/80 of 0 #1");
    rig.ask(iid_td{1});
    const bytes_t iid = rig.send(rig.session, lookup_request("::ffff:128.0.0.0", 128, 1, IIDS));
    EXPECT_TRUE(same_bytes(slice(iid, 8 + 136 + 104, iid.size()),
                           tlv(10, hex("0000 0100") + slice(request_attr(iid_td{1}), 4, 168)) + DELIMITER));
}

TEST(sids, records_that_do_more_or_may_not)
{
    sid_rig_td rig({.max_tables = 2, .max_routes = 2});
    const path_td path = {"fe80::1"};
    const bytes_t ask_one = request_attr(sid_td{1});
    const bytes_t both = record({.paths = {path}, .attrs = ask_one + hex("12 00 18 00 01*24")});
    const bytes_t plain = record({"2001:db8::", 32, {path}});
    const auto results = [&](rib_tableid_td table, const bytes_t &one) {
        return results_of(rig.send(rig.session, single_batch(table, 0, {one})));
    };
    EXPECT_EQ(results(TABLE, both), "r0 a0");
    EXPECT_EQ(rig.answer(sid_td{1}), "4 0 2001:db8:0:1:e000::/80 57344") << "the path's record asked for it";
    EXPECT_EQ(rig.send(rig.session, lookup_request("2001:db8::", 32, 1)).size(), 8u + 136 + 104 + 40 + 8)
        << "the other attribute";
    EXPECT_EQ(results(SIDS, both), "r-3 a-3");
    EXPECT_EQ(results(SIDS, plain), "r-3 a-3");
    EXPECT_EQ(results(SIDS, record({"2001:db8:0:1:e000::", 80, {{.withdraw = true}}})), "r-3 d-3");
    EXPECT_EQ(results(SIDS, record({.prefix = "::", .len = 0, .attrs = ask_one})), "r4");
    const bytes_t added = rig.send(rig.session, request_of(1, {{4, SIDS}, {24, 32, 1}}, {{8, "2001:db8::"}}));
    EXPECT_EQ(get32(added, 4), 0xFFFFFFFDu);
    EXPECT_EQ(rig.result_of(rig.session, request_of(2, {{4, SIDS}, {24, 80, 2}}, {{8, "2001:db8:0:1:e000::"}})), 22u);
    EXPECT_EQ(answer_of(rig.send(rig.session, asks(sid_td{2}, 1))).kind, 0) << "for another client's protocol";
    EXPECT_EQ(rig.answer(sid_td{2}), "0 0 2001:db8:0:1:e001::/80 57345");
    EXPECT_EQ(rig.answer(sid_td{3}), "6 28 ::/0 0") << "as many routes as a table may hold";
    EXPECT_EQ(rig.answer(iid_td{1}), "6 28 ::/0 0") << "as many tables as there may be";

    /* A table that is open and empty is not taken away for it. */
    sid_rig_td narrow({.max_tables = 1});
    EXPECT_EQ(results_of(narrow.send(narrow.session,
                                     single_batch(TABLE, 0, {record({.prefix = "::", .len = 0, .attrs = ask_one}), plain}))),
              "r6 r0 a0");
}

} // namespace
