/*
 * What locks that fail do to an operation: what is logged, what is returned, what ends the process.
 */
#include <cstring>
#include <pthread.h>

#include "tests/support/batch_fixture.h"

/* Which pthread function fails; the test program is linked with --wrap for each of them. */
static std::string failing;

/* Wraps a function; behind it comes what the caller gets. The real one runs in any case but when taking a lock is to fail. */
#define WRAPPED(function, parameters)                                                                                            \
    extern "C" int __real_##function parameters;                                                                                 \
    extern "C" __attribute__((visibility("default"))) int __wrap_##function parameters

WRAPPED(pthread_mutex_trylock, (pthread_mutex_t * lock))
{
    return failing == "trylock" ? EOWNERDEAD : __real_pthread_mutex_trylock(lock);
}
WRAPPED(pthread_mutex_unlock, (pthread_mutex_t * lock))
{
    const int done = __real_pthread_mutex_unlock(lock);
    return failing == "unlock" ? EPERM : done;
}
WRAPPED(pthread_rwlock_rdlock, (pthread_rwlock_t * lock))
{
    return failing == "rdlock" ? EDEADLK : __real_pthread_rwlock_rdlock(lock);
}
WRAPPED(pthread_rwlock_wrlock, (pthread_rwlock_t * lock))
{
    return failing == "wrlock" ? EDEADLK : __real_pthread_rwlock_wrlock(lock);
}
WRAPPED(pthread_mutex_init, (pthread_mutex_t * lock, const pthread_mutexattr_t *attr))
{
    return failing == "init" ? ENOMEM : __real_pthread_mutex_init(lock, attr);
}

namespace
{
class lock_failure : public client_test
{
protected:
    void TearDown() override
    {
        failing.clear();
        client_test::TearDown();
    }
    static tev_line_t line(const char *who, const char *operation, int error)
    {
        return {"ERR_LOCK_FATAL", 3,
                std::string(who) + " Pthread " + operation + ", unexpected fatal error [" + strerror(error) + "]"};
    }
};

TEST_F(lock_failure, a_request_is_not_sent)
{
    bind();
    failing = "trylock";
    EXPECT_EQ(ipv6_rib_update_complete(conn, 1, 0), RIB_LIB_ERR_NO_CONNECTION);
    failing.clear();
    EXPECT_TRUE(fake_msg_chan().calls.empty());
    EXPECT_EQ(captured_tev(), tev_lines({line("rib_client_lwm_send", "lock", EOWNERDEAD)}));
}

TEST_F(lock_failure, a_batch_is_not_sent_and_says_so)
{
    bind();
    const batch_buffer_owner buffer = allocate_batch();
    add_plain_route(buffer.get());
    void *reply = ipv6_rib_batch_args_out_allocate();
    std::memset(reply, 0, 64);
    static_cast<uint8_t *>(reply)[25] = 1; // a status that an earlier message may have left
    failing = "trylock";
    EXPECT_EQ(ipv6_rib_batch_buffer_send(conn, buffer.get(), reply), RIB_RESULT_RPC_ERROR);
    failing.clear();
    EXPECT_TRUE(fake_msg_chan().calls.empty());
    EXPECT_EQ(captured_tev(), tev_lines({line("rib_client_batch_send", "lock", EOWNERDEAD)}));
    EXPECT_EQ(ipv6_rib_batch_args_out_first_route(reply), nullptr);
    ipv6_rib_batch_args_out_free(reply);
}

TEST_F(lock_failure, a_failed_unlock_is_told_twice_and_the_result_stands)
{
    bind();
    fake_msg_chan().answer("00000016 00*256");
    failing = "unlock";
    EXPECT_EQ(ipv6_rib_update_complete(conn, 1, 0), 22u);
    failing.clear();
    EXPECT_EQ(captured_tev(),
              tev_lines({line("rib_client_mutex_unlock_inline", "unlock", EPERM), line("rib_client_lwm_send", "unlock", EPERM)}));
}

TEST_F(lock_failure, binding_and_unbinding_without_the_bind_mutex_do_nothing)
{
    bind();
    const ipv6_rib_conn_p bound = conn;
    failing = "wrlock";
    EXPECT_EQ(ipv6_rib_bind(&conn), -1);
    EXPECT_EQ(ipv6_rib_rebind(conn), -1);
    ipv6_rib_unbind(&conn);
    failing.clear();
    EXPECT_EQ(conn, bound);
    EXPECT_TRUE(fake_msg_chan().calls.empty());
    EXPECT_EQ(captured_tev(), tev_lines({line("rib_client_bind_internal", "lock bind mutex", EDEADLK),
                                         line("rib_client_rebind", "lock bind mutex", EDEADLK),
                                         line("rib_client_unbind", "lock bind mutex", EDEADLK)}));
}

TEST_F(lock_failure, a_record_without_its_lock_is_not_bound)
{
    failing = "init";
    EXPECT_EQ(ipv6_rib_bind(&conn), -1);
    failing.clear();
    EXPECT_EQ(conn, nullptr);
    EXPECT_EQ(captured_tev(), tev_lines({line("rib_client_struct_init", "lock init", ENOMEM)}));
}

TEST_F(lock_failure, a_connection_that_cannot_be_locked_is_not_moved)
{
    bind();
    failing = "trylock";
    EXPECT_EQ(ipv6_rib_rebind(conn), -1);
    failing.clear();
    EXPECT_TRUE(fake_msg_chan().calls.empty());
    EXPECT_EQ(captured_tev(), tev_lines({line("rib_client_rebind", "lock", EOWNERDEAD)}));
}

TEST_F(lock_failure, a_broken_bind_mutex_ends_the_process)
{
    bind();
    EXPECT_DEATH(
        {
            failing = "rdlock";
            ipv6_rib_update_complete(conn, 1, 0);
        },
        "ip/rib/lib/src/rib_lib_api:[0-9]+: int rib_client_mutex_lock_inline\\(ip_rib_conn_p\\): Assertion");
    EXPECT_DEATH(
        {
            failing = "trylock";
            ipv6_rib_unbind(&conn);
        },
        "ip/rib/lib/src/rib_lib_api:.*Assertion");
}
} // namespace
