/*
 * SRv6: the code points at the ends of their ranges, the SID formats, and what a SID list gets filled in.
 */
#include <platform/srv6.h>

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>

static in6_addr sid_of(std::initializer_list<uint8_t> bytes)
{
    in6_addr sid = {};
    std::copy(bytes.begin(), bytes.end(), sid.s6_addr);
    return sid;
}
static const in6_addr SID = sid_of({0xfc, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15});

TEST(srv6, code_points)
{
    for (const uint32_t type : {1u, 12u, 14u, 24u, 27u, 39u, 43u, 50u, 52u, 68u, 85u, 95u, 101u, 112u, 114u, 124u, 127u, 139u})
        EXPECT_EQ(srv6_end_func_type_is_valid(type), 1) << type;
    for (const uint32_t type :
         {0u, 13u, 25u, 26u, 40u, 42u, 51u, 69u, 84u, 96u, 100u, 113u, 125u, 126u, 140u, 0x101u, 0xFFFFFFFFu})
        EXPECT_EQ(srv6_end_func_type_is_valid(type), 0) << type;
    for (const uint32_t type : {0u, 1u, 4u, 5u, 0x101u, 0xFFFFFFFFu})
        EXPECT_EQ(srv6_transit_func_type_is_valid(type), type == 1 || type == 4) << type;
    for (const uint32_t opcode : {0u, 1u, 0xFFFEu, 0xFFFFu, 0x10001u, 0xFFFFFFFFu})
        EXPECT_EQ(rib_srv6_is_valid_explicit_opcode(opcode), opcode == 1 || opcode == 0xFFFE) << opcode;
}

TEST(srv6, formats)
{
    const struct {
        uint32_t id;
        const char *name;
        uint8_t block, node, func, arg, iid;
        uint32_t node_number; /* of the SID above */
    } cases[] = {
        {1, "full-40-24", 40, 24, 16, 0, 16, 0x050607},
        {2, "csid-32-16", 32, 16, 16, 0, 16, 0x0405},
        {3, "csid-48-16", 48, 16, 16, 0, 16, 0x0607},
        {4, "csid-32-32", 32, 16, 16, 0, 32, 0x0405},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        srv6_sid_fmt_info_t info = {};
        EXPECT_EQ(srv6_sid_fmt_get_info(c.id, &info), 0);
        EXPECT_EQ(info.sf_id, c.id);
        EXPECT_STREQ(info.sf_name, c.name);
        const uint8_t lens[] = {static_cast<uint8_t>(c.block + c.node), c.block, c.node, c.iid, c.func, c.arg};
        EXPECT_EQ(std::memcmp(reinterpret_cast<uint8_t *>(&info) + 104, lens, sizeof lens), 0);

        srv6_sid_block_t block;
        EXPECT_EQ(srv6_pltf_util_extract_sid_block_iid(c.id, &SID, &block), 0);
        in6_addr expected = SID;
        std::memset(expected.s6_addr + c.block / 8, 0, sizeof expected - c.block / 8u);
        EXPECT_TRUE(IN6_ARE_ADDR_EQUAL(&block.sb_block, &expected));
        EXPECT_EQ(block.sb_block_len, c.block);
        EXPECT_EQ(block.sb_node, c.node_number);
    }
    for (const uint32_t unknown : {0u, 5u, 0xFFFFFFFFu}) {
        srv6_sid_fmt_info_t info = {.sf_id = 7};
        srv6_sid_block_t block = {.sb_block_len = 7};
        EXPECT_EQ(srv6_sid_fmt_get_info(unknown, &info), ENOENT);
        EXPECT_EQ(srv6_pltf_util_extract_sid_block_iid(unknown, &SID, &block), ENOENT);
        EXPECT_EQ(info.sf_id + block.sb_block_len, 14u) << "nothing is written";
    }
}

TEST(srv6, lists_are_filled_in)
{
    using structure_t = std::array<uint8_t, 4>;
    const struct {
        const char *name;
        uint32_t format;
        in6_addr sid;
        structure_t given;
        int interop, lengths;
        structure_t filled;
        uint32_t len;
    } cases[] = {
        {"from the format", 1, SID, {}, 0, 1, {40, 24, 16, 0}, 80},
        {"not over what was given", 1, SID, {32, 16, 16, 8}, 0, 1, {32, 16, 16, 8}, 72},
        {"a format that is not looked at", 99, SID, {0, 0, 0, 128}, 0, 1, {0, 0, 0, 128}, 128},
        {"nothing is known", 0, SID, {}, 0, 1, {}, 128},
        {"an unknown format", 99, SID, {}, ENOENT, 1, {}, 128},
        {"::", 2, {}, {}, 0, -1, {32, 16, 16, 0}, 0},
        {"129 bits", 0, SID, {64, 32, 32, 1}, 0, -1, {64, 32, 32, 1}, 0},
        {"256 bits", 0, SID, {255, 1, 0, 0}, 0, -1, {255, 1, 0, 0}, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        srv6_sid_list_t list = {.sl_count = 2};
        list.sl_sid[0] = {.si_format = 3, .si_sid = SID};
        list.sl_sid[2] = {.si_format = 3, .si_sid = SID};
        srv6_sid_info_t &sid = list.sl_sid[1];
        sid = {.si_format = c.format, .si_sid = c.sid};
        std::memcpy(&sid.si_block_len, c.given.data(), 4);
        EXPECT_EQ(rib_srv6_update_sid_info_list_interop(&list), c.interop);
        EXPECT_EQ(rib_srv6_validate_and_fill_sid_len(&list), c.lengths);
        EXPECT_EQ(std::memcmp(&sid.si_block_len, c.filled.data(), 4), 0);
        EXPECT_EQ(sid.si_len, c.len);
        EXPECT_EQ(list.sl_sid[0].si_len, 80u) << "those ahead are filled in";
        EXPECT_EQ(list.sl_sid[2].si_len, 0u) << "behind the count";
    }
}
