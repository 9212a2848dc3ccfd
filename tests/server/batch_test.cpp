/*
 * Batches: bytes and results, what each kind of record does to a table, and messages that are not what they seem.
 */
#include <functional>

#include <gtest/gtest.h>

#include "tests/server/rig.h"

namespace
{

/* Protocol 0 belongs to the client, protocol 1 to another. */
struct batch_rig_td : rig_td {
    explicit batch_rig_td(rib_server_options options = {}) : rig_td(options)
    {
        own = add_protocol(session, "bgp", {0, 20});
        foreign = add_protocol(other, "isis", {0, 115});
    }
    std::string results(const bytes_td &batch) { return results_of(send(session, batch)); }
    std::string results_of_other(const bytes_td &batch) { return results_of(send(other, batch)); }

    rib_session &session = client("bgp");
    rib_session &other = client("isis");
    rib_protoid_td own;
    rib_protoid_td foreign;
};

const path_td A = {"fe80::a", 1};
const path_td B = {"fe80::b", 1};
const path_td A_METRIC = {"fe80::a", 1, 0, 7};
const path_td A_TABLE = {"fe80::a", 1, 9};
const path_td DEL_A = {"fe80::a", 1, 0, 0, true};
const path_td DEL_ALL = {"::", 0, 0, 0, true};
const path_td BACKUP = {.nexthop = "fe80::c", .backup = true};
const char *const P = "2001:db8::";

struct step_td {
    route_td route;
    const char *results;
};
struct route_case_td {
    const char *name;
    std::vector<step_td> steps; /* each a message of the client */
    const char *found;          /* by a lookup of P at the end */
};
const route_case_td route_cases[] = {
    {"a route is created, found again and changed",
     {{{P, 32, {A}}, "r0 a0"}, {{P, 32, {A}}, "r4 a4"}, {{P, 32, {A_METRIC}}, "r2 a2"}},
     "2001:db8::/32 state 1 protocol 0 via fe80::a of 1"},
    {"paths differ by next hop, interface and table of the next hop",
     {{{P, 32, {A, B, A_TABLE, {"fe80::a", 2}}}, "r0 a0 a0 a0 a0"}},
     "2001:db8::/32 state 1 protocol 0 via fe80::a of 4"},
    {"paths are added to those there",
     {{{P, 32, {A}}, "r0 a0"}, {{P, 32, {B}}, "r2 a0"}},
     "2001:db8::/32 state 1 protocol 0 via fe80::a of 2"},
    {"paths replace those there",
     {{{P, 32, {A}}, "r0 a0"}, {{P, 32, {B}, true}, "r2 a0"}, {{P, 32, {B}, true}, "r4 a4"}},
     "2001:db8::/32 state 1 protocol 0 via fe80::b of 1"},
    {"a smaller set replaces a larger one",
     {{{P, 32, {A, B}}, "r0 a0 a0"}, {{P, 32, {A}, true}, "r2 a4"}},
     "2001:db8::/32 state 1 protocol 0 via fe80::a of 1"},
    {"a path is withdrawn",
     {{{P, 32, {A, B}}, "r0 a0 a0"}, {{P, 32, {DEL_A}}, "r2 d0"}},
     "2001:db8::/32 state 1 protocol 0 via fe80::b of 1"},
    {"a path that is not there is withdrawn",
     {{{P, 32, {B}}, "r0 a0"}, {{P, 32, {DEL_A}}, "r4 d4"}},
     "2001:db8::/32 state 1 protocol 0 via fe80::b of 1"},
    {"a withdrawal leaves metric and distance",
     {{{P, 32, {A, B}, false, 5, 9}, "r0 a0 a0"}, {{P, 32, {DEL_A}}, "r2 d0"}, {{P, 32, {B}, false, 5, 9}, "r4 a4"}},
     "2001:db8::/32 state 1 protocol 0 via fe80::b of 1"},
    {"without its last path a route is gone", {{{P, 32, {A}}, "r0 a0"}, {{P, 32, {DEL_A}}, "r0 d0"}}, "none"},
    {"all paths are withdrawn at once", {{{P, 32, {A, B}}, "r0 a0 a0"}, {{P, 32, {DEL_ALL}}, "r0 d0"}}, "none"},
    {"a route that is not there is withdrawn", {{{P, 32, {DEL_ALL}}, "r4 d4"}}, "none"},
    {"a withdrawal and an addition in one record",
     {{{P, 32, {A}}, "r0 a0"}, {{P, 32, {DEL_ALL, B}}, "r2 d0 a0"}},
     "2001:db8::/32 state 1 protocol 0 via fe80::b of 1"},
    {"a new route needs a path", {{{P, 32}, "r-3"}}, "none"},
    {"without paths a record changes the route itself",
     {{{P, 32, {A}}, "r0 a0"}, {{P, 32, {}, true, 5}, "r2"}, {{P, 32, {}, false, 5}, "r4"}},
     "2001:db8::/32 state 1 protocol 0 via fe80::a of 1"},
    {"host bits are refused", {{{"2001:db8::1", 32, {A, DEL_A}}, "r-3 a-3 d-3"}, {{"8000::", 0, {A}}, "r-3 a-3"}}, "none"},
    {"the whole range of lengths is taken",
     {{{"::", 0, {A}}, "r0 a0"}, {{"2001:db8::", 128, {B}}, "r0 a0"}},
     "2001:db8::/128 state 1 protocol 0 via fe80::b of 1"},
    {"eleven labels are refused, ten are not",
     {{{P, 32, {{.nexthop = "fe80::a", .label_count = 11}}}, "r-3 a-3"},
      {{P, 32, {{.nexthop = "fe80::a", .label_count = 10}}}, "r0 a0"}},
     "2001:db8::/32 state 1 protocol 0 via fe80::a of 1"},
    {"a refused path does not keep the others out",
     {{{P, 32, {A, {.nexthop = "fe80::b", .label_count = 11}}, true}, "r0 a0 a-3"},
      {{P, 32, {{.nexthop = "fe80::b", .label_count = 11}}, true}, "r-3 a-3"}},
     "2001:db8::/32 state 1 protocol 0 via fe80::a of 1"},
    {"a backup path beside a primary one",
     {{{P, 32, {A, BACKUP}}, "r0 a0 a1"}, {{P, 32, {DEL_A}}, "r2 d0"}},
     "2001:db8::/32 state 5 protocol 0 via fe80::c of 1"},
    {"attributes and trailing blocks count as content",
     {{{P, 32, {{.nexthop = "fe80::a", .attrs = {3, 0, 4, 0, 1, 2, 3, 4}, .ext_mask = 0x3F}}}, "r0 a0"},
      {{P, 32, {{.nexthop = "fe80::a", .attrs = {3, 0, 4, 0, 1, 2, 3, 4}, .ext_mask = 0x3F}}}, "r4 a4"},
      {{P, 32, {{.nexthop = "fe80::a", .attrs = {3, 0, 4, 0, 1, 2, 3, 5}, .ext_mask = 0x3F}}}, "r2 a2"},
      {{.prefix = P, .paths = {}, .attrs = {6, 0, 2, 0, 1, 2}}, "r2"},
      {{.prefix = P, .paths = {}, .attrs = {6, 0, 2, 0, 1, 2}}, "r4"}},
     "2001:db8::/32 state 1 protocol 0 via fe80::a of 1"},
};

TEST(batch, routes)
{
    for (const route_case_td &c : route_cases) {
        SCOPED_TRACE(c.name);
        batch_rig_td rig;
        for (const step_td &step : c.steps)
            EXPECT_EQ(rig.results(single_batch(TABLE, rig.own, {record(step.route)})), step.results);
        EXPECT_EQ(found(rig, rig.session, lookup_request(P, 128, 0)), c.found);
    }
}

/* Every byte of a small batch and of its reply; each field of the path has a value of its own. */
TEST(batch, bytes)
{
    batch_rig_td rig;
    bytes_td path = bytes_td(280);
    const bytes_td leading = hex("01 00 01 00 01020304 0105060708090a0b 0c0d 0000 0e0f1011 12131415 00016171");
    std::copy(leading.begin(), leading.end(), path.begin());
    put32(path, 40, 0x100001);
    put32(path, 152, 0x16171819);
    put_addr(path, 160, "fe80::1234");
    put32(path, 176, 0x1a1b1c1d);
    put_addr(path, 184, "2001:db8::99");
    put32(path, 200, 0x1e1f2021);
    put8(path, 224, 2);
    bytes_td route = record({.prefix = "2001:db8:1::", .len = 48, .paths = {A}});
    route.resize(336);
    put16(route, 6, 0x2223);
    put32(route, 8, 0x24252627);
    put32(route, 12, 0x28292a2b);
    put32(route, 16, 0x2c2d2e2f);
    put32(route, 20, 0x30313233);
    put32(route, 36, 0x34353637);
    put8(route, 40, 0x38);
    append(route, path);

    bytes_td expected = hex("00000298 00000000 00000002 0001 0000 0000000000000000 0001 0001");
    expected.resize(48 + 12 + 336 + 280);
    const bytes_td table_result = hex("06 00 0000 e0800005 0000 0000");
    std::copy(table_result.begin(), table_result.end(), expected.begin() + 48);
    put32(expected, 0, static_cast<uint32_t>(expected.size()));
    put16(expected, 60, 0x0130); /* a route, of 48 bits */
    put16(expected, 64, 1);
    put_addr(expected, 60 + 48, "2001:db8:1::");
    put32(expected, 60 + 324, 1); /* version */
    put32(expected, 60 + 332, 1); /* best */
    put8(expected, 396, 1);
    put32(expected, 396 + 4, 0x16171819);
    put_addr(expected, 396 + 8, "fe80::1234");
    put32(expected, 396 + 44, 0x1a1b1c1d);
    const bytes_td batch = multi_batch({table_record(0xe0800005, rig.own), route, complete_marker()});
    EXPECT_EQ(hex_of(rig.send(rig.session, batch)), hex_of(expected));

    const bytes_td looked_up = hex("00000000 00000000"                            // result
                                   "00000000 0003 0080"                           // route record
                                   "30 38 01 01 0000 2223"                        // length, distance, state, paths, type
                                   "0000 0000 00000000"                           // kind, protocol
                                   "20010db8000100000000000000000000"             // prefix
                                   "e0800005 24252627 0000 0000"                  // table, flags
                                   "28292a2b 2c2d2e2f 30313233 34353637 00000001" // metric, tag, label, version
                                   "0000000000000000 0000000000000000 0000000000000000 0000000000000000"
                                   "0000000000000000 0000000000000000 0000000000000000 0000000000000000"
                                   "00000000 0004 0058" // path record
                                   "16171819 1a1b1c1d 01020304 00000000"
                                   "fe800000000000000000000000001234"
                                   "20010db8000000000000000000000099"
                                   "0e0f1011 12131415 00000000 00000000 00000000 00016171 1e1f2021"
                                   "02 00 01 00 0c0d 0a0b 00000000" // family, state, labels
                                   "00000000 0000 0000"             // no path attributes
                                   "00000000 0000 0000");           // no route attributes
    EXPECT_EQ(hex_of(rig.send(rig.session, lookup_request("2001:db8:1:2::", 128, 0, 0xe0800005))), hex_of(looked_up));
}

TEST(batch, tables_and_protocols)
{
    batch_rig_td rig({.max_tables = 2, .max_routes = 2});
    const bytes_td route = record({P, 32, {A}});
    const bytes_td second = record({"2001:db9::", 32, {A}});
    const bytes_td third = record({"2001:dba::", 32, {A, DEL_A}});
    EXPECT_EQ(rig.results(multi_batch({route, table_record(1, rig.own), route})), "r9 a9 t0 r0 a0");
    EXPECT_EQ(
        rig.results(multi_batch({table_record(1, rig.foreign), route, table_record(1, 95), route, table_record(1, 0xFFFF)})),
        "t-2 r-2 a-2 t-2 r-2 a-2 t-2");
    EXPECT_EQ(rig.results(single_batch(1, rig.foreign, {route})), "r-2 a-2");
    EXPECT_EQ(rig.results(multi_batch({table_record(2, rig.own), route, table_record(3, rig.own), route})), "t0 r0 a0 t8 r8 a8");
    EXPECT_EQ(rig.results(single_batch(3, rig.own, {route})), "r8 a8");
    EXPECT_EQ(rig.results(single_batch(1, rig.own, {second, third})), "r0 a0 r4 a0 d0");
    EXPECT_EQ(rig.results(single_batch(1, rig.own, {record({"2001:dba::", 32, {A, B}})})), "r6 a6 a6");
    EXPECT_EQ(rig.results(single_batch(2, rig.own, {record({P, 32, {DEL_ALL}})})), "r0 d0");
    EXPECT_EQ(rig.results(single_batch(3, rig.own, {route})), "r0 a0") << "an empty table makes room for another";
}

TEST(batch, more_paths_than_a_route_holds)
{
    batch_rig_td rig;
    route_td route = {P, 32, {}};
    for (uint32_t interface = 1; interface <= 130; ++interface)
        route.paths.push_back({"fe80::1", interface});
    const std::string results = rig.results(single_batch(TABLE, rig.own, {record(route)}));
    EXPECT_EQ(results.substr(results.size() - 13), "a0 a0 a-4 a-4");
    EXPECT_EQ(found(rig, rig.session, lookup_request(P, 32, 1)), "2001:db8::/32 state 1 protocol 0 via fe80::1 of 128");
}

TEST(batch, backup_routes_beside_a_primary_one)
{
    batch_rig_td rig;
    const rib_protoid_td third = rig.add_protocol(rig.session, "static", {3, 0});
    const bytes_td backup = record({P, 32, {BACKUP}});
    EXPECT_EQ(rig.results(single_batch(TABLE, rig.own, {backup})), "r0 a1") << "nothing to stand behind";
    EXPECT_EQ(rig.results_of_other(single_batch(TABLE, rig.foreign, {record({P, 32, {B}})})), "r0 a0");
    EXPECT_EQ(found(rig, rig.session, lookup_request(P, 32, 1)), "2001:db8::/32 state 1 protocol 1 via fe80::b of 1");
    EXPECT_EQ(rig.results(single_batch(TABLE, third, {backup})), "r1 a1");
    EXPECT_EQ(rig.results(single_batch(TABLE, rig.own, {record({P, 32, {DEL_ALL}})})), "r0 d0");
    EXPECT_EQ(rig.results(single_batch(TABLE, third, {record({P, 32, {BACKUP}, false, 3})})), "r3 a4");
}

TEST(batch, the_best_route_by_distance_metric_and_identifier)
{
    batch_rig_td rig;
    const rib_protoid_td twin = rig.add_protocol(rig.session, "bgp2", {0, 115});
    const auto best_after = [&](rib_session &session, rib_protoid_td protoid, route_td route) {
        rig.send(session, single_batch(TABLE, protoid, {record(route)}));
        const std::string text = found(rig, rig.session, lookup_request(P, 128, 0));
        return text.substr(text.find("protocol"), 10);
    };
    EXPECT_EQ(best_after(rig.session, twin, {P, 32, {A}, false, 5}), "protocol 2");
    EXPECT_EQ(best_after(rig.other, rig.foreign, {P, 32, {B}, false, 5}), "protocol 1") << "lower identifier";
    EXPECT_EQ(best_after(rig.session, twin, {P, 32, {A}, false, 4}), "protocol 2") << "lower metric";
    EXPECT_EQ(best_after(rig.session, rig.own, {P, 32, {A}, false, 9}), "protocol 0") << "lower distance of the protocol";
    EXPECT_EQ(best_after(rig.session, rig.own, {P, 32, {}, false, 9, 200}), "protocol 2") << "distance of the route";
    EXPECT_EQ(best_after(rig.session, twin, {P, 32, {DEL_ALL}}), "protocol 1");
    rig.send(rig.other, protoid_request(10, rig.foreign));
    EXPECT_EQ(best_after(rig.session, twin, {P, 32, {DEL_ALL}}), "protocol 0");
}

TEST(batch, markers)
{
    batch_rig_td rig;
    const auto header = [](const bytes_td &reply) { return bytes_td(reply.begin(), reply.begin() + 14); };
    const bytes_td route = record({P, 32, {A}});
    /* Reply: 48 + 336 + 280 bytes, no refusal, one result, three markers. */
    EXPECT_EQ(hex_of(header(rig.send(
                  rig.session, single_batch(7, rig.own, {route, complete_marker(), converge_marker(0), converge_marker(7)})))),
              hex_of(hex("00000298 00000000 00000001 0003")));
    EXPECT_EQ(hex_of(rig.send(rig.session, status_request(7))), hex_of(hex("00000000 00000007 00000001 0000000000000000")));
    /* Markers for a table that is not there, for a foreign protocol and for none count for nothing. */
    EXPECT_EQ(hex_of(header(rig.send(rig.session, single_batch(7, rig.own, {converge_marker(8)})))),
              hex_of(hex("00000030 00000000 00000000 0000")));
    EXPECT_EQ(
        hex_of(header(rig.send(rig.session, multi_batch({complete_marker(), table_record(7, rig.foreign), complete_marker()})))),
        hex_of(hex("0000003c 00000001 00000001 0000")));
    EXPECT_EQ(hex_of(rig.send(rig.session, status_request(8))), hex_of(hex("00000000 00000000 00000000 0000000000000000")));
}

bytes_td full_batch(rib_protoid_td protoid)
{
    const path_td rich = {.nexthop = "fe80::a", .attrs = {3, 0, 4, 0, 1, 2, 3, 4, 16, 0, 1, 0, 9}, .ext_mask = 0x3F};
    return multi_batch({table_record(1, protoid), record({P, 32, {A, rich, DEL_A}, true}), complete_marker(), converge_marker(1),
                        table_record(2, protoid), record({.prefix = "2001:db9::", .paths = {B}, .attrs = {6, 0, 2, 0, 1, 2}})});
}

TEST(batch, a_message_that_does_not_parse_changes_nothing)
{
    const std::pair<const char *, std::function<void(bytes_td &)>> damages[] = {
        {"a length that is not that of the message", [](bytes_td &batch) { put32(batch, 20, 49); }},
        {"an argument type that is not known", [](bytes_td &batch) { put16(batch, 40, 3); }},
        {"a table record in a batch for one table", [](bytes_td &batch) { put16(batch, 40, 0); }},
        {"a record type that is not known", [](bytes_td &batch) { put8(batch, 48, 9); }},
        {"a prefix of 129 bits", [](bytes_td &batch) { put8(batch, 61, 129); }},
        {"2,049 paths", [](bytes_td &batch) { put16(batch, 64, 2049); }},
        {"one path more than there are", [](bytes_td &batch) { put16(batch, 64, 4); }},
        {"a path type that is not known", [](bytes_td &batch) { put8(batch, 396, 3); }},
        {"an entry that leaves its array", [](bytes_td &batch) { put8(batch, 676 + 278, 200); }},
        {"an array that ends within an entry", [](bytes_td &batch) { put16(batch, 676 + 272, 12); }},
        {"a trailing block that is not known", [](bytes_td &batch) { put32(batch, 676 + 228, 0x7F); }},
        {"a trailing block less than there is", [](bytes_td &batch) { put32(batch, 676 + 228, 0x1F); }},
    };
    for (const auto &[name, damage] : damages) {
        batch_rig_td rig;
        bytes_td batch = full_batch(rig.own);
        damage(batch);
        EXPECT_EQ(rig.results(batch), "status -3 in 48 bytes") << name;
        EXPECT_EQ(rig.server.tables.begin(), rig.server.tables.end()) << name;
    }
    batch_rig_td rig;
    EXPECT_EQ(rig.results(full_batch(rig.own)), "t0 r0 a0 a0 d0 t0 r0 a0");
}

TEST(batch, every_truncation_is_refused)
{
    batch_rig_td rig;
    const bytes_td whole = full_batch(rig.own);
    for (size_t len = 4; len != whole.size(); ++len) {
        bytes_td cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(len));
        EXPECT_EQ(rig.results(cut), "status -3 in 48 bytes") << len;
        if (len < 48)
            continue;
        put32(cut, 20, static_cast<uint32_t>(len));
        const bytes_td reply = rig.send(rig.session, cut);
        EXPECT_EQ(get32(reply, 0), reply.size()) << len;
    }
}

/* Whatever a byte becomes, the reply is well formed and holds no byte that was in its area before. */
TEST(batch, every_byte_may_be_anything)
{
    const bytes_td whole = full_batch(0);
    for (size_t at = 4; at != whole.size(); ++at)
        for (const uint8_t value : hex("00 01 02 7f 80 ff")) {
            batch_rig_td rig;
            bytes_td flipped = whole;
            flipped[at] = value;
            const bytes_td reply = rig.send(rig.session, flipped);
            ASSERT_EQ(get32(reply, 0), reply.size()) << at;
            ASSERT_EQ(std::count(reply.begin(), reply.end(), OLD_BYTE), 0) << at;
        }
}

TEST(batch, protocols)
{
    rig_td rig;
    rib_session &session = rig.client("bgp");
    bytes_td add = hex("07 01 00");
    add.resize(72);
    put_text(add, 3, "vrf1");
    put32(add, 52, 20);
    bytes_td bad_kind = add;
    put32(bad_kind, 44, 4);
    bytes_td del = hex("07 02 00");
    del.resize(72);
    bytes_td batch = bytes_td(48);
    put32(batch, 24, 5); /* more than the message holds: the last one of a full buffer waits for the next */
    for (const bytes_td &record : {add, add, bad_kind, del})
        append(batch, record);
    batch[0] = 0x73;
    batch[1] = 0x80;
    put32(batch, 20, static_cast<uint32_t>(batch.size()));
    put16(batch, 40, 2);
    bytes_td expected =
        hex("00000120 00000001 00000004 0000 0000 00000000 00000000 0001 0002 00000000 00000000 00000000 00000000 00000000");
    for (const char *entry : {"00000001 76726631 # vrf1", "00000001 76726631", "00000001 76726631", "00000002 00000000"}) {
        bytes_td bytes = hex(entry);
        bytes.resize(60);
        append(expected, bytes);
    }
    put32(expected, 48 + 2 * 60 + 48, 0xFFFFFFFD);
    put16(expected, 48 + 2 * 60 + 52, 0xFFFF);
    put32(expected, 48 + 2 * 60 + 56, 22);
    EXPECT_EQ(hex_of(rig.send(session, batch)), hex_of(expected));

    put32(batch, 24, 3);
    EXPECT_EQ(results_of(rig.send(session, batch)), "status -3 in 48 bytes") << "more records than announced";
}

} // namespace
