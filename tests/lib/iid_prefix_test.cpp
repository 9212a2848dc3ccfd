/*
 * IIDs: the prefixes that stand for them, and back, over formats as they are and as they might be.
 */
#include "tests/support/batch_fixture.h"
#include "tests/support/fake_srv6.h"

namespace
{
constexpr uint32_t FORMAT = 0x51525354;

class iid_prefix : public testing::Test
{
protected:
    ~iid_prefix() override { fake_srv6() = {}; }
};

/* The prefix of an IID, which is written and nothing around it. */
bytes_t prefix_of(uint32_t iid, const ip_rib_iid_ctx_td *context)
{
    struct {
        uint8_t before[16];
        ip_rib_iid_prefix_td prefix;
        uint8_t behind[16];
    } out;
    std::memset(&out, 0xee, sizeof out);
    EXPECT_EQ(ipv6_rib_iid_get_prefix_from_iid(iid, context, &out.prefix), 0u);
    EXPECT_TRUE(same_bytes(bytes_at(out.before, 16) + bytes_at(out.behind, 16), "ee*32"));
    const bytes_t prefix = bytes_at(&out.prefix, 24);
    EXPECT_TRUE(same_bytes(slice(prefix, 16, 8), "02 80 00*6"));
    return slice(prefix, 0, 16);
}
ip_rib_iid_ctx_td context_of(uint32_t kind, uint32_t format = 0, const char *sid = "00")
{
    return {.ic_kind = kind, .ic_lo = 0x1122334455667788, .ic_hi = 0xAABBCCDD, .ic_sid_format = format, .ic_sid = address(sid)};
}

TEST_F(iid_prefix, prefix_of_an_iid)
{
    const struct {
        const char *name;
        uint32_t iid;
        ip_rib_iid_ctx_td context;
        const char *prefix;
    } cases[] = {
        {"a block of 48", 0x1234, context_of(RIB_IID_SID, SRV6_SID_FORMAT_CSID_48_16, "fc00000000010203 0405060708090a0b"),
         "fc0000000001 fffe 1234 00*6"},
        {"a block of 32, and an IID of more than 16 bits", 0xABCD1234,
         context_of(RIB_IID_SID, SRV6_SID_FORMAT_CSID_32_16, "fc000102"), "fc000102 fffe 1234 00*8"},
        {"a block of 40 loses its last byte", 0x1234, context_of(RIB_IID_SID, SRV6_SID_FORMAT_FULL_40_24, "fc00010203"),
         "fc000102 fffe 1234 00*8"},
        {"an unknown format", 0x1234, context_of(RIB_IID_SID, 99, "fc00"), "00*16"},
        {"explicit", 0x1234, context_of(RIB_IID_EXPLICIT), "00000002 aabbccdd 1122334455667788"},
        {"mapped", 0x0A000001, context_of(RIB_IID_MAPPED), "00*10 ffff 0a000001"},
        {"any other kind", 0x0A000001, context_of(0xFFFFFFFF, 1, "fc00"), "00*10 ffff 0a000001"},
    };
    for (const auto &c : cases)
        EXPECT_TRUE(same_bytes(prefix_of(c.iid, &c.context), c.prefix)) << c.name;
    EXPECT_TRUE(same_bytes(prefix_of(0x0A000001, nullptr), "00*10 ffff 0a000001"));
    EXPECT_EQ(ipv6_rib_iid_get_prefix_from_iid(1, nullptr, nullptr), 0xA2D28000u);
}

/* What is told of formats: bits of a block and of an IID. */
void tell_format(uint8_t block_len, uint8_t iid_len, int result = 0)
{
    fake_srv6().format = [=](uint32_t format, srv6_sid_fmt_info_t *info) {
        EXPECT_EQ(format, FORMAT);
        EXPECT_TRUE(same_bytes(bytes_at(info, 120), "00*120"));
        info->sf_block_len = block_len;
        info->sf_iid_len = iid_len;
        return result;
    };
}
/* The IID, and the numbers of an explicit one; nothing else is written. */
std::string iid_of(const in6_addr &prefix, const in6_addr &block, uint32_t base)
{
    bytes_t untouched(sizeof(ip_rib_iid_ctx_td), 0xee), written = untouched;
    auto *context = as<ip_rib_iid_ctx_td>(written), *expected = as<ip_rib_iid_ctx_td>(untouched);
    uint32_t iid = 0xeeeeeeee;
    EXPECT_EQ(ipv6_rib_iid_get_iid_from_prefix(&prefix, &iid, block, base, FORMAT, context), 0u);
    char text[80];
    std::snprintf(text, sizeof text, "%x", iid);
    if (written != untouched) {
        std::snprintf(text, sizeof text, "%x explicit %x %lx", iid, context->ic_hi, context->ic_lo);
        expected->ic_kind = RIB_IID_EXPLICIT;
        expected->ic_lo = context->ic_lo;
        expected->ic_hi = context->ic_hi;
        EXPECT_TRUE(same_bytes(written, untouched));
    }
    return text;
}
std::string plain(uint32_t iid)
{
    char text[20];
    std::snprintf(text, sizeof text, "%x", iid);
    return text;
}

TEST_F(iid_prefix, iid_of_a_prefix)
{
    constexpr const char *WORKED = "fc0000000001 fffe 1234 00*6";
    const struct {
        const char *name, *prefix, *block;
        uint32_t base;
        uint8_t block_len, iid_len;
        const char *iid;
    } cases[] = {
        {"SID form", WORKED, "fc0000000001", 0, 48, 16, "1234"},
        {"a base", WORKED, "fc0000000001", 100, 48, 16, "1298"},
        {"a base that wraps", WORKED, "fc0000000001", 0xFFFFFFFF, 48, 16, "1233"},
        {"the block is compared as far as it goes", WORKED, "fc0000000001 ff*10", 0, 48, 16, "1234"},
        {"the marker is not", "fc0000000001 0000 1234 00*6", "fc0000000001", 0, 48, 16, "1234"},
        {"a block of 32", "fc000102 fffe 1234 00*8", "fc000102", 0, 32, 16, "1234"},
        {"an IID of 32 bits", "fc000001 1234 fffe 00*8", "fc000001", 0x10001, 32, 32, "12350001"},
        {"its base wraps", "fc000001 ffff fffe 00*8", "fc000001", 0x10002, 32, 32, "2"},
        {"a format that is not known", "00000002 1234 00*10", "fc", 5, 0, 0, "20005"},
        {"another block", WORKED, "fc0000000002", 0, 48, 16, "0 explicit 1fffe 1234000000000000"},
        {"explicit", "00000002 aabbccdd 1122334455667788", "fc", 5, 48, 16, "0 explicit aabbccdd 1122334455667788"},
        {"no block", "00000000 aabbccdd eeee0000 0a000001", "00", 5, 48, 16, "a000001"},
        {"mapped", "00*10 ffff 0a000001", "fc0000000001", 5, 48, 16, "a000001"},
        {"a block longer than an address", "ff*16", "ff*16", 0, 255, 16, "0 explicit ffffffff ffffffffffffffff"},
        {"and the other IID", "ff*16", "ff*16", 0, 255, 32, "0 explicit ffffffff ffffffffffffffff"},
        {"and one within it", "ff*16", "ff*16", 0, 144, 32, "0 explicit ffffffff ffffffffffffffff"},
    };
    for (const auto &c : cases)
        for (const int result : {0, 2}) { /* which is not asked for */
            tell_format(c.block_len, c.iid_len, result);
            EXPECT_EQ(iid_of(address(c.prefix), address(c.block), c.base), c.iid) << c.name;
        }
    fake_srv6() = {};
    EXPECT_EQ(iid_of(address("00000002 1234 00*10"), address("fc"), 5), "20005") << "a format that the platform does not know";
}

/* Every byte of the address tells its place. */
TEST_F(iid_prefix, every_length_of_a_block)
{
    const in6_addr addr = address("f0f1f2f3f4f5f6f7 f8f9fafbfcfdfeff");
    const bytes_t bytes = bytes_at(&addr, sizeof addr);
    const auto word_at = [&](size_t at) { return uint32_t{bytes[at]} << 8 | bytes[at + 1]; };
    constexpr auto NONE = "0 explicit f4f5f6f7 f8f9fafbfcfdfeff";
    for (uint8_t len = 16; len < 128; ++len) {
        SCOPED_TRACE(testing::Message() << +len << " bits");
        const auto context = context_of(RIB_IID_SID, FORMAT, "61626364");
        fake_srv6().block = [&](uint32_t format, const in6_addr *sid, srv6_sid_block_t *block) {
            EXPECT_EQ(format, FORMAT);
            EXPECT_TRUE(same_bytes(bytes_at(sid, 16), "61626364 00*12"));
            *block = {.sb_block = addr, .sb_block_len = len, .sb_node = 0xeeeeeeee};
            return 0;
        };
        bytes_t prefix(16);
        if (len < 112) {
            prefix = bytes;
            put_net(&prefix, len / 16 * 2u, 0xFFFE1234, 4);
        }
        EXPECT_TRUE(same_bytes(prefix_of(0x56781234, &context), prefix));

        in6_addr other = addr;
        other.s6_addr[len / 8 - 1] ^= 1;
        tell_format(len, 16);
        EXPECT_EQ(iid_of(addr, addr, 7), len < 112 ? plain(word_at(len / 16 * 2u + 2) + 7) : NONE);
        EXPECT_EQ(iid_of(addr, other, 7), NONE) << "the last byte that is compared";
        tell_format(len, 32);
        EXPECT_EQ(iid_of(addr, addr, 7), plain((word_at(len / 32 * 2u + 2) << 16) + 7));
    }
    const auto context = context_of(RIB_IID_SID);
    const struct {
        uint32_t len;
        int result;
    } cases[] = {{48, 5}, {128, 0}, {255, 0}, {0x100, 0}, {0x80000030, 0}, {0xFFFFFFFF, 0}};
    for (const auto &c : cases) {
        fake_srv6().block = [&](uint32_t, const in6_addr *, srv6_sid_block_t *block) {
            *block = {.sb_block = addr, .sb_block_len = c.len};
            return c.result;
        };
        EXPECT_TRUE(same_bytes(prefix_of(1, &context), "00*16")) << "whatever was written: " << c.len;
    }
}
} // namespace
