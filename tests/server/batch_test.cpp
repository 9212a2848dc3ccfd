/*
 * Batches: bytes and results, what each kind of record does to a table, and messages that are not what they seem.
 */
#include <algorithm>
#include <map>
#include <tuple>

#include "tests/server/rig.h"

namespace
{

/* Protocol 0 belongs to the client, protocol 1 to another. */
struct batch_rig_td : rig_td {
    explicit batch_rig_td(rib_server_options options = {}) : rig_td(options)
    {
        add_protocol(session, "bgp", {0, 20});
        add_protocol(other, "isis", {0, 115});
    }
    std::string results(const bytes_t &batch) { return results_of(send(session, batch)); }

    rib_session &session = client("bgp");
    rib_session &other = client("isis");
};

const char *const P = "2001:db8::";
const bytes_t complete = hex("03 000000");
const path_td A = {"fe80::a", 1};

const bytes_t ATTRS = hex("03 00 04 00 01020304"), OTHER_ATTRS = hex("03 00 04 00 01020305");
/* A path has one of these letters; = is a route that replaces, a digit its metric, d a distance of 200, @ attributes. */
const std::map<char, path_td> paths = {{'A', A},
                                       {'B', {"fe80::b", 1}},
                                       {'I', {"fe80::a", 2}},
                                       {'T', {"fe80::a", 1, 9}},
                                       {'M', {"fe80::a", 1, 0, 7}},
                                       {'a', {"fe80::a", 1, 0, 0, true}},
                                       {'*', {"::", 0, 0, 0, true}},
                                       {'K', {"fe80::c", 0, 0, 0, false, true}},
                                       {'l', {"fe80::a", 0, 0, 0, false, false, 10}},
                                       {'L', {"fe80::b", 0, 0, 0, false, false, 11}},
                                       {'X', {.nexthop = "fe80::a", .attrs = ATTRS, .ext_mask = 0x3F}},
                                       {'Y', {.nexthop = "fe80::a", .attrs = OTHER_ATTRS, .ext_mask = 0x3F}}};
bytes_t route(const std::string &letters, const char *prefix = P, uint8_t len = 32)
{
    route_td made = {prefix, len};
    for (const char letter : letters)
        if (letter == '=')
            made.replace = true;
        else if (letter == 'd')
            made.distance = 200;
        else if (letter == '@')
            made.attrs = hex("11 00 04 00 01020304");
        else if (letter >= '0' && letter <= '9')
            made.metric = static_cast<uint32_t>(letter - '0');
        else
            made.paths.push_back(paths.at(letter));
    return record(made);
}

struct route_case_td {
    const char *name;
    std::vector<std::pair<const char *, const char *>> steps; /* a message with a route of those letters, and its results */
    const char *found;                                        /* by a lookup of P at the end */
};
const route_case_td route_cases[] = {
    {"created, found again and changed", {{"A", "r0 a0"}, {"A", "r4 a4"}, {"M", "r2 a2"}}, "1 protocol 0 fe80::a of 1"},
    {"next hop, interface and table tell paths apart", {{"ABTI", "r0 a0 a0 a0 a0"}}, "1 protocol 0 fe80::a of 4"},
    {"paths are added to those there", {{"A", "r0 a0"}, {"B", "r2 a0"}}, "1 protocol 0 fe80::a of 2"},
    {"paths replace those there", {{"A", "r0 a0"}, {"=B", "r2 a0"}, {"=B", "r4 a4"}}, "1 protocol 0 fe80::b of 1"},
    {"a smaller set replaces a larger one", {{"AB", "r0 a0 a0"}, {"=A", "r2 a4"}}, "1 protocol 0 fe80::a of 1"},
    {"a path is withdrawn", {{"AB5d", "r0 a0 a0"}, {"a", "r2 d0"}, {"B5d", "r4 a4"}}, "1 protocol 0 fe80::b of 1"},
    {"a path that is not there is withdrawn", {{"B", "r0 a0"}, {"a", "r4 d4"}}, "1 protocol 0 fe80::b of 1"},
    {"without its last path a route is gone", {{"A", "r0 a0"}, {"a", "r0 d0"}}, "none"},
    {"all paths are withdrawn at once", {{"AB", "r0 a0 a0"}, {"*", "r0 d0"}, {"*", "r4 d4"}}, "none"},
    {"withdrawn and added in one record", {{"A", "r0 a0"}, {"*B", "r2 d0 a0"}}, "1 protocol 0 fe80::b of 1"},
    {"a new route needs a path", {{"", "r-3"}}, "none"},
    {"a record without paths", {{"A", "r0 a0"}, {"=5", "r2"}, {"5", "r4"}}, "1 protocol 0 fe80::a of 1"},
    {"eleven labels are refused, ten are not", {{"L", "r-3 a-3"}, {"l", "r0 a0"}}, "1 protocol 0 fe80::a of 1"},
    {"the others of a refused path", {{"=AL", "r0 a0 a-3"}, {"=L", "r-3 a-3"}}, "1 protocol 0 fe80::a of 1"},
    {"a backup path beside a primary one", {{"AK", "r0 a0 a1"}, {"a", "r2 d0"}}, "5 protocol 0 fe80::c of 1"},
    {"attributes of a path", {{"X", "r0 a0"}, {"X", "r4 a4"}, {"Y", "r2 a2"}}, "1 protocol 0 fe80::a of 1"},
    {"attributes of a route", {{"A", "r0 a0"}, {"@", "r2"}, {"@", "r4"}}, "1 protocol 0 fe80::a of 1"},
};

TEST(batch, routes)
{
    for (const route_case_td &c : route_cases) {
        SCOPED_TRACE(c.name);
        batch_rig_td rig;
        for (const auto &[letters, results] : c.steps)
            EXPECT_EQ(rig.results(single_batch(TABLE, 0, {route(letters)})), results) << letters;
        const std::string found = rig.found(rig.session, P);
        EXPECT_EQ(found, *c.found == 'n' ? c.found : std::string("2001:db8::/32 state ") + c.found);
    }
    batch_rig_td rig;
    EXPECT_EQ(rig.results(single_batch(TABLE, 0, {route("A", "::", 0), route("B", P, 128)})), "r0 a0 r0 a0");
    EXPECT_EQ(rig.found(rig.session, P), "2001:db8::/128 state 1 protocol 0 fe80::b of 1");
    EXPECT_EQ(rig.results(single_batch(TABLE, 0, {route("Aa", "2001:db8::1"), route("A", "8000::", 0)})), "r-3 a-3 d-3 r-3 a-3")
        << "host bits";
}

/* Every byte of a small batch and of its reply; each field of the path has a value of its own. */
TEST(batch, bytes)
{
    batch_rig_td rig;
    const bytes_t sent =
        hex("01 30 0e @4 0001 2223 24252627 28292a2b 2c2d2e2f 30313233 @36 34353637 38 @48 20010db8 0001 @336") +
        hex("01 00 01 00 01020304 0105060708090a0b 0c0d 0000 0e0f1011 12131415 00016171 @40 00100001 @152 16171819 "
            "@160 fe80 @174 1234 @176 1a1b1c1d @184 20010db8 @198 0099 @200 1e1f2021 @224 02 @280");
    EXPECT_TRUE(same_bytes(rig.send(rig.session, multi_batch({table_record(0xe0800005, 0), sent, complete})),
                           "000002a4 00000000 00000002 0001 @24 0001 0001 @48 06 00 0000 e0800005 0000 0000 "
                           "01 30 0000 0001 @108 20010db8 0001 @384 00000001 @392 00000001 " // route, version, best
                           "01 @400 16171819 fe80 @418 1234 @440 1a1b1c1d @676"));
    EXPECT_TRUE(same_bytes(rig.send(rig.session, lookup_request("2001:db8:1:2::", 128, 0, 0xe0800005)),
                           "00000000 00000000 00000000 0003 0080"                       // result, route record
                           " 30 38 01 01 0000 2223 0000 0000 00000000"                  // length, distance, state, paths, type
                           " 20010db8 0001 @48 e0800005 24252627 0000 0000"             // prefix, table, flags
                           " 28292a2b 2c2d2e2f 30313233 34353637 00000001 @144"         // metric, tag, label, version
                           " 00000000 0004 0058 16171819 1a1b1c1d 01020304 00000000"    // path record
                           " fe80 @182 1234 20010db8 @198 0099"                         // next hop, the address behind it
                           " 0e0f1011 12131415 @220 00016171 1e1f2021"                  //
                           " 02 00 01 00 0c0d 0a0b 00000000 00000000 0000 0000 @256")); // family, labels, no attributes
}

TEST(batch, tables_and_protocols)
{
    batch_rig_td rig({.max_tables = 2, .max_routes = 2});
    const bytes_t A1 = route("A");
    const auto of = [](rib_tableid_td table, rib_protoid_td protoid) { return table_record(table, protoid); };
    const std::pair<bytes_t, const char *> steps[] = {
        {multi_batch({A1, of(1, 0), A1}), "r9 a9 t0 r0 a0"},
        {multi_batch({of(1, 1), A1, of(1, 95), A1, of(1, 0xFFFF)}), "t-2 r-2 a-2 t-2 r-2 a-2 t-2"},
        {single_batch(1, 1, {A1}), "r-2 a-2"},
        {multi_batch({of(2, 0), A1, of(3, 0), A1}), "t0 r0 a0 t8 r8 a8"},
        {single_batch(3, 0, {A1}), "r8 a8"},
        {single_batch(1, 0, {route("A", "2001:db9::"), route("Aa", "2001:dba::")}), "r0 a0 r4 a0 d0"},
        {single_batch(1, 0, {route("AB", "2001:dba::")}), "r6 a6 a6"},
        {single_batch(2, 0, {route("*")}), "r0 d0"},
        {single_batch(3, 0, {A1}), "r0 a0"}, // an empty table makes room for another
    };
    for (const auto &[batch, results] : steps)
        EXPECT_EQ(rig.results(batch), results);
}

TEST(batch, more_paths_than_a_route_holds)
{
    batch_rig_td rig;
    route_td wide = {P, 32, {}};
    for (uint32_t interface = 1; interface <= 130; ++interface)
        wide.paths.push_back({"fe80::1", interface});
    const std::string results = rig.results(single_batch(TABLE, 0, {record(wide)}));
    EXPECT_EQ(results.substr(results.size() - 13), "a0 a0 a-4 a-4");
    EXPECT_EQ(rig.found(rig.session, P, 32, 1), "2001:db8::/32 state 1 protocol 0 fe80::1 of 128");
}

TEST(batch, which_route_is_best)
{
    batch_rig_td rig;
    rig.add_protocol(rig.session, "bgp2", {0, 115});
    const std::tuple<const char *, rib_protoid_td, const char *, const char *, uint8_t> steps[] = {
        {"nothing to stand behind", 2, "K", "r0 a1", 2},
        {"a primary path", 1, "B5", "r0 a0", 1},
        {"lower metric, but a backup", 2, "K4", "r3 a4", 1},
        {"another backup", 0, "K", "r1 a1", 1},
        {"lower metric", 2, "=A4", "r2 a0", 2},
        {"the best is withdrawn", 1, "*", "r0 d0", 2},
    };
    for (const auto &[why, protoid, letters, results, best] : steps) {
        rib_session &session = protoid == 1 ? rig.other : rig.session;
        EXPECT_EQ(results_of(rig.send(session, single_batch(TABLE, protoid, {route(letters)}))), results) << why;
        EXPECT_EQ(rig.send(session, lookup_request(P, 128, 0)).at(27), best) << why;
    }
    rig.send(rig.session, protoid_request(10, 2));
    EXPECT_EQ(rig.send(rig.session, lookup_request(P, 128, 0)).at(27), 0) << "a protocol is forgotten";
}

TEST(batch, markers)
{
    batch_rig_td rig;
    const bytes_t converge_0 = hex("04 @12"), converge_7 = hex("04 @4 00000007 @12");
    /* Markers for a table that is not there, for a foreign protocol and for none count for nothing. */
    const bytes_t first = rig.send(rig.session, single_batch(7, 0, {route("A"), complete, converge_0, converge_7}));
    EXPECT_TRUE(same_bytes(slice(first, 0, 14), "00000298 00000000 00000001 0003")); // refused, results, markers
    EXPECT_TRUE(same_bytes(rig.send(rig.session, status_request(7)), "00000000 00000007 00000001 @20"));
    const bytes_t other = rig.send(rig.session, multi_batch({complete, table_record(7, 1), complete}));
    EXPECT_TRUE(same_bytes(slice(other, 0, 14), "0000003c 00000001 00000001 0000"));
    EXPECT_TRUE(same_bytes(rig.send(rig.session, status_request(8)), "@20"));
}

bytes_t full_batch()
{
    path_td rich = paths.at('X');
    rich.attrs = rich.attrs + hex("09 00 04 00 01020304");
    return multi_batch({table_record(1, 0), record({P, 32, {A, rich, paths.at('a')}, true}), complete, hex("04 @4 00000001 @12"),
                        table_record(2, 0), route("B@", "2001:db9::")});
}

TEST(batch, a_message_that_does_not_parse_changes_nothing)
{
    const std::tuple<const char *, size_t, uint32_t, size_t> damages[] = {
        {"a length that is not that of the message", 20, 49, 4},
        {"an argument type that is not known", 40, 3, 2},
        {"a table record in a batch for one table", 40, 0, 2},
        {"a record type that is not known", 48, 9, 1},
        {"a prefix of 129 bits", 61, 129, 1},
        {"2,049 paths", 64, 2049, 2},
        {"one path more than there are", 64, 4, 2},
        {"a path type that is not known", 396, 3, 1},
        {"an entry that leaves its array", 676 + 278, 200, 1},
        {"an array that ends within an entry", 676 + 272, 12, 2},
        {"a trailing block that is not known", 676 + 228, 0x7F, 4},
        {"a trailing block less than there is", 676 + 228, 0x1F, 4},
    };
    for (const auto &[name, at, value, width] : damages) {
        batch_rig_td rig;
        bytes_t batch = full_batch();
        put_net(&batch, at, value, width);
        EXPECT_EQ(rig.results(batch), "status -3 in 48 bytes") << name;
        EXPECT_EQ(rig.server.tables.begin(), rig.server.tables.end()) << name;
    }
    EXPECT_EQ(batch_rig_td().results(full_batch()), "t0 r0 a0 a0 d0 t0 r0 a0");
}

/* Cut anywhere, or whatever a byte becomes, the reply is well formed and holds no byte that was in its area before. */
TEST(batch, anything_may_come)
{
    const auto expect_sound = [](batch_rig_td &rig, const bytes_t &message) {
        const bytes_t reply = rig.send(rig.session, message);
        EXPECT_EQ(get32(reply, 0), reply.size());
        EXPECT_EQ(std::count(reply.begin(), reply.end(), OLD_BYTE), 0);
    };
    const bytes_t whole = full_batch();
    batch_rig_td rig;
    for (size_t at = 4; at != whole.size() && !testing::Test::HasFailure(); ++at) {
        SCOPED_TRACE(at);
        bytes_t cut = slice(whole, 0, at);
        EXPECT_EQ(rig.results(cut), "status -3 in 48 bytes");
        if (at >= 48) {
            put_net(&cut, 20, at, 4);
            expect_sound(rig, cut);
        }
        for (const uint8_t value : hex("00 01 02 7f 80 ff")) {
            batch_rig_td fresh;
            bytes_t flipped = whole;
            flipped[at] = value;
            expect_sound(fresh, flipped);
        }
    }
}

TEST(batch, protocols)
{
    rig_td rig;
    rib_session &session = rig.client();
    const bytes_t add = hex("07 01 00 'vrf1' @52 00000014 @72"), bad_kind = hex("07 01 00 'vrf1' @44 00000004 @52 00000014 @72");
    bytes_t batch = hex("7380 @20 00000150 00000005 @40 0002 @48") + add + add + bad_kind + hex("07 02 00 @72");
    /* More is announced than the message holds: the last one of a full buffer waits for the next. */
    EXPECT_TRUE(
        same_bytes(rig.send(session, batch),
                   "00000120 00000001 00000004 @24 0001 0002 @48 00000001 'vrf1' @108 00000001 'vrf1' @168 00000001 'vrf1' "
                   "@216 fffffffd ffff @224 00000016 @228 00000002 @288")); // result, no identifier, error
    put_net(&batch, 24, 3, 4);
    EXPECT_EQ(results_of(rig.send(session, batch)), "status -3 in 48 bytes") << "more records than announced";
}

} // namespace
