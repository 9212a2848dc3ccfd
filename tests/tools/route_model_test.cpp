/*
 * Addresses and the model of a table: every length of a prefix, and longest matches as by brute force.
 */
#include "tools/route_model.h"

#include "tools/address.h"
#include "tools/random.h"

#include <gtest/gtest.h>

namespace
{

const route *brute_force(const std::vector<route> &routes, const in6_addr &addr)
{
    const route *best = nullptr;
    for (const route &one : routes)
        if (contains(one.prefix, bits_of(addr)) && (!best || one.prefix.len >= best->prefix.len))
            best = &one; // of equals the last one
    return best;
}

/* Few bits vary, so that routes nest deeply and stand twice. */
std::vector<route> dense_routes(random_source &random, size_t count)
{
    std::vector<route> routes;
    for (size_t i = 0; i < count; ++i) {
        const auto len = static_cast<uint8_t>(random.below(4) ? random.below(12) : 120 + random.below(9));
        const address_bits bits = address_bits{random.next()} << 64 | random.below(256);
        routes.push_back({{address_of(bits & mask_of(len)), len}, address_of(i + 1)});
    }
    return routes;
}

} // namespace

TEST(address, masks_and_contains_at_every_length)
{
    const address_bits ones = ~address_bits{0};
    for (unsigned len = 0; len <= 128; ++len) {
        const ip_prefix prefix = {masked(address_of(ones), len), static_cast<uint8_t>(len)};
        ip_prefix again = {};
        ASSERT_FALSE(parse_prefix(text_of(prefix), &again));
        EXPECT_TRUE(again == prefix);
        EXPECT_TRUE(contains(prefix, ones)) << len;
        if (len != 0) {
            EXPECT_FALSE(contains(prefix, ones ^ address_bits{1} << (128 - len))) << "the last bit of " << len << " turned";
        }
    }
}

TEST(route_model, longest_match_as_by_brute_force)
{
    random_source random(11);
    for (const size_t count : {0u, 1u, 3u, 50u, 700u, 3000u}) {
        const std::vector<route> routes = dense_routes(random, count);
        const route_model model(routes);
        for (int i = 0; i < 500; ++i) {
            in6_addr addr = address_of(address_bits{random.next()} << 64 | random.below(256));
            if (i % 2 && !routes.empty()) {
                const ip_prefix &inside = routes[random.below(routes.size())].prefix;
                addr = address_of(bits_of(inside.addr) | (bits_of(addr) & ~mask_of(inside.len)));
            }
            const route *expected = brute_force(routes, addr), *got = model.longest(addr);
            ASSERT_EQ(!got, !expected) << text_of(addr);
            EXPECT_TRUE(!got || got->prefix == expected->prefix) << text_of(addr);
            EXPECT_TRUE(!got || same_address(got->nexthop, expected->nexthop)) << text_of(addr);
        }
        const std::vector<route> once = model.routes();
        EXPECT_LE(once.size(), routes.size());
        for (size_t i = 1; i < once.size(); ++i)
            EXPECT_FALSE(once[i].prefix == once[i - 1].prefix);
    }
}
