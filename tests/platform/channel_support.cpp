#include "tests/platform/channel_support.h"

#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

run_dir::run_dir()
{
    char made[] = "/tmp/msg_chan_XXXXXX";
    path = mkdtemp(made);
    setenv("MSG_CHAN_DIR", path.c_str(), 1);
}

run_dir::~run_dir()
{
    unsetenv("MSG_CHAN_DIR");
    std::filesystem::remove_all(path);
}

void threaded_server::echo(msg_peer_t *peer, uint8_t *msg, size_t len)
{
    if (uint8_t *area = msg_peer_reply_area(peer, len))
        memcpy(area, msg, len);
    msg_peer_reply(peer, len);
}

void threaded_server::start(const msg_server_options_t &options)
{
    static const msg_server_ops_t ops = {
        [](void *owner, msg_peer_t *peer, unsigned service) {
            return static_cast<threaded_server *>(owner)->connected(peer, service);
        },
        [](void *owner, msg_peer_t *peer, uint8_t *msg, size_t len) {
            static_cast<threaded_server *>(owner)->received(peer, msg, len);
        },
        [](void *owner, msg_peer_t *peer) { static_cast<threaded_server *>(owner)->disconnected(peer); }};
    server_ = msg_server_create(&options, &ops, this);
    if (!server_ || msg_server_attach(server_, test_service) != 0)
        throw std::runtime_error("test server");
    stopping_ = false;
    thread_ = std::thread([this] {
        std::unique_lock lock(mutex_);
        while (!stopping_) {
            lock.unlock();
            msg_server_dispatch(server_, -1);
            lock.lock();
            if (work_)
                (*std::exchange(work_, nullptr))(server_);
            done_.notify_all();
        }
    });
}

void threaded_server::run(const std::function<void(msg_server_t *)> &work)
{
    std::unique_lock lock(mutex_);
    work_ = &work;
    msg_server_wake(server_);
    done_.wait(lock, [this] { return !work_; });
}

void threaded_server::stop()
{
    if (!thread_.joinable())
        return;
    run([this](msg_server_t *) { stopping_ = true; });
    thread_.join();
    msg_server_destroy(std::exchange(server_, nullptr));
}

static sockaddr_un service_address(const run_dir &dir)
{
    sockaddr_un address = {.sun_family = AF_UNIX};
    strcpy(address.sun_path, dir.file("dev_test_service").c_str());
    return address;
}

raw_server::raw_server(const run_dir &dir, std::function<void(int)> script) : script_(std::move(script))
{
    const sockaddr_un address = service_address(dir);
    listener_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (bind(listener_, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 || listen(listener_, 8) != 0)
        throw std::runtime_error("raw server");
    thread_ = std::thread([this] {
        for (int fd; (fd = accept(listener_, nullptr, nullptr)) >= 0; close(fd))
            script_(fd);
    });
}

raw_server::~raw_server()
{
    shutdown(listener_, SHUT_RDWR);
    thread_.join();
    close(listener_);
}

int raw_connect(const run_dir &dir)
{
    const sockaddr_un address = service_address(dir);
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        throw std::runtime_error("raw connect");
    return fd;
}

void raw_send(int fd, const void *area, size_t len)
{
    const auto *at = static_cast<const uint8_t *>(area);
    while (len != 0) {
        const ssize_t sent = send(fd, at, len, MSG_NOSIGNAL);
        if (sent < 0)
            return;
        at += sent;
        len -= static_cast<size_t>(sent);
    }
}

bool raw_receive(int fd, void *area, size_t len)
{
    return recv(fd, area, len, MSG_WAITALL) == static_cast<ssize_t>(len);
}

bool raw_closed(int fd)
{
    char byte;
    ssize_t got;
    while ((got = recv(fd, &byte, 1, 0)) > 0)
        ;
    return got == 0 || errno == ECONNRESET;
}

hello_frame raw_hello(void)
{
    return {{frame_hello, sizeof(hello_body), 0, 0}, {.he_protocol = chan_protocol, .he_version = 1}};
}

void raw_greet(int fd)
{
    hello_frame hello;
    raw_receive(fd, &hello, sizeof hello);
    hello = raw_hello();
    raw_send(fd, &hello, sizeof hello);
}

frame_header raw_request(int fd)
{
    frame_header header = {};
    if (raw_receive(fd, &header, sizeof header) && header.fh_len != 0) {
        bytes body(header.fh_len);
        raw_receive(fd, body.data(), body.size());
    }
    return header;
}

int raw_client(const run_dir &dir)
{
    const int fd = raw_connect(dir);
    hello_frame hello = raw_hello();
    raw_send(fd, &hello, sizeof hello);
    if (!raw_receive(fd, &hello, sizeof hello))
        throw std::runtime_error("raw client");
    return fd;
}

uint32_t open_channel(void)
{
    uint32_t chan = 0;
    return msg_chan_connect(test_service, MSG_CHAN_NOTIFY_DEATH, 0, &chan) == 0 ? chan : 0;
}

bytes pattern(size_t len, unsigned seed)
{
    bytes made(len);
    for (size_t i = 0; i != len; i++)
        made[i] = static_cast<uint8_t>((i * 2654435761u + seed * 40503u) >> 13);
    return made;
}
