#include <platform/lbitmap.h>

#include <cstring>
#include <gtest/gtest.h>

TEST(lbitmap, lies_as_it_travels)
{
    struct {
        uint32_t bits;
        std::initializer_list<uint32_t> set;
        size_t byte;
        uint8_t value;
    } const cases[] = {{512, {0}, 8, 0x01},      {512, {7}, 8, 0x80}, {512, {8, 9}, 9, 0x03}, {512, {511}, 71, 0x80},
                       {512, {512, ~0u}, 71, 0}, {33, {32}, 12, 1},   {33, {33}, 12, 0}};
    for (const auto &c : cases) {
        uint8_t area[80];
        memset(area, 0xEE, sizeof area);
        uint8_t *bitmap = area + 1; // at any address
        lbitmap_init(bitmap, c.bits);
        EXPECT_TRUE(lbitmap_is_empty(bitmap));
        for (const uint32_t bit : c.set)
            lbitmap_set(bitmap, bit);
        uint8_t expected[80];
        memset(expected, 0xEE, sizeof expected);
        memset(expected + 1, 0, LBITMAP_BYTES(c.bits));
        memcpy(expected + 1, &c.bits, sizeof c.bits);
        expected[1 + c.byte] = c.value;
        EXPECT_EQ(memcmp(area, expected, sizeof area), 0) << c.bits << " bits, byte " << c.byte;
        EXPECT_EQ(lbitmap_is_empty(bitmap), c.value == 0);
    }
}
