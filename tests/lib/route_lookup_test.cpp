/*
 * Route lookups: the request of each entry point, and the route that its caller gets from the reply.
 */
#include <cstring>
#include <memory>

#include "tests/support/client_test.h"
#include "tests/support/route_bytes.h"

namespace
{
constexpr size_t ROOM = 221544; /* of a reply */

bytes_t reply_of(size_t paths, const bytes_t &lists)
{
    return bytes_t(8) + route_of(paths, lists) + DELIMITER;
}
bytes_t reply_with_paths(size_t paths)
{
    bytes_t lists;
    for (size_t n = 0; n < paths; ++n)
        lists = lists + path(n);
    return reply_of(paths, lists);
}
bytes_t full_reply()
{
    return bytes_t(8) + full_route() + DELIMITER;
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
    bytes_t route_bytes(size_t offset, size_t len) const { return slice(bytes_at(route.get(), sizeof *route), offset, len); }

    const in6_addr addr = address("20010db8 00010002 00030004 00050006");
    std::unique_ptr<ipv6_routetype> route = std::make_unique<ipv6_routetype>();
    errcode err = 0;
};

struct request_case_t {
    const char *name;
    int (*call)(ipv6_rib_conn_p, const in6_addr *, ipv6_routetype *, errcode *);
    const char *length_and_flags;
};
constexpr uint32_t TABLE = 0xe0800001, LEN = 0x01020304, FLAGS = 0x05060708;
const request_case_t request_cases[] = {
    {"lookup", [](auto c, auto addr, auto to, auto err) { return ipv6_rib_route_lookup(c, TABLE, addr, LEN, FLAGS, 9, to, err); },
     "01020304 05060708"},
    {"internal",
     [](auto c, auto addr, auto to, auto err) { return ipv6_rib_route_lookup_internal(c, TABLE, addr, LEN, FLAGS, 9, to, err); },
     "01020304 05060708"},
    {"longer",
     [](auto c, auto addr, auto to, auto err) { return ipv6_rib_route_lookup_longer_internal(c, TABLE, addr, LEN, 9, to, err); },
     "01020304 00000004"},
    {"range",
     [](auto c, auto a, auto to, auto e) { return ipv6_rib_route_lookup_longer_range_internal(c, TABLE, a, 48, 64, to, e); },
     "00400030 00004000"},
    {"one length",
     [](auto c, auto a, auto to, auto e) { return ipv6_rib_route_lookup_longer_range_internal(c, TABLE, a, 128, 128, to, e); },
     "00800080 00004000"},
};

TEST_F(route_lookup, requests_and_failures)
{
    const auto expect = [&](const request_case_t &c, ipv6_rib_conn_p on, errcode code) {
        EXPECT_EQ(c.call(on, &addr, route.get(), &err), 0);
        EXPECT_EQ(err, code);
    };
    for (const request_case_t &c : request_cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        expect(c, nullptr, RIB_LIB_ERR_BAD_ARG);
        {
            const failing_alloc alloc(1);
            expect(c, conn, RIB_LIB_ERR_NO_MEMORY);
        }
        EXPECT_TRUE(fake_msg_chan().sent.empty());
        fake_msg_chan().answer("42d29400"); /* no such route is no error */
        expect(c, conn, 0);
        EXPECT_TRUE(same_bytes(only_sent(), hex(std::string("0080a505 @20 00000006 @24 e0800001 @32 "
                                                            "20010db8 00010002 00030004 00050006 @48 ") +
                                                c.length_and_flags + "@56 00*8")));
        EXPECT_EQ(fake_msg_chan().sent[0].room, ROOM);
        fake_msg_chan().fail(ETIMEDOUT);
        expect(c, conn, ETIMEDOUT);
        fake_msg_chan().answer("42d29800");
        expect(c, conn, 0x42d29800);
        fake_msg_chan().answer(reply_with_paths(1));
        EXPECT_EQ(c.call(conn, &addr, nullptr, &err), 0) << "nowhere to put the route";
        EXPECT_EQ(err, 0u);
        EXPECT_DEATH(c.call(conn, nullptr, route.get(), &err), NO_ADDRESS);
    }
    fake_msg_chan().forget_calls();
    EXPECT_EQ(ipv6_rib_route_lookup_longer_range_internal(conn, 1, &addr, 64, 48, route.get(), &err), 0);
    EXPECT_EQ(ipv6_rib_route_lookup_longer_range_internal(conn, 1, &addr, 64, 129, route.get(), &err), 0);
    EXPECT_TRUE(fake_msg_chan().sent.empty());
    EXPECT_TRUE(untouched());
    EXPECT_DEATH(ipv6_rib_route_lookup(conn, 1, &addr, 128, 0x1000, 0, route.get(), &err),
                 "Assertion `!\\(flags & 0x00001000\\)' failed");
}

TEST_F(route_lookup, the_reply_area_is_kept_for_the_connection_and_cleared)
{
    const failing_alloc alloc(0);
    EXPECT_EQ(lookup(hex("00000001") + bytes_t(ROOM - 4, 0xff)), 0);
    EXPECT_EQ(alloc.count(), 1u);
    for (const size_t len : {size_t{8}, full_reply().size()}) { /* what the longer answers before left is gone */
        EXPECT_EQ(lookup(slice(full_reply(), 0, len)), len > 8);
        EXPECT_EQ(err, 0u);
        EXPECT_TRUE(same_bytes(fake_msg_chan().sent.back().area, "00*48"));
    }
    EXPECT_EQ(lookup(bytes_t(8)), 0);
    EXPECT_EQ(err, 0u);
    EXPECT_EQ(alloc.count(), 1u);
}

TEST_F(route_lookup, a_route_is_handed_over_in_host_order)
{
    ASSERT_EQ(lookup(full_reply()), 1);
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
    const auto *record = reinterpret_cast<const char *>(route.get());
    for (const auto &[value, bytes] : attributes) {
        const ptrdiff_t offset = static_cast<const char *>(value) - record;
        ASSERT_TRUE(offset >= 128 + 2 * 88 && offset < static_cast<ptrdiff_t>(sizeof *route)) << bytes;
        EXPECT_TRUE(same_bytes(route_bytes(static_cast<size_t>(offset), hex(bytes).size()), bytes));
    }
    EXPECT_EQ(captured_tev(), tev_lines({}));
}

TEST_F(route_lookup, attributes_without_entries_are_absent)
{
    ASSERT_EQ(lookup(reply_of(0, tlv(6, hex("0a0b 0000")) + tlv(7, hex("00*4")) + tlv(8, hex("0808 0000")) +
                                     tlv(9, hex("0909 0000")) + tlv(10, hex("1010 0000")) + tlv(11, hex("1111 0000")) +
                                     tlv(15, hex("1515 0000")) + tlv(77, hex("aabbccdd")))),
              1);
    EXPECT_EQ(route->rt_path_count, 0);
    EXPECT_TRUE(same_bytes(route_bytes(72, 56), "00*56"));
}

TEST_F(route_lookup, an_internal_lookup_leaves_the_record_as_received)
{
    fake_msg_chan().answer(reply_of(1, path(1, tlv(13, hex("c1c2c3"))) + tlv(7, hex("01000000 0700"))));
    ASSERT_EQ(ipv6_rib_route_lookup_internal(conn, 1, &addr, 128, 0, 0, route.get(), nullptr), 1);
    EXPECT_TRUE(same_bytes(route_bytes(0, 72), slice(fixed_part(1), 0, 72)));
    /* Headers are in host order, what they lead is not. */
    EXPECT_TRUE(same_bytes(route_bytes(128, 96), hex("00*4 0400 5800") + path_value(1)));
    EXPECT_TRUE(same_bytes(route_bytes(224, 33), "00*4 0d00 0300 c1c2c3 00*8 00*4 0700 0600 01000000 0700"));
    EXPECT_EQ(reinterpret_cast<const char *>(route->rt_advertisers), reinterpret_cast<const char *>(route.get()) + 251);
    ipv6_rib_route_xform(route.get());
    EXPECT_EQ(route->rt_path_count, 1);
    EXPECT_EQ(route->rt_protoid, 0x0506);
    EXPECT_EQ(route->rt_path[0].path_interface, 0x61626364u);
    EXPECT_TRUE(same_bytes(bytes_at(route->rt_advertisers, 6), "01000000 0700"));
}

TEST_F(route_lookup, no_route)
{
    bytes_t all_ones = reply_of(0, {});
    std::fill_n(all_ones.begin() + 16 + 16, 16, uint8_t{0xff});
    for (const bytes_t &reply : {all_ones, bytes_t(16), bytes_t(4)}) { /* no prefix, an empty list, a bare result */
        EXPECT_EQ(lookup(reply), 0) << reply.size();
        EXPECT_EQ(err, 0u) << reply.size();
    }
    all_ones[16 + 31] = 0xfe;
    EXPECT_EQ(lookup(all_ones), 1) << "every byte counts";
}

/* A path takes 104 bytes as it travels, and 11,392 bytes hold 108 of them with the fixed part and the delimiter. */
TEST_F(route_lookup, routes_larger_than_the_record)
{
    const std::pair<bytes_t, bool> cases[] = {
        {reply_with_paths(108), true},
        {reply_with_paths(109), false},
        {reply_with_paths(129), false},
        {reply_with_paths(255), false},
        {reply_of(0, tlv(77, bytes_t(11200))), true},
        {reply_of(0, tlv(77, bytes_t(11300))), false},
    };
    for (const auto &[reply, found] : cases) {
        SetUp();
        EXPECT_EQ(lookup(reply), found) << reply.size();
        EXPECT_EQ(err, found ? 0u : errcode{EMSGSIZE}) << reply.size();
        EXPECT_EQ(untouched(), !found) << reply.size();
    }
}

TEST_F(route_lookup, malformed_replies)
{
    struct {
        const char *name;
        bytes_t reply;
    } const cases[] = {
        {"not a route", bytes_t(8) + tlv(5, fixed_part(0)) + DELIMITER},
        {"a route record that is too short", bytes_t(8) + tlv(3, slice(fixed_part(0), 0, 127)) + DELIMITER},
        {"a path that leaves the reply", reply_of(1, hex("00*4 0004 ffff") + bytes_t(ROOM - 168, 0xff))},
        {"six entries announced, none there", reply_of(0, tlv(6, hex("0a0b 0006")))},
        {"an entry that is cut", reply_of(0, tlv(6, hex("0a0b 0001 aa*27")))},
        {"a type-6 attribute without a head", reply_of(0, tlv(6, hex("0a0b00")))},
        {"more advertisers than the attribute holds", reply_of(0, tlv(7, hex("03000000 0700 0900")))},
        {"advertisers of which the size wraps", reply_of(0, tlv(7, hex("00000080 0700 0900")))},
        {"advertisers without a count", reply_of(0, tlv(7, hex("020000")))},
        {"a type-8 attribute without a head", reply_of(0, tlv(8, hex("080800")))},
        {"a short path", reply_of(1, tlv(4, slice(path_value(1), 0, 87)) + DELIMITER)},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        /* Either the list is refused, or what it claims and does not hold is not handed over. */
        if (lookup(c.reply)) {
            EXPECT_EQ(err, 0u);
            EXPECT_EQ(route->rt_path_count, 0);
            EXPECT_TRUE(same_bytes(route_bytes(72, 56), "00*56"));
        } else {
            EXPECT_EQ(err, errcode{EBADMSG});
        }
    }
}

TEST_F(route_lookup, replies_that_break_off)
{
    const bytes_t whole = slice(full_reply(), 0, full_reply().size() - 8);
    for (size_t len = 0; len < whole.size(); ++len) {
        /* Into zeros, it may claim what it held; into what is no list, nothing can be mistaken for its end. */
        if (lookup(slice(whole, 0, len))) {
            EXPECT_EQ(err, 0u) << len;
            const size_t paths = len < 144 + 8 ? 0 : len < 144 + 96 + 20 + 8 + 8 ? 1 : 2;
            EXPECT_LE(route->rt_path_count, paths) << len;
        } else {
            EXPECT_TRUE(err == 0 || err == EBADMSG) << len << ": " << err;
        }
        if (len < 8)
            continue;
        EXPECT_EQ(lookup(slice(whole, 0, len) + bytes_t(ROOM - len, 0xff)), 0) << len;
        EXPECT_EQ(err, errcode{EBADMSG}) << len;
    }
}
} // namespace
