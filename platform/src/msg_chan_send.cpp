/*
 * One request and its reply. Anything that leaves the stream out of step ends the channel: its errno value is kept and
 * every later send fails with it at once.
 */
#include "clock.h"
#include "guard.h"
#include "msg_chan_frame.h"
#include "msg_chan_table.h"

#include <algorithm>
#include <cstring>
#include <sched.h>
#include <sys/socket.h>
#include <sys/uio.h>

/* Waking a sleeping thread takes longer than answering a small request. Where answers come soon, they are awaited awake, but
 * not for longer than this. */
constexpr int64_t awake_ns = 50'000;
/* Behind an answer that took longer, the next one is slept for. */
constexpr int64_t soon_ns = 100'000;
/* Small replies come with their header in one call; of larger ones this much is copied, the rest is received in place. */
constexpr size_t first_read = 1024;

/* Sends header and message in one call where the socket takes them. 0 or an errno value. */
static int send_frame(int fd, frame_header *header, const void *msg, size_t len)
{
    iovec parts[] = {{header, sizeof *header}, {const_cast<void *>(msg), len}};
    msghdr frame = {.msg_iov = parts, .msg_iovlen = 2};
    for (size_t left = sizeof *header + len; left != 0;) {
        const ssize_t got = sendmsg(fd, &frame, MSG_NOSIGNAL);
        if (got < 0 && errno != EINTR)
            return errno;
        size_t sent = got < 0 ? 0 : static_cast<size_t>(got);
        left -= sent;
        for (iovec &part : parts) {
            const size_t gone = std::min(sent, part.iov_len);
            part = {static_cast<char *>(part.iov_base) + gone, part.iov_len - gone};
            sent -= gone;
        }
    }
    return 0;
}

/* Receives at least one byte. The number, or minus an errno value. */
static ssize_t receive_some(int fd, void *area, size_t room, int flags)
{
    for (;;) {
        const ssize_t got = recv(fd, area, room, flags);
        if (got > 0)
            return got;
        if (got == 0)
            return -ECONNRESET;
        if (errno != EINTR)
            return -errno;
    }
}

static ssize_t receive_awake(int fd, void *area, size_t room, int64_t deadline)
{
    do {
        const ssize_t got = receive_some(fd, area, room, MSG_DONTWAIT);
        if (got != -EAGAIN)
            return got;
        sched_yield();
    } while (now_ns() < deadline);
    return -EAGAIN;
}

static int receive_all(int fd, uint8_t *area, size_t len)
{
    while (len != 0) {
        const ssize_t got = receive_some(fd, area, len, MSG_WAITALL);
        if (got < 0)
            return static_cast<int>(-got);
        area += got;
        len -= static_cast<size_t>(got);
    }
    return 0;
}

/* Keeps the channel in step behind a reply that does not fit. */
static int drain(int fd, size_t len)
{
    uint8_t scratch[4096];
    while (len != 0) {
        const size_t part = std::min(len, sizeof scratch);
        if (const int error = receive_all(fd, scratch, part))
            return error;
        len -= part;
    }
    return EMSGSIZE;
}

/* Receives something once a reply is there. */
static ssize_t await_reply(channel *chan, void *area, size_t room)
{
    if (!chan->may_stay_awake)
        return receive_some(chan->fd, area, room, 0);
    const int64_t begin = now_ns();
    ssize_t got = chan->answers_soon ? receive_awake(chan->fd, area, room, begin + awake_ns) : -EAGAIN;
    if (got == -EAGAIN)
        got = receive_some(chan->fd, area, room, 0);
    chan->answers_soon = now_ns() - begin < soon_ns;
    return got;
}

/* Receives the beginning of a reply, its header at least. Bytes received, or minus an errno value. */
static ssize_t receive_first(channel *chan, uint8_t *first)
{
    ssize_t got = await_reply(chan, first, first_read);
    while (got > 0 && static_cast<size_t>(got) < sizeof(frame_header)) {
        const ssize_t more = receive_some(chan->fd, first + got, first_read - static_cast<size_t>(got), 0);
        got = more < 0 ? more : got + more;
    }
    return got;
}

static int receive_reply(channel *chan, uint8_t *reply, size_t room)
{
    uint8_t first[first_read];
    const ssize_t got = receive_first(chan, first);
    if (got < 0)
        return static_cast<int>(-got);
    frame_header header;
    memcpy(&header, first, sizeof header);
    const size_t here = static_cast<size_t>(got) - sizeof header;
    if (!frame_is(header, frame_reply, chan_message_max) || header.fh_number != chan->number || here > header.fh_len)
        return EPROTO;
    if (header.fh_len > room)
        return drain(chan->fd, header.fh_len - here);
    if (here != 0)
        memcpy(reply, first + sizeof header, here);
    return receive_all(chan->fd, reply + here, header.fh_len - here);
}

/* Under the channel's turn. 0 or an errno value. */
static int exchange(channel *chan, const void *msg, size_t len, void *reply, size_t room)
{
    if (chan->dead != 0)
        return chan->dead;
    frame_header header = {frame_request, static_cast<uint32_t>(len), ++chan->number, 0};
    int error = send_frame(chan->fd, &header, msg, len);
    if (error == 0)
        error = receive_reply(chan, static_cast<uint8_t *>(reply), room);
    if (error != 0 && error != EMSGSIZE)
        chan->dead = error;
    return error;
}

int msg_send(uint32_t id, const void *msg, size_t len, void *reply, size_t room)
{
    if ((!msg && len != 0) || (!reply && room != 0)) {
        errno = EINVAL;
        return -1;
    }
    if (len > chan_message_max) {
        errno = EMSGSIZE;
        return -1;
    }
    channel *chan = channel_acquire(id);
    if (!chan) {
        errno = EBADF;
        return -1;
    }
    pthread_mutex_lock(&chan->turn);
    const int error = exchange(chan, msg, len, reply, room);
    pthread_mutex_unlock(&chan->turn);
    channel_release(chan);
    if (error == 0)
        return 0;
    errno = error;
    return -1;
}
