/*
 * Attributes of a download: which are refused, and how they come back.
 */
#include <tuple>

#include "tests/server/updates.h"

namespace
{

/* An entry as it travels; numbers of its head are in the order of the host. */
bytes_t entry(uint8_t type, const bytes_t &value)
{
    return {type, 0, static_cast<uint8_t>(value.size()), static_cast<uint8_t>(value.size() >> 8)};
}
bytes_t attr(uint8_t type, const char *value)
{
    const bytes_t bytes = hex(value);
    return entry(type, bytes) + bytes;
}

const char *const SIDS = "02 000000 01000000 00*8 12000000 80000000 20010db8 @32 00*16 00000000 01000000 20010db9 @64 00*16 @80";

struct attr_case_td {
    const char *name;
    bool of_path;
    bytes_t entries;
    bool good = false;
};
const attr_case_td attr_cases[] = {
    {"extended communities", true, attr(1, "0800 0000 11*64"), true},
    {"next-next-hops", true, attr(2, "0002 0000 01*4096"), true},
    {"via a SID of 128 bits", true, attr(7, "20010db8 @16 80 00*7"), true},
    {"a tunnel whose identifiers differ in their highest byte", true, attr(10, "0600 0000 01020304 01020305 00*12"), true},
    {"labels by algorithm", false, attr(13, "0000 0001 01*3072"), true},
    {"type 5", true, attr(5, "00*40")},
    {"a type that is not known", true, attr(19, "00*24")},
    {"one of a route with a path", true, attr(16, "01")},
    {"one of a path with a route", false, attr(9, "00*4")},
    {"the same twice", true, attr(9, "00*4") + attr(3, "01000000") + attr(9, "00*4")},
    {"too short for its head", true, attr(3, "010000")},
    {"empty", false, attr(17, "")},
    {"fewer items than it says", true, attr(1, "0200 0000 11*8")},
    {"nine communities", true, attr(1, "0900 0000 11*72")},
    {"no community", true, attr(1, "0000 0000")},
    {"257 labels", false, attr(13, "0000 0101 01*3084")},
    {"interface 0", true, attr(3, "00*4")},
    {"no SID", true, attr(4, "00*4 01000000 00*8")},
    {"25 SIDs", true, attr(4, "19 00*3 01000000 00*8 01*800")},
    {"no headend behaviour", true, attr(4, "01 00*3 05000000 00*8 12000000 80000000 00*24")},
    {"a SID of 129 bits in a list", true, attr(4, "01 00*3 01000000 00*8 12000000 81000000 00*24")},
    {"via a SID of no bits", true, attr(7, "00*24")},
    {"tunnel identifiers that differ", true, attr(10, "0600 0000 01020304 01020404 00*12")},
    {"a segment list of kind 3", true, attr(12, "03 00*7")},
    {"algorithm and labels", false, attr(17, "00*4") + attr(13, "0000 0100 01*12")},
    {"two requests", false, attr(14, "00*256") + attr(15, "00*168")},
};

TEST(attributes, what_is_wrong_refuses_its_route_alone)
{
    for (const attr_case_td &c : attr_cases) {
        rig_td rig;
        rib_session &session = rig.client();
        rig.add_protocol(session, "bgp");
        route_td route = {.paths = {{"fe80::1"}, {"fe80::2"}}};
        (c.of_path ? route.paths[0].attrs : route.attrs) = c.entries;
        const bytes_t batch = single_batch(TABLE, 0, {record(route), record({"2001:db9::", 32, {{"fe80::1"}}})});
        const std::string bad = c.of_path ? "r0 a-3 a0 r0 a0" : "r-3 a-3 a-3 r0 a0";
        EXPECT_EQ(results_of(rig.send(session, batch)), c.good ? "r0 a0 a0 r0 a0" : bad) << c.name;
    }
}

/* Everything that may stand together, each in falling order. */
route_td rich_route()
{
    const bytes_t sids = hex(SIDS);
    return {.paths = {{.nexthop = "fe80::1",
                       .label_count = 3,
                       .attrs = attr(12, "01 000000 0a0b0c0d") + attr(11, "3b*24") + attr(10, "0200 1112 13141516 00*16") +
                                attr(9, "21222324") + attr(7, "20010db8 @16 40 00*7") + attr(6, "16*16") + entry(4, sids) + sids +
                                attr(3, "31323334") + attr(2, "0200 4243 02000000 44454647 01000000 48494a4b") +
                                attr(1, "0100 5152 5354555657585960"),
                       .ext_mask = 0x3F}},
            .attrs = attr(18, "18*16 6162636465666768") + attr(17, "71727374") + attr(16, "81")};
}

bytes_t rich_record()
{
    bytes_t bytes = record(rich_route());
    const size_t path = 336 + rich_route().attrs.size();
    put_net(&bytes, path + 28, 0x01010203, 4);
    put_net(&bytes, path + 32, 0x02010203, 4);
    put_net(&bytes, path + 36, 0x03010203, 4);
    put_net(&bytes, path + 40, 0x04010203, 4);
    put_net(&bytes, path + 88 + 63, 0x80, 1);
    for (uint8_t block = 0; block != 5; ++block)
        bytes[bytes.size() - 8 * (5u - block)] = block;
    return bytes;
}

/* What stands behind the path record, up to the end of the route. */
bytes_t rich_attributes()
{
    const auto one = [](uint16_t type, const char *value) { return tlv(type, hex(value)); };
    const bytes_t of_path = one(12, "03020101 03020102 03020103") + one(13, "03020104") + one(17, "0100 5152 5354555657585960") +
                            one(18, "0200 4243 02000000 44454647 01000000 48494a4b") + one(20, "31323334") + one(21, SIDS) +
                            one(22, "16*16") + one(23, "20010db8 @16 40 00*7") + one(26, "21222324") +
                            one(28, "0200 1112 13141516 00*16") + one(39, "3b*24") + one(43, "01 000000 0a0b0c0d") +
                            one(100, "b0*24") + one(101, "00 b0*7") + one(102, "01 b0*7") + one(103, "02 b0*7") +
                            one(105, "03 b0*7") + one(106, "04 b0*7") + one(109, "00*63 80");
    /* The library converts type 6: its count is in network order. */
    const bytes_t of_route =
        one(6, "0000 0001 18*16 6162636465666768 00*4") + one(11, "0000 0100 81") + one(15, "0000 0100 71727374");
    return of_path + DELIMITER + of_route + DELIMITER;
}

TEST(attributes, come_back_alike_in_lookups_listings_and_updates)
{
    rig_td rig;
    rib_session &session = rig.client();
    rig.add_protocol(session, "bgp");
    rig.send(session, registrations(ALL, {{}}));
    rig.send(session, FETCH);
    EXPECT_EQ(results_of(rig.send(session, single_batch(TABLE, 0, {rich_record()}))), "r0 a1");
    EXPECT_EQ(results_of(rig.send(session, single_batch(TABLE, 0, {rich_record()}))), "r4 a4");
    const bytes_t found = rig.send(session, lookup_request("2001:db8::", 32, 1));
    const bytes_t route = slice(found, 8, found.size());
    EXPECT_TRUE(same_bytes(slice(route, 136 + 96, route.size()), rich_attributes()));
    const bytes_t listed = rig.send(session, request_of(26, {{84, TABLE}, {144, static_cast<uint32_t>(route.size())}}));
    EXPECT_TRUE(same_bytes(slice(listed, 9, listed.size()), route));
    const fetched_td told = fetched(rig.send(session, FETCH));
    ASSERT_EQ(told.messages.size(), 1u);
    EXPECT_TRUE(same_bytes(told.messages[0].payload, route));
}

TEST(attributes, the_same_in_another_order_is_no_change)
{
    rig_td rig;
    rib_session &session = rig.client();
    rig.add_protocol(session, "bgp");
    const auto results = [&](const bytes_t &of_path, const bytes_t &of_route) {
        const route_td route = {.paths = {{.nexthop = "fe80::1", .attrs = of_path}}, .attrs = of_route};
        return results_of(rig.send(session, single_batch(TABLE, 0, {record(route)})));
    };
    const bytes_t intf = attr(3, "01000000"), group = attr(9, "01020304"), algo = attr(17, "01020304"), l2 = attr(16, "05");
    EXPECT_EQ(results(intf + group, algo + l2), "r0 a0");
    EXPECT_EQ(results(group + intf, l2 + algo), "r4 a4");
    EXPECT_EQ(results(group + intf, l2), "r2 a4");
    EXPECT_EQ(results(group, l2), "r2 a2");
}

/* 61 paths with 3,212 bytes of attributes each are as many as a route may have. */
TEST(attributes, a_route_of_the_largest_size_reaches_everyone)
{
    for (const uint32_t format : {0u, 1u}) {
        rig_td rig({.msg_version = format, .fetch_bytes = 1});
        rib_session &session = rig.client();
        rig.add_protocol(session, "bgp");
        rig.send(session, registrations(ALL, {{}}));
        rig.send(session, FETCH);
        route_td wide = {.paths = {}};
        for (uint32_t interface = 1; interface <= 62; ++interface)
            wide.paths.push_back({.nexthop = "fe80::1", .interface = interface, .attrs = attr(2, "9001 0000 01*3200")});
        const std::string results = results_of(rig.send(session, single_batch(TABLE, 0, {record(wide)})));
        EXPECT_EQ(results.substr(results.size() - 11), " a0 a0 a-10");
        const size_t plain = 136 + 61 * 104 + 8, whole = plain + 61 * 3212;
        EXPECT_EQ(rig.send(session, lookup_request("2001:db8::", 32, 1)).size(), 8 + whole);
        EXPECT_EQ(rig.send(session, request_of(26, {{84, TABLE}, {144, 0x80000}})).size(), 9 + whole);
        const fetched_td told = fetched(rig.send(session, FETCH), format);
        EXPECT_EQ(told.flags, 1);
        EXPECT_EQ(routes_of(told.messages.at(0).payload).at(0).size(), format ? whole : plain);
    }
}

} // namespace
