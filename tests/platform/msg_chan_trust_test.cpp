/*
 * Directories and servers that must not be trusted. What takes another user runs for root only.
 */
#include "tests/platform/channel_support.h"

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <sys/stat.h>
#include <sys/wait.h>

namespace fs = std::filesystem;

constexpr uid_t stranger = 65534;

static int connect_error(void)
{
    uint32_t chan = 0;
    const int error = error_of(msg_chan_connect(test_service, 0, 0, &chan));
    if (error == 0)
        close_channel(chan);
    return error;
}

static int attach_error(const std::string &dir)
{
    static const msg_server_ops_t ops = {[](void *, msg_peer_t *, unsigned) { return 0; },
                                         [](void *, msg_peer_t *, uint8_t *, size_t) {}, [](void *, msg_peer_t *) {}};
    const msg_server_options_t options = {.mso_dir = dir.c_str()};
    msg_server_t *server = msg_server_create(&options, &ops, nullptr);
    const int error = error_of(msg_server_attach(server, test_service));
    msg_server_destroy(server);
    return error;
}

/* The run directory is "real" or what points to it; an empty one has no socket, which is the answer when it is trusted. */
TEST(msg_chan_trust, of_directories)
{
    struct {
        const char *name, *path;
        mode_t mode;
        uid_t owner;
        const char *expected_user;
        int client, server;
    } const cases[] = {
        {"own", "real", 0700, 0, "", ENOENT, 0},
        {"readable by all", "real/", 0755, 0, "", ENOENT, 0},
        {"writable by the group", "real", 0775, 0, "", EACCES, EACCES},
        {"writable by all, as /tmp", "real", 01777, 0, "", EACCES, EACCES},
        {"a link", "link", 0755, 0, "", ELOOP, ELOOP},
        {"a link with a slash", "link/", 0755, 0, "", ELOOP, ELOOP},
        {"below a link", "link/below", 0755, 0, "", ENOENT, 0},
        {"a file", "file", 0755, 0, "", ENOTDIR, ENOTDIR},
        {"a stranger's", "real", 0755, stranger, "", EACCES, EACCES},
        {"that of the user who serves", "real", 0755, stranger, "65534", ENOENT, EACCES},
        {"that of another than the user who serves", "real", 0755, stranger, "1", EACCES, EACCES},
    };
    for (const auto &c : cases) {
        if (c.owner != 0 && geteuid() != 0)
            continue;
        const run_dir dir;
        fs::create_directory(dir.file("real"));
        fs::create_directory(dir.file("real/below"));
        fs::create_directory_symlink("real", dir.file("link"));
        std::ofstream(dir.file("file")) << "data";
        EXPECT_EQ(chmod(dir.file("real").c_str(), c.mode), 0);
        if (c.owner != 0) {
            EXPECT_EQ(chown(dir.file("real").c_str(), c.owner, c.owner), 0);
        }
        setenv("MSG_CHAN_DIR", dir.file(c.path).c_str(), 1);
        setenv("MSG_CHAN_USER", c.expected_user, 1);
        EXPECT_EQ(connect_error(), c.client) << c.name;
        EXPECT_EQ(attach_error(dir.file(c.path)), c.server) << c.name;
        unsetenv("MSG_CHAN_USER");
    }
}

/* The server listens as a stranger, or only the socket file is his. */
TEST(msg_chan_trust, of_servers)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "takes root";
    struct {
        const char *name;
        uid_t server, file;
        const char *expected_user;
        int error;
    } const cases[] = {
        {"root", 0, 0, "", 0},
        {"a stranger", stranger, stranger, "", EACCES},
        {"a stranger behind root's file", stranger, 0, "nobody", EACCES},
        {"root behind a stranger's file", 0, stranger, "nobody", EACCES},
        {"the user who is named", stranger, stranger, "nobody", 0},
        {"another than is named", stranger, stranger, "daemon", EACCES},
        {"nobody that exists is named", stranger, stranger, "no such user", EACCES},
    };
    for (const auto &c : cases) {
        const run_dir dir;
        EXPECT_EQ(chown(dir.path.c_str(), c.server, c.server), 0);
        EXPECT_EQ(seteuid(c.server), 0);
        const raw_server server(dir, [](int fd) {
            hello_frame hello;
            if (raw_receive(fd, &hello, sizeof hello))
                raw_send(fd, &raw_hello, sizeof raw_hello);
        });
        EXPECT_EQ(seteuid(0), 0);
        EXPECT_EQ(chown(dir.path.c_str(), 0, 0), 0);
        EXPECT_EQ(chown(dir.file("dev_test_service").c_str(), c.file, c.file), 0);
        setenv("MSG_CHAN_USER", c.expected_user, 1);
        EXPECT_EQ(connect_error(), c.error) << c.name;
        unsetenv("MSG_CHAN_USER");
    }
}

TEST(msg_chan_trust, a_socket_of_the_service_manager_is_served_and_stays)
{
    const run_dir dir;
    const int listener = raw_socket(dir, bind);
    ASSERT_EQ(listen(listener, 8), 0);
    int until_end[2];
    ASSERT_EQ(pipe2(until_end, O_CLOEXEC), 0);
    const pid_t child = fork();
    if (child == 0) {
        const int ended = fcntl(until_end[0], F_DUPFD, 10);
        close(until_end[1]);
        dup2(listener, 3);
        setenv("LISTEN_PID", std::to_string(getpid()).c_str(), 1);
        setenv("LISTEN_FDS", "1", 1);
        threaded_server server;
        server.start();
        char byte;
        const ssize_t got = read(ended, &byte, 1);
        server.stop();
        _exit(got == 0 ? 0 : 1);
    }
    const uint32_t chan = open_channel();
    EXPECT_NE(chan, 0u);
    EXPECT_EQ(send_error(chan, "hello"), 0);
    EXPECT_EQ(close_channel(chan), 0);
    for (const int fd : until_end)
        close(fd);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(fs::is_socket(dir.file("dev_test_service")));
    close(listener);
}

TEST(msg_chan_trust, who_does_not_greet_is_disconnected)
{
    const run_dir dir;
    threaded_server server;
    server.start({.mso_greeting_ms = 60});
    const int greeted = raw_client(dir);
    const auto begin = std::chrono::steady_clock::now();
    std::vector<int> silent;
    for (size_t sent : {size_t{0}, size_t{7}, sizeof raw_hello - 1}) {
        silent.push_back(raw_socket(dir, connect));
        raw_send(silent.back(), &raw_hello, sent);
        std::this_thread::sleep_for(10ms);
    }
    for (const int fd : silent) {
        EXPECT_TRUE(raw_closed(fd));
        close(fd);
    }
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 60ms);
    const frame_header header = {frame_request, 0, 1, 0};
    frame_header reply;
    raw_send(greeted, &header, sizeof header);
    EXPECT_TRUE(raw_receive(greeted, &reply, sizeof reply)) << "who has greeted may take all time";
    close(greeted);
}
