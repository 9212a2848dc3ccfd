/*
 * For tests of the message channel: a run directory for each test, a real server in a thread, and the two ends made by hand.
 */
#pragma once

#include <platform/msg_chan.h>
#include <platform/msg_chan_server.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include "platform/src/msg_chan_frame.h"

using bytes = std::vector<uint8_t>;
using namespace std::chrono_literals;

constexpr const char *test_service = "/dev/test/service";

/* Where the services of this test are; gone with it. */
class run_dir
{
public:
    run_dir() { setenv("MSG_CHAN_DIR", path.c_str(), 1); }
    ~run_dir()
    {
        unsetenv("MSG_CHAN_DIR");
        std::filesystem::remove_all(path);
    }
    std::string file(const std::string &name) const { return path + "/" + name; }

    const std::string path = mkdtemp(std::string("/tmp/msg_chan_XXXXXX").data());
};

/* By default a message comes back as it was sent. */
inline void echo(msg_peer_t *peer, const uint8_t *msg, size_t len)
{
    if (uint8_t *area = msg_peer_reply_area(peer, len))
        memcpy(area, msg, len);
    msg_peer_reply(peer, len);
}

/* A server in a thread. Its callbacks run there; run() runs something else there and waits for it. */
class threaded_server
{
public:
    std::function<int(msg_peer_t *)> connected = [](msg_peer_t *) { return 0; };
    std::function<void(msg_peer_t *, uint8_t *, size_t)> received = echo;
    std::function<void(msg_peer_t *)> disconnected = [](msg_peer_t *) {};

    ~threaded_server() { stop(); }
    void start(const msg_server_options_t &options = {})
    {
        static const msg_server_ops_t ops = {
            [](void *owner, msg_peer_t *peer, unsigned) { return static_cast<threaded_server *>(owner)->connected(peer); },
            [](void *owner, msg_peer_t *peer, uint8_t *msg, size_t len) {
                static_cast<threaded_server *>(owner)->received(peer, msg, len);
            },
            [](void *owner, msg_peer_t *peer) { static_cast<threaded_server *>(owner)->disconnected(peer); }};
        server_ = msg_server_create(&options, &ops, this);
        if (!server_ || msg_server_attach(server_, test_service) != 0)
            std::abort();
        thread_ = std::thread([this] {
            while (!stopping_) {
                msg_server_dispatch(server_, -1);
                if (const auto *work = work_.load()) {
                    (*work)();
                    work_ = nullptr;
                    work_.notify_all();
                }
            }
        });
    }
    void run(const std::function<void()> &work)
    {
        work_ = &work;
        msg_server_wake(server_);
        work_.wait(&work);
    }
    void stop()
    {
        if (!thread_.joinable())
            return;
        run([this] { stopping_ = true; });
        thread_.join();
        msg_server_destroy(server_);
    }

private:
    msg_server_t *server_ = nullptr;
    std::thread thread_;
    std::atomic<const std::function<void()> *> work_ = nullptr;
    bool stopping_ = false;
};

/* The ends made by hand. Sending stops quietly when the other end is gone. */
inline void raw_send(int fd, const void *area, size_t len)
{
    [[maybe_unused]] const ssize_t sent = send(fd, area, len, MSG_NOSIGNAL);
}

inline bool raw_receive(int fd, void *area, size_t len)
{
    return recv(fd, area, len, MSG_WAITALL) == static_cast<ssize_t>(len);
}

/* Waits for the end of the stream. */
inline bool raw_closed(int fd)
{
    char area[4096];
    return !raw_receive(fd, area, sizeof area);
}

inline int raw_socket(const run_dir &dir, decltype(connect) *use)
{
    sockaddr_un address = {.sun_family = AF_UNIX};
    strcpy(address.sun_path, dir.file("dev_test_service").c_str());
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (use(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        std::abort();
    return fd;
}

constexpr hello_frame raw_hello = {{frame_hello, sizeof(hello_body), 0, 0}, {.he_protocol = chan_protocol, .he_version = 3}};

/* A client made by hand, with the greeting it sends; what the server answers. */
inline int raw_client(const run_dir &dir, hello_frame hello = raw_hello, hello_frame *answer = nullptr)
{
    const int fd = raw_socket(dir, connect);
    raw_send(fd, &hello, sizeof hello);
    if (!raw_receive(fd, answer ? answer : &hello, sizeof hello))
        std::abort();
    return fd;
}

/* A server made by hand: accepts clients one after the other and plays its script with each. */
class raw_server
{
public:
    raw_server(const run_dir &dir, std::function<void(int)> script) : listener_(raw_socket(dir, bind))
    {
        listen(listener_, 8);
        thread_ = std::thread([this, script] {
            for (int fd; (fd = accept(listener_, nullptr, nullptr)) >= 0; close(fd))
                script(fd);
        });
    }
    ~raw_server()
    {
        shutdown(listener_, SHUT_RDWR);
        thread_.join();
        close(listener_);
    }

private:
    const int listener_;
    std::thread thread_;
};

/* Answers the client's greeting, then takes a request; its number. */
inline uint32_t raw_request(int fd)
{
    struct {
        hello_frame hello;
        frame_header header;
        uint8_t body[3];
    } got;
    raw_send(fd, &raw_hello, sizeof raw_hello);
    return raw_receive(fd, &got, offsetof(decltype(got), body) + 3) ? got.header.fh_number : 0;
}

/* Opens a channel to the test service; 0 when it fails. */
inline uint32_t open_channel(void)
{
    uint32_t chan = 0;
    return msg_chan_connect(test_service, MSG_CHAN_NOTIFY_DEATH, 0, &chan) == 0 ? chan : 0;
}

/* The errno value of a failed call, 0 of a good one. */
inline int error_of(int result)
{
    return result == 0 ? 0 : errno;
}

inline int close_channel(uint32_t chan)
{
    return error_of(msg_chan_disconnect(&chan));
}

/* Sends a text with its zero, and has room for no longer a reply. */
inline int send_error(uint32_t chan, const char *text)
{
    char area[64];
    return error_of(msg_send(chan, text, strlen(text) + 1, area, strlen(text) + 1));
}

inline bytes pattern(size_t len, unsigned seed = 1)
{
    bytes made(len);
    for (size_t i = 0; i != len; i++)
        made[i] = static_cast<uint8_t>((i * 2654435761u + seed * 40503u) >> 13);
    return made;
}
