/*
 * Event connections to a real server that comes and goes. A second of waiting lasts 5 ms here.
 */
#include "tests/platform/channel_support.h"

#include <platform/event_conn.h>

#include <gtest/gtest.h>
#include <memory>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/timerfd.h>

/* The seconds of every wait between attempts. The server's thread has timers of its own. */
static std::vector<time_t> waits;
static const auto client_thread = std::this_thread::get_id();

extern "C" int timerfd_settime(int fd, int flags, const itimerspec *timer, itimerspec *old) noexcept
{
    itimerspec scaled = *timer;
    if (timer->it_value.tv_sec != 0 && std::this_thread::get_id() == client_thread) {
        waits.push_back(timer->it_value.tv_sec);
        scaled.it_value = {.tv_sec = 0, .tv_nsec = timer->it_value.tv_sec % 100 * 5'000'000};
    }
    return static_cast<int>(syscall(SYS_timerfd_settime, fd, flags, &scaled, old));
}

/* What an owner lived to see: f and o, an attempt that failed and one that opened a channel; E and L, established and lost. */
struct owner {
    event_conn_t *conn = nullptr;
    uint32_t chan = 0;
    std::string seen;
    std::function<void(char)> on = [](char) {};

    explicit owner(event_manager_t *manager)
    {
        EXPECT_EQ(event_conn_create(&conn, manager, open, this, 2), 0u);
        EXPECT_EQ(event_conn_notify(conn, EVENT_CONN_ESTABLISHED | EVENT_CONN_LOST, state), 0u);
    }
    ~owner()
    {
        event_conn_destroy(conn);
        EXPECT_TRUE(chan == 0 || close_channel(chan) == 0) << "nobody else has closed it";
    }
    void destroy() { EXPECT_EQ(event_conn_destroy(std::exchange(conn, nullptr)), 0u); }
    void close() { close_channel(std::exchange(chan, 0)); }
    void note(char what)
    {
        seen += what;
        on(what);
    }
    static int32_t open(void *context)
    {
        auto *self = static_cast<owner *>(context);
        EXPECT_EQ(self->chan, 0u) << "the last one was told to be lost";
        self->chan = open_channel();
        int32_t connid = -1;
        msg_get_conn_connid(self->chan, &connid);
        self->note(connid < 0 ? 'f' : 'o');
        return connid;
    }
    static void state(event_conn_t *, uint32_t event, void *context)
    {
        auto *self = static_cast<owner *>(context);
        if (event == EVENT_CONN_LOST)
            self->close();
        self->note(event == EVENT_CONN_ESTABLISHED ? 'E' : 'L');
    }
};

class event_conn_test : public testing::Test
{
protected:
    ~event_conn_test() override { event_manager_destroy(manager); }
    void start()
    {
        server = std::make_unique<threaded_server>();
        server->start();
    }
    /* Dispatches, whenever there is work, until as much was seen. */
    void expect_seen(const owner &who, const std::string &expected)
    {
        pollfd readable = {.fd = event_manager_fd(manager), .events = POLLIN};
        while (who.seen.size() < expected.size() && poll(&readable, 1, 2000) == 1)
            handlers += event_manager_dispatch(manager, 0);
        EXPECT_EQ(who.seen, expected);
    }
    void expect_quiet()
    {
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(event_manager_dispatch(manager, 30), 0);
        EXPECT_GE(std::chrono::steady_clock::now() - begin, 29ms);
    }

    const run_dir dir;
    std::unique_ptr<threaded_server> server;
    event_manager_t *manager = event_manager_create();
    int handlers = 0;
};

TEST_F(event_conn_test, follows_a_server_that_comes_and_goes)
{
    waits.clear();
    owner who(manager);
    EXPECT_EQ(event_conn_setretry(who.conn, 3, 1), 0u);
    expect_quiet();
    EXPECT_EQ(event_conn_open(who.conn), EVENT_CONN_IN_PROGRESS);
    EXPECT_EQ(event_conn_open(who.conn), 0u) << "begun before";
    expect_seen(who, "ffff");
    start();
    expect_seen(who, "ffffoE");
    expect_quiet();
    server.reset();
    expect_seen(who, "ffffoELf");
    start();
    expect_seen(who, "ffffoELfoE");
    EXPECT_EQ(waits, (std::vector<time_t>{1, 2, 3, 3, 1, 2}));
    EXPECT_EQ(handlers, 8) << "an attempt counts with what it has led to";
}

TEST_F(event_conn_test, begins_waiting_anew_when_told_to)
{
    waits.clear();
    owner who(manager);
    EXPECT_EQ(event_conn_setretry(who.conn, 7, 50), 0u) << "the first wait is bounded too";
    event_conn_open(who.conn);
    expect_seen(who, "f");
    EXPECT_EQ(event_conn_setretry(who.conn, UINT32_MAX, 3'000'000'001), 0u);
    expect_seen(who, "ff");
    EXPECT_EQ(waits, (std::vector<time_t>{7, 3'000'000'001, UINT32_MAX}));
}

TEST_F(event_conn_test, loses_what_ends_whenever_that_is)
{
    for (const char when : {'o', 'E'}) // before and after it is watched
        for (const bool channel : {true, false}) {
            start();
            owner who(manager);
            who.on = [&](char what) {
                if (what == when && channel)
                    who.close();
                else if (what == when)
                    server.reset();
            };
            event_conn_open(who.conn);
            expect_seen(who, "oEL");
        }
}

TEST_F(event_conn_test, can_be_destroyed_by_its_functions)
{
    const auto descriptors = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto before = descriptors();
    for (const std::string seen : {"f", "o", "oE", "oEL"}) {
        if (seen != "f")
            start();
        owner who(manager);
        who.on = [&](char what) {
            if (what == seen.back())
                who.destroy();
            else if (what == 'E')
                server.reset();
        };
        event_conn_open(who.conn);
        expect_seen(who, seen);
        server.reset();
        expect_quiet();
        EXPECT_EQ(who.seen, seen);
    }
    EXPECT_EQ(descriptors(), before);
}

TEST_F(event_conn_test, can_be_destroyed_while_something_is_under_way)
{
    owner due(manager), waiting(manager), lost(manager);
    event_conn_setretry(waiting.conn, 60, 60);
    event_conn_open(waiting.conn);
    expect_seen(waiting, "f");
    event_conn_open(due.conn);
    due.destroy();
    start();
    event_conn_open(lost.conn);
    expect_seen(lost, "oE");
    server.reset();
    waiting.destroy();
    lost.destroy();
    expect_quiet();
    EXPECT_EQ(due.seen + waiting.seen + lost.seen, "foE");
}

TEST_F(event_conn_test, may_destroy_another_that_is_ready_too)
{
    start();
    owner first(manager), second(manager), deaf(manager);
    event_conn_notify(deaf.conn, EVENT_CONN_ESTABLISHED, owner::state);
    for (owner *each : {&first, &second, &deaf}) {
        event_conn_open(each->conn);
        expect_seen(*each, "oE");
    }
    deaf.close();
    expect_seen(deaf, "oEoE"); // nothing of the loss, which it did not ask for
    deaf.destroy();
    first.on = second.on = [&](char) {
        first.destroy();
        second.destroy();
    };
    server.reset();
    EXPECT_EQ(event_manager_dispatch(manager, 2000), 1);
    expect_quiet();
    EXPECT_EQ(first.seen.size() + second.seen.size(), 5u) << "the one that ran has destroyed both";
}

TEST_F(event_conn_test, leaves_the_channel_to_the_threads_that_send)
{
    start();
    owner who(manager);
    event_conn_open(who.conn);
    expect_seen(who, "oE");
    std::atomic<int> sent = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i != 2; i++)
        threads.emplace_back([&sent, chan = who.chan] {
            while (send_error(chan, "text") == 0)
                sent++;
        });
    while (sent < 200)
        EXPECT_EQ(event_manager_dispatch(manager, 1), 0);
    server.reset();
    expect_seen(who, "oELf");
    threads.emplace_back([&] { who.destroy(); });
    while (event_manager_dispatch(manager, 30) != 0)
        ;
    for (std::thread &thread : threads)
        thread.join();
}

TEST_F(event_conn_test, refuses_bad_arguments)
{
    owner who(manager);
    event_conn_t *conn = who.conn;
    EXPECT_EQ(event_conn_create(&conn, nullptr, owner::open, nullptr, 0), errcode{EINVAL});
    EXPECT_EQ(conn, nullptr);
    for (const auto &[max, first] : {std::pair{0u, 1u}, {1u, 0u}})
        EXPECT_EQ(event_conn_setretry(who.conn, max, first), errcode{EINVAL});
}
