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
    const std::pair<const char *, int> cases[] = {{"0001", 1}, {"7fff", 0x7fff}, {"0000", 0}, {"fffd", -3}, {"8000", -32768}};
    for (const auto &[status, result] : cases) {
        SCOPED_TRACE(status);
        ipv6_rib_batch_buffer_clear(buffer.get());
        ipv6_rib_batch_buffer_init(buffer.get(), 1, 2);
        fill_over_the_limit(buffer.get());
        const bytes_t data = view().data(), waits = result > 0 ? slice(data, 102 * 616, 616) : bytes_t();
        EXPECT_EQ(send((std::string("00000030 @24 ") + status + "@48").c_str()), result);
        EXPECT_TRUE(same_bytes(slice(only_sent(), 20, 4), "0000f5a0"));
        EXPECT_TRUE(same_bytes(slice(only_sent(), 48, SIZE_MAX), slice(data, 0, 102 * 616)));
        EXPECT_TRUE(same_bytes(view().data(), waits));
        EXPECT_EQ(view().last_rec_off(), view().data_len());
        add_plain_route(buffer.get());
        ASSERT_EQ(send(ACCEPTED), 1);
        EXPECT_TRUE(same_bytes(slice(only_sent(), 48, SIZE_MAX), waits + hex(plain_route("0000", true)))) << "what waited goes";
    }
    fill_over_the_limit(buffer.get());
    ASSERT_EQ(send(ACCEPTED), 1);
    EXPECT_EQ(add_path(buffer.get()), RIB_BATCH_BUFFER_OK);
    EXPECT_TRUE(same_bytes(slice(view().data(), 0, 6), "01 66 0e 00 0002")) << "a path joins the route that waits";
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
