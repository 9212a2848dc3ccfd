/*
 * Letting clients in.
 */
#include "msg_server_inside.h"

#include "clock.h"
#include "guard.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/socket.h>

/* Few, so that a crowd at the door does not keep those waiting who are in. */
constexpr int accepted_at_once = 2;
constexpr unsigned pause_ms = 100;

void server_open_spare(msg_server *server)
{
    server->ms_spare = open("/dev/null", O_RDONLY | O_CLOEXEC);
}

void listeners_pause(msg_server *server, bool pause)
{
    server->ms_paused = pause;
    for (msg_listener &listener : server->ms_listeners) {
        epoll_event event = {.events = pause ? 0u : EPOLLIN, .data = {.ptr = static_cast<event_source *>(&listener)}};
        epoll_ctl(server->ms_epoll, EPOLL_CTL_MOD, listener.es_fd, &event);
    }
}

/*
 * The process is out of descriptors. A client left in the backlog would wait and keep the listener readable, so it is let in
 * on the spare one and closed. Where even that fails, accepting rests for a while instead of turning in circles.
 */
static bool turn_one_away(msg_server *server, const msg_listener *listener)
{
    if (server->ms_spare >= 0)
        close(server->ms_spare);
    const int fd = accept4(listener->es_fd, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd >= 0)
        close(fd);
    server_open_spare(server);
    if (fd >= 0 && server->ms_spare >= 0)
        return true;
    listeners_pause(server, true);
    server_start_timer(server, pause_ms);
    return false;
}

static int peer_open(msg_server *server, msg_peer *peer, int fd, unsigned service)
{
    ucred client;
    socklen_t len = sizeof client;
    if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &client, &len) != 0)
        return errno;
    if (const int error = chan_socket_options(fd))
        return error;
    peer->es_kind = source_kind::peer;
    peer->es_fd = fd;
    peer->mp_server = server;
    peer->mp_service = service;
    peer->mp_info = {.mpi_uid = client.uid, .mpi_gid = client.gid, .mpi_pid = client.pid};
    peer->mp_epoll = EPOLLIN;
    return server_watch(server, peer, peer->mp_epoll);
}

/* A client that cannot be had sees its connection closed before any greeting. */
static void let_in(msg_server *server, const msg_listener *listener, int accepted)
{
    fd_guard fd(accepted);
    if (server->ms_peers.size() >= server->ms_options.mso_max_clients)
        return;
    auto *peer = server_new<msg_peer>();
    if (!peer)
        return;
    if (peer_open(server, peer, fd.get(), listener->ml_service) != 0)
        return server_delete(peer);
    fd.take();
    server->ms_peers.push_back(*peer);
    peer->mp_deadline = now_ms() + server->ms_options.mso_greeting_ms;
    peer->mp_awaited = true;
    server->ms_greeting.push_back(*peer);
    if (server->ms_greeting.size() == 1)
        server_await_greetings(server);
}

void listener_serve(msg_server *server, msg_listener *listener)
{
    for (int i = 0; i != accepted_at_once; i++) {
        const int fd = accept4(listener->es_fd, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (fd >= 0) {
            let_in(server, listener, fd);
            continue;
        }
        if (errno == EINTR || errno == ECONNABORTED)
            continue;
        const bool no_room = errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS;
        if (!no_room || !turn_one_away(server, listener))
            return;
    }
}
