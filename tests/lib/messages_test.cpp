/*
 * Result texts, and the message objects as the message facility reads them.
 */
#include <climits>
#include <cstring>

#include <platform/tev.h>

#include "tests/support/client_test.h"

namespace
{
TEST(ribresulttype_to_string, texts)
{
    /* Both ends, both sides of zero, and the two texts that are easily taken for one another. */
    static constexpr struct {
        int result;
        const char *text;
    } cases[] = {{-11, "Invalid Primary PathID change"},
                 {-5, "RPC error"},
                 {-1, "No memory"},
                 {0, "OK"},
                 {1, "Route created/modified as backup"},
                 {3, "Route created modified as first backup"},
                 {9, "Table/VRF not created"},
                 {11, "Unknown Error"}};
    for (const auto &c : cases)
        EXPECT_STREQ(ribresulttype_to_string(c.result), c.text) << c.result;
    for (const int unknown : {-12, 12, INT_MIN, INT_MAX})
        EXPECT_STREQ(ribresulttype_to_string(unknown), "Invalid RIB Result") << unknown;
}

struct message_case_t {
    const void *record, *record_got, *limit, *limit_got;
    const char *mnemonic, *format, *flag_and_severity, *id; /* as they stand in a host's memory */
    uint32_t limit_value;
};
#define MESSAGE(name)                                                                                                            \
    &tev_msg_rec_rib_lib_##name, tev_msg_rec_rib_lib_##name##_getfn(), &tev_msg_limit_rib_lib_##name,                            \
        tev_msg_limit_rib_lib_##name##_getfn()

const char *text_at(const void *record, size_t offset)
{
    const char *text;
    std::memcpy(&text, static_cast<const char *>(record) + offset, sizeof text);
    return text;
}

TEST(messages, records)
{
    const message_case_t cases[] = {
        {MESSAGE(batch_buffer_err), "BATCH_BUFFER_ERR", "Error in batch buffer operation - %s, error: 0x%x", "0100 0300",
         "0100a505", 10},
        {MESSAGE(batch_buffer_send_err), "BATCH_BUFFER_SEND_ERR", "Client error - %s, redist register batch send just after init",
         "0100 0300", "0200a505", 10},
        {MESSAGE(err_lock_fatal), "ERR_LOCK_FATAL", "%s Pthread %s, unexpected fatal error [%s]", "0000 0300", "0300a505", 60},
        {MESSAGE(err_possible_connection_leak), "ERR_POSSIBLE_CONNECTION_LEAK",
         "RIB client binding with a non-NULL connection handle. Potential client memory leak.", "0100 0400", "0400a505", 60},
        {MESSAGE(fetch_update), "FETCH_UPDATE", "Error fetching RIB update - %s", "0100 0300", "0500a505", 10},
        {MESSAGE(unbind), "UNBIND", "Failed to %s during client unbind - %s", "0000 0400", "0600a505", 60},
    };
    for (const message_case_t &c : cases) {
        SCOPED_TRACE(c.mnemonic);
        EXPECT_EQ(c.record_got, c.record);
        EXPECT_EQ(c.limit_got, c.limit);
        EXPECT_STREQ(text_at(c.record, 8), c.format);
        EXPECT_EQ(static_cast<const void *>(text_at(c.record, 16)), c.limit);
        EXPECT_STREQ(text_at(c.record, 24), "RIB_LIB");
        EXPECT_STREQ(text_at(c.record, 32), "ROUTING");
        EXPECT_STREQ(text_at(c.record, 40), c.mnemonic);
        const bytes_t record = bytes_at(c.record, 72);
        EXPECT_TRUE(same_bytes(slice(record, 0, 8), "00*8"));
        EXPECT_TRUE(same_bytes(slice(record, 48, 24), hex(std::string(c.flag_and_severity) + "00*12 " + c.id + "00*4")));
        EXPECT_TRUE(same_bytes(bytes_at(c.limit, 32), bytes_at(&c.limit_value, 4) + hex("00*28")));
    }
}

static_assert(sizeof(tev_msg_rec_t) == 72 && sizeof(tev_msg_limit_t) == 32);
} // namespace
