/*
 * The server's end of the channel: clients of all kinds at the same time.
 */
#include "tests/platform/channel_support.h"

#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>

class msg_chan_server : public testing::Test
{
protected:
    /* True when a client is served as it should be. */
    static bool serves(void)
    {
        const uint32_t chan = open_channel();
        const bool good = chan != 0 && send_error(chan, "hello") == 0;
        return chan != 0 && close_channel(chan) == 0 && good;
    }

    const run_dir dir;
    threaded_server server;
};

TEST_F(msg_chan_server, disconnects_a_client_that_breaks_the_protocol)
{
    const std::pair<const char *, std::vector<frame_header>> cases[] = {
        {"announces a giant", {{frame_request, (1u << 20) + 1, 1, 0}}},
        {"greets twice", {{frame_hello, 0, 1, 0}}},
        {"sends a header that is none", {{frame_request, 0, 1, 5}}},
        {"does not wait for its reply", {{frame_request, 0, 1, 0}, {frame_request, 0, 2, 0}}},
    };
    server.start();
    for (const auto &[name, frames] : cases) {
        const int fd = raw_client(dir);
        raw_send(fd, frames.data(), frames.size() * sizeof frames[0]);
        EXPECT_TRUE(raw_closed(fd)) << name;
        EXPECT_TRUE(serves()) << name;
        close(fd);
    }
    hello_frame hello = raw_hello;
    hello.body.he_protocol = 77;
    const int fd = raw_client(dir, hello, &hello);
    EXPECT_EQ(hello.body.he_protocol, chan_protocol) << "is told the server's";
    EXPECT_EQ(hello.body.he_status, static_cast<uint32_t>(EPROTO));
    EXPECT_TRUE(raw_closed(fd));
    close(fd);
}

TEST_F(msg_chan_server, is_not_held_up_by_slow_clients)
{
    server.start();
    const bytes large = pattern(700000);
    const frame_header header = {frame_request, 700000, 1, 0};
    std::vector<int> silent;
    for (int i = 0; i != 21; i++) {
        silent.push_back(raw_client(dir)); // a part of a header, a header alone, a part of a message
        raw_send(silent.back(), &header, i % 3 == 0 ? 7 : sizeof header);
        raw_send(silent.back(), large.data(), i % 3 == 2 ? 50000 : 0);
    }
    EXPECT_TRUE(serves());
    const int slow = silent.back(); // its message is finished at last, and its reply left lying
    raw_send(slow, large.data() + 50000, large.size() - 50000);
    EXPECT_TRUE(serves());
    std::this_thread::sleep_for(20ms);
    EXPECT_TRUE(serves());
    bytes got(sizeof header + large.size());
    ASSERT_TRUE(raw_receive(slow, got.data(), got.size()));
    EXPECT_TRUE(std::equal(large.begin(), large.end(), got.begin() + sizeof header));
    for (const int fd : silent)
        close(fd);
}

TEST_F(msg_chan_server, may_reply_later_in_any_order_but_once)
{
    std::vector<std::pair<msg_peer_t *, uint8_t>> waiting;
    server.received = [&](msg_peer_t *peer, uint8_t *msg, size_t) {
        waiting.insert(waiting.begin(), {peer, *msg});
        if (waiting.size() != 3)
            return;
        for (const auto &[each, byte] : std::exchange(waiting, {})) {
            EXPECT_NE(msg_peer_reply_area(each, 1u << 20), nullptr);
            EXPECT_EQ(msg_peer_reply_area(each, (1u << 20) + 1), nullptr);
            EXPECT_EQ(errno, EMSGSIZE);
            memcpy(msg_peer_reply_area(each, 1), &byte, 1);
            EXPECT_EQ(error_of(msg_peer_reply(each, 2)), EINVAL);
            EXPECT_EQ(msg_peer_reply(each, 1), 0);
            EXPECT_EQ(error_of(msg_peer_reply(each, 0)), EINVAL);
            EXPECT_EQ(msg_peer_reply_area(each, 1), nullptr);
        }
    };
    server.start();
    std::vector<std::thread> threads;
    for (uint8_t t = 0; t != 3; t++)
        threads.emplace_back([t] {
            const uint32_t chan = open_channel();
            for (int i = 0; i != 20; i++) {
                uint8_t area = 0xFF;
                EXPECT_EQ(error_of(msg_send(chan, &t, 1, &area, 1)), 0);
                EXPECT_EQ(area, t);
            }
            close_channel(chan);
        });
    for (std::thread &thread : threads)
        thread.join();
}

TEST_F(msg_chan_server, may_close_peers_in_every_callback)
{
    int gone = 0;
    msg_peer_t *bystander = nullptr;
    server.connected = [&](msg_peer_t *peer) {
        if (std::exchange(bystander, peer) == nullptr)
            msg_peer_close(peer); // the first
        return 0;
    };
    server.received = [&](msg_peer_t *peer, uint8_t *, size_t) {
        msg_peer_close(bystander);
        msg_peer_close(peer);
        EXPECT_EQ(error_of(msg_peer_reply(peer, 0)), ECONNRESET);
    };
    server.disconnected = [&](msg_peer_t *peer) {
        msg_peer_close(peer);
        gone++;
    };
    server.start();
    EXPECT_EQ(open_channel(), 0u);
    const uint32_t chan = open_channel(), other = open_channel();
    EXPECT_EQ(send_error(chan, "x"), ECONNRESET);
    EXPECT_NE(send_error(other, "x"), 0);
    EXPECT_EQ(close_channel(chan), 0);
    EXPECT_EQ(close_channel(other), 0);
    server.stop();
    EXPECT_EQ(gone, 3);
}

TEST_F(msg_chan_server, tells_who_came_and_who_left_and_refuses_the_rest)
{
    int connected = 0, disconnected = 0;
    server.connected = [&](msg_peer_t *peer) {
        msg_peer_info_t info;
        msg_peer_info(peer, &info);
        EXPECT_EQ(info.mpi_pid, getpid());
        EXPECT_EQ(info.mpi_uid, getuid());
        EXPECT_EQ(info.mpi_gid, getgid());
        EXPECT_EQ(info.mpi_node_id, 4711u);
        return ++connected == 3 ? EACCES : 0;
    };
    server.disconnected = [&](msg_peer_t *) { disconnected++; };
    setenv("PLATFORM_NODE_ID", "4711", 1);
    server.start({.mso_max_clients = 3});
    std::vector<uint32_t> chans = {open_channel(), open_channel()};
    EXPECT_EQ(open_channel(), 0u);
    EXPECT_EQ(errno, EACCES);
    chans.push_back(open_channel());
    EXPECT_NE(chans.back(), 0u);
    EXPECT_EQ(open_channel(), 0u);
    EXPECT_EQ(errno, ECONNREFUSED) << "three are enough";
    EXPECT_EQ(close_channel(chans[0]), 0);
    server.run([] {});
    EXPECT_TRUE(serves());
    server.stop();
    unsetenv("PLATFORM_NODE_ID");
    EXPECT_EQ(disconnected, 4) << "two that left, two that the stop disconnected; not the refused ones";
    for (const uint32_t chan : {chans[1], chans[2]}) {
        EXPECT_NE(send_error(chan, "x"), 0);
        EXPECT_EQ(close_channel(chan), 0);
    }
}

TEST_F(msg_chan_server, turns_clients_away_when_descriptors_run_out)
{
    const pid_t child = fork(); // a process of its own, to be short of descriptors
    if (child == 0) {
        const rlimit few = {24, 24};
        setrlimit(RLIMIT_NOFILE, &few);
        for (server.start();;)
            pause();
    }
    while (access(dir.file("dev_test_service").c_str(), F_OK) != 0 || !serves())
        std::this_thread::sleep_for(1ms);
    std::vector<uint32_t> chans;
    for (uint32_t chan; chans.size() < 40 && (chan = open_channel()) != 0;)
        chans.push_back(chan);
    EXPECT_EQ(errno, ECONNREFUSED);
    EXPECT_GT(chans.size(), 3u);
    EXPECT_LT(chans.size(), 24u);
    std::this_thread::sleep_for(300ms); // turning in circles would show in the time used
    EXPECT_EQ(send_error(chans[0], "x"), 0);
    for (const uint32_t chan : chans)
        EXPECT_EQ(close_channel(chan), 0);
    int tries = 0;
    while (tries++ != 500 && !serves())
        std::this_thread::sleep_for(2ms);
    EXPECT_LT(tries, 500);
    kill(child, SIGKILL);
    rusage used;
    wait4(child, nullptr, 0, &used);
    EXPECT_LT(used.ru_utime.tv_sec * 1'000'000 + used.ru_utime.tv_usec + used.ru_stime.tv_usec, 200'000);
}
