/*
 * The client's end of the channel against servers made by hand, which misbehave on purpose.
 */
#include "tests/platform/channel_support.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <sys/socket.h>
#include <unistd.h>

using namespace std::chrono_literals;

static void reply(int fd, uint32_t number, const bytes &body)
{
    const frame_header header = {frame_reply, static_cast<uint32_t>(body.size()), number, 0};
    raw_send(fd, &header, sizeof header);
    raw_send(fd, body.data(), body.size());
}

static int connect_error(void)
{
    uint32_t chan = 0xABCD;
    const int error = error_of(msg_chan_connect(test_service, 0, 0, &chan));
    EXPECT_EQ(error == 0, chan != 0xABCD);
    return error;
}

struct greeting_case {
    const char *name;
    std::function<void(int)> script;
    int error;
};

static void greet_with(int fd, hello_frame hello)
{
    raw_send(fd, &hello, sizeof hello);
    raw_closed(fd);
}

static const greeting_case greetings[] = {
    {"another protocol version",
     [](int fd) {
         auto h = raw_hello();
         h.body.he_protocol = 2;
         greet_with(fd, h);
     },
     EPROTO},
    {"a version with a longer greeting",
     [](int fd) {
         bytes longer(sizeof(frame_header) + 200, 9);
         const frame_header header = {frame_hello, 200, 0, 0};
         memcpy(longer.data(), &header, sizeof header);
         raw_send(fd, longer.data(), longer.size());
         raw_closed(fd);
     },
     EPROTO},
    {"no version",
     [](int fd) {
         auto h = raw_hello();
         h.header.fh_len = 0;
         greet_with(fd, h);
     },
     EPROTO},
    {"no greeting but a reply",
     [](int fd) {
         auto h = raw_hello();
         h.header.fh_kind = frame_reply;
         greet_with(fd, h);
     },
     EPROTO},
    {"an endless greeting",
     [](int fd) {
         auto h = raw_hello();
         h.header.fh_len = 1u << 30;
         greet_with(fd, h);
     },
     EPROTO},
    {"refused with a reason",
     [](int fd) {
         auto h = raw_hello();
         h.body.he_status = EACCES;
         greet_with(fd, h);
     },
     EACCES},
    {"refused with nonsense",
     [](int fd) {
         auto h = raw_hello();
         h.body.he_status = ~0u;
         greet_with(fd, h);
     },
     EPROTO},
    {"closed at once", [](int) {}, ECONNREFUSED},
    {"closed within the greeting",
     [](int fd) {
         auto h = raw_hello();
         raw_send(fd, &h, sizeof h - 1);
     },
     ECONNREFUSED},
    {"greeted byte by byte",
     [](int fd) {
         const hello_frame hello = raw_hello();
         for (size_t i = 0; i != sizeof hello; i++, std::this_thread::sleep_for(1ms))
             raw_send(fd, reinterpret_cast<const char *>(&hello) + i, 1);
     },
     0},
};

TEST(msg_chan_connect, tells_why_a_greeting_failed)
{
    for (const greeting_case &c : greetings) {
        const run_dir dir;
        const raw_server server(dir, c.script);
        EXPECT_EQ(connect_error(), c.error) << c.name;
    }
}

TEST(msg_chan_connect, gives_a_silent_server_one_second)
{
    const run_dir dir;
    const raw_server server(dir, [](int fd) { raw_closed(fd); });
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(connect_error(), ETIMEDOUT);
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(took, 900ms);
    EXPECT_LE(took, 3s);
}

TEST(msg_chan_connect, fails_at_once_without_a_server)
{
    const run_dir dir;
    EXPECT_EQ(connect_error(), ENOENT);
    std::ofstream(dir.file("dev_test_service")) << "no socket";
    EXPECT_EQ(connect_error(), ECONNREFUSED);
}

TEST(msg_chan_connect, refuses_bad_arguments)
{
    uint32_t chan = 0;
    const std::string longest(81, 'x');
    for (const char *service : {static_cast<const char *>(nullptr), "", "/", "..", "/../x", longest.c_str()})
        EXPECT_EQ(error_of(msg_chan_connect(service, 0, 0, &chan)), EINVAL) << (service ? service : "NULL");
    EXPECT_EQ(error_of(msg_chan_connect(test_service, 1, 0, &chan)), EINVAL);
    EXPECT_EQ(error_of(msg_chan_connect(test_service, 0, 1, &chan)), EINVAL);
    EXPECT_EQ(error_of(msg_chan_connect(test_service, 0, 0, nullptr)), EINVAL);
}

TEST(msg_chan_connect, demands_the_version_of_the_descriptor)
{
    const run_dir dir;
    const raw_server server(dir, [](int fd) {
        auto h = raw_hello();
        h.body.he_version = 3;
        greet_with(fd, h);
    });
    struct {
        uint32_t min, max, format;
        int error;
    } const cases[] = {{3, 3, 2, 0}, {1, 9, 2, 0}, {1, 2, 2, EPROTO}, {4, 9, 2, EPROTO}, {4, 3, 2, EINVAL}, {3, 3, 1, EINVAL}};
    for (const auto &c : cases) {
        uint32_t chan = 0;
        const msg_chan_version_t version = {.mcv_min = c.min, .mcv_max = c.max, .mcv_format = c.format};
        EXPECT_EQ(error_of(msg_chan_connect_xversion(test_service, 0, 0, &chan, &version)), c.error) << c.min << " to " << c.max;
        EXPECT_EQ(error_of(msg_chan_disconnect(&chan)), c.error == 0 ? 0 : EBADF);
    }
}

TEST(msg_send, puts_dribbled_replies_together)
{
    const run_dir dir;
    const bytes body = pattern(300);
    const raw_server server(dir, [&](int fd) {
        raw_greet(fd);
        for (frame_header request; (request = raw_request(fd)).fh_kind == frame_request;) {
            bytes frame(sizeof(frame_header) + body.size());
            const frame_header header = {frame_reply, static_cast<uint32_t>(body.size()), request.fh_number, 0};
            memcpy(frame.data(), &header, sizeof header);
            memcpy(frame.data() + sizeof header, body.data(), body.size());
            for (const uint8_t byte : frame) {
                raw_send(fd, &byte, 1);
                std::this_thread::sleep_for(50us);
            }
        }
    });
    uint32_t chan = open_channel();
    for (int i = 0; i != 3; i++) {
        bytes got(body.size());
        ASSERT_EQ(msg_send(chan, "x", 1, got.data(), got.size()), 0);
        EXPECT_EQ(got, body);
    }
    EXPECT_EQ(msg_chan_disconnect(&chan), 0);
}

/* The server answers a message with as many bytes as its four bytes say. */
static void reply_as_asked(msg_peer_t *peer, uint8_t *msg, size_t)
{
    uint32_t len;
    memcpy(&len, msg, sizeof len);
    const bytes body = pattern(len, len);
    if (uint8_t *area = msg_peer_reply_area(peer, len))
        std::copy(body.begin(), body.end(), area);
    msg_peer_reply(peer, len);
}

TEST(msg_send, never_writes_beyond_the_room)
{
    const run_dir dir;
    threaded_server server;
    server.received = reply_as_asked;
    server.start();
    uint32_t chan = open_channel();
    for (const uint32_t len : {0u, 1u, 263u, 1007u, 1008u, 1009u, 5000u, 200000u, 1u << 20})
        for (const size_t room : {size_t{0}, size_t{1}, size_t{264}, size_t{1008}, size_t{4999}, size_t{len}, size_t{len} + 1}) {
            bytes area(room + 16, 0xEE);
            const int error = error_of(msg_send(chan, &len, sizeof len, area.data(), room));
            bytes expected(room + 16, 0xEE);
            const bytes body = pattern(len, len);
            if (len <= room)
                std::copy(body.begin(), body.end(), expected.begin());
            EXPECT_EQ(error, len <= room ? 0 : EMSGSIZE) << len << " into " << room;
            EXPECT_TRUE(area == expected) << len << " into " << room;
        }
    EXPECT_EQ(msg_chan_disconnect(&chan), 0);
}

struct breach_case {
    const char *name;
    std::function<void(int fd, uint32_t number)> script;
    int error;
};

static const breach_case breaches[] = {
    {"dies before it replies", [](int, uint32_t) {}, ECONNRESET},
    {"dies within the header",
     [](int fd, uint32_t n) {
         frame_header h = {frame_reply, 9, n, 0};
         raw_send(fd, &h, 15);
     },
     ECONNRESET},
    {"dies within the reply",
     [](int fd, uint32_t n) {
         frame_header h = {frame_reply, 9, n, 0};
         raw_send(fd, &h, 16);
     },
     ECONNRESET},
    {"dies within a reply that is drained",
     [](int fd, uint32_t n) {
         frame_header h = {frame_reply, 9000, n, 0};
         raw_send(fd, &h, 16);
     },
     ECONNRESET},
    {"replies to another request", [](int fd, uint32_t n) { reply(fd, n + 1, {1}); }, EPROTO},
    {"replies twice",
     [](int fd, uint32_t n) {
         bytes b(17 + 16, 0);
         frame_header h = {frame_reply, 1, n, 0};
         memcpy(b.data(), &h, 16);
         memcpy(b.data() + 17, &h, 16);
         raw_send(fd, b.data(), b.size());
     },
     EPROTO},
    {"sends a request",
     [](int fd, uint32_t n) {
         frame_header h = {frame_request, 0, n, 0};
         raw_send(fd, &h, 16);
     },
     EPROTO},
    {"announces more than any reply",
     [](int fd, uint32_t n) {
         frame_header h = {frame_reply, ~0u, n, 0};
         raw_send(fd, &h, 16);
     },
     EPROTO},
};

TEST(msg_send, fails_for_good_when_the_server_fails)
{
    for (const breach_case &c : breaches) {
        const run_dir dir;
        const raw_server server(dir, [&](int fd) {
            raw_greet(fd);
            c.script(fd, raw_request(fd).fh_number);
        });
        uint32_t chan = open_channel();
        bytes area(64);
        EXPECT_EQ(error_of(msg_send(chan, "abc", 3, area.data(), area.size())), c.error) << c.name;
        EXPECT_EQ(error_of(msg_send(chan, "abc", 3, area.data(), area.size())), c.error) << c.name << ", again";
        EXPECT_EQ(msg_chan_disconnect(&chan), 0) << c.name;
        EXPECT_EQ(error_of(msg_send(chan, "abc", 3, area.data(), area.size())), EBADF) << c.name << ", closed";
    }
}

TEST(msg_send, survives_a_server_that_dies_while_it_is_sent_to)
{
    const run_dir dir;
    const raw_server server(dir, [](int fd) {
        raw_greet(fd);
        bytes part(100000);
        raw_receive(fd, part.data(), part.size());
    });
    uint32_t chan = open_channel();
    const bytes large = pattern(chan_message_max);
    const int error = error_of(msg_send(chan, large.data(), large.size(), nullptr, 0));
    EXPECT_TRUE(error == EPIPE || error == ECONNRESET) << error;
    EXPECT_EQ(msg_chan_disconnect(&chan), 0);
}

TEST(msg_send, refuses_bad_arguments)
{
    const run_dir dir;
    threaded_server server;
    server.start();
    uint32_t chan = open_channel();
    uint8_t byte = 0;
    EXPECT_EQ(error_of(msg_send(chan, nullptr, 1, &byte, 1)), EINVAL);
    EXPECT_EQ(error_of(msg_send(chan, &byte, 1, nullptr, 1)), EINVAL);
    EXPECT_EQ(error_of(msg_send(chan, &byte, chan_message_max + 1, &byte, 1)), EMSGSIZE);
    EXPECT_EQ(error_of(msg_send(0, &byte, 1, &byte, 1)), EBADF);
    EXPECT_EQ(msg_send(chan, &byte, 1, &byte, 1), 0) << "the channel is still in step";
    EXPECT_EQ(msg_chan_disconnect(&chan), 0);
}

TEST(msg_send, does_not_show_signals)
{
    const run_dir dir;
    threaded_server server;
    server.received = [](msg_peer_t *peer, uint8_t *msg, size_t len) {
        std::this_thread::sleep_for(30ms);
        threaded_server::echo(peer, msg, len);
    };
    server.start();
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    uint32_t chan = open_channel();
    std::atomic<bool> done = false;
    std::thread pest([&, target = pthread_self()] {
        while (!done) {
            pthread_kill(target, SIGUSR1);
            std::this_thread::sleep_for(1ms);
        }
    });
    const bytes large = pattern(1u << 20);
    bytes area(large.size());
    for (int i = 0; i != 3; i++) {
        ASSERT_EQ(error_of(msg_send(chan, large.data(), large.size(), area.data(), area.size())), 0);
        EXPECT_TRUE(area == large);
    }
    done = true;
    pest.join();
    EXPECT_EQ(msg_chan_disconnect(&chan), 0);
}

TEST(msg_chan_id, never_names_a_second_channel)
{
    const run_dir dir;
    threaded_server server;
    server.start();
    std::set<uint32_t> ids;
    std::set<int32_t> connids;
    for (int i = 0; i != 500; i++) {
        uint32_t chan = open_channel();
        int32_t connid = 0;
        ASSERT_EQ(msg_get_conn_connid(chan, &connid), 0);
        EXPECT_GT(connid, 0);
        EXPECT_TRUE(ids.insert(chan).second && connids.insert(connid).second);
        const uint32_t kept = chan;
        ASSERT_EQ(msg_chan_disconnect(&chan), 0);
        EXPECT_EQ(chan, kept) << "the caller's variable is left as it was";
        EXPECT_EQ(error_of(msg_chan_disconnect(&chan)), EBADF);
    }
    msg_clinfo_datum_h datum;
    int32_t connid;
    uint32_t open = open_channel();
    for (const uint32_t stale : ids) {
        EXPECT_EQ(error_of(msg_send(stale, "x", 1, &datum, sizeof datum)), EBADF);
        EXPECT_EQ(error_of(msg_get_conn_connid(stale, &connid)), EBADF);
        EXPECT_EQ(error_of(msg_conn_get_datum(stale, &datum)), EBADF);
        EXPECT_EQ(error_of(msg_conn_save_datum(stale, nullptr)), EBADF);
    }
    EXPECT_EQ(msg_conn_get_datum(open, &datum), 0);
    EXPECT_EQ(datum, nullptr);
    EXPECT_EQ(msg_conn_save_datum(open, &ids), 0);
    EXPECT_EQ(msg_conn_get_datum(open, &datum), 0);
    EXPECT_EQ(datum, &ids);
    EXPECT_EQ(msg_chan_disconnect(&open), 0);
}

TEST(msg_chan_disconnect, wakes_the_threads_that_wait)
{
    const run_dir dir;
    std::atomic<int> asked = 0;
    const raw_server server(dir, [&](int fd) {
        raw_greet(fd);
        raw_request(fd);
        asked++;
        raw_closed(fd);
    });
    uint32_t chan = open_channel();
    int errors[3] = {};
    std::vector<std::thread> threads;
    for (int &error : errors)
        threads.emplace_back([&error, chan] {
            uint8_t area[8];
            error = error_of(msg_send(chan, "x", 1, area, sizeof area));
        });
    while (asked == 0)
        std::this_thread::sleep_for(1ms);
    std::this_thread::sleep_for(20ms); // the other two come to wait for their turn
    EXPECT_EQ(msg_chan_disconnect(&chan), 0);
    for (std::thread &thread : threads)
        thread.join();
    for (const int error : errors)
        EXPECT_EQ(error, ECONNRESET);
}

TEST(msg_chan, serves_many_threads_on_many_channels)
{
    const run_dir dir;
    threaded_server server;
    server.start();
    std::atomic<int> failures = 0;
    std::vector<std::thread> threads;
    uint32_t shared = open_channel();
    for (unsigned t = 0; t != 8; t++)
        threads.emplace_back([&, t] {
            uint32_t own = open_channel();
            for (unsigned i = 0; i != 150; i++) {
                const bytes sent = pattern(1 + (i * 977 + t * 131) % 20000, i + t);
                bytes got(20000);
                if (msg_send(i % 3 == 0 ? shared : own, sent.data(), sent.size(), got.data(), got.size()) != 0 ||
                    memcmp(got.data(), sent.data(), sent.size()) != 0)
                    failures++;
                if (i % 50 == 49) {
                    failures += msg_chan_disconnect(&own) != 0;
                    own = open_channel();
                }
            }
            msg_chan_disconnect(&own);
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(msg_chan_disconnect(&shared), 0);
}
