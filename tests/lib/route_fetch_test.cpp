/*
 * Listing routes: ranges, the walk over what came back, and blocks that cannot be walked.
 */
#include "tests/lib/request_cases.h"
#include "tests/support/route_bytes.h"

namespace
{
constexpr size_t BLOCK = 524288;
const in6_addr_t ZERO = {};

bytes_t block_of(uint32_t count, const bytes_t &routes)
{
    bytes_t block(9, 0xa5);
    put_net(&block, 0, 0, 4);
    put_net(&block, 4, count, 4);
    return block + routes;
}

class route_fetch : public client_test
{
protected:
    void SetUp() override
    {
        client_test::SetUp();
        bind();
    }
    void TearDown() override
    {
        ipv6_rib_route_free(routes);
        client_test::TearDown();
    }
    errcode fetch(const in6_addr_t &start, const in6_addr_t &end, uint32_t end_len)
    {
        ipv6_rib_route_free(routes);
        routes = &flag;
        flag = count = 0x01020304;
        const errcode code = ipv6_rib_get_routes(conn, 1, "", "", start, 0, end, end_len, &flag, &count, 0, &routes);
        EXPECT_TRUE(code == 0 || (flag == 0 && count == 0 && !routes)) << "outputs of a failure";
        return code;
    }
    errcode fetch(const bytes_t &block)
    {
        fake_msg_chan().answer(block);
        return fetch(ZERO, ZERO, 0);
    }
    errcode first() { return ipv6_rib_get_route_get_first_route(routes, &iter, &route); }
    errcode next() { return ipv6_rib_get_route_get_next_route(&iter, &route); }

    uint32_t flag = 0, count = 0;
    void *routes = nullptr;
    rib_get_route_iter iter = {};
    ipv6_routetype *route = nullptr;
};

TEST_F(route_fetch, ranges)
{
    const in6_addr_t net = address("20010db8 00050006 00*8"), below = address("20010db8 00050005 ff*8"),
                     host = address("20010db8 00050006 00*7 01"), above = address("20010db8 00050007 00*8");
    const struct {
        in6_addr_t start, end;
        uint32_t end_len;
        bool empty;
    } cases[] = {
        {net, net, 64, false},   {host, net, 64, false},      {host, net, 128, true},  {above, net, 64, true},
        {above, net, 48, false}, {below, net, 64, false},     {net, below, 64, true},  {net, ZERO, 0, false},
        {host, net, 127, false}, {host, net, 1u << 31, true}, {net, above, 64, false}, {above, host, 63, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        fake_msg_chan_reset();
        fake_msg_chan().answer(block_of(0, {}));
        EXPECT_EQ(fetch(c.start, c.end, c.end_len), 0u);
        EXPECT_EQ(fake_msg_chan().sent.size(), c.empty ? 0u : 1u);
        EXPECT_EQ(routes == nullptr, c.empty);
        EXPECT_EQ(flag, c.empty ? 0u : 0xa5u);
        EXPECT_EQ(count, 0u);
    }
}

TEST_F(route_fetch, a_block_is_walked_once)
{
    ASSERT_EQ(fetch(block_of(3, full_route() + route_of(0, {}) + route_of(1, path(9)))), 0u);
    EXPECT_EQ(flag, 0xa5u);
    EXPECT_EQ(count, 3u);
    const size_t paths[] = {2, 0, 1};
    EXPECT_EQ(first(), 0u);
    for (const size_t there : paths) {
        ASSERT_NE(route, nullptr);
        EXPECT_TRUE(same_bytes(bytes_at(route, 72), slice(fixed_part(there), 0, 72))) << "as it was received";
        EXPECT_EQ(route->rt_advertisers != nullptr, there == 2);
        ipv6_rib_route_xform(route);
        EXPECT_EQ(route->rt_protoid, 0x0506);
        EXPECT_EQ(route->rt_path_count, there);
        if (there) {
            EXPECT_EQ(route->rt_path[there - 1].path_interface, 0x61626364u);
            EXPECT_EQ(route->rt_path[there - 1].path_nexthop[15], there == 1 ? 9 : 2);
        }
        EXPECT_EQ(next(), there == 1 ? RIB_SRV_ERR_NOT_FOUND : 0);
    }
    EXPECT_EQ(route, nullptr);
    EXPECT_EQ(next(), RIB_SRV_ERR_NOT_FOUND) << "and stays at the end";
    EXPECT_EQ(captured_tev(), tev_lines({}));
    EXPECT_EQ(first(), 0u);
    EXPECT_EQ(route, nullptr) << "walked before";
    EXPECT_EQ(captured_tev(), tev_lines({{"FETCH_UPDATE", 3, "Error fetching RIB update - Corrupt buffer? - ROUTE TLV \n"}}));
    EXPECT_EQ(next(), RIB_SRV_ERR_NOT_FOUND);
    EXPECT_EQ(route, nullptr);
}

TEST_F(route_fetch, conversion_behind_the_walk)
{
    ASSERT_EQ(fetch(block_of(2, full_route() + full_route())), 0u);
    ASSERT_EQ(first(), 0u);
    ipv6_routetype *const walked = route;
    ASSERT_EQ(next(), 0u);
    for (ipv6_routetype *each : {walked, route}) {
        ipv6_rib_route_xform(each);
        EXPECT_EQ(each->rt_path_count, 2);
        EXPECT_TRUE(same_bytes(bytes_at(each->rt_advertisers, 8), "02000000 0700 0900"));
        EXPECT_TRUE(same_bytes(bytes_at(each->rt_attr_15, 5), "1515 0001 f5"));
    }
}

TEST_F(route_fetch, an_empty_block)
{
    ASSERT_EQ(fetch(block_of(0, {})), 0u);
    EXPECT_EQ(count, 0u);
    ASSERT_NE(routes, nullptr);
    route = reinterpret_cast<ipv6_routetype *>(&flag);
    EXPECT_EQ(first(), RIB_SRV_ERR_NOT_FOUND);
    EXPECT_EQ(route, nullptr);
    EXPECT_EQ(next(), RIB_SRV_ERR_NOT_FOUND);
}

/* Seven routes as long as their lists may be, and an eighth one that ends with the block or leaves it. */
TEST_F(route_fetch, the_end_of_the_block)
{
    bytes_t seven;
    for (unsigned n = 0; n < 7; ++n)
        seven = seven + route_of(0, tlv(77, bytes_t(65535)));
    const size_t left = BLOCK - 9 - seven.size() - 8 - 128 - 8 - 8;
    for (const size_t over : {0u, 1u, 8u}) {
        SCOPED_TRACE(over);
        const bytes_t block = slice(block_of(8, seven + route_of(0, tlv(77, bytes_t(left + over)))), 0, BLOCK);
        EXPECT_EQ(fetch(block), over ? errcode{EBADMSG} : 0);
        if (over)
            continue;
        uint32_t walked = 0;
        for (errcode code = first(); code == 0 && route; code = next(), ++walked)
            ipv6_rib_route_xform(route);
        EXPECT_EQ(walked, 8u);
    }
}

TEST_F(route_fetch, malformed_blocks)
{
    const struct {
        const char *name;
        bytes_t block;
    } cases[] = {
        {"a route that is not there", block_of(1, {})},
        {"one route fewer than counted", block_of(2, full_route())},
        {"more than a block can hold", block_of(0xffffffff, full_route())},
        {"another record in a route's place", block_of(2, full_route() + tlv(5, fixed_part(0)) + DELIMITER)},
        {"a short route record", block_of(1, tlv(3, slice(fixed_part(0), 0, 127)) + DELIMITER)},
        {"a route record that leaves the block", block_of(1, hex("00*4 0003 ffff") + bytes_t(BLOCK - 17, 0xff))},
        {"a list that leaves the block", block_of(1, tlv(3, fixed_part(0)) + bytes_t(BLOCK - 9 - 136, 0xff))},
    };
    for (const auto &c : cases)
        EXPECT_EQ(fetch(c.block), errcode{EBADMSG}) << c.name;
}

TEST_F(route_fetch, missing_arguments)
{
    const auto refused = [&](const char *proto, const char *instance, uint32_t *to_flag, uint32_t *to_count, void **to_routes) {
        flag = count = 7;
        routes = &flag;
        EXPECT_EQ(ipv6_rib_get_routes(conn, 1, proto, instance, ZERO, 0, ZERO, 0, to_flag, to_count, 0, to_routes),
                  RIB_LIB_ERR_BAD_ARG);
        EXPECT_EQ(flag, to_flag ? 0u : 7u);
        EXPECT_EQ(count, to_count ? 0u : 7u);
        EXPECT_EQ(routes, to_routes ? nullptr : &flag);
        routes = nullptr;
    };
    refused(nullptr, "", &flag, &count, &routes);
    refused("", nullptr, &flag, &count, &routes);
    refused("", "", nullptr, &count, &routes);
    refused("", "", &flag, nullptr, &routes);
    refused("", "", &flag, &count, nullptr);
    EXPECT_TRUE(fake_msg_chan().sent.empty());

    ASSERT_EQ(fetch(block_of(2, full_route() + full_route())), 0u);
    EXPECT_EQ(ipv6_rib_get_route_get_first_route(nullptr, &iter, &route), RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(ipv6_rib_get_route_get_first_route(routes, nullptr, &route), RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(ipv6_rib_get_route_get_first_route(routes, &iter, nullptr), RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(first(), 0u);
    EXPECT_NE(route, nullptr) << "a refused call walks nothing";
    EXPECT_EQ(ipv6_rib_get_route_get_next_route(nullptr, &route), RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(route, nullptr);
    EXPECT_EQ(ipv6_rib_get_route_get_next_route(&iter, nullptr), RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(next(), 0u);
    EXPECT_NE(route, nullptr);
}
} // namespace
