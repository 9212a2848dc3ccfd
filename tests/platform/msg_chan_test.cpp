/*
 * The client's end of the channel, mostly against servers made by hand, which misbehave on purpose.
 */
#include "tests/platform/channel_support.h"

#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <set>

static int connect_error(void)
{
    uint32_t chan = 0xABCD;
    const int error = error_of(msg_chan_connect(test_service, 0, 0, &chan));
    EXPECT_EQ(error == 0, chan != 0xABCD);
    EXPECT_EQ(close_channel(chan), error == 0 ? 0 : EBADF);
    return error;
}

/* What a server sends, in two goes: a frame, of which a part only, or with more bytes behind. */
static void send_part(int fd, const hello_frame &frame, size_t len)
{
    bytes sent(std::max(len, sizeof frame), 9);
    memcpy(sent.data(), &frame, sizeof frame);
    raw_send(fd, sent.data(), len / 2);
    std::this_thread::sleep_for(1ms);
    raw_send(fd, &sent[len / 2], len - len / 2);
}

TEST(msg_chan_connect, tells_why_a_greeting_failed)
{
    struct {
        const char *name;
        uint32_t kind, len, protocol, status;
        size_t sent;
        int error;
    } const cases[] = {
        {"as it should be", frame_hello, 24, 1, 0, 40, 0},
        {"another protocol version", frame_hello, 24, 2, 0, 40, EPROTO},
        {"a version with a longer greeting", frame_hello, 200, 9, 0, 216, EPROTO},
        {"a longer greeting of this version", frame_hello, 25, 1, 0, 41, EPROTO},
        {"no version", frame_hello, 0, 1, 0, 40, EPROTO},
        {"no greeting but a reply", frame_reply, 24, 1, 0, 40, EPROTO},
        {"an endless greeting", frame_hello, 257, 1, 0, 40, EPROTO},
        {"refused with a reason", frame_hello, 24, 1, EACCES, 40, EACCES},
        {"refused with nonsense", frame_hello, 24, 1, 4096, 40, EPROTO},
        {"closed at once", frame_hello, 24, 1, 0, 0, ECONNREFUSED},
        {"closed within the greeting", frame_hello, 24, 1, 0, 39, ECONNREFUSED},
    };
    for (const auto &c : cases) {
        const run_dir dir;
        const raw_server server(dir, [&](int fd) {
            send_part(fd, {{c.kind, c.len, 0, 0}, {c.protocol, c.status}}, c.sent);
            if (c.sent >= sizeof(hello_frame))
                raw_closed(fd);
        });
        EXPECT_EQ(connect_error(), c.error) << c.name;
    }
}

TEST(msg_chan_connect, waits_one_second_for_a_silent_server_and_not_for_none)
{
    const run_dir dir;
    EXPECT_EQ(connect_error(), ENOENT);
    const raw_server server(dir, [](int fd) { raw_closed(fd); });
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(connect_error(), ETIMEDOUT);
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_TRUE(took >= 900ms && took <= 3s);
}

TEST(msg_chan_connect, refuses_bad_arguments)
{
    uint32_t chan = 0;
    const std::string longest(81, 'x');
    for (const char *service : {static_cast<const char *>(nullptr), "", "/", "..", "/../x", longest.c_str()})
        EXPECT_EQ(error_of(msg_chan_connect(service, 0, 0, &chan)), EINVAL) << (service ? service : "NULL");
    const run_dir dir;
    EXPECT_EQ(error_of(msg_chan_connect(longest.c_str() + 1, 0, 0, &chan)), ENOENT) << "80 are a name";
    EXPECT_EQ(error_of(msg_chan_connect(test_service, 1, 0, &chan)), EINVAL);
    EXPECT_EQ(error_of(msg_chan_connect(test_service, 0, 1, &chan)), EINVAL);
    EXPECT_EQ(error_of(msg_chan_connect(test_service, 0, 0, nullptr)), EINVAL);
}

TEST(msg_chan_connect, demands_the_version_of_the_descriptor)
{
    const run_dir dir;
    const raw_server server(dir, [](int fd) {
        raw_send(fd, &raw_hello, sizeof raw_hello); // which tells version 3
        raw_closed(fd);
    });
    struct {
        uint32_t min, max, format;
        int error;
    } const cases[] = {{3, 3, 2, 0}, {1, 2, 2, EPROTO}, {4, 9, 2, EPROTO}, {4, 3, 2, EINVAL}, {3, 3, 1, EINVAL}};
    for (const auto &c : cases) {
        uint32_t chan = 0;
        const msg_chan_version_t version = {.mcv_min = c.min, .mcv_max = c.max, .mcv_format = c.format};
        EXPECT_EQ(error_of(msg_chan_connect_xversion(test_service, 0, 0, &chan, &version)), c.error) << c.min << " to " << c.max;
        EXPECT_EQ(close_channel(chan), c.error == 0 ? 0 : EBADF);
    }
}

TEST(msg_send, never_writes_beyond_the_room)
{
    const run_dir dir;
    threaded_server server;
    server.start();
    const uint32_t chan = open_channel();
    for (const size_t len : {0u, 1u, 1007u, 1008u, 1009u, 5000u, 200000u, 1u << 20})
        for (const size_t room : {size_t{0}, size_t{1}, size_t{1008}, size_t{4999}, len, len + 1}) {
            const bytes sent = pattern(len);
            bytes area(room + 16, 0xEE), expected(area);
            if (len <= room)
                std::copy(sent.begin(), sent.end(), expected.begin());
            EXPECT_EQ(error_of(msg_send(chan, sent.data(), len, area.data(), room)), len <= room ? 0 : EMSGSIZE) << len;
            EXPECT_TRUE(area == expected) << len << " into " << room;
        }
    uint8_t byte = 0;
    EXPECT_EQ(error_of(msg_send(chan, nullptr, 1, &byte, 1)), EINVAL);
    EXPECT_EQ(error_of(msg_send(chan, &byte, 1, nullptr, 1)), EINVAL);
    EXPECT_EQ(error_of(msg_send(chan, &byte, chan_message_max + 1, &byte, 1)), EMSGSIZE);
    EXPECT_EQ(send_error(0, "no channel"), EBADF);
    EXPECT_EQ(send_error(chan, "still in step"), 0);
    EXPECT_EQ(close_channel(chan), 0);
}

TEST(msg_send, fails_for_good_when_the_server_fails)
{
    struct {
        const char *name;
        uint32_t kind, len, ahead, unused;
        size_t sent;
        int error;
    } const cases[] = {
        {"replies as it should and dies", frame_reply, 3, 0, 0, 19, 0},
        {"dies before it replies", frame_reply, 9, 0, 0, 0, ECONNRESET},
        {"dies within the header", frame_reply, 9, 0, 0, 15, ECONNRESET},
        {"dies within the reply", frame_reply, 3, 0, 0, 18, ECONNRESET},
        {"dies within a reply that is drained", frame_reply, 9000, 0, 0, 16, ECONNRESET},
        {"dies within the longest reply", frame_reply, 4u << 20, 0, 0, 16, ECONNRESET},
        {"announces more than any reply", frame_reply, (4u << 20) + 1, 0, 0, 16, EPROTO},
        {"replies to another request", frame_reply, 1, 1, 0, 17, EPROTO},
        {"sends more than its reply", frame_reply, 1, 0, 0, 18, EPROTO},
        {"sends a request", frame_request, 0, 0, 0, 16, EPROTO},
        {"sends a header that is none", frame_reply, 0, 0, 1, 16, EPROTO},
    };
    for (const auto &c : cases) {
        const run_dir dir;
        const raw_server server(dir, [&](int fd) {
            const uint32_t number = raw_request(fd);
            send_part(fd, {{c.kind, c.len, number + c.ahead, c.unused}, {}}, c.sent);
        });
        const uint32_t chan = open_channel();
        EXPECT_EQ(send_error(chan, "ab"), c.error) << c.name;
        EXPECT_TRUE(c.error == 0 || send_error(chan, "ab") == c.error) << c.name << ", again";
        EXPECT_EQ(close_channel(chan), 0) << c.name;
    }
}

TEST(msg_send, survives_a_server_that_dies_while_it_is_sent_to)
{
    const run_dir dir;
    const raw_server server(dir, [](int fd) { raw_request(fd); });
    const uint32_t chan = open_channel();
    const int error = error_of(msg_send(chan, bytes(chan_message_max).data(), chan_message_max, nullptr, 0));
    EXPECT_TRUE(error == EPIPE || error == ECONNRESET) << error;
    EXPECT_EQ(close_channel(chan), 0);
}

TEST(msg_send, does_not_show_signals)
{
    const run_dir dir;
    threaded_server server;
    server.received = [](msg_peer_t *peer, uint8_t *msg, size_t len) {
        std::this_thread::sleep_for(30ms);
        echo(peer, msg, len);
    };
    server.start();
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    const uint32_t chan = open_channel();
    std::atomic<bool> done = false;
    std::thread pest([&, target = pthread_self()] {
        for (; !done; std::this_thread::sleep_for(1ms))
            pthread_kill(target, SIGUSR1);
    });
    const bytes large = pattern(1u << 20);
    for (int i = 0; i != 3; i++) {
        bytes area(large.size());
        EXPECT_EQ(error_of(msg_send(chan, large.data(), large.size(), area.data(), area.size())), 0);
        EXPECT_TRUE(area == large);
    }
    done = true;
    pest.join();
    EXPECT_EQ(close_channel(chan), 0);
}

TEST(msg_chan_id, never_names_a_second_channel)
{
    const run_dir dir;
    threaded_server server;
    server.start();
    std::set<uint32_t> ids;
    std::set<int32_t> connids = {0};
    msg_clinfo_datum_h datum = &ids;
    int32_t connid = 0;
    for (int i = 0; i != 300; i++) {
        uint32_t chan = open_channel();
        ASSERT_EQ(msg_get_conn_connid(chan, &connid), 0);
        EXPECT_TRUE(connid > 0 && ids.insert(chan).second && connids.insert(connid).second);
        ASSERT_EQ(msg_chan_disconnect(&chan), 0);
        EXPECT_EQ(ids.count(chan), 1u) << "the caller's variable is left as it was";
    }
    const uint32_t open = open_channel();
    for (const uint32_t stale : ids) {
        EXPECT_EQ(send_error(stale, "x"), EBADF);
        EXPECT_EQ(error_of(msg_get_conn_connid(stale, &connid)), EBADF);
        EXPECT_EQ(error_of(msg_conn_get_datum(stale, &datum)), EBADF);
        EXPECT_EQ(error_of(msg_conn_save_datum(stale, &ids)), EBADF);
        EXPECT_EQ(close_channel(stale), EBADF);
    }
    EXPECT_EQ(msg_conn_get_datum(open, &datum), 0);
    EXPECT_EQ(datum, nullptr);
    EXPECT_EQ(msg_conn_save_datum(open, &ids), 0);
    EXPECT_EQ(msg_conn_get_datum(open, &datum), 0);
    EXPECT_EQ(datum, &ids);
    EXPECT_EQ(close_channel(open), 0);
}

TEST(msg_chan_disconnect, wakes_the_threads_that_wait)
{
    const run_dir dir;
    std::atomic<bool> asked = false;
    const raw_server server(dir, [&](int fd) {
        asked = raw_request(fd) != 0;
        raw_closed(fd);
    });
    const uint32_t chan = open_channel();
    std::vector<std::thread> threads;
    for (int i = 0; i != 3; i++)
        threads.emplace_back([chan] { EXPECT_EQ(send_error(chan, "ab"), ECONNRESET); });
    while (!asked)
        std::this_thread::sleep_for(1ms);
    std::this_thread::sleep_for(20ms); // the other two come to wait for their turn
    EXPECT_EQ(close_channel(chan), 0);
    for (std::thread &thread : threads)
        thread.join();
}
