#include "tools/address.h"

#include <gtest/gtest.h>

TEST(address, masks_and_contains_at_every_length)
{
    in6_addr ones, other;
    ASSERT_FALSE(parse_address("ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", &ones));
    for (unsigned len = 0; len <= 128; ++len) {
        const ip_prefix prefix = {masked(ones, len), static_cast<uint8_t>(len)};
        ip_prefix again = {};
        ASSERT_FALSE(parse_prefix(text_of(prefix), &again));
        EXPECT_TRUE(again == prefix);
        EXPECT_TRUE(contains(prefix, bits_of(ones))) << len;
        if (len == 0)
            continue;
        other = ones; // with the last bit of the prefix turned
        other.s6_addr[(len - 1) / 8] = static_cast<uint8_t>(other.s6_addr[(len - 1) / 8] ^ 0x80 >> (len - 1) % 8);
        EXPECT_FALSE(contains(prefix, bits_of(other))) << len;
    }
}
