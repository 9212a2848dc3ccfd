/*
 * The server on its channel: embedded, reached through a socket, and gone again.
 */
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

#include <platform/event.h>
#include <platform/msg_chan.h>

#include "server/embed.h"
#include "tests/server/updates.h"

namespace
{

constexpr const char *LONE = "/dev/ip/ipv6_rib";

struct service : testing::Test {
    service() { setenv("MSG_CHAN_DIR", mkdtemp(dir), 1); }
    ~service()
    {
        server.reset();
        std::filesystem::remove_all(dir);
    }
    static bytes_t send(uint32_t channel, const bytes_t &message)
    {
        bytes_t reply(RIB_MESSAGE_MAX);
        EXPECT_EQ(msg_send(channel, message.data(), message.size(), reply.data(), reply.size()), 0) << strerror(errno);
        return reply;
    }
    static errcode ask(uint32_t channel, const bytes_t &message) { return get32(send(channel, message), 0); }

    char dir[28] = "/tmp/rib_service_XXXXXX";
    std::unique_ptr<rib_embedded_server> server;
};

TEST_F(service, routes_of_a_client_that_died_are_held_and_swept)
{
    server = std::make_unique<rib_embedded_server>(rib_server_options{.dir = dir, .hold_seconds = 1});
    uint32_t watcher, client;
    ASSERT_EQ(msg_chan_connect(LONE, 0, 0, &watcher) | msg_chan_connect(LONE, 0, 0, &client), 0);
    ASSERT_EQ(ask(watcher, bind_request("watcher", "node1")), 0u);
    ASSERT_EQ(ask(client, bind_request("bgp", "node1")), 0u);
    EXPECT_EQ(ask(client, register_request("bgp", "", {0})), 0u);
    EXPECT_EQ(ask(client, single_batch(TABLE, 0, {record({"2001:db8::", 32, {{"fe80::a", 1}}})})), 48u + 336u + 280u);
    msg_chan_disconnect(&client);
    errcode result = ask(watcher, lookup_request("2001:db8::", 32, 1));
    EXPECT_EQ(result, 0u);
    for (int tries = 0; tries != 300 && result == 0; ++tries) {
        usleep(10'000);
        result = ask(watcher, lookup_request("2001:db8::", 32, 1));
    }
    EXPECT_EQ(result, NOT_FOUND);
    msg_chan_disconnect(&watcher);
}

/* The event of the bind data fires for a dump, and for a change when that was fetched. */
TEST_F(service, wakes_clients)
{
    server = std::make_unique<rib_embedded_server>(rib_server_options{.dir = dir});
    event_manager_t *manager = event_manager_create();
    const auto count = [](void *value, uint32_t, void *) { ++*static_cast<unsigned *>(value); };
    unsigned pulses = 0;
    struct sigevent event;
    ASSERT_EQ(event_init_sigevent(manager, event_async_attach(manager, 128, count, nullptr), 0, 0, &event), 0u);
    event_pulse_ptr_set(&event, &pulses, 0);
    bytes_t bind = bind_request("watcher", "node1");
    bind[27] = 0;
    std::memcpy(&bind[32], &event, sizeof event);
    put_net(&bind, 96, reinterpret_cast<uintptr_t>(&pulses), 8);
    uint32_t channel;
    ASSERT_EQ(msg_chan_connect(LONE, 0, 0, &channel), 0);
    ASSERT_EQ(ask(channel, bind), 0u);
    EXPECT_EQ(ask(channel, registrations(BEST, {{TABLE}})), 0u);
    EXPECT_EQ(ask(channel, register_request("bgp", "", {0})), 0u);
    EXPECT_EQ(event_manager_dispatch(manager, 3'000), 1);
    EXPECT_EQ(pulses, 1u);
    EXPECT_EQ(get32(send(channel, FETCH), 0), 12u + 36 + 100);
    EXPECT_EQ(event_manager_dispatch(manager, 0), 0);
    ask(channel, single_batch(TABLE, 0, {record({"2001:db8::", 32, {{"fe80::a", 1}}})}));
    EXPECT_EQ(event_manager_dispatch(manager, 3'000), 1);
    EXPECT_EQ(pulses, 2u);
    msg_chan_disconnect(&channel);
    event_pulse_ptr_set(&event, nullptr, 0);
    event_manager_destroy(manager);
}

} // namespace
