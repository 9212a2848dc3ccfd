/*
 * Operations of several threads: turns on one connection, none between connections, and unbinding behind both.
 */
#include <chrono>
#include <future>
#include <thread>

#include "tests/support/client_test.h"

namespace
{

using locks_test = client_test;

TEST_F(locks_test, exchanges_on_one_connection_take_turns)
{
    bind();
    fake_msg_chan().answer(hex("00*12"), [] { fake_ptd().await_announced(1); });
    fake_msg_chan().answer("00*12");
    std::thread first([&] { EXPECT_EQ(ipv6_rib_update_complete(conn, 1, 0), 0u); });
    std::thread second([&] { EXPECT_EQ(ipv6_rib_update_complete(conn, 2, 0), 0u); });
    first.join();
    second.join();
    EXPECT_EQ(fake_msg_chan().calls, (std::vector<std::string>{"send", "answered", "send", "answered"}));
    EXPECT_EQ(fake_ptd().announced(), std::vector<std::string>{"rib_client_mutex_lock_inline"}) << "only who really waits";
    EXPECT_EQ(fake_ptd().ended(), 1u);
}

TEST_F(locks_test, a_batch_waits_for_a_request)
{
    bind();
    rib_batch_buffer *buffer = ipv6_rib_batch_buffer_allocate(1);
    void *reply = ipv6_rib_batch_args_out_allocate();
    std::promise<void> sending;
    fake_msg_chan().answer(hex("00*12"), [&] {
        sending.set_value();
        fake_ptd().await_announced(1);
    });
    std::thread first([&] { EXPECT_EQ(ipv6_rib_update_complete(conn, 1, 0), 0u); });
    sending.get_future().wait();
    fake_msg_chan().answer("00000030 @24 0001 @48");
    EXPECT_EQ(ipv6_rib_batch_buffer_send(conn, buffer, reply), 1);
    first.join();
    EXPECT_EQ(fake_msg_chan().calls, (std::vector<std::string>{"send", "answered", "send", "answered"}));
    ipv6_rib_batch_args_out_free(reply);
    ipv6_rib_batch_buffer_free(buffer);
}

TEST_F(locks_test, exchanges_on_two_connections_run_side_by_side)
{
    bind();
    ipv6_rib_conn_p other = nullptr;
    fake_msg_chan().answer(BIND_REPLY);
    ASSERT_GT(ipv6_rib_bind(&other), 0);
    fake_msg_chan().forget_calls();
    std::promise<void> here, there;
    fake_msg_chan().answer(hex("00*12"), [&] {
        here.set_value();
        there.get_future().wait();
    });
    fake_msg_chan().answer(hex("00*12"), [&] {
        there.set_value();
        here.get_future().wait();
    });
    std::thread first([&] { EXPECT_EQ(ipv6_rib_update_complete(conn, 1, 0), 0u); });
    EXPECT_EQ(ipv6_rib_update_complete(other, 1, 0), 0u);
    first.join();
    EXPECT_EQ(fake_msg_chan().calls, (std::vector<std::string>{"send", "send", "answered", "answered"}));
    EXPECT_TRUE(fake_ptd().announced().empty());
    ipv6_rib_unbind(&other);
}

TEST_F(locks_test, unbinding_waits_for_operations_on_every_connection)
{
    bind();
    ipv6_rib_conn_p other = nullptr;
    fake_msg_chan().answer(BIND_REPLY);
    ASSERT_GT(ipv6_rib_bind(&other), 0);
    fake_msg_chan().forget_calls();
    std::future<void> unbound;
    fake_msg_chan().answer(hex("00*12"), [&] {
        unbound = std::async(std::launch::async, [&] { ipv6_rib_unbind(&other); });
        EXPECT_EQ(unbound.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    });
    EXPECT_EQ(ipv6_rib_update_complete(conn, 1, 0), 0u);
    unbound.wait();
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(fake_msg_chan().calls, (std::vector<std::string>{"send", "answered", "disconnect"}));
}

} // namespace
