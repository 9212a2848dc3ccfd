/*
 * Operations of several threads: turns on one connection, none between connections, and unbinding behind both. Then what
 * locks that fail do to an operation: what is logged, what is returned, what ends the process.
 */
#include <chrono>
#include <cstring>
#include <future>
#include <thread>

#include "tests/support/batch_fixture.h"
#include "tests/support/failing_locks.h"

namespace
{
using locks_test = lock_test;

TEST_F(locks_test, a_batch_waits_for_a_request)
{
    bind();
    const batch_buffer_owner buffer = allocate_batch(1);
    void *reply = ipv6_rib_batch_args_out_allocate();
    std::promise<void> sending;
    fake_msg_chan().answer(hex("00*12"), [&] {
        sending.set_value();
        fake_ptd().await_announced(1);
    });
    std::thread first([&] { EXPECT_EQ(ipv6_rib_update_complete(conn, 1, 0), 0u); });
    sending.get_future().wait();
    fake_msg_chan().answer("00000030 @24 0001 @48");
    EXPECT_EQ(ipv6_rib_batch_buffer_send(conn, buffer.get(), reply), 1);
    first.join();
    EXPECT_EQ(fake_msg_chan().calls, (std::vector<std::string>{"send", "answered", "send", "answered"}));
    EXPECT_EQ(fake_ptd().announced(), std::vector<std::string>{"rib_client_mutex_lock_inline"}) << "only who really waits";
    EXPECT_EQ(fake_ptd().ended(), 1u);
    ipv6_rib_batch_args_out_free(reply);
}

TEST_F(locks_test, exchanges_on_two_connections_run_side_by_side)
{
    ipv6_rib_conn_p other = bind();
    conn = nullptr;
    bind();
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
    ipv6_rib_conn_p other = bind();
    conn = nullptr;
    bind();
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

TEST_F(locks_test, neither_a_request_nor_a_rebind_begins)
{
    bind();
    fail_locks("trylock");
    EXPECT_EQ(ipv6_rib_update_complete(conn, 1, 0), RIB_LIB_ERR_NO_CONNECTION);
    EXPECT_EQ(ipv6_rib_rebind(conn), -1);
    fail_locks("");
    EXPECT_TRUE(fake_msg_chan().calls.empty());
    EXPECT_EQ(captured_tev(), tev_lines({lock_fatal("rib_client_lwm_send", "lock", EOWNERDEAD),
                                         lock_fatal("rib_client_rebind", "lock", EOWNERDEAD)}));
}

TEST_F(locks_test, a_batch_is_not_sent_and_says_so)
{
    bind();
    const batch_buffer_owner buffer = allocate_batch();
    add_plain_route(buffer.get());
    void *reply = ipv6_rib_batch_args_out_allocate();
    std::memset(reply, 0, 64);
    static_cast<uint8_t *>(reply)[25] = 1; // a status that an earlier message may have left
    fail_locks("trylock");
    EXPECT_EQ(ipv6_rib_batch_buffer_send(conn, buffer.get(), reply), RIB_RESULT_RPC_ERROR);
    fail_locks("");
    EXPECT_TRUE(fake_msg_chan().calls.empty());
    EXPECT_EQ(captured_tev(), tev_lines({lock_fatal("rib_client_batch_send", "lock", EOWNERDEAD)}));
    EXPECT_EQ(ipv6_rib_batch_args_out_first_route(reply), nullptr);
    ipv6_rib_batch_args_out_free(reply);
}

TEST_F(locks_test, a_failed_unlock_is_told_twice_and_the_result_stands)
{
    bind();
    fake_msg_chan().answer("00000016 00*256");
    fail_locks("unlock");
    EXPECT_EQ(ipv6_rib_update_complete(conn, 1, 0), 22u);
    fail_locks("");
    EXPECT_EQ(captured_tev(), tev_lines({lock_fatal("rib_client_mutex_unlock_inline", "unlock", EPERM),
                                         lock_fatal("rib_client_lwm_send", "unlock", EPERM)}));
}

TEST_F(locks_test, binding_and_unbinding_without_locks_do_nothing)
{
    fail_locks("init");
    EXPECT_EQ(ipv6_rib_bind(&conn), -1);
    EXPECT_EQ(conn, nullptr);
    EXPECT_EQ(captured_tev(), tev_lines({lock_fatal("rib_client_struct_init", "lock init", ENOMEM)}));
    fail_locks("");
    const ipv6_rib_conn_p bound = bind();
    fail_locks("wrlock");
    EXPECT_EQ(ipv6_rib_bind(&conn), -1);
    EXPECT_EQ(ipv6_rib_rebind(conn), -1);
    ipv6_rib_unbind(&conn);
    fail_locks("");
    EXPECT_EQ(conn, bound);
    EXPECT_TRUE(fake_msg_chan().calls.empty());
    EXPECT_EQ(captured_tev(), tev_lines({lock_fatal("rib_client_bind_internal", "lock bind mutex", EDEADLK),
                                         lock_fatal("rib_client_rebind", "lock bind mutex", EDEADLK),
                                         lock_fatal("rib_client_unbind", "lock bind mutex", EDEADLK)}));
}

TEST_F(locks_test, a_broken_bind_mutex_ends_the_process)
{
    bind();
    EXPECT_DEATH((fail_locks("rdlock"), ipv6_rib_update_complete(conn, 1, 0)),
                 "ip/rib/lib/src/rib_lib_api:[0-9]+: int rib_client_mutex_lock_inline\\(ip_rib_conn_p\\): Assertion");
    EXPECT_DEATH((fail_locks("trylock"), ipv6_rib_unbind(&conn)), "ip/rib/lib/src/rib_lib_api:.*Assertion");
}
} // namespace
