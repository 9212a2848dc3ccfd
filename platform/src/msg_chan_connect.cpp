/*
 * Opening and closing channels: the connect, the exchange of greetings, and what is kept with a channel.
 */
#include "clock.h"
#include "guard.h"
#include "msg_chan_address.h"
#include "msg_chan_table.h"
#include "msg_chan_trust.h"

#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

constexpr int64_t greeting_ms = 1000;
constexpr uint32_t version_descriptor_format = 2;
constexpr pid_t service_manager = 1;

static_assert(sizeof(msg_chan_version_t) == 56);

static int result_of(int error)
{
    if (error == 0)
        return 0;
    errno = error;
    return -1;
}

/* Bounds connect() and send(); 0 takes the bound away. */
static int set_send_timeout(int fd, int64_t ms)
{
    const timeval bound = {.tv_sec = ms / 1000, .tv_usec = ms % 1000 * 1000};
    return setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &bound, sizeof bound) == 0 ? 0 : errno;
}

/* A server whose backlog is full makes connect() wait. */
static int connect_until(int fd, const sockaddr_un &address, int64_t deadline)
{
    for (;;) {
        const int64_t left = deadline - now_ms();
        if (left <= 0)
            return ETIMEDOUT;
        if (const int error = set_send_timeout(fd, left))
            return error;
        if (connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0)
            return 0;
        if (errno != EINTR)
            return errno == EAGAIN ? ETIMEDOUT : errno;
    }
}

/* A server that closes before it has greeted takes no further clients. */
static int greeting_error(int error)
{
    return error == EPIPE || error == ECONNRESET ? ECONNREFUSED : error;
}

static int receive_until(int fd, void *area, size_t len, int64_t deadline)
{
    auto *at = static_cast<uint8_t *>(area);
    while (len != 0) {
        pollfd readable = {.fd = fd, .events = POLLIN};
        const int64_t left = deadline - now_ms();
        const int ready = left <= 0 ? 0 : poll(&readable, 1, static_cast<int>(left));
        if (ready == 0)
            return ETIMEDOUT;
        const ssize_t got = ready < 0 ? -1 : recv(fd, at, len, MSG_DONTWAIT);
        if (got == 0)
            return ECONNREFUSED;
        if (got < 0 && errno != EINTR && errno != EAGAIN)
            return greeting_error(errno);
        if (got > 0) {
            at += got;
            len -= static_cast<size_t>(got);
        }
    }
    return 0;
}

static int send_hello(int fd)
{
    hello_frame hello;
    if (const int error = chan_hello(&hello))
        return error;
    return greeting_error(chan_send_hello(fd, hello, 0));
}

/* Reads the server's greeting, of which only the first word is certain before the protocol version is known. */
static int receive_hello(int fd, hello_body *body, int64_t deadline)
{
    frame_header header = {};
    if (const int error = receive_until(fd, &header, sizeof header, deadline))
        return error;
    if (!frame_is(header, frame_hello, hello_body_max) || header.fh_len < sizeof body->he_protocol)
        return EPROTO;
    uint8_t bytes[hello_body_max];
    if (const int error = receive_until(fd, bytes, header.fh_len, deadline))
        return error;
    *body = {};
    memcpy(body, bytes, sizeof body->he_protocol);
    if (body->he_protocol != chan_protocol || header.fh_len != sizeof *body)
        return EPROTO;
    memcpy(body, bytes, sizeof *body);
    return 0;
}

static int greet(int fd, uint32_t min_version, uint32_t max_version, int64_t deadline, pid_t *told_pid)
{
    hello_body server;
    if (const int error = send_hello(fd))
        return error;
    if (const int error = receive_hello(fd, &server, deadline))
        return error;
    *told_pid = server.he_pid;
    if (server.he_status != 0)
        return server.he_status < 4096 ? static_cast<int>(server.he_status) : EPROTO;
    return server.he_version < min_version || server.he_version > max_version ? EPROTO : 0;
}

/* Before a byte is sent. */
static int know_server(int fd, const sockaddr_un &address, ucred *server)
{
    socklen_t len = sizeof *server;
    if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, server, &len) != 0)
        return errno;
    return chan_check_server(address, *server);
}

static int chan_open(const char *service, uint32_t flags, uint32_t reserved, uint32_t *chan, uint32_t min_version,
                     uint32_t max_version)
{
    if (!chan || (flags & ~MSG_CHAN_NOTIFY_DEATH) != 0 || reserved != 0)
        return EINVAL;
    char dir[chan_dir_room];
    if (const int error = chan_run_dir(nullptr, dir, sizeof dir))
        return error;
    sockaddr_un address;
    if (const int error = chan_service_address(dir, service, &address))
        return error;
    if (const int error = chan_check_dir(dir, chan_role::client))
        return error;
    fd_guard fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (fd.get() < 0)
        return errno;
    const int64_t deadline = now_ms() + greeting_ms;
    if (const int error = chan_socket_options(fd.get()))
        return error;
    if (const int error = connect_until(fd.get(), address, deadline))
        return error;
    ucred server;
    if (const int error = know_server(fd.get(), address, &server))
        return error;
    pid_t told_pid;
    if (const int error = greet(fd.get(), min_version, max_version, deadline, &told_pid))
        return error;
    if (const int error = set_send_timeout(fd.get(), 0))
        return error;
    /* A listening socket that the service manager made carries its credentials; only the greeting tells who serves it. */
    const int error = channel_add(fd.get(), server.pid == service_manager ? told_pid : server.pid, chan);
    if (error == 0)
        fd.take();
    return error;
}

int msg_chan_connect(const char *service, uint32_t flags, uint32_t reserved, uint32_t *chan)
{
    return result_of(chan_open(service, flags, reserved, chan, 0, UINT32_MAX));
}

int msg_chan_connect_xversion(const char *service, uint32_t flags, uint32_t reserved, uint32_t *chan,
                              const msg_chan_version_t *version)
{
    if (!version || version->mcv_format != version_descriptor_format || version->mcv_min > version->mcv_max)
        return result_of(EINVAL);
    return result_of(chan_open(service, flags, reserved, chan, version->mcv_min, version->mcv_max));
}

int msg_chan_disconnect(uint32_t *chan)
{
    if (!chan)
        return result_of(EINVAL);
    return result_of(channel_remove(*chan) ? 0 : EBADF);
}

/* Runs use on the channel of an id. */
template <class use_t> static int with_channel(uint32_t id, use_t use)
{
    channel *chan = channel_acquire(id);
    if (!chan)
        return result_of(EBADF);
    use(chan);
    channel_release(chan);
    return 0;
}

int msg_get_conn_connid(uint32_t chan, int32_t *connid)
{
    if (!connid)
        return result_of(EINVAL);
    return with_channel(chan, [connid](const channel *found) { *connid = found->connid; });
}

int msg_conn_save_datum(uint32_t chan, msg_clinfo_datum_h datum)
{
    return with_channel(chan, [datum](channel *found) { found->datum = datum; });
}

int msg_conn_get_datum(uint32_t chan, msg_clinfo_datum_h *datum)
{
    if (!datum)
        return result_of(EINVAL);
    return with_channel(chan, [datum](const channel *found) { *datum = found->datum; });
}
