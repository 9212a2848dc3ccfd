#include <platform/bind_reply.h>

#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

using bytes = std::vector<uint8_t>;

TEST(bind_reply, encodes_what_is_present)
{
    struct {
        wirc_rib_bind_reply_t reply;
        bytes expected;
    } const cases[] = {{{0x01020304, WIRC_BIND_REPLY_HAS_MSG_VERSION}, {1, 1, 0, 0, 1, 2, 3, 4}},
                       {{0x01020304, 0}, {1, 0, 0, 0}}};
    for (const auto &c : cases) {
        bytes area(WIRC_BIND_REPLY_MAX);
        area.resize(wirc_rib_bind_reply_encode(&c.reply, area.data(), area.size()));
        EXPECT_EQ(area, c.expected);
        bytes tight(c.expected.size() - 1, 0xEE);
        EXPECT_EQ(wirc_rib_bind_reply_encode(&c.reply, tight.data(), tight.size()), 0u);
        EXPECT_EQ(tight, bytes(tight.size(), 0xEE));
    }
}

TEST(bind_reply, decodes_old_and_newer_encodings)
{
    struct {
        const char *name;
        bytes value;
        errcode result;
        uint32_t version, presence;
    } const cases[] = {
        {"with a version", {1, 1, 0, 0, 1, 2, 3, 4}, 0, 0x01020304, 1},
        {"without", {1, 0, 0, 0}, 0, 0, 0},
        {"with values of the future", {1, 0x83, 0, 0, 0, 0, 0, 9, 0xAA, 0xBB}, 0, 9, 1},
        {"only values of the future", {1, 0x82, 0, 0, 5, 5, 5, 5}, 0, 0, 0},
        {"another encoding", {2, 1, 0, 0, 1, 2, 3, 4}, EBADMSG, 0, 0},
        {"empty", {}, EBADMSG, 0, 0},
        {"cut in the header", {1, 1, 0}, EBADMSG, 0, 0},
        {"cut in the version", {1, 1, 0, 0, 1, 2, 3}, EBADMSG, 0, 0},
    };
    for (const auto &c : cases) {
        wirc_rib_bind_reply_t decoded = {0xEEEEEEEE, 0xEEEEEEEE};
        const bytes value(c.value.empty() ? bytes(1) : c.value);
        EXPECT_EQ(wirc_rib_bind_reply_decode_ext(&decoded, value.data(), c.value.size(), malloc, 0, 0), c.result) << c.name;
        EXPECT_EQ(decoded.wbr_msg_version, c.version) << c.name;
        EXPECT_EQ(decoded.wbr_presence, c.presence) << c.name;
        wirc_rib_bind_reply_free_ext(&decoded, free, 0, 0);
    }
    EXPECT_EQ(wirc_rib_bind_reply_decode_ext(nullptr, "", 0, malloc, 0, 0), static_cast<errcode>(EINVAL));
}
