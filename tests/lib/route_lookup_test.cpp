/*
 * Route lookups: the request of each entry point, and the route that its caller gets from the reply.
 */
#include <cstring>
#include <memory>

#include "tests/support/client_test.h"

namespace
{

/* One record of a list as the server sends it. */
bytes_t tlv(uint16_t type, const bytes_t &value)
{
    bytes_t record(8);
    put_net(&record, 4, type, 2);
    put_net(&record, 6, value.size(), 2);
    return record + value;
}
const bytes_t DELIMITER(8);

/* The fixed part of a route, every field with its own value; the path count is at 3. */
bytes_t fixed_part(size_t paths)
{
    bytes_t route = hex("40 41 42 00 43 44 0102 0304 0506 45464748"
                        "@16 20010db8 00050006 00*8 @32 e0800001 11121314 1516 4950 @44 21222324 25262728 292a2b2c 2d2e2f30"
                        "@60 31323334 51*8 @72 77*56"); /* the places of the pointers arrive with anything */
    route[3] = static_cast<uint8_t>(paths);
    return route;
}
/* Path number n, every field with its own value. */
bytes_t path_value(size_t n)
{
    bytes_t path = hex("61626364 65666768 696a6b6c 11*4 @16 fe800000 00*11 a1 @32 fe800000 00*11 b2 @48 71727374 75767778"
                       "22*12 @68 81828384 85868788 02 01 03 00 @80 9192 9394 33*4");
    path[31] = static_cast<uint8_t>(n);
    return path;
}
bytes_t path(size_t n, const bytes_t &attributes = {})
{
    return tlv(4, path_value(n)) + attributes + DELIMITER;
}

/* Route attributes of every type, with a count of one or two. */
bytes_t all_attributes()
{
    return tlv(6, hex("0a0b 0002 aa*24 01020304 bb*24 05060708")) + tlv(7, hex("02000000 0700 0900")) +
           tlv(8, hex("0808 0001 88")) + tlv(9, hex("0909 0001 99")) + tlv(10, hex("1010 0001 a0")) +
           tlv(11, hex("1111 0001 b1")) + tlv(15, hex("1515 0001 f5"));
}

bytes_t reply_of(const bytes_t &route_and_lists)
{
    return bytes_t(8) + route_and_lists + DELIMITER;
}
bytes_t reply_with_paths(size_t paths)
{
    bytes_t lists;
    for (size_t n = 0; n < paths; ++n)
        lists = lists + path(n);
    return reply_of(tlv(3, fixed_part(paths)) + lists + DELIMITER);
}

class route_lookup : public client_test
{
protected:
    void SetUp() override
    {
        client_test::SetUp();
        std::memset(route.get(), 0xee, sizeof *route);
        bind();
    }
    int lookup(const bytes_t &reply)
    {
        fake_msg_chan().answer(reply);
        err = 0xeeeeeeee;
        return ipv6_rib_route_lookup(conn, 0xe0800001, &addr, 128, 0, 0, route.get(), &err);
    }
    bool untouched() const { return bytes_at(route.get(), sizeof *route) == bytes_t(sizeof *route, 0xee); }
    bytes_t route_bytes(size_t offset, size_t len) const
    {
        return bytes_at(reinterpret_cast<const char *>(route.get()) + offset, len);
    }

    const in6_addr addr = address("20010db8 00010002 00030004 00050006");
    std::unique_ptr<ipv6_routetype> route = std::make_unique<ipv6_routetype>();
    errcode err = 0;
};

struct request_case_t {
    const char *name;
    int (*call)(ipv6_rib_conn_p, const in6_addr *, ipv6_routetype *, errcode *);
    const char *length_and_flags;
};
const request_case_t request_cases[] = {
    {"lookup",
     [](ipv6_rib_conn_p conn, const in6_addr *addr, ipv6_routetype *route, errcode *err) {
         return ipv6_rib_route_lookup(conn, 0xe0800001, addr, 0x01020304, 0x05060708, 9, route, err);
     },
     "01020304 05060708"},
    {"internal",
     [](ipv6_rib_conn_p conn, const in6_addr *addr, ipv6_routetype *route, errcode *err) {
         return ipv6_rib_route_lookup_internal(conn, 0xe0800001, addr, 0x01020304, 0x05060708, 9, route, err);
     },
     "01020304 05060708"},
    {"longer",
     [](ipv6_rib_conn_p conn, const in6_addr *addr, ipv6_routetype *route, errcode *err) {
         return ipv6_rib_route_lookup_longer_internal(conn, 0xe0800001, addr, 0x01020304, 9, route, err);
     },
     "01020304 00000004"},
    {"range",
     [](ipv6_rib_conn_p conn, const in6_addr *addr, ipv6_routetype *route, errcode *err) {
         return ipv6_rib_route_lookup_longer_range_internal(conn, 0xe0800001, addr, 48, 64, route, err);
     },
     "00400030 00004000"},
    {"range of one length",
     [](ipv6_rib_conn_p conn, const in6_addr *addr, ipv6_routetype *route, errcode *err) {
         return ipv6_rib_route_lookup_longer_range_internal(conn, 0xe0800001, addr, 128, 128, route, err);
     },
     "00800080 00004000"},
};

TEST_F(route_lookup, requests)
{
    for (const request_case_t &c : request_cases) {
        SCOPED_TRACE(c.name);
        fake_msg_chan().forget_calls();
        fake_msg_chan().answer("42d29400");
        EXPECT_EQ(c.call(conn, &addr, route.get(), &err), 0);
        EXPECT_EQ(err, 0u);
        EXPECT_TRUE(same_bytes(only_sent(), hex(std::string("0080a505 @20 00000006 @24 e0800001 @32 "
                                                            "20010db8 00010002 00030004 00050006 @48 ") +
                                                c.length_and_flags + "@56 00*8")));
        EXPECT_EQ(fake_msg_chan().sent[0].room, 221544u);
    }
}

TEST_F(route_lookup, failures)
{
    for (const request_case_t &c : request_cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.call(nullptr, &addr, route.get(), &err), 0);
        EXPECT_EQ(err, RIB_LIB_ERR_BAD_ARG);
        {
            const failing_alloc alloc(1);
            EXPECT_EQ(c.call(conn, &addr, route.get(), &err), 0);
            EXPECT_EQ(err, RIB_LIB_ERR_NO_MEMORY);
        }
        EXPECT_TRUE(fake_msg_chan().sent.empty());
        fake_msg_chan().fail(ETIMEDOUT);
        EXPECT_EQ(c.call(conn, &addr, route.get(), &err), 0);
        EXPECT_EQ(err, errcode{ETIMEDOUT});
        fake_msg_chan().answer("42d29800");
        EXPECT_EQ(c.call(conn, &addr, route.get(), &err), 0);
        EXPECT_EQ(err, 0x42d29800u);
        fake_msg_chan().answer(reply_with_paths(1));
        EXPECT_EQ(c.call(conn, &addr, nullptr, &err), 0) << "nowhere to put the route";
        EXPECT_EQ(err, 0u);
        fake_msg_chan().forget_calls();
    }
    EXPECT_TRUE(untouched());
}

TEST_F(route_lookup, ranges_that_cannot_be)
{
    err = 0xeeeeeeee;
    EXPECT_EQ(ipv6_rib_route_lookup_longer_range_internal(conn, 1, &addr, 64, 48, route.get(), &err), 0);
    EXPECT_EQ(ipv6_rib_route_lookup_longer_range_internal(conn, 1, &addr, 64, 129, route.get(), &err), 0);
    EXPECT_EQ(err, 0xeeeeeeeeu);
    EXPECT_TRUE(fake_msg_chan().sent.empty());
}

TEST_F(route_lookup, broken_contracts)
{
    EXPECT_DEATH(ipv6_rib_route_lookup(conn, 1, &addr, 128, 0x1000, 0, route.get(), &err),
                 "Assertion `!\\(flags & 0x00001000\\)' failed");
    for (const request_case_t &c : request_cases)
        EXPECT_DEATH(c.call(conn, nullptr, route.get(), &err),
                     "ip/rib/ipv6/src/rib_ipv6_addr_public_funcs.*rib_copy_addr.*Assertion `src != \\(\\(void\\*\\)0\\)' failed")
            << c.name;
}

TEST_F(route_lookup, a_route_is_handed_over_in_host_order)
{
    const bytes_t nested = tlv(12, hex("c1c2c3")) + tlv(109, hex("d1"));
    ASSERT_EQ(lookup(reply_of(tlv(3, fixed_part(2)) + path(1, nested) + path(2) + all_attributes() + DELIMITER)), 1);
    EXPECT_EQ(err, 0u);
    EXPECT_TRUE(same_bytes(route_bytes(0, 72), "40 41 42 02 43 44 0201 0403 0605 45464748"
                                               "@16 20010db8 00050006 00*8 @32 010080e0 14131211 1615 4950"
                                               "@44 24232221 28272625 2c2b2a29 302f2e2d @60 34333231 51*8"));
    for (size_t n = 0; n < 2; ++n) {
        bytes_t expected = hex("64636261 68676665 6c6b6a69 11*4 @16 fe800000 00*11 00 @32 fe800000 00*11 b2 @48 74737271 78777675"
                               "22*12 @68 84838281 88878685 02 01 03 00 @80 9291 9493 33*4");
        expected[31] = static_cast<uint8_t>(n + 1);
        EXPECT_TRUE(same_bytes(bytes_at(&route->rt_path[n], 88), expected)) << n;
    }
    EXPECT_EQ(captured_tev(), tev_lines({}));
}

TEST_F(route_lookup, attributes_point_into_the_copy)
{
    ASSERT_EQ(lookup(reply_of(tlv(3, fixed_part(1)) + path(1) + all_attributes() + DELIMITER)), 1);
    const auto *record = reinterpret_cast<const char *>(route.get());
    const struct {
        const void *value;
        const char *bytes;
    } attributes[] = {
        {route->rt_attr_6, "0b0a 0200 aa*24 04030201 bb*24 08070605"}, /* the last word of each entry is a number */
        {route->rt_advertisers, "02000000 0700 0900"},                 /* as received */
        {route->rt_attr_8, "0808 0001 88"},
        {route->rt_attr_9, "0909 0001 99"},
        {route->rt_attr_10, "1010 0001 a0"},
        {route->rt_attr_11, "1111 0001 b1"},
        {route->rt_attr_15, "1515 0001 f5"},
    };
    for (const auto &attribute : attributes) {
        const bytes_t expected = hex(attribute.bytes);
        ASSERT_NE(attribute.value, nullptr) << attribute.bytes;
        const auto *value = static_cast<const char *>(attribute.value);
        ASSERT_GE(value, record + 128 + 88) << attribute.bytes;
        ASSERT_LE(value + expected.size(), record + sizeof *route) << attribute.bytes;
        EXPECT_TRUE(same_bytes(bytes_at(value, expected.size()), expected));
    }
}

TEST_F(route_lookup, attributes_without_entries_are_absent)
{
    ASSERT_EQ(lookup(reply_of(tlv(3, fixed_part(0)) + tlv(6, hex("0a0b 0000")) + tlv(7, hex("00000000")) +
                              tlv(8, hex("0808 0000")) + tlv(9, hex("0909 0000")) + tlv(10, hex("1010 0000")) +
                              tlv(11, hex("1111 0000")) + tlv(15, hex("1515 0000")) + tlv(77, hex("aabbccdd")) + DELIMITER)),
              1);
    EXPECT_EQ(route->rt_path_count, 0);
    EXPECT_TRUE(same_bytes(route_bytes(72, 56), "00*56"));
}

TEST_F(route_lookup, an_internal_lookup_leaves_the_record_as_received)
{
    const bytes_t nested = tlv(13, hex("c1c2c3"));
    fake_msg_chan().answer(reply_of(tlv(3, fixed_part(1)) + path(1, nested) + tlv(7, hex("01000000 0700")) + DELIMITER));
    ASSERT_EQ(ipv6_rib_route_lookup_internal(conn, 1, &addr, 128, 0, 0, route.get(), nullptr), 1);
    EXPECT_TRUE(same_bytes(route_bytes(0, 72), slice(fixed_part(1), 0, 72)));
    /* Headers are in host order, what they lead is not. */
    EXPECT_TRUE(same_bytes(route_bytes(128, 8), "00*4 0400 5800"));
    EXPECT_TRUE(same_bytes(route_bytes(136, 88), path_value(1)));
    EXPECT_TRUE(same_bytes(route_bytes(224, 33), "00*4 0d00 0300 c1c2c3 00*8 00*4 0700 0600 01000000 0700"));
    EXPECT_EQ(reinterpret_cast<const char *>(route->rt_advertisers), reinterpret_cast<const char *>(route.get()) + 251);

    ipv6_rib_route_xform(route.get());
    EXPECT_EQ(route->rt_path_count, 1);
    EXPECT_EQ(route->rt_protoid, 0x0506);
    EXPECT_EQ(route->rt_path[0].path_interface, 0x61626364u);
    EXPECT_TRUE(same_bytes(bytes_at(route->rt_advertisers, 6), "01000000 0700"));
}

struct no_route_case_t {
    const char *name;
    bytes_t reply;
};

TEST_F(route_lookup, no_route)
{
    bytes_t all_ones = fixed_part(0);
    std::fill_n(all_ones.begin() + 16, 16, uint8_t{0xff});
    const no_route_case_t cases[] = {
        {"a prefix of all ones", reply_of(tlv(3, all_ones) + DELIMITER)},
        {"an empty list", reply_of({})},
        {"a bare result", bytes_t(4)},
    };
    for (const no_route_case_t &c : cases) {
        EXPECT_EQ(lookup(c.reply), 0) << c.name;
        EXPECT_EQ(err, 0u) << c.name;
    }
    all_ones[31] = 0xfe;
    EXPECT_EQ(lookup(reply_of(tlv(3, all_ones) + DELIMITER)), 1) << "every byte counts";
}

struct too_large_case_t {
    const char *name;
    bytes_t reply;
    int found;
};

/* A path takes 104 bytes as it travels, and 11,392 bytes hold 108 of them with the fixed part and the delimiter. */
TEST_F(route_lookup, routes_larger_than_the_record)
{
    const bytes_t route_0 = tlv(3, fixed_part(0));
    const too_large_case_t cases[] = {
        {"108 paths fit", reply_with_paths(108), 1},
        {"109 paths do not", reply_with_paths(109), 0},
        {"128 paths do not", reply_with_paths(128), 0},
        {"129 paths do not", reply_with_paths(129), 0},
        {"255 paths do not", reply_with_paths(255), 0},
        {"one attribute that fits", reply_of(route_0 + tlv(77, bytes_t(11200)) + DELIMITER), 1},
        {"one attribute that does not", reply_of(route_0 + tlv(77, bytes_t(11300)) + DELIMITER), 0},
    };
    for (const too_large_case_t &c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        EXPECT_EQ(lookup(c.reply), c.found);
        EXPECT_EQ(err, c.found ? 0u : errcode{EMSGSIZE});
        EXPECT_EQ(untouched(), c.found == 0);
    }
}

struct malformed_case_t {
    const char *name;
    bytes_t lists;
};

TEST_F(route_lookup, malformed_replies)
{
    const bytes_t route_0 = tlv(3, fixed_part(0));
    const bytes_t route_1 = tlv(3, fixed_part(1));
    const malformed_case_t cases[] = {
        {"not a route", tlv(5, fixed_part(0)) + DELIMITER},
        {"a route record that is too short", tlv(3, slice(fixed_part(0), 0, 127)) + DELIMITER},
        {"a path that leaves the reply", route_1 + hex("00*4 0004 ffff") + bytes_t(221544 - 160, 0xff)},
        {"six entries announced, none there", route_0 + tlv(6, hex("0a0b 0006")) + DELIMITER},
        {"an entry that is cut", route_0 + tlv(6, hex("0a0b 0001 aa*27 ")) + DELIMITER},
        {"a type-6 attribute without a head", route_0 + tlv(6, hex("0a0b00")) + DELIMITER},
        {"more advertisers than the attribute holds", route_0 + tlv(7, hex("03000000 0700 0900")) + DELIMITER},
        {"advertisers of which the size wraps", route_0 + tlv(7, hex("00000080 0700 0900")) + DELIMITER},
        {"advertisers without a count", route_0 + tlv(7, hex("020000")) + DELIMITER},
        {"a type-8 attribute without a head", route_0 + tlv(8, hex("080800")) + DELIMITER},
        {"a short path", route_1 + tlv(4, slice(path_value(1), 0, 87)) + DELIMITER + DELIMITER},
    };
    for (const malformed_case_t &c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        const int found = lookup(reply_of(c.lists));
        /* Either the list is refused, or what it claims and does not hold is not handed over. */
        if (found) {
            EXPECT_EQ(err, 0u);
            EXPECT_EQ(route->rt_path_count, 0);
            EXPECT_TRUE(same_bytes(route_bytes(72, 56), "00*56"));
        } else {
            EXPECT_EQ(err, errcode{EBADMSG});
        }
    }
}

bytes_t full_reply()
{
    const bytes_t nested = tlv(12, hex("c1c2c3"));
    return bytes_t(8) + tlv(3, fixed_part(2)) + path(1, nested) + path(2) + all_attributes() + DELIMITER;
}

TEST_F(route_lookup, replies_that_break_off_are_refused)
{
    const bytes_t whole = full_reply();
    ASSERT_EQ(lookup(whole), 1);
    for (size_t len = 8; len < whole.size(); ++len) {
        /* What follows is no list, so that the end cannot be mistaken for zeros. */
        EXPECT_EQ(lookup(slice(whole, 0, len) + bytes_t(221544 - len, 0xff)), 0) << len;
        EXPECT_EQ(err, errcode{EBADMSG}) << len;
        captured_tev();
    }
}

TEST_F(route_lookup, replies_that_break_off_into_zeros_claim_no_more_than_they_hold)
{
    const bytes_t whole = full_reply();
    for (size_t len = 0; len < whole.size(); ++len) {
        if (lookup(slice(whole, 0, len))) {
            EXPECT_EQ(err, 0u) << len;
            const size_t paths = len < 144 + 8 ? 0 : len < 144 + 96 + 11 + 8 + 8 ? 1 : 2;
            EXPECT_LE(route->rt_path_count, paths) << len;
        } else {
            EXPECT_TRUE(err == 0 || err == EBADMSG) << len << ": " << err;
        }
        captured_tev();
    }
}

} // namespace
