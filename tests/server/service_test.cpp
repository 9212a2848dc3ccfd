/*
 * The server on its channel: embedded, reached through a socket, and gone again.
 */
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <gtest/gtest.h>
#include <platform/msg_chan.h>

#include "server/embed.h"
#include "tests/server/rig.h"

namespace
{

struct channel_td {
    explicit channel_td(const char *service) : opened(msg_chan_connect(service, 0, 0, &id) == 0) {}
    ~channel_td()
    {
        if (opened)
            msg_chan_disconnect(&id);
    }
    channel_td(const channel_td &) = delete;
    channel_td &operator=(const channel_td &) = delete;
    errcode send(const bytes_td &message)
    {
        bytes_td reply(RIB_MESSAGE_MAX);
        EXPECT_EQ(msg_send(id, message.data(), message.size(), reply.data(), reply.size()), 0) << strerror(errno);
        return get32(reply, 0);
    }
    uint32_t id = 0;
    bool opened;
};

class service : public testing::Test
{
protected:
    service()
    {
        char name[] = "/tmp/rib_service_XXXXXX";
        dir_ = mkdtemp(name);
        setenv("MSG_CHAN_DIR", dir_.c_str(), 1);
    }
    ~service() override { std::filesystem::remove_all(dir_); }
    std::string dir_;
};

constexpr const char *LONE = "/dev/ip/ipv6_rib";
constexpr const char *ACTIVE = "/dev/ip/ipv6_rib_active";
constexpr const char *STANDBY = "/dev/ip/ipv6_rib_standby";

TEST_F(service, names_of_the_roles)
{
    const struct {
        rib_server_role role;
        bool lone, active, standby;
    } cases[] = {{rib_server_role::lone, true, true, true},
                 {rib_server_role::active, true, true, false},
                 {rib_server_role::standby, false, false, true}};
    for (const auto &c : cases) {
        const rib_embedded_server server({.dir = dir_, .role = c.role});
        EXPECT_EQ(channel_td(LONE).opened, c.lone);
        EXPECT_EQ(channel_td(ACTIVE).opened, c.active);
        EXPECT_EQ(channel_td(STANDBY).opened, c.standby);
    }
    EXPECT_FALSE(channel_td(LONE).opened);
}

TEST_F(service, routes_of_a_client_that_died_are_held_and_swept)
{
    const rib_embedded_server server({.dir = dir_, .hold_seconds = 1});
    channel_td watcher(LONE);
    ASSERT_EQ(watcher.send(bind_request("watcher", "node1")), 0u);
    {
        channel_td client(LONE);
        ASSERT_EQ(client.send(bind_request("bgp", "node1")), 0u);
        EXPECT_EQ(client.send(register_request("bgp", "", {0})), 0u);
        const bytes_td batch = single_batch(TABLE, 0, {record({"2001:db8::", 32, {{"fe80::a", 1}}})});
        EXPECT_EQ(client.send(batch), 48u + 336u + 280u);
    }
    EXPECT_EQ(watcher.send(lookup_request("2001:db8::", 32, 1)), 0u);
    errcode result = 0;
    for (int tries = 0; tries != 300 && result == 0; ++tries) {
        usleep(10'000);
        result = watcher.send(lookup_request("2001:db8::", 32, 1));
    }
    EXPECT_EQ(result, 0x42D29400u);
}

TEST_F(service, a_name_that_is_taken)
{
    const rib_embedded_server server({.dir = dir_});
    EXPECT_THROW(rib_embedded_server({.dir = dir_}), std::system_error);
}

} // namespace
