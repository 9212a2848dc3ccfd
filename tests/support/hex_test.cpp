/*
 * The notation itself: a mistake in it would go unnoticed in every other test.
 */
#include <stdexcept>

#include "tests/support/hex.h"

namespace
{

TEST(hex, reads_the_notation)
{
    EXPECT_EQ(hex(""), bytes_t());
    EXPECT_EQ(hex(" 01 0203\n04 // 05\n06"), (bytes_t{1, 2, 3, 4, 6}));
    EXPECT_EQ(hex("01 ff*3 02"), (bytes_t{1, 255, 255, 255, 2}));
    EXPECT_EQ(hex("'a b' 00"), (bytes_t{'a', ' ', 'b', 0}));
    EXPECT_EQ(hex("01 @4 02 @6"), (bytes_t{1, 0, 0, 0, 2, 0}));
}

TEST(hex, refuses_what_is_not_in_it)
{
    for (const char *text : {"0", "0g", "0G", "AB", "*3", "01*", "01*0", "@", "@4820010db8", "0102 @1", "'open", "-1"})
        EXPECT_THROW(hex(text), std::invalid_argument) << text;
}

TEST(hex, numbers_travel_with_their_most_significant_byte_first)
{
    bytes_t bytes(6);
    put_net(&bytes, 1, 0x01020304, 4);
    EXPECT_EQ(bytes, hex("00 01020304 00"));
    EXPECT_FALSE(same_bytes(bytes, "00 01020304 01"));
    EXPECT_FALSE(same_bytes(bytes, "00 01020304"));
}

} // namespace
