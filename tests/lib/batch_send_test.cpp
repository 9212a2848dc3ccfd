/*
 * Sending a route batch: the message as it leaves, the buffer before and afterwards, and what waits for the next message.
 */
#include "tests/support/batch_fixture.h"

namespace
{

struct reply_free {
    void operator()(void *reply) const { ipv6_rib_batch_args_out_free(reply); }
};

class batch_send : public client_test
{
protected:
    void SetUp() override
    {
        client_test::SetUp();
        bind();
    }
    int send(const char *answer)
    {
        fake_msg_chan().forget_calls();
        fake_msg_chan().answer(answer);
        return ipv6_rib_batch_buffer_send(conn, buffer.get(), reply.get());
    }
    batch_view_t view() const { return {buffer.get()}; }

    batch_buffer_owner buffer = allocate_batch(1);
    std::unique_ptr<void, reply_free> reply{ipv6_rib_batch_args_out_allocate()};
};

constexpr const char *ACCEPTED = "00000030 @24 0001 @48";

TEST_F(batch_send, one_table)
{
    ipv6_rib_batch_buffer_init(buffer.get(), 0x01020304, 0x0506);
    add_plain_route(buffer.get());
    EXPECT_EQ(send(ACCEPTED), 1);
    EXPECT_TRUE(
        same_bytes(only_sent(), hex("73800000 @20 00000180 01020304 0506 @40 0000 @48 ") + hex(plain_route("0000", true))));
    EXPECT_EQ(fake_msg_chan().sent[0].room, 524288u);
    EXPECT_EQ(fake_msg_chan().sent[0].chan, fake_msg_chan_t::FIRST_CHAN);
    EXPECT_EQ(ipv6_rib_batch_buffer_is_empty(buffer.get()), 1);
    EXPECT_EQ(view().last_rec_off(), 0u);
    /* Back in host order, but for the table and protocol, which never were. */
    EXPECT_TRUE(same_bytes(slice(view().header(), 20, 28), "80010000 01020304 0506 @20 0000 @28"));
    EXPECT_EQ(ipv6_rib_batch_buffer_add_path(buffer.get(), 0, 0, &NEXTHOP, &SOURCE, 0, 0, 0), RIB_BATCH_BUFFER_ERROR)
        << "the route went with the message";
}

TEST_F(batch_send, several_tables)
{
    ipv6_rib_batch_buffer_init2(buffer.get());
    ipv6_rib_batch_table_init(buffer.get(), 0x01020304, 0x0506);
    add_plain_route(buffer.get());
    ipv6_rib_batch_table_init(buffer.get(), 0x11121314, 0x1516);
    ipv6_rib_batch_buffer_complete(buffer.get());
    EXPECT_EQ(send(ACCEPTED), 1);
    EXPECT_TRUE(same_bytes(only_sent(), hex("73800000 @20 0000019c @40 0001 @48 ") + hex("06 00 0506 00000150 01020304") +
                                            hex(plain_route("0000", true)) + hex("06 00 1516 00000004 11121314 03 000000")));
    EXPECT_TRUE(same_bytes(slice(view().header(), 20, 28), "9c010000 @20 0100 @28"));

    EXPECT_EQ(ipv6_rib_batch_table_init(buffer.get(), 0x21222324, 0x2526), RIB_BATCH_BUFFER_OK);
    EXPECT_EQ(send(ACCEPTED), 1);
    EXPECT_TRUE(same_bytes(only_sent(), "73800000 @20 0000003c @40 0001 @48 06 00 2526 00000000 21222324"))
        << "a sent table is not open any more";
}

TEST_F(batch_send, a_table_opened_before_a_clear_is_not_closed_by_the_send)
{
    ipv6_rib_batch_buffer_init2(buffer.get());
    ipv6_rib_batch_table_init(buffer.get(), 0x01020304, 0x0506);
    ipv6_rib_batch_buffer_clear(buffer.get());
    EXPECT_EQ(send(ACCEPTED), 1);
    EXPECT_TRUE(same_bytes(only_sent(), "73800000 @20 00000030 @40 0001 @48"));
}

struct status_case_t {
    const char *name, *answer;
    int result;
    bool keeps; /* what crossed the limit */
};
const status_case_t status_cases[] = {
    {"processed", "00000030 @24 0001 @48", 1, true},
    {"the largest status", "00000030 @24 7fff @48", 0x7fff, true},
    {"zero", "00000030 @24 0000 @48", 0, false},
    {"malformed", "00000030 @24 fffd @48", -3, false},
    {"the server's -5", "00000030 @24 fffb @48", -5, false},
    {"the lowest status", "00000030 @24 8000 @48", -32768, false},
};

/* A small buffer with 102 routes of one path within the limit and one that crosses it with its path. */
void fill_over_the_limit(rib_batch_buffer *buffer)
{
    for (uint8_t n = 0; n <= 102; ++n) {
        EXPECT_EQ(ipv6_rib_batch_buffer_add_route(buffer, &PREFIX, n, 0x0506, 0), RIB_BATCH_BUFFER_OK);
        EXPECT_EQ(ipv6_rib_batch_buffer_add_path(buffer, n, 0, &NEXTHOP, &SOURCE, 0, 0, 0),
                  n < 102 ? RIB_BATCH_BUFFER_OK : RIB_BATCH_BUFFER_FULL);
    }
}

TEST_F(batch_send, the_route_that_crossed_the_limit_waits)
{
    for (const status_case_t &c : status_cases) {
        SCOPED_TRACE(c.name);
        ipv6_rib_batch_buffer_clear(buffer.get());
        ipv6_rib_batch_buffer_init(buffer.get(), 1, 2);
        fill_over_the_limit(buffer.get());
        const bytes_t data = view().data();
        EXPECT_EQ(send(c.answer), c.result);
        EXPECT_TRUE(same_bytes(slice(only_sent(), 20, 4), "0000f5a0"));
        EXPECT_TRUE(same_bytes(slice(only_sent(), 48, SIZE_MAX), slice(data, 0, 102 * 616)));
        EXPECT_TRUE(same_bytes(view().data(), c.keeps ? slice(data, 102 * 616, 616) : bytes_t()));
        EXPECT_EQ(view().last_rec_off(), view().data_len());
        const rib_batch_buffer_result added = ipv6_rib_batch_buffer_add_path(buffer.get(), 7, 0, &NEXTHOP, &SOURCE, 0, 0, 0);
        EXPECT_EQ(added, c.keeps ? RIB_BATCH_BUFFER_OK : RIB_BATCH_BUFFER_ERROR);
        if (c.keeps) {
            EXPECT_TRUE(same_bytes(slice(view().data(), 0, 6), "01 66 0e 00 0002")) << "the path joins the route that waits";
        }
    }
}

TEST_F(batch_send, what_waited_goes_with_the_next_message)
{
    ipv6_rib_batch_buffer_init(buffer.get(), 1, 2);
    fill_over_the_limit(buffer.get());
    const bytes_t waiting = slice(view().data(), 102 * 616, 616);
    ASSERT_EQ(send(ACCEPTED), 1);
    add_plain_route(buffer.get());
    ASSERT_EQ(send(ACCEPTED), 1);
    EXPECT_TRUE(same_bytes(only_sent(),
                           hex("73800000 @20 000003e8 00000001 0002 @40 0000 @48 ") + waiting + hex(plain_route("0000", true))));
    ASSERT_EQ(send(ACCEPTED), 1);
    EXPECT_TRUE(same_bytes(only_sent(), "73800000 @20 00000030 00000001 0002 @48"));
}

TEST_F(batch_send, markers_and_tables_wait_like_routes)
{
    ipv6_rib_batch_buffer_init2(buffer.get());
    while (view().data_len() + 336 < 63440)
        ASSERT_EQ(add_plain_route(buffer.get()), RIB_BATCH_BUFFER_OK);
    while (ipv6_rib_batch_buffer_converge(buffer.get(), 0x01020304, 0x05060708) == RIB_BATCH_BUFFER_OK)
        ;
    ASSERT_EQ(send(ACCEPTED), 1);
    EXPECT_TRUE(same_bytes(view().data(), "04 000000 01020304 05060708"));
}

TEST_F(batch_send, a_broken_channel_discards_the_buffer)
{
    fill_over_the_limit(buffer.get());
    fake_msg_chan().fail(EPIPE);
    EXPECT_EQ(ipv6_rib_batch_buffer_send(conn, buffer.get(), reply.get()), RIB_RESULT_RPC_ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_is_empty(buffer.get()), 1);
    EXPECT_TRUE(same_bytes(slice(bytes_at(reply.get(), 48), 24, 2), "fbff"));
}

TEST_F(batch_send, reply_header)
{
    add_plain_route(buffer.get());
    EXPECT_EQ(send("00000034 01020304 05060708 090a @24 0003 1112 @48 00*4"), 3);
    /* Words 0, 4 and 26 are converted by the send, those at 8 and 12 only when the results are walked. */
    EXPECT_TRUE(same_bytes(slice(bytes_at(reply.get(), 48), 0, 14), "34000000 04030201 05060708 090a"));
    EXPECT_TRUE(same_bytes(slice(bytes_at(reply.get(), 48), 24, 4), "0300 1211"));
}

TEST_F(batch_send, missing_arguments)
{
    ipv6_rib_batch_buffer_init2(buffer.get());
    ipv6_rib_batch_table_init(buffer.get(), 0x01020304, 0x0506);
    const bytes_t before = view().all();
    EXPECT_EQ(ipv6_rib_batch_buffer_send(nullptr, buffer.get(), reply.get()), RIB_RESULT_INVALID_PARAMETER);
    EXPECT_EQ(ipv6_rib_batch_buffer_send(conn, nullptr, reply.get()), RIB_RESULT_INVALID_PARAMETER);
    EXPECT_EQ(ipv6_rib_batch_buffer_send(conn, buffer.get(), nullptr), RIB_RESULT_INVALID_PARAMETER);
    EXPECT_TRUE(same_bytes(view().all(), before));
    EXPECT_TRUE(fake_msg_chan().sent.empty());
}

} // namespace
