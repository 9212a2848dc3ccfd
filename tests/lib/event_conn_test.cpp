/*
 * The connection that an event manager opens and watches: what is asked of the platform, in which order, and what the
 * platform's calls do.
 */
#include "tests/support/client_test.h"

namespace
{
constexpr errcode UNTOUCHED = 0xeeeeeeee;
constexpr uint32_t AFI = 2;
using calls_t = std::vector<std::string>;
const calls_t WHOLE = {"create 2", "setretry 60 1", "notify 12288", "attach 128", "open"};

void handler(void *, uint32_t, void *) {}

struct state_t {
    uint32_t event;
    ipv6_rib_conn_p conn;
    uint32_t afi;
    size_t disconnects; /* so far */
    bool operator==(const state_t &) const = default;
};
std::vector<state_t> states;
void callback(uint32_t event, ipv6_rib_conn_p conn, uint32_t afi)
{
    states.push_back({event, conn, afi, fake_msg_chan().disconnects.size()});
}

class event_conn : public client_test
{
protected:
    /* Also leaves the process without an event connection, whatever a test has come to. */
    void SetUp() override
    {
        if (fake_events().conn_notify)
            lose();
        fake_events().conn_results.clear();
        ipv6_rib_destroy_client(0, nullptr);
        for (unsigned number = 0; number < 8; ++number)
            ipv6_rib_unnotify(fake_manager(number));
        client_test::SetUp();
        states.clear();
    }
    void TearDown() override { SetUp(); }

    ipv6_rib_conn_p connect(ipv6_rib_connect_callback told = callback)
    {
        err = UNTOUCHED;
        return ipv6_rib_connect_client(fake_manager(1), handler, told, &err);
    }
    /* The connection that is looked after. */
    ipv6_rib_conn_p current()
    {
        const ipv6_rib_conn_p there = connect();
        EXPECT_EQ(err, UNTOUCHED);
        return there;
    }
    static int32_t open()
    {
        fake_msg_chan().answer(BIND_REPLY);
        return fake_events().conn_open(fake_events().conn_context);
    }
    static void tell(uint32_t event) { fake_events().conn_notify(fake_event_conn(), event, fake_events().conn_context); }
    static void lose() { tell(EVENT_CONN_LOST); }
    static calls_t take_calls() { return std::exchange(fake_events().calls, {}); }

    errcode err = UNTOUCHED;
};

TEST_F(event_conn, connects)
{
    for (const errcode opened : {0u, EVENT_CONN_IN_PROGRESS}) {
        SetUp();
        fake_events().conn_results["open"] = opened;
        EXPECT_EQ(connect(), nullptr);
        EXPECT_EQ(err, 0u);
        EXPECT_EQ(take_calls(), WHOLE);
        EXPECT_EQ(fake_events().conn_manager, fake_manager(1));
        ASSERT_EQ(fake_events().attached.size(), 1u);
        const event_attach_t &attached = fake_events().attached[0];
        EXPECT_EQ(attached.manager, fake_manager(1));
        EXPECT_EQ(attached.handler, &handler);
        EXPECT_EQ(attached.context, reinterpret_cast<void *>(uintptr_t{AFI}));
        EXPECT_EQ(current(), nullptr);
        EXPECT_EQ(take_calls(), calls_t()) << "once is enough";
        EXPECT_TRUE(fake_msg_chan().calls.empty());
    }
    SetUp();
    EXPECT_EQ(ipv6_rib_connect_client(fake_manager(1), handler, nullptr, nullptr), nullptr);
    EXPECT_EQ(take_calls(), WHOLE);
}

TEST_F(event_conn, steps_that_fail)
{
    for (size_t step = 0; step < WHOLE.size(); ++step) {
        SCOPED_TRACE(WHOLE[step]);
        SetUp();
        const bool attaching = WHOLE[step] == "attach 128";
        fake_events().conn_results[WHOLE[step].substr(0, WHOLE[step].find(' '))] = ENOSPC;
        fake_events().attach_result = attaching ? -1 : 7;
        EXPECT_EQ(connect(), nullptr);
        EXPECT_EQ(err, static_cast<errcode>(attaching ? EINVAL : ENOSPC));
        EXPECT_EQ(take_calls(), calls_t(WHOLE.begin(), WHOLE.begin() + static_cast<ptrdiff_t>(step) + 1));
        fake_events().conn_results.clear();
        fake_events().attach_result = 7;
        ipv6_rib_destroy_client(0, &err);
        take_calls();
        EXPECT_EQ(connect(), nullptr);
        EXPECT_EQ(err, 0u) << "and again";
        EXPECT_EQ(take_calls(), WHOLE);
    }
}

TEST_F(event_conn, missing_arguments)
{
    ipv6_rib_connect_client(nullptr, handler, callback, &err);
    EXPECT_EQ(err, errcode{EINVAL});
    err = UNTOUCHED;
    ipv6_rib_connect_client(fake_manager(1), nullptr, callback, &err);
    EXPECT_EQ(err, errcode{EINVAL});
    ipv6_rib_connect_client(fake_manager(1), nullptr, callback, nullptr);
    EXPECT_EQ(take_calls(), calls_t());
    err = UNTOUCHED;
    ipv6_rib_destroy_client(0, &err);
    EXPECT_EQ(err, UNTOUCHED) << "there is nothing to end";
}

TEST_F(event_conn, opens_and_is_lost_and_opens_again)
{
    for (const bool told : {true, false}) {
        SetUp();
        connect(told ? callback : nullptr);
        fake_msg_chan().connect_error = ECONNREFUSED;
        EXPECT_EQ(open(), -1);
        EXPECT_EQ(current(), nullptr);
        fake_msg_chan().connect_error = 0;
        fake_msg_chan().forget_calls();
        for (const int round : {0, 1}) {
            take_calls();
            states.clear();
            fake_msg_chan().forget_calls();
            EXPECT_EQ(fake_events().conn_open(fake_events().conn_context), fake_msg_chan_t::FIRST_CONNID + round);
            conn = current();
            ASSERT_NE(conn, nullptr);
            EXPECT_EQ(fake_msg_chan().connects, (std::vector<chan_connect_t>{{"/dev/ip/ipv6_rib", 0x20000, 0, {}}}));
            EXPECT_TRUE(
                same_bytes(slice(only_sent(), 24, 72), hex("00*8") + bytes_at(&conn, 8) + fake_event_tail(fake_manager(1))))
                << "with the event of the handler";
            tell(EVENT_CONN_ESTABLISHED);
            EXPECT_EQ(take_calls(), calls_t{"setretry 60 1"});
            for (const uint32_t other : {0u, 1u, 0x3000u, 0x4000u})
                tell(other);
            EXPECT_EQ(current(), conn);
            lose();
            EXPECT_EQ(current(), nullptr);
            EXPECT_EQ(fake_msg_chan().disconnects, std::vector{fake_msg_chan_t::FIRST_CHAN + static_cast<uint32_t>(round)});
            EXPECT_EQ(states,
                      told ? (std::vector<state_t>{{0x1000, conn, AFI, 0}, {0x2000, conn, AFI, 0}}) : std::vector<state_t>());
            EXPECT_EQ(take_calls(), calls_t());
            conn = nullptr;
            fake_msg_chan().answer(BIND_REPLY);
        }
    }
}

TEST_F(event_conn, a_second_opening_is_fatal)
{
    connect();
    EXPECT_GT(open(), 0);
    EXPECT_DEATH(open(), "ip/rib/lib/src/rib_lib_api:.*rib_lib_connect_client_ecm_open.*Assertion "
                         "`conn_ctx->connp == \\(\\(void\\*\\)0\\)' failed");
}

TEST_F(event_conn, ends)
{
    connect();
    open();
    conn = current();
    take_calls();
    fake_events().conn_results["destroy"] = EBUSY;
    ipv6_rib_destroy_client(0, &err);
    EXPECT_EQ(err, errcode{EBUSY});
    EXPECT_EQ(current(), conn) << "not ended";
    fake_events().conn_results.clear();
    ipv6_rib_destroy_client(7, &err);
    EXPECT_EQ(err, 0u);
    EXPECT_EQ(take_calls(), (calls_t{"destroy", "destroy"}));
    EXPECT_TRUE(fake_msg_chan().disconnects.empty()) << "the connection itself stays";
    EXPECT_EQ(connect(), conn);
    EXPECT_EQ(err, 0u);
    EXPECT_EQ(take_calls(), WHOLE) << "a new event connection";
    ipv6_rib_unbind(&conn);
    EXPECT_EQ(current(), nullptr) << "unbound by its owner";
    EXPECT_GT(open(), 0);
}
} // namespace
