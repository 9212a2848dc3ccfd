/*
 * TLV lists: bytes by hand, every prefix of a list, both walks.
 */
#include <platform/rib_tlv.h>

#include <gtest/gtest.h>
#include <memory>
#include <string_view>
#include <vector>

using bytes = std::vector<uint8_t>;

/* Two records, one of them empty, and the delimiter; bytes of something else behind. */
static const bytes list = {0,    0,    0, 0, 0x01, 0x02, 0, 3, 'a', 'b', 'c', 0, 0,    0,   0,
                           0x03, 0x04, 0, 0, 0,    0,    0, 0, 0,   0,   0,   0, 0xEE, 0xEE};
constexpr size_t list_len = 27;

TEST(rib_tlv, stamp_writes_network_order_and_accounts)
{
    uint8_t area[25] = {};
    uint8_t *cursor = area + 1;
    size_t room = 19;
    EXPECT_EQ(rib_tlv_stamp(0x0102, 3, &cursor, &room), 1);
    EXPECT_EQ(cursor, area + 9);
    EXPECT_EQ(room, 8u);
    EXPECT_EQ(bytes(area, area + 12), (bytes{0, 0, 0, 0, 0, 0x01, 0x02, 0, 3, 0, 0, 0}));
    EXPECT_EQ(rib_tlv_stamp(1, 1, &cursor, &room), 0) << "its value has no room";
    EXPECT_EQ(cursor, area + 9);
    EXPECT_EQ(room, 8u);
    EXPECT_EQ(rib_tlv_stamp(0, 0, &cursor, &room), 1);
    EXPECT_EQ(room, 0u);
    EXPECT_EQ(rib_tlv_stamp(0, 0, &cursor, nullptr), 1);
    EXPECT_EQ(cursor, area + 25);
}

static std::string_view value_of(const rib_tlv_t *record)
{
    return {reinterpret_cast<const char *>(record + 1), record->length};
}

TEST(rib_tlv, strip_and_fetch_walk_alike)
{
    bytes received(list);
    for (const auto walk : {rib_tlv_strip, rib_tlv_fetch}) {
        uint8_t *cursor = received.data();
        const rib_tlv_t *record = walk(&cursor);
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(+record->type, 0x0102);
        EXPECT_EQ(value_of(record), "abc");
        record = walk(&cursor);
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(+record->type, 0x0304);
        EXPECT_EQ(+record->length, 0);
        EXPECT_EQ(walk(&cursor), nullptr);
        EXPECT_EQ(cursor, received.data() + list_len);
    }
}

TEST(rib_tlv, handle_delim_ends_behind_the_delimiter)
{
    bytes received(list);
    uint8_t *cursor = received.data();
    rib_tlv_handle_delim(&cursor);
    EXPECT_EQ(cursor, received.data() + list_len);
}

TEST(rib_tlv, list_fits_only_whole)
{
    EXPECT_EQ(rib_tlv_list_fits(list.data(), list.data() + list.size()), list.data() + list_len);
    for (size_t len = 0; len != list_len; len++) {
        const auto prefix = std::make_unique<uint8_t[]>(len); // of its very length, so that a sanitizer sees a byte too many
        std::copy_n(list.begin(), len, prefix.get());
        EXPECT_EQ(rib_tlv_list_fits(prefix.get(), prefix.get() + len), nullptr) << len;
    }
}

TEST(rib_tlv, type_0_with_a_value_is_no_delimiter)
{
    bytes odd = {0, 0, 0, 0, 0, 0, 0, 2, 7, 7, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(rib_tlv_list_fits(odd.data(), odd.data() + odd.size()), odd.data() + odd.size());
    uint8_t *cursor = odd.data();
    EXPECT_NE(rib_tlv_strip(&cursor), nullptr);
    EXPECT_EQ(rib_tlv_strip(&cursor), nullptr);
}
