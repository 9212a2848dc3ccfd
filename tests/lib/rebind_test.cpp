/*
 * Rebinding and unbinding: which channel is used, closed and kept in every outcome.
 */
#include <cstring>

#include "tests/support/client_test.h"

namespace
{
using rebind_test = client_test;
constexpr uint32_t OLD_CHAN = fake_msg_chan_t::FIRST_CHAN;
constexpr uint32_t NEW_CHAN = OLD_CHAN + 1;
const std::vector<uint32_t> BOTH = {OLD_CHAN, NEW_CHAN};

struct rebind_case_t {
    const char *name;
    int32_t (*rebind)(ipv6_rib_conn_p);
    const char *service;
    const char *option;
};
const rebind_case_t rebind_cases[] = {
    {"rebind", ipv6_rib_rebind, "/dev/ip/ipv6_rib", "0000"},
    {"active", ipv6_rib_rebind_active, "/dev/ip/ipv6_rib_active", "0100"},
    {"standby", ipv6_rib_rebind_standby, "/dev/ip/ipv6_rib_standby", "0200"},
};

TEST_F(rebind_test, entry_points)
{
    for (const rebind_case_t &c : rebind_cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        EXPECT_EQ(c.rebind(nullptr), -1);
        const ipv6_rib_conn_p handle = bind();
        fake_msg_chan().answer("00000000 0a0b0c0d 00001234 00*8");
        EXPECT_EQ(c.rebind(conn), fake_msg_chan_t::FIRST_CONNID + 1);
        EXPECT_EQ(conn, handle);
        EXPECT_EQ(fake_msg_chan().connects, (std::vector<chan_connect_t>{{c.service, 0x20000, 0, {}}}));
        EXPECT_EQ(fake_msg_chan().disconnects, std::vector{OLD_CHAN});
        EXPECT_TRUE(same_bytes(only_sent(), hex(std::string("0080a505 @20 00000018 00000001 @104 'node-7' @136 'routed'"
                                                            "@176 00*4 002c 0004 02 00") +
                                                c.option + "00*8")));
        EXPECT_EQ(fake_msg_chan().sent[0].chan, NEW_CHAN);
        EXPECT_EQ(ipv6_rib_conn_p_get_msg_conn(conn), NEW_CHAN);
        EXPECT_EQ(ipv6_rib_get_my_client_id(conn), 0x1234u);
        EXPECT_EQ(ipv6_rib_collocated(conn), 1);
    }
}

TEST_F(rebind_test, the_event_of_the_bind_is_introduced_again)
{
    const auto handler = [](void *, uint32_t, void *) {};
    ASSERT_EQ(ipv6_rib_notify(fake_manager(1), 5, handler, nullptr), 0u);
    bind();
    ASSERT_EQ(ipv6_rib_unnotify(fake_manager(1)), 0u); /* the connection keeps its own copy */
    fake_msg_chan().answer(BIND_REPLY);
    EXPECT_GT(ipv6_rib_rebind(conn), 0);
    const bytes_t event = bytes_at(&conn, 8) + fake_event_tail(fake_manager(1));
    bytes_t pulse(8);
    put_net(&pulse, 0, reinterpret_cast<uintptr_t>(conn), 8);
    EXPECT_TRUE(same_bytes(slice(only_sent(), 24, 80), hex("00*8 ") + event + pulse));
}

TEST_F(rebind_test, failures_and_recovery)
{
    struct {
        const char *name;
        void (*provoke)();
        std::vector<uint32_t> disconnects;
        uint32_t chan_after, client_id_after;
    } const cases[] = {
        {"no new channel: the old one stays", [] { fake_msg_chan().connect_error = ECONNREFUSED; }, {}, OLD_CHAN, 0xc0ffee},
        {"no answer", [] { fake_msg_chan().fail(ECONNRESET); }, BOTH, NEW_CHAN, 0xFFFFFFFF},
        {"refused", [] { fake_msg_chan().answer("00000010 0a0b0c0d 00001234"); }, BOTH, NEW_CHAN, 0xFFFFFFFF},
        {"no id", [] { fake_msg_chan().answer(BIND_REPLY), fake_msg_chan().connid_error = EBADF; }, BOTH, NEW_CHAN, 0xc0ffee},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        bind();
        c.provoke();
        EXPECT_EQ(ipv6_rib_rebind(conn), -1);
        EXPECT_EQ(fake_msg_chan().disconnects, c.disconnects);
        EXPECT_EQ(ipv6_rib_conn_p_get_msg_conn(conn), c.chan_after);
        EXPECT_EQ(ipv6_rib_get_my_client_id(conn), c.client_id_after);
        fake_msg_chan().connect_error = fake_msg_chan().connid_error = 0;
        fake_msg_chan().disconnect_error = EBADF; /* that of the old channel is ignored */
        fake_msg_chan().answer(BIND_REPLY);
        EXPECT_EQ(ipv6_rib_rebind(conn), fake_msg_chan_t::FIRST_CONNID + static_cast<int>(c.chan_after - OLD_CHAN) + 1);
        EXPECT_EQ(ipv6_rib_get_my_client_id(conn), 0xc0ffeeu);
        EXPECT_EQ(captured_tev(), tev_lines({}));
        fake_msg_chan().disconnect_error = 0;
    }
}

TEST_F(rebind_test, unbind_closes_and_clears_the_handle)
{
    bind();
    ipv6_rib_unbind(&conn);
    EXPECT_EQ(conn, nullptr);
    EXPECT_EQ(fake_msg_chan().disconnects, std::vector{OLD_CHAN});
    ipv6_rib_unbind(&conn);
    ipv6_rib_unbind(nullptr);
    EXPECT_EQ(fake_msg_chan().disconnects.size(), 1u);
    EXPECT_EQ(captured_tev(), tev_lines({}));
}

TEST_F(rebind_test, unbind_goes_on_when_the_disconnect_fails)
{
    bind();
    fake_msg_chan().disconnect_error = ENOTCONN;
    ipv6_rib_unbind(&conn);
    EXPECT_EQ(conn, nullptr);
    EXPECT_EQ(captured_tev(),
              tev_lines({{"UNBIND", 4, std::string("Failed to disconnect during client unbind - ") + strerror(ENOTCONN)}}));
}
} // namespace
