/*
 * The server's end of the channel: clients of all kinds at the same time.
 */
#include "tests/platform/channel_support.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::chrono_literals;

class msg_chan_server : public testing::Test
{
protected:
    /* True when a client is served as it should be. */
    bool serves(void)
    {
        uint32_t chan = open_channel();
        char area[8] = {};
        const bool good = chan != 0 && msg_send(chan, "hello", 6, area, sizeof area) == 0 && strcmp(area, "hello") == 0;
        return chan != 0 && msg_chan_disconnect(&chan) == 0 && good;
    }

    const run_dir dir;
    threaded_server server;
};

TEST_F(msg_chan_server, carries_large_messages_both_ways)
{
    server.start();
    uint32_t chan = open_channel();
    for (const size_t len : {size_t{0}, size_t{524288}, size_t{1} << 20}) {
        const bytes sent = pattern(len, 7);
        bytes got(len);
        ASSERT_EQ(error_of(msg_send(chan, sent.data(), len, got.data(), len)), 0) << len;
        EXPECT_TRUE(got == sent) << len;
    }
    EXPECT_EQ(msg_chan_disconnect(&chan), 0);
}

struct hostile_case {
    const char *name;
    std::function<void(int)> act;
};

static void send_header(int fd, frame_header header)
{
    raw_send(fd, &header, sizeof header);
}

static const hostile_case hostile_clients[] = {
    {"announces a giant",
     [](int fd) {
         send_header(fd, {frame_request, (1u << 20) + 1, 1, 0});
     }},
    {"greets twice",
     [](int fd) {
         const auto h = raw_hello();
         raw_send(fd, &h, sizeof h);
     }},
    {"sends a reply",
     [](int fd) {
         send_header(fd, {frame_reply, 0, 1, 0});
     }},
    {"sends a header that is none",
     [](int fd) {
         send_header(fd, {frame_request, 0, 1, 5});
     }},
    {"does not wait for its reply",
     [](int fd) {
         const frame_header two[] = {{frame_request, 0, 1, 0}, {frame_request, 0, 2, 0}};
         raw_send(fd, two, sizeof two);
     }},
};

TEST_F(msg_chan_server, disconnects_a_client_that_breaks_the_protocol)
{
    server.start();
    for (const hostile_case &c : hostile_clients) {
        const int fd = raw_client(dir);
        c.act(fd);
        EXPECT_TRUE(raw_closed(fd)) << c.name;
        EXPECT_TRUE(serves()) << c.name;
        close(fd);
    }
}

TEST_F(msg_chan_server, tells_its_version_to_a_client_of_another)
{
    server.start();
    const int fd = raw_connect(dir);
    hello_frame hello = raw_hello();
    hello.body.he_protocol = 77;
    raw_send(fd, &hello, sizeof hello);
    ASSERT_TRUE(raw_receive(fd, &hello, sizeof hello));
    EXPECT_EQ(hello.body.he_protocol, chan_protocol);
    EXPECT_EQ(hello.body.he_status, static_cast<uint32_t>(EPROTO));
    EXPECT_TRUE(raw_closed(fd));
    close(fd);
}

TEST_F(msg_chan_server, is_not_held_up_by_slow_clients)
{
    std::atomic<size_t> whole = 0;
    server.received = [&](msg_peer_t *peer, uint8_t *msg, size_t len) {
        whole += len == 700000 && memcmp(msg, pattern(len).data(), len) == 0;
        threaded_server::echo(peer, msg, len);
    };
    server.start();
    const bytes large = pattern(700000);
    std::vector<int> silent;
    for (int i = 0; i != 20; i++) {
        silent.push_back(raw_client(dir)); // a part of a header, a header alone, a part of a message
        const frame_header header = {frame_request, 700000, 1, 0};
        raw_send(silent.back(), &header, i % 3 == 0 ? 7 : sizeof header);
        if (i % 3 == 2)
            raw_send(silent.back(), large.data(), 50000);
    }
    EXPECT_TRUE(serves());
    const int slow = silent[2]; // its message is finished at last, and its reply left lying
    raw_send(slow, large.data() + 50000, large.size() - 50000);
    EXPECT_TRUE(serves());
    std::this_thread::sleep_for(20ms);
    EXPECT_TRUE(serves());
    frame_header header;
    bytes got(large.size());
    ASSERT_TRUE(raw_receive(slow, &header, sizeof header) && raw_receive(slow, got.data(), got.size()));
    EXPECT_TRUE(got == large);
    EXPECT_EQ(whole, 1u);
    for (const int fd : silent)
        close(fd);
}

TEST_F(msg_chan_server, may_reply_later_and_in_any_order)
{
    std::vector<msg_peer_t *> waiting;
    server.received = [&](msg_peer_t *peer, uint8_t *msg, size_t) {
        msg_peer_set_datum(peer, new uint8_t(*msg));
        waiting.push_back(peer);
        if (waiting.size() != 3)
            return;
        std::swap(waiting[0], waiting[2]);
        for (msg_peer_t *each : waiting) {
            auto *kept = static_cast<uint8_t *>(msg_peer_datum(each));
            *msg_peer_reply_area(each, 1) = *kept;
            EXPECT_EQ(msg_peer_reply(each, 1), 0);
            delete kept;
        }
        waiting.clear();
    };
    server.start();
    std::atomic<int> good = 0;
    std::vector<std::thread> threads;
    for (uint8_t t = 0; t != 3; t++)
        threads.emplace_back([&good, t] {
            uint32_t chan = open_channel();
            uint8_t area = 0xFF;
            for (int i = 0; i != 20; i++)
                good += msg_send(chan, &t, 1, &area, 1) == 0 && area == t;
            msg_chan_disconnect(&chan);
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(good, 60);
}

TEST_F(msg_chan_server, accepts_exactly_one_fitting_reply)
{
    std::atomic<int> checked = 0;
    server.received = [&](msg_peer_t *peer, uint8_t *, size_t) {
        EXPECT_EQ(msg_peer_reply_area(peer, (1u << 20) + 1), nullptr);
        EXPECT_EQ(errno, EMSGSIZE);
        EXPECT_NE(msg_peer_reply_area(peer, 3), nullptr);
        EXPECT_EQ(error_of(msg_peer_reply(peer, 4)), EINVAL);
        EXPECT_EQ(msg_peer_reply(peer, 3), 0);
        EXPECT_EQ(error_of(msg_peer_reply(peer, 0)), EINVAL);
        EXPECT_EQ(msg_peer_reply_area(peer, 1), nullptr);
        checked++;
    };
    server.start();
    uint32_t chan = open_channel();
    char area[3];
    for (int i = 0; i != 3; i++)
        EXPECT_EQ(msg_send(chan, "", 0, area, 3), 0);
    EXPECT_EQ(checked, 3);
    EXPECT_EQ(msg_chan_disconnect(&chan), 0);
}

TEST_F(msg_chan_server, may_close_peers_in_every_callback)
{
    std::atomic<int> gone = 0;
    msg_peer_t *bystander = nullptr;
    server.connected = [&](msg_peer_t *peer, unsigned) {
        msg_peer_close(peer);
        return 0;
    };
    server.disconnected = [&](msg_peer_t *peer) {
        msg_peer_close(peer);
        gone++;
    };
    server.start();
    EXPECT_EQ(open_channel(), 0u);

    server.run([&](msg_server_t *) { server.connected = [&](msg_peer_t *peer, unsigned) { return bystander = peer, 0; }; });
    uint32_t other = open_channel();
    server.run([&](msg_server_t *) {
        server.connected = [](msg_peer_t *, unsigned) { return 0; };
        server.received = [&](msg_peer_t *peer, uint8_t *, size_t) {
            msg_peer_close(bystander);
            msg_peer_close(peer);
            EXPECT_EQ(error_of(msg_peer_reply(peer, 0)), ECONNRESET);
        };
    });
    uint32_t chan = open_channel();
    char area[4];
    EXPECT_EQ(error_of(msg_send(chan, "x", 1, area, sizeof area)), ECONNRESET);
    EXPECT_NE(msg_send(other, "x", 1, area, sizeof area), 0);
    EXPECT_EQ(msg_chan_disconnect(&chan), 0);
    EXPECT_EQ(msg_chan_disconnect(&other), 0);
    server.stop();
    EXPECT_EQ(gone, 3);
}

TEST_F(msg_chan_server, tells_who_came_and_who_left)
{
    std::atomic<int> connected = 0, disconnected = 0;
    server.connected = [&](msg_peer_t *peer, unsigned service) {
        msg_peer_info_t info;
        msg_peer_info(peer, &info);
        EXPECT_EQ(info.mpi_pid, getpid());
        EXPECT_EQ(info.mpi_uid, getuid());
        EXPECT_EQ(info.mpi_gid, getgid());
        EXPECT_EQ(info.mpi_node_id, 4711u);
        EXPECT_EQ(service, 0u);
        return ++connected == 3 ? EACCES : 0;
    };
    server.disconnected = [&](msg_peer_t *) { disconnected++; };
    setenv("PLATFORM_NODE_ID", "4711", 1);
    server.start();
    uint32_t chans[] = {open_channel(), open_channel()};
    EXPECT_EQ(open_channel(), 0u);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(msg_chan_disconnect(&chans[0]), 0);
    server.stop();
    unsetenv("PLATFORM_NODE_ID");
    EXPECT_EQ(disconnected, 2) << "the one that left, the one that the stop disconnected; not the refused one";
    char area[4];
    EXPECT_NE(msg_send(chans[1], "x", 1, area, sizeof area), 0);
    EXPECT_EQ(msg_chan_disconnect(&chans[1]), 0);
}

TEST_F(msg_chan_server, refuses_clients_beyond_its_limit)
{
    server.start({.mso_max_clients = 3});
    uint32_t chans[] = {open_channel(), open_channel(), open_channel()};
    EXPECT_EQ(open_channel(), 0u);
    EXPECT_EQ(errno, ECONNREFUSED);
    for (uint32_t &chan : chans)
        EXPECT_EQ(msg_chan_disconnect(&chan), 0);
    server.run([](msg_server_t *) {});
    EXPECT_TRUE(serves());
}

/* In a process of its own, for it is short of descriptors. */
[[noreturn]] static void serve_with_few_descriptors(void)
{
    static const msg_server_ops_t ops = {
        [](void *, msg_peer_t *, unsigned) { return 0; },
        [](void *, msg_peer_t *peer, uint8_t *msg, size_t len) { threaded_server::echo(peer, msg, len); },
        [](void *, msg_peer_t *) {}};
    msg_server_t *server = msg_server_create(nullptr, &ops, nullptr);
    const rlimit few = {24, 24};
    if (!server || msg_server_attach(server, test_service) != 0 || setrlimit(RLIMIT_NOFILE, &few) != 0)
        _exit(1);
    for (;;)
        msg_server_dispatch(server, -1);
}

TEST_F(msg_chan_server, turns_clients_away_when_descriptors_run_out)
{
    const pid_t child = fork();
    if (child == 0)
        serve_with_few_descriptors();
    while (access(dir.file("dev_test_service").c_str(), F_OK) != 0 || !serves())
        std::this_thread::sleep_for(1ms);
    std::vector<uint32_t> chans;
    for (uint32_t chan; chans.size() < 40 && (chan = open_channel()) != 0;)
        chans.push_back(chan);
    EXPECT_EQ(errno, ECONNREFUSED);
    EXPECT_GT(chans.size(), 3u);
    EXPECT_LT(chans.size(), 24u);
    std::this_thread::sleep_for(300ms); // turning in circles would show in the time used
    char area[4];
    EXPECT_EQ(msg_send(chans[0], "x", 1, area, sizeof area), 0);
    for (uint32_t &chan : chans)
        EXPECT_EQ(msg_chan_disconnect(&chan), 0);
    bool served = false;
    for (int i = 0; i != 500 && !served; i++, std::this_thread::sleep_for(2ms))
        served = serves();
    EXPECT_TRUE(served);
    kill(child, SIGKILL);
    rusage used;
    wait4(child, nullptr, 0, &used);
    EXPECT_LT(used.ru_utime.tv_sec * 1'000'000 + used.ru_utime.tv_usec + used.ru_stime.tv_usec, 200'000);
}
