/*
 * The services that work on plain memory: trees against std::set, everything else against bytes written by hand.
 */
#include <platform/avl.h>
#include <platform/bind_reply.h>
#include <platform/bounded_copy.h>
#include <platform/ipv6_addr.h>
#include <platform/lbitmap.h>
#include <platform/rib_tlv.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

using bytes = std::vector<uint8_t>;

struct number_node {
    avl_node_t link;
    int32_t key;
    int tree;
};

static int32_t key_of(const avl_node_t *node)
{
    return reinterpret_cast<const number_node *>(node)->key;
}

static int compare(const avl_node_t *first, const avl_node_t *second)
{
    return key_of(first) < key_of(second) ? 0 : key_of(first) == key_of(second) ? 1 : 2;
}

/* Height of a tree; fails the test where two sides differ by more than one. */
static int height(const avl_node_t *node)
{
    if (!node)
        return 0;
    const int left = height(node->avl_left), right = height(node->avl_right);
    EXPECT_LE(std::abs(left - right), 1);
    return 1 + std::max(left, right);
}

TEST(avl, two_trees_hold_what_two_sets_hold)
{
    std::mt19937 random(4711);
    std::vector<number_node> nodes(400);
    for (size_t i = 0; i != nodes.size(); i++)
        nodes[i] = {{}, static_cast<int32_t>(i / 2) - 100, -1}; // each key twice
    avl_node_t *roots[2] = {};
    std::set<int32_t> models[2];
    for (int i = 0; i != 20000; i++) {
        number_node &node = nodes[random() % nodes.size()];
        const int tree = static_cast<int>(random() % 2);
        avl_node_t *&root = roots[tree];
        std::set<int32_t> &model = models[tree];
        if (random() % 2) {
            const bool fits = node.tree < 0 && model.insert(node.key).second;
            ASSERT_EQ(avl_insert(&root, &node.link, compare), fits ? &node.link : nullptr);
            node.tree = fits ? tree : node.tree;
        } else {
            const bool here = node.tree == tree;
            ASSERT_EQ(avl_delete(&root, &node.link), here ? &node.link : nullptr);
            node.tree = here ? -1 : node.tree;
            model.erase(here ? node.key : INT32_MAX);
        }
        const number_node wanted = {{}, node.key, 0};
        const avl_node_t *found = avl_search(root, &wanted.link, compare);
        ASSERT_EQ(found ? key_of(found) : INT32_MAX, model.count(node.key) ? node.key : INT32_MAX);
        ASSERT_EQ(avl_is_threaded(&node.link), node.tree >= 0);
        ASSERT_EQ(root ? key_of(avl_get_first(root)) : INT32_MAX, model.empty() ? INT32_MAX : *model.begin());
        if (i % 500 == 0)
            height(root);
    }
}

TEST(ipv6_addr, prefixes_and_order)
{
    for (uint32_t len = 0; len != 140; len++) {
        in6_addr cut;
        std::fill_n(cut.s6_addr, 16, uint8_t{0xFF});
        ipv6_prefix_only(&cut, len < 130 ? len : len * 30000000);
        for (uint32_t bit = 0; bit != 128; bit++)
            ASSERT_EQ(cut.s6_addr[bit / 8] >> (7 - bit % 8) & 1, bit < len) << len;
    }
    const std::pair<size_t, uint8_t> ordered[] = {{15, 0}, {15, 1}, {15, 0x80}, {14, 1}, {8, 1}, {7, 1}, {0, 1}, {0, 0x80}};
    for (size_t i = 0; i != std::size(ordered); i++)
        for (size_t j = 0; j != std::size(ordered); j++) {
            in6_addr first = {}, second = {};
            first.s6_addr[ordered[i].first] = ordered[i].second;
            second.s6_addr[ordered[j].first] = ordered[j].second;
            EXPECT_EQ(ipv6_addr_comp(&first, &second), i < j ? -1 : i > j) << i << " " << j;
        }
}

TEST(lbitmap, lies_as_it_travels)
{
    for (const uint32_t bit : {0u, 7u, 8u, 31u, 32u, 33u, ~0u}) { // of 33, so the last two are ignored
        bytes area(18, 0xEE), expected = {0xEE, 33, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xEE};
        lbitmap_init(&area[1], 33);
        EXPECT_TRUE(lbitmap_is_empty(&area[1]));
        lbitmap_set(&area[1], bit);
        if (bit < 33)
            expected[9 + bit / 8] = static_cast<uint8_t>(1u << bit % 8);
        EXPECT_EQ(area, expected) << bit;
        EXPECT_EQ(lbitmap_is_empty(&area[1]), bit >= 33);
    }
}

TEST(bounded_copy, copies_what_fits)
{
    static const char endless[] = {'a', 'b', 'c'}; // without a zero: a sanitizer sees a byte too many
    struct {
        const char *source;
        size_t room, count;
        int result;
        const char *area;
    } const cases[] = {{"abc", 4, 100, 0, "abc\0###"},     {"abc", 3, 3, ERANGE, "\0######"}, {"abcdef", 4, 3, 0, "abc\0###"},
                       {"", 1, 5, 0, "\0######"},          {"abc", 1, 0, 0, "\0######"},      {nullptr, 4, 3, EINVAL, "\0######"},
                       {"abc", 0, 3, EINVAL, "#######"},   {"a\0c", 4, 3, 0, "a\0#####"},     {endless, 8, 3, 0, "abc\0###"},
                       {endless, 3, 8, ERANGE, "\0######"}};
    for (const auto &c : cases) {
        char area[] = "#######";
        EXPECT_EQ(strncpy_s(area, c.room, c.source, c.count), c.result);
        EXPECT_EQ(std::string(area, 7), std::string(c.area, 7));
    }
    EXPECT_EQ(strncpy_s(nullptr, 4, "abc", 3), EINVAL);
    char area[] = "####";
    EXPECT_EQ(__memcpy_to_buf(area, 2, "abc", 3), 2u);
    EXPECT_EQ(__memcpy_to_buf(area + 2, 2, "xyz", 1), 1u);
    EXPECT_STREQ(area, "abx#");
}

/* Two records, one of them empty, a type 0 that has a value and so is no delimiter, the delimiter, and something else. */
static const bytes list = {0, 0, 0, 0, 1, 2, 0, 3, 'a', 'b', 'c', 0, 0, 0, 0, 3, 4, 0,    0,
                           0, 0, 0, 0, 0, 0, 0, 1, 7,   0,   0,   0, 0, 0, 0, 0, 0, 0xEE, 0xEE};
constexpr size_t list_len = 36;

TEST(rib_tlv, stamp_writes_network_order_and_accounts)
{
    uint8_t area[25] = {}, *cursor = area + 1;
    size_t room = 19;
    EXPECT_EQ(rib_tlv_stamp(0x0102, 3, &cursor, &room), 1);
    EXPECT_EQ(bytes(area, area + 12), (bytes{0, 0, 0, 0, 0, 1, 2, 0, 3, 0, 0, 0}));
    EXPECT_EQ(rib_tlv_stamp(1, 1, &cursor, &room), 0) << "its value has no room";
    EXPECT_EQ(cursor, area + 9);
    EXPECT_EQ(room, 8u);
    EXPECT_EQ(rib_tlv_stamp(0, 0, &cursor, &room), 1);
    EXPECT_EQ(room, 0u);
    EXPECT_EQ(rib_tlv_stamp(0, 0, &cursor, nullptr), 1);
    EXPECT_EQ(cursor, area + 25);
}

TEST(rib_tlv, walks_end_behind_the_delimiter_of_a_whole_list)
{
    bytes received(list);
    for (const auto walk : {rib_tlv_strip, rib_tlv_fetch}) { // the first leaves host order to the second
        uint8_t *cursor = received.data();
        std::vector<std::pair<unsigned, std::string>> seen;
        while (const rib_tlv_t *record = walk(&cursor))
            seen.emplace_back(record->type, std::string(reinterpret_cast<const char *>(record + 1), record->length));
        EXPECT_EQ(seen, (decltype(seen){{0x0102, "abc"}, {0x0304, ""}, {0, "\7"}}));
        EXPECT_EQ(cursor, received.data() + list_len);
    }
    received = list;
    uint8_t *cursor = received.data();
    rib_tlv_handle_delim(&cursor);
    EXPECT_EQ(cursor, received.data() + list_len);
    EXPECT_EQ(rib_tlv_list_fits(list.data(), list.data() + list.size()), list.data() + list_len);
    for (size_t len = 0; len != list_len; len++) {
        const auto prefix = std::make_unique<uint8_t[]>(len); // of its very length, so that a sanitizer sees a byte too many
        std::copy_n(list.begin(), len, prefix.get());
        EXPECT_EQ(rib_tlv_list_fits(prefix.get(), prefix.get() + len), nullptr) << len;
    }
}

TEST(bind_reply, bytes_of_old_and_newer_encodings)
{
    struct {
        const char *name;
        bytes value;
        errcode result;
        uint32_t version, presence;
        bool encodes;
    } const cases[] = {
        {"with a version", {1, 1, 0, 0, 1, 2, 3, 4}, 0, 0x01020304, 1, true},
        {"without", {1, 0, 0, 0}, 0, 0, 0, true},
        {"with values of the future", {1, 0x83, 0, 0, 1, 2, 3, 4, 0xAA, 0xBB}, 0, 0x01020304, 1, false},
        {"only values of the future", {1, 0x82, 0, 0, 5, 5, 5, 5}, 0, 0, 0, false},
        {"another encoding", {2, 1, 0, 0, 1, 2, 3, 4}, EBADMSG, 0, 0, false},
        {"cut in the header", {1, 0, 0}, EBADMSG, 0, 0, false},
        {"cut in the version", {1, 1, 0, 0, 1, 2, 3}, EBADMSG, 0, 0, false},
    };
    for (const auto &c : cases) {
        wirc_rib_bind_reply_t reply = {0xEEEEEEEE, 0xEEEEEEEE};
        EXPECT_EQ(wirc_rib_bind_reply_decode_ext(&reply, c.value.data(), c.value.size(), malloc, 0, 0), c.result) << c.name;
        EXPECT_EQ(reply.wbr_msg_version, c.version) << c.name;
        EXPECT_EQ(reply.wbr_presence, c.presence) << c.name;
        bytes area(c.encodes ? c.value.size() : 0);
        EXPECT_EQ(wirc_rib_bind_reply_encode(&reply, area.data(), area.size() - c.encodes), 0u) << c.name << " has no room";
        EXPECT_EQ(wirc_rib_bind_reply_encode(&reply, area.data(), area.size()), area.size()) << c.name;
        EXPECT_EQ(area, c.encodes ? c.value : bytes{}) << c.name;
    }
    EXPECT_EQ(wirc_rib_bind_reply_decode_ext(nullptr, "", 0, malloc, 0, 0), static_cast<errcode>(EINVAL));
}
