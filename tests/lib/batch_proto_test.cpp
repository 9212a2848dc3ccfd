/*
 * Protocol batches: the records, the chain of buffers, the exchange for each of them, and the results.
 */
#include <cstring>

#include "tests/support/batch_fixture.h"

namespace
{

struct chain_free {
    void operator()(rib_batch_buffer *first) const { ipv6_rib_batch_proto_buffer_free(first); }
};
using chain_owner = std::unique_ptr<rib_batch_buffer, chain_free>;

chain_owner allocate_chain(uint32_t records)
{
    chain_owner first(ipv6_rib_batch_proto_buffer_allocate(records));
    ipv6_rib_batch_proto_buffer_init(first.get());
    return first;
}

/* Records of 72 bytes that one buffer takes within its limit. */
constexpr uint32_t FITTING = 7281;

const rib_batch_buffer *next_of(const rib_batch_buffer *buffer)
{
    const rib_batch_buffer *next;
    std::memcpy(&next, &batch_view_t{buffer}.header()[32], sizeof next);
    return next;
}

rib_register_protocol_in registration(const char *instance)
{
    rib_register_protocol_in in = {};
    in.proto_name = "not sent";
    in.instance_name = instance;
    in.word_16 = 0xe1e2e3e4;
    in.reg_word1 = 0x11121314;
    in.reg_word2 = 0x21222324;
    in.reg_word3 = 0x31323334;
    in.reg_word4 = 0x41424344;
    in.word_36 = in.reg_word1;
    in.word_40 = 0xf1f2f3f4f5f6f7f8;
    in.reg_word64 = 0x5152535455565758;
    return in;
}
rib_batch_buffer_result add(rib_batch_buffer *first, const char *instance)
{
    const rib_register_protocol_in in = registration(instance);
    return ipv6_rib_batch_buffer_add_proto(first, &in);
}
rib_batch_buffer_result del(rib_batch_buffer *first)
{
    return ipv6_rib_batch_buffer_del_proto(first, 0x61626364, 0x7172);
}

constexpr const char *ADDED_WORDS = "11121314 0000 0000 21222324 31323334 41424344 5152535455565758";
constexpr const char *DELETED = "07 02 00 @44 61626364 7172 @72";

struct name_case_t {
    const char *name, *instance;
    const char *field; /* NULL: refused */
};
const name_case_t name_cases[] = {
    {"a name", "red", "'red'"},
    {"none", nullptr, ""},
    {"an empty name", "", ""},
    {"38 characters", "abcdefghijklmnopqrstuvwxyz0123456789AB", "'abcdefghijklmnopqrstuvwxyz0123456789AB'"},
    {"39 characters", "abcdefghijklmnopqrstuvwxyz0123456789ABC", nullptr},
    {"500 characters", nullptr, nullptr},
};

TEST(batch_proto, instance_names)
{
    const std::string endless(500, 'x');
    for (const name_case_t &c : name_cases) {
        SCOPED_TRACE(c.name);
        const chain_owner first = allocate_chain(10);
        del(first.get());
        const bytes_t before = batch_view_t{first.get()}.all();
        const bool refused = c.field == nullptr;
        const char *instance = refused && c.instance == nullptr ? endless.c_str() : c.instance;
        EXPECT_EQ(add(first.get(), instance), refused ? RIB_BATCH_BUFFER_ERROR : RIB_BATCH_BUFFER_OK);
        if (refused)
            EXPECT_TRUE(same_bytes(batch_view_t{first.get()}.all(), before));
        else
            EXPECT_TRUE(same_bytes(batch_view_t{first.get()}.data(),
                                   hex(DELETED) + hex(std::string("07 01 e4") + c.field + "@44 " + ADDED_WORDS)));
    }
}

TEST(batch_proto, nothing_is_added_without_arguments)
{
    const chain_owner first = allocate_chain(1);
    EXPECT_EQ(add(nullptr, "red"), RIB_BATCH_BUFFER_ERROR);
    EXPECT_EQ(del(nullptr), RIB_BATCH_BUFFER_ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_proto(first.get(), nullptr), RIB_BATCH_BUFFER_ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_is_empty(first.get()), 1);
}

TEST(batch_proto, length_of_the_chain)
{
    struct chain_case_t {
        uint32_t records;
        unsigned buffers;
    };
    for (const chain_case_t &c : {chain_case_t{0, 1}, {FITTING, 1}, {FITTING + 1, 2}, {2 * FITTING, 2}, {2 * FITTING + 1, 3}}) {
        const chain_owner first = allocate_chain(c.records);
        unsigned buffers = 0;
        for (const rib_batch_buffer *at = first.get(); at; at = next_of(at)) {
            ++buffers;
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
    const chain_owner first = allocate_chain(1);
    for (uint32_t n = 0; n < FITTING; ++n)
        ASSERT_EQ(del(first.get()), RIB_BATCH_BUFFER_OK) << n;
    EXPECT_EQ(del(first.get()), RIB_BATCH_BUFFER_FULL);
    EXPECT_EQ(add(first.get(), "red"), RIB_BATCH_BUFFER_ERROR);
    EXPECT_EQ(del(first.get()), RIB_BATCH_BUFFER_ERROR);
    EXPECT_EQ(batch_view_t{first.get()}.data_len(), 72 * (FITTING + 1));
    EXPECT_EQ(batch_view_t{first.get()}.last_rec_off(), 72 * FITTING);
    EXPECT_TRUE(same_bytes(count_of(first.get()), "721c0000"));
}

TEST(batch_proto, a_record_that_crosses_the_limit_goes_to_the_next_buffer_too)
{
    const chain_owner first = allocate_chain(FITTING + 1);
    for (uint32_t n = 0; n < FITTING; ++n)
        ASSERT_EQ(del(first.get()), RIB_BATCH_BUFFER_OK) << n;
    EXPECT_EQ(add(first.get(), "red"), RIB_BATCH_BUFFER_OK);
    const rib_batch_buffer *second = next_of(first.get());
    EXPECT_EQ(batch_view_t{first.get()}.data_len(), 72 * (FITTING + 1));
    EXPECT_TRUE(same_bytes(count_of(first.get()), "721c0000"));
    EXPECT_TRUE(same_bytes(count_of(second), "01000000"));
    const std::string added = std::string("07 01 e4 'red' @44 ") + ADDED_WORDS;
    EXPECT_TRUE(same_bytes(batch_view_t{second}.data(), added));
    EXPECT_TRUE(same_bytes(slice(batch_view_t{first.get()}.data(), 72 * FITTING, 72), added));
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
    int send(rib_batch_buffer *first, uint32_t max)
    {
        return ipv6_rib_batch_proto_buffer_send(conn, first, results.data(), max, &received);
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
    const chain_owner first = allocate_chain(2);
    for (unsigned round = 0; round < 2; ++round) {
        SCOPED_TRACE(round);
        SetUp();
        ipv6_rib_batch_proto_buffer_init(first.get());
        add(first.get(), "red");
        del(first.get());
        fake_msg_chan().answer(reply_with("0001", 2, hex(ENTRY) + hex(ENTRY)));
        received = 5;
        EXPECT_EQ(send(first.get(), 2), 1);
        EXPECT_EQ(received, 7u) << "the number is added to";
        EXPECT_TRUE(same_bytes(slice(results, 0, 180), hex(ENTRY_IN_HOST_ORDER) + hex(ENTRY_IN_HOST_ORDER) + hex("ee*60")));
        EXPECT_TRUE(same_bytes(only_sent(), hex("73800000 @20 000000c0 00000002 @40 0002 @48 ") +
                                                hex(std::string("07 01 e4 'red' @44 ") + ADDED_WORDS) + hex(DELETED)));
        EXPECT_EQ(fake_msg_chan().sent[0].room, 524288u);
        EXPECT_EQ(fake_msg_chan().sent[0].chan, fake_msg_chan_t::FIRST_CHAN);
        EXPECT_TRUE(same_bytes(slice(fake_msg_chan().sent[0].area, 8, 4), "00*4"));
    }
}

TEST_F(batch_proto_send, a_chain_takes_a_message_for_each_buffer)
{
    const chain_owner first = allocate_chain(FITTING + 1);
    for (uint32_t n = 0; n <= FITTING; ++n)
        ASSERT_EQ(del(first.get()), RIB_BATCH_BUFFER_OK);
    bytes_t entries;
    for (uint32_t n = 0; n < FITTING; ++n)
        entries.insert(entries.end(), 60, static_cast<uint8_t>(n));
    fake_msg_chan().answer(reply_with("0001", FITTING, entries));
    fake_msg_chan().answer(reply_with("0002", 1, hex(ENTRY)));
    EXPECT_EQ(send(first.get(), FITTING + 1), 2) << "the status of the last";
    EXPECT_EQ(received, FITTING + 1);
    EXPECT_TRUE(same_bytes(slice(results, 60 * FITTING, 120), hex(ENTRY_IN_HOST_ORDER) + hex("ee*60")));
    ASSERT_EQ(fake_msg_chan().sent.size(), 2u);
    const bytes_t &message = fake_msg_chan().sent[0].msg;
    EXPECT_EQ(message.size(), 48 + 72 * FITTING) << "the record that crossed the limit is left out";
    EXPECT_TRUE(same_bytes(slice(message, 0, 32), "73800000 @20 0007fff8 00001c72 @32"));
    EXPECT_TRUE(same_bytes(slice(message, 48 + 72 * (FITTING - 1), 72), DELETED));
    EXPECT_TRUE(same_bytes(fake_msg_chan().sent[1].msg, hex("73800000 @20 00000078 00000001 @40 0002 @48 ") + hex(DELETED)));
    EXPECT_TRUE(same_bytes(slice(fake_msg_chan().sent[1].area, 8, 4), "00*4")) << "no count of the last reply is left";
}

TEST_F(batch_proto_send, room_for_results)
{
    const chain_owner first = allocate_chain(FITTING + 1);
    for (uint32_t n = 0; n <= FITTING; ++n)
        del(first.get());
    EXPECT_EQ(send(first.get(), FITTING), RIB_RESULT_INVALID_PARAMETER) << "the first buffer counts the copy, too";
    EXPECT_TRUE(fake_msg_chan().sent.empty());

    ipv6_rib_batch_proto_buffer_init(first.get());
    for (uint32_t n = 0; n <= FITTING; ++n)
        del(first.get());
    fake_msg_chan().answer(reply_with("0001", FITTING + 1, bytes_t(60 * (FITTING + 1))));
    EXPECT_EQ(send(first.get(), FITTING + 1), RIB_RESULT_INVALID_PARAMETER) << "nothing is left for the second";
    EXPECT_EQ(fake_msg_chan().sent.size(), 1u);
}

struct reply_case_t {
    const char *name;
    bytes_t reply;
    int result;
    uint32_t received;
};

TEST_F(batch_proto_send, replies)
{
    const bytes_t three = hex(ENTRY) + hex(ENTRY) + hex(ENTRY);
    const reply_case_t cases[] = {
        {"refused, with no entry", reply_with("fffd", 0, {}), -3, 0},
        {"status 0", reply_with("0000", 2, slice(three, 0, 120)), 0, 2},
        {"fewer entries than records", reply_with("0001", 1, slice(three, 0, 60)), 1, 1},
        {"more entries than slots", reply_with("0001", 3, three), -3, 2},
        {"a count beyond all bounds", reply_with("0001", 0xFFFFFFFF, three), -3, 2},
    };
    for (const reply_case_t &c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        const chain_owner first = allocate_chain(2);
        del(first.get());
        del(first.get());
        fake_msg_chan().answer(c.reply);
        EXPECT_EQ(send(first.get(), 2), c.result);
        EXPECT_EQ(received, c.received);
        EXPECT_TRUE(same_bytes(slice(results, 60 * c.received, 60), "ee*60"));
    }
}

TEST_F(batch_proto_send, failures)
{
    const chain_owner first = allocate_chain(1);
    del(first.get());
    EXPECT_EQ(ipv6_rib_batch_proto_buffer_send(nullptr, first.get(), results.data(), 1, &received), -3);
    EXPECT_EQ(ipv6_rib_batch_proto_buffer_send(conn, nullptr, results.data(), 1, &received), -3);
    EXPECT_EQ(ipv6_rib_batch_proto_buffer_send(conn, first.get(), nullptr, 1, &received), -3);
    {
        const failing_alloc alloc(1);
        EXPECT_EQ(send(first.get(), 1), RIB_RESULT_TOO_MANY_PATHS); /* -4 */
    }
    EXPECT_TRUE(fake_msg_chan().sent.empty());
    fake_msg_chan().fail(ECONNRESET);
    EXPECT_EQ(send(first.get(), 1), RIB_RESULT_RPC_ERROR);
    EXPECT_EQ(received, 0u);

    ipv6_rib_batch_proto_buffer_init(first.get());
    del(first.get());
    fake_msg_chan().answer(reply_with("0001", 1, hex(ENTRY)));
    EXPECT_EQ(ipv6_rib_batch_proto_buffer_send(conn, first.get(), results.data(), 1, nullptr), 1);
    EXPECT_TRUE(same_bytes(slice(results, 0, 60), ENTRY_IN_HOST_ORDER));
}

} // namespace
