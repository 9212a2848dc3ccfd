/*
 * Threads that send batches on one connection, against a real server: every route arrives.
 */
#include "system_test.h"

#include <thread>

#include "server/embed.h"

namespace
{
class concurrency : public ::testing::Test
{
protected:
    run_dir dir;
    rib_embedded_server server{{.dir = dir.path()}};

    /* Runs work in so many threads at once, each with its number. */
    static void in_threads(unsigned count, const std::function<void(unsigned)> &work)
    {
        std::vector<std::thread> threads;
        for (unsigned i = 0; i < count; i++)
            threads.emplace_back(work, i);
        for (std::thread &thread : threads)
            thread.join();
    }
};

TEST_F(concurrency, threads_share_a_connection)
{
    test_client client;
    in_threads(4, [&](unsigned thread) {
        rib_batch_buffer *buffer = ipv6_rib_batch_buffer_allocate(1);
        void *reply = ipv6_rib_batch_args_out_allocate();
        ipv6_rib_batch_buffer_init(buffer, IPV6_RIB_TABLE_DEFAULT, client.protoid);
        const in6_addr_t nexthop = addr("fe80::1");
        for (uint32_t i = 0; i < 200; i++) {
            const in6_addr_t prefix = numbered_prefix(thread << 16 | i);
            ipv6_rib_batch_buffer_add_route(buffer, &prefix, 48, 0, 0);
            ipv6_rib_batch_buffer_add_path(buffer, 0, 0, &nexthop, &nexthop, 0, 0, 0);
            if (i % 10 == 9) {
                EXPECT_EQ(ipv6_rib_batch_buffer_send(client.conn, buffer, reply), 1);
            }
            if (i % 25 == 0) {
                EXPECT_EQ(ipv6_rib_update_complete(client.conn, client.protoid, 0), 0u);
            }
        }
        ipv6_rib_batch_args_out_free(reply);
        ipv6_rib_batch_buffer_free(buffer);
    });
    EXPECT_EQ(client.prefixes(), 800u);
}
} // namespace
