/*
 * Locks taken against their order end the process; the operations, which keep it, run.
 */
#include "ip/rib/lib/src/rib_lib_api/bind.h"
#include "ip/rib/lib/src/rib_lib_api/connection.h"
#include "ip/rib/lib/src/rib_lib_api/locks.h"
#include "ip/rib/lib/src/rib_lib_api/notify.h"
#include "ip/rib/lib/src/rib_lib_api/read_pool.h"
#include "tests/support/client_test.h"

namespace
{
ip_rib_conn_p other_connection;

void use_buffer(ip_rib_conn_p)
{
    errcode code = 0;
    void *buffer;
    rib_client_get_read_buf(&rib_client_read_buf_pool_instance, &code, &buffer);
    rib_client_return_read_buf(&rib_client_read_buf_pool_instance, &code, &buffer, 0);
}

using lock_order = client_test;

TEST_F(lock_order, is_asserted)
{
    ipv6_rib_conn_p other = bind();
    other_connection = other;
    conn = nullptr;
    bind();
    struct {
        const char *name;
        void (*hold)(ip_rib_conn_p conn);
        void (*then)(ip_rib_conn_p conn);
        const char *told;
    } const cases[] = {
        {"the bind mutex twice", [](ip_rib_conn_p) { rib_rwlock_rdlock(&rib_bind_mutex); },
         [](ip_rib_conn_p its) { rib_client_mutex_lock(its); }, "lock != &rib_bind_mutex"},
        {"an operation within an operation", [](ip_rib_conn_p its) { rib_client_mutex_lock(its); },
         [](ip_rib_conn_p its) { ipv6_rib_update_complete(its, 1, 0); }, "!held.connection"},
        {"a bind within an operation", [](ip_rib_conn_p its) { rib_client_mutex_lock(its); },
         [](ip_rib_conn_p) { rib_client_unbind(&other_connection); }, "!held.connection"},
        {"a second connection", [](ip_rib_conn_p its) { rib_client_mutex_lock(its); },
         [](ip_rib_conn_p) { rib_client_mutex_only_lock_inline(other_connection); }, "held.connection == mutex"},
        {"the registry with a connection", [](ip_rib_conn_p its) { rib_client_mutex_lock(its); },
         [](ip_rib_conn_p) { rib_client_find_sigevent(nullptr); }, "!held.connection"},
        {"a read buffer with the bind mutex", [](ip_rib_conn_p) { rib_rwlock_rdlock(&rib_bind_mutex); }, use_buffer,
         "!is_read_buf"},
        {"a read buffer with a connection", [](ip_rib_conn_p its) { rib_client_mutex_only_lock_inline(its); }, use_buffer,
         "held.connection == mutex"},
        {"an operation with the read-buffer mutex",
         [](ip_rib_conn_p) {
             errcode code = 0;
             rib_client_read_buf_lock_with_error(&code, "test");
         },
         [](ip_rib_conn_p its) { ipv6_rib_update_complete(its, 1, 0); }, "!held.read_buf"},
    };
    for (const auto &c : cases)
        EXPECT_DEATH((c.hold(conn), c.then(conn)), std::string("ip/rib/lib/src/rib_lib_api:.*require_order.*") + c.told)
            << c.name;
    ipv6_rib_unbind(&other);
}

TEST_F(lock_order, is_kept_by_operations_one_after_another)
{
    bind();
    for (int i = 0; i != 2; i++) {
        fake_msg_chan().answer(hex("00*12"));
        EXPECT_EQ(ipv6_rib_update_complete(conn, 1, 0), 0u);
        use_buffer(conn);
        EXPECT_EQ(rib_client_mutex_lock(conn), 0);
        EXPECT_EQ(rib_client_mutex_only_lock_inline(conn), 0) << "the lock is recursive";
        EXPECT_EQ(rib_client_mutex_only_unlock(conn), 0);
        EXPECT_EQ(rib_client_mutex_unlock_inline(conn), 0);
    }
}
} // namespace
