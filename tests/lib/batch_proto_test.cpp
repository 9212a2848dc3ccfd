/*
 * Protocol batches: the records, the chain of buffers, the exchange for each of them, and the results.
 */
#include <cstring>

#include "tests/support/batch_fixture.h"

namespace
{
constexpr auto OK = RIB_BATCH_BUFFER_OK, FULL = RIB_BATCH_BUFFER_FULL, ERROR = RIB_BATCH_BUFFER_ERROR;

struct chain_free {
    void operator()(rib_batch_buffer *first) const { ipv6_rib_batch_proto_buffer_free(first); }
};
using chain_owner = std::unique_ptr<rib_batch_buffer, chain_free>;

/* Records of 72 bytes that one buffer takes within its limit. */
constexpr uint32_t FITTING = 7281;

const rib_batch_buffer *next_of(const rib_batch_buffer *buffer)
{
    const rib_batch_buffer *next;
    std::memcpy(&next, &batch_view_t{buffer}.header()[32], sizeof next);
    return next;
}

rib_batch_buffer_result add(rib_batch_buffer *first, const char *instance)
{
    rib_register_protocol_in in = {};
    in.proto_name = "not sent";
    in.instance_name = instance;
    in.word_16 = 0xe1e2e3e4;
    in.reg_word1 = in.word_36 = 0x11121314;
    in.reg_word2 = 0x21222324;
    in.reg_word3 = 0x31323334;
    in.reg_word4 = 0x41424344;
    in.word_40 = 0xf1f2f3f4f5f6f7f8;
    in.reg_word64 = 0x5152535455565758;
    return ipv6_rib_batch_buffer_add_proto(first, &in);
}
rib_batch_buffer_result del(rib_batch_buffer *first)
{
    return ipv6_rib_batch_buffer_del_proto(first, 0x61626364, 0x7172);
}
/* A chain for that many records, filled with removals of them. */
chain_owner chain(uint32_t records, uint32_t filled)
{
    chain_owner first(ipv6_rib_batch_proto_buffer_allocate(records));
    ipv6_rib_batch_proto_buffer_init(first.get());
    for (uint32_t n = 0; n < filled; ++n)
        EXPECT_EQ(del(first.get()), OK) << n;
    return first;
}

std::string added(const std::string &name)
{
    return "07 01 e4" + name + "@44 11121314 0000 0000 21222324 31323334 41424344 5152535455565758";
}
constexpr const char *DELETED = "07 02 00 @44 61626364 7172 @72";

TEST(batch_proto, instance_names)
{
    const std::string longest = "abcdefghijklmnopqrstuvwxyz0123456789AB", longer = longest + "C", endless(500, 'x');
    struct {
        const char *instance, *field; /* NULL: refused */
    } const cases[] = {{"red", "red"},
                       {nullptr, ""},
                       {"", ""},
                       {longest.c_str(), longest.c_str()},
                       {longer.c_str(), nullptr},
                       {endless.c_str(), nullptr}};
    for (const auto &c : cases) {
        const chain_owner first = chain(10, 1);
        EXPECT_EQ(add(first.get(), c.instance), c.field ? OK : ERROR);
        const bytes_t second = c.field ? hex(added(std::string("'") + c.field + "'")) : bytes_t();
        EXPECT_TRUE(same_bytes(batch_view_t{first.get()}.data(), hex(DELETED) + second));
    }
    EXPECT_EQ(add(nullptr, "red"), ERROR);
    EXPECT_EQ(del(nullptr), ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_proto(chain(1, 0).get(), nullptr), ERROR);
}

TEST(batch_proto, length_of_the_chain)
{
    struct {
        uint32_t records, buffers;
    } const cases[] = {{0, 1}, {FITTING, 1}, {FITTING + 1, 2}, {2 * FITTING, 2}, {2 * FITTING + 1, 3}};
    for (const auto &c : cases) {
        const chain_owner first = chain(c.records, 0);
        uint32_t buffers = 0;
        for (const rib_batch_buffer *at = first.get(); at; at = next_of(at), ++buffers) {
            EXPECT_TRUE(same_bytes(slice(batch_view_t{at}.header(), 0, 32), "00*32"));
            EXPECT_TRUE(same_bytes(slice(batch_view_t{at}.header(), 40, 8), "0200 00*6"));
        }
        EXPECT_EQ(buffers, c.buffers) << c.records;
    }
}

/* The number of records of a buffer, in the order of the host. */
bytes_t count_of(const rib_batch_buffer *buffer)
{
    return slice(batch_view_t{buffer}.header(), 24, 4);
}

TEST(batch_proto, a_single_buffer_fills_up)
{
    const chain_owner first = chain(1, FITTING);
    EXPECT_EQ(del(first.get()), FULL);
    EXPECT_EQ(add(first.get(), "red"), ERROR);
    EXPECT_EQ(del(first.get()), ERROR);
    EXPECT_EQ(batch_view_t{first.get()}.data_len(), 72 * (FITTING + 1));
    EXPECT_EQ(batch_view_t{first.get()}.last_rec_off(), 72 * FITTING);
    EXPECT_TRUE(same_bytes(count_of(first.get()), "721c0000"));
}

TEST(batch_proto, a_record_that_crosses_the_limit_goes_to_the_next_buffer_too)
{
    const chain_owner first = chain(FITTING + 1, FITTING);
    EXPECT_EQ(add(first.get(), "red"), OK);
    EXPECT_TRUE(same_bytes(count_of(first.get()), "721c0000"));
    EXPECT_TRUE(same_bytes(count_of(next_of(first.get())), "01000000"));
    EXPECT_TRUE(same_bytes(batch_view_t{next_of(first.get())}.data(), added("'red'")));
    EXPECT_TRUE(same_bytes(slice(batch_view_t{first.get()}.data(), 72 * FITTING, SIZE_MAX), added("'red'")));
}

class batch_proto_send : public client_test
{
protected:
    void SetUp() override
    {
        client_test::SetUp();
        bind();
        std::fill(results.begin(), results.end(), uint8_t{0xee});
        received = 0;
    }
    int send(const chain_owner &first, uint32_t max)
    {
        return ipv6_rib_batch_proto_buffer_send(conn, first.get(), results.data(), max, &received);
    }

    bytes_t results = bytes_t(60 * (FITTING + 3));
    uint32_t received = 0;
};

/* A reply with a status and so many entries. */
bytes_t reply_with(const char *status, uint32_t count, const bytes_t &entries)
{
    bytes_t reply = hex(std::string("@24 ") + status + "@48 ") + entries;
    put_net(&reply, 0, reply.size(), 4);
    put_net(&reply, 8, count, 4);
    return reply;
}
const char *ENTRY = "01020304 'red' @48 11121314 2122 3132 41424344";
const char *ENTRY_IN_HOST_ORDER = "04030201 'red' @48 14131211 2221 3132 44434241";

TEST_F(batch_proto_send, bytes_and_results)
{
    const chain_owner first = chain(2, 0);
    for (unsigned round = 0; round < 2; ++round) {
        SetUp();
        ipv6_rib_batch_proto_buffer_init(first.get());
        add(first.get(), "red");
        del(first.get());
        fake_msg_chan().answer(reply_with("0001", 2, hex(ENTRY) + hex(ENTRY)));
        received = 5;
        EXPECT_EQ(send(first, 2), 1);
        EXPECT_EQ(received, 7u) << "the number is added to";
        EXPECT_TRUE(same_bytes(slice(results, 0, 180), hex(ENTRY_IN_HOST_ORDER) + hex(ENTRY_IN_HOST_ORDER) + hex("ee*60")));
        EXPECT_TRUE(
            same_bytes(only_sent(), hex("73800000 @20 000000c0 00000002 @40 0002 @48 ") + hex(added("'red'")) + hex(DELETED)));
        EXPECT_EQ(fake_msg_chan().sent[0].room, 524288u);
        EXPECT_EQ(fake_msg_chan().sent[0].chan, fake_msg_chan_t::FIRST_CHAN);
    }
}

TEST_F(batch_proto_send, a_chain_takes_a_message_for_each_buffer)
{
    const chain_owner first = chain(FITTING + 1, FITTING + 1);
    fake_msg_chan().answer(reply_with("0001", FITTING, bytes_t(60 * FITTING)));
    fake_msg_chan().answer(reply_with("0002", 1, hex(ENTRY)));
    EXPECT_EQ(send(first, FITTING + 1), 2) << "the status of the last";
    EXPECT_EQ(received, FITTING + 1);
    EXPECT_TRUE(same_bytes(slice(results, 60 * FITTING, 120), hex(ENTRY_IN_HOST_ORDER) + hex("ee*60")));
    ASSERT_EQ(fake_msg_chan().sent.size(), 2u);
    const bytes_t &message = fake_msg_chan().sent[0].msg;
    EXPECT_EQ(message.size(), 48 + 72 * FITTING) << "the record that crossed the limit is left out";
    EXPECT_TRUE(same_bytes(slice(message, 0, 32), "73800000 @20 0007fff8 00001c72 @32"));
    EXPECT_TRUE(same_bytes(fake_msg_chan().sent[1].msg, hex("73800000 @20 00000078 00000001 @40 0002 @48 ") + hex(DELETED)));
    EXPECT_TRUE(same_bytes(slice(fake_msg_chan().sent[1].area, 8, 4), "00*4")) << "no count of the last reply is left";
}

TEST_F(batch_proto_send, room_for_results)
{
    EXPECT_EQ(send(chain(FITTING + 1, FITTING + 1), FITTING), RIB_RESULT_INVALID_PARAMETER) << "the copy counts, too";
    EXPECT_TRUE(fake_msg_chan().sent.empty());
    fake_msg_chan().answer(reply_with("0001", FITTING + 1, bytes_t(60 * (FITTING + 1))));
    EXPECT_EQ(send(chain(FITTING + 1, FITTING + 1), FITTING + 1), RIB_RESULT_INVALID_PARAMETER) << "none for the second";
    EXPECT_EQ(fake_msg_chan().sent.size(), 1u);
}

TEST_F(batch_proto_send, replies)
{
    const bytes_t three = hex(ENTRY) + hex(ENTRY) + hex(ENTRY);
    struct {
        const char *name, *status;
        uint32_t claimed, there;
        int result;
        uint32_t received;
    } const cases[] = {
        {"refused, with no entry", "fffd", 0, 0, -3, 0},
        {"status 0", "0000", 2, 2, 0, 2},
        {"fewer entries than records", "0001", 1, 1, 1, 1},
        {"more entries than slots", "0001", 3, 3, -3, 2},
        {"a count beyond all bounds", "0001", 0xFFFFFFFF, 3, -3, 2},
    };
    for (const auto &c : cases) {
        SetUp();
        fake_msg_chan().answer(reply_with(c.status, c.claimed, slice(three, 0, 60 * c.there)));
        EXPECT_EQ(send(chain(2, 2), 2), c.result) << c.name;
        EXPECT_EQ(received, c.received) << c.name;
        EXPECT_TRUE(same_bytes(slice(results, 60 * c.received, 60), "ee*60")) << c.name;
    }
}

TEST_F(batch_proto_send, failures)
{
    chain_owner first = chain(1, 1);
    EXPECT_EQ(ipv6_rib_batch_proto_buffer_send(nullptr, first.get(), results.data(), 1, &received), -3);
    EXPECT_EQ(ipv6_rib_batch_proto_buffer_send(conn, nullptr, results.data(), 1, &received), -3);
    EXPECT_EQ(ipv6_rib_batch_proto_buffer_send(conn, first.get(), nullptr, 1, &received), -3);
    {
        const failing_alloc alloc(1);
        EXPECT_EQ(send(first, 1), RIB_RESULT_TOO_MANY_PATHS); /* -4 */
    }
    EXPECT_TRUE(fake_msg_chan().sent.empty());
    fake_msg_chan().fail(ECONNRESET);
    EXPECT_EQ(send(first, 1), RIB_RESULT_RPC_ERROR);
    EXPECT_EQ(received, 0u);
    fake_msg_chan().answer(reply_with("0001", 1, hex(ENTRY)));
    EXPECT_EQ(ipv6_rib_batch_proto_buffer_send(conn, chain(1, 1).get(), results.data(), 1, nullptr), 1);
}
} // namespace
