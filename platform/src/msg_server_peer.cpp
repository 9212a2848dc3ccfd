/*
 * One client of a server: its greeting, its requests, its replies, its end.
 */
#include "msg_server_inside.h"

#include "guard.h"

#include <cstring>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <utility>

/* Asks epoll for what the state of the peer waits for. The peer's death is always told; so one that cannot be waited for is
 * ended, rather than left without an answer. */
static void peer_watch(msg_peer *peer)
{
    const bool reads = peer->mp_state == peer_state::greeting || peer->mp_state == peer_state::reading;
    const uint32_t wanted = reads ? EPOLLIN : peer->mp_state == peer_state::replying ? EPOLLOUT : 0u;
    if (wanted == peer->mp_epoll || peer->mp_closing)
        return;
    epoll_event event = {.events = wanted, .data = {.ptr = static_cast<event_source *>(peer)}};
    if (epoll_ctl(peer->mp_server->ms_epoll, EPOLL_CTL_MOD, peer->es_fd, &event) != 0)
        return msg_peer_close(peer);
    peer->mp_epoll = wanted;
}

void msg_peer_close(msg_peer_t *peer)
{
    if (peer->mp_closing)
        return;
    peer->mp_closing = true;
    peer_drop_pulse(peer);
    shutdown(peer->es_fd, SHUT_RDWR);
}

static void peer_end_greeting(msg_peer *peer)
{
    if (std::exchange(peer->mp_awaited, false))
        peer->mp_server->ms_greeting.erase(peer->mp_server->ms_greeting.iterator_to(*peer));
}

void peer_delete(msg_peer *peer)
{
    msg_server *server = peer->mp_server;
    msg_peer_close(peer);
    if (peer->mp_connected)
        server->ms_ops.disconnected(server->ms_owner, peer);
    close(peer->es_fd);
    peer_end_greeting(peer);
    pool_give(&server->ms_pool, peer->mp_in);
    pool_give(&server->ms_pool, peer->mp_out);
    server->ms_peers.erase(server->ms_peers.iterator_to(*peer));
    server_delete(peer);
}

/* Sends what the socket takes of the reply. 0 or an errno value. */
static int peer_write(msg_peer *peer)
{
    while (peer->mp_out_sent != peer->mp_out_len) {
        const ssize_t sent = send(peer->es_fd, peer->mp_out + peer->mp_out_sent, peer->mp_out_len - peer->mp_out_sent,
                                  MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent >= 0)
            peer->mp_out_sent += static_cast<size_t>(sent);
        else if (errno == EAGAIN)
            return 0;
        else if (errno != EINTR)
            return errno;
    }
    pool_give(&peer->mp_server->ms_pool, peer->mp_out);
    peer->mp_out = nullptr;
    peer->mp_out_room = 0;
    peer->mp_state = peer_state::reading;
    return 0;
}

uint8_t *msg_peer_reply_area(msg_peer_t *peer, size_t room)
{
    msg_server *server = peer->mp_server;
    if (room > server->ms_options.mso_max_reply || peer->mp_state != peer_state::serving) {
        errno = peer->mp_state == peer_state::serving ? EMSGSIZE : EINVAL;
        return nullptr;
    }
    if (!peer->mp_out)
        peer->mp_out = pool_take(&server->ms_pool);
    if (!peer->mp_out) {
        errno = ENOMEM;
        return nullptr;
    }
    peer->mp_out_room = room;
    return peer->mp_out + sizeof(frame_header);
}

int msg_peer_reply(msg_peer_t *peer, size_t len)
{
    if (!peer->mp_out && len == 0 && !msg_peer_reply_area(peer, 0))
        return -1;
    if (peer->mp_state != peer_state::serving || !peer->mp_out || len > peer->mp_out_room) {
        errno = EINVAL;
        return -1;
    }
    const frame_header header = {frame_reply, static_cast<uint32_t>(len), peer->mp_number, 0};
    memcpy(peer->mp_out, &header, sizeof header);
    peer->mp_out_len = sizeof header + len;
    peer->mp_out_sent = 0;
    peer->mp_state = peer_state::replying;
    if (const int error = peer->mp_closing ? ECONNRESET : peer_write(peer)) {
        msg_peer_close(peer);
        errno = error;
        return -1;
    }
    peer_watch(peer);
    return 0;
}

/* Answers a greeting; false when the client is refused or does not take the answer. */
static bool send_hello(msg_peer *peer, int status)
{
    hello_frame hello;
    if (chan_hello(&hello) != 0)
        return false;
    hello.body.he_status = static_cast<uint32_t>(status);
    hello.body.he_version = peer->mp_server->ms_options.mso_version;
    return chan_send_hello(peer->es_fd, hello, MSG_DONTWAIT) == 0 && status == 0;
}

/* A greeting is there. False when the peer is to be ended. */
static bool peer_greeted(msg_peer *peer, const uint8_t *bytes, size_t len)
{
    peer_end_greeting(peer);
    hello_body client = {};
    memcpy(&client, bytes, len < sizeof client ? len : sizeof client);
    if (len != sizeof client || client.he_protocol != chan_protocol)
        return send_hello(peer, EPROTO);
    msg_server *server = peer->mp_server;
    peer->mp_info.mpi_node_id = client.he_node_id;
    if (peer->mp_info.mpi_pid == 0)
        peer->mp_info.mpi_pid = client.he_pid; // the kernel does not know it across process namespaces
    if (const int status = server->ms_ops.connected(server->ms_owner, peer, peer->mp_service))
        return send_hello(peer, status);
    peer->mp_connected = true;
    peer->mp_state = peer_state::reading;
    return !peer->mp_closing && send_hello(peer, 0);
}

/* Hands a whole frame over. False when the peer is to be ended. */
static bool peer_frame(msg_peer *peer, uint8_t *frame, const frame_header &header)
{
    msg_server *server = peer->mp_server;
    uint8_t *own = peer->mp_in;
    peer->mp_in = nullptr;
    peer->mp_got = 0;
    bool goes_on = true;
    if (peer->mp_state == peer_state::greeting) {
        goes_on = peer_greeted(peer, frame + sizeof header, header.fh_len);
    } else {
        peer->mp_state = peer_state::serving;
        peer->mp_number = header.fh_number;
        server->ms_ops.received(server->ms_owner, peer, frame + sizeof header, header.fh_len);
        peer_watch(peer);
    }
    pool_give(&server->ms_pool, own);
    return goes_on;
}

/* Keeps a part of a frame until the rest comes. A header alone needs no buffer, however much it announces. */
static bool peer_keep_part(msg_peer *peer, const uint8_t *frame)
{
    msg_server *server = peer->mp_server;
    if (peer->mp_in)
        return true;
    if (peer->mp_got <= sizeof peer->mp_head) {
        memcpy(peer->mp_head, frame, peer->mp_got);
        return true;
    }
    uint8_t *next = pool_take(&server->ms_pool);
    if (!next)
        return false;
    peer->mp_in = server->ms_in;
    server->ms_in = next;
    return true;
}

/* Takes what has arrived. False when the peer breaks the protocol or there is no memory for it. */
static bool peer_arrived(msg_peer *peer, uint8_t *frame)
{
    frame_header header;
    if (peer->mp_got < sizeof header)
        return peer_keep_part(peer, frame);
    memcpy(&header, frame, sizeof header);
    const bool greeting = peer->mp_state == peer_state::greeting;
    const size_t max = greeting ? hello_body_max : peer->mp_server->ms_options.mso_max_message;
    if (!frame_is(header, greeting ? frame_hello : frame_request, max))
        return false;
    const size_t whole = sizeof header + header.fh_len;
    if (peer->mp_got < whole)
        return peer_keep_part(peer, frame);
    return peer->mp_got == whole && peer_frame(peer, frame, header);
}

/* Reads once, so that no client holds up the others. False when the peer is gone or to be ended. */
static bool peer_read(msg_peer *peer)
{
    msg_server *server = peer->mp_server;
    uint8_t *frame = peer->mp_in ? peer->mp_in : server->ms_in;
    if (!peer->mp_in)
        memcpy(frame, peer->mp_head, peer->mp_got);
    const ssize_t got = recv(peer->es_fd, frame + peer->mp_got, server->ms_pool.size - peer->mp_got, MSG_DONTWAIT);
    if (got < 0)
        return errno == EAGAIN || errno == EINTR;
    peer->mp_got += static_cast<size_t>(got);
    return got != 0 && peer_arrived(peer, frame);
}

void peer_serve(msg_peer *peer, uint32_t events)
{
    bool goes_on = !peer->mp_closing;
    if (goes_on && peer->mp_epoll == EPOLLIN) {
        goes_on = peer_read(peer);
    } else if (goes_on) {
        goes_on = (events & (EPOLLHUP | EPOLLERR)) == 0 && peer_write(peer) == 0;
        peer_watch(peer);
    }
    if (!goes_on)
        peer_delete(peer);
}

int msg_peer_gone(const msg_peer_t *peer)
{
    pollfd end = {.fd = peer->es_fd, .events = POLLRDHUP, .revents = 0};
    return poll(&end, 1, 0) == 1 && (end.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0;
}

void msg_peer_info(const msg_peer_t *peer, msg_peer_info_t *info)
{
    *info = peer->mp_info;
}

size_t msg_peer_groups(const msg_peer_t *peer, gid_t *groups, size_t room)
{
    /* With too little room the kernel tells how much it takes and writes nothing. */
    auto len = static_cast<socklen_t>(room * sizeof *groups);
    const bool told = getsockopt(peer->es_fd, SOL_SOCKET, SO_PEERGROUPS, groups, &len) == 0 || errno == ERANGE;
    return told ? len / sizeof *groups : 0;
}

void msg_peer_set_datum(msg_peer_t *peer, void *datum)
{
    peer->mp_datum = datum;
}

void *msg_peer_datum(const msg_peer_t *peer)
{
    return peer->mp_datum;
}
