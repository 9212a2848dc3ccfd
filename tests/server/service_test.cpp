/*
 * The server on its channel: embedded, reached through a socket, and gone again.
 */
#include <cstdlib>
#include <filesystem>
#include <memory>

#include <platform/msg_chan.h>

#include "server/embed.h"
#include "tests/server/rig.h"

namespace
{

constexpr const char *LONE = "/dev/ip/ipv6_rib";

errcode ask(uint32_t channel, const bytes_t &message)
{
    bytes_t reply(RIB_MESSAGE_MAX);
    EXPECT_EQ(msg_send(channel, message.data(), message.size(), reply.data(), reply.size()), 0) << strerror(errno);
    return get32(reply, 0);
}

TEST(service, routes_of_a_client_that_died_are_held_and_swept)
{
    char dir[] = "/tmp/rib_service_XXXXXX";
    setenv("MSG_CHAN_DIR", mkdtemp(dir), 1);
    auto server = std::make_unique<rib_embedded_server>(rib_server_options{.dir = dir, .hold_seconds = 1});
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
    server.reset();
    std::filesystem::remove_all(dir);
}

} // namespace
