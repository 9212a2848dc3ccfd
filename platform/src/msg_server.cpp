/*
 * The server itself: options, the epoll set, and the dispatch of what happened.
 */
#include "msg_server_inside.h"

#include "clock.h"
#include "guard.h"

#include <algorithm>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>

constexpr size_t message_default = size_t{1} << 20;
constexpr size_t clients_default = 4096;
constexpr unsigned socket_mode_default = 0660;
/* Longer than any client waits for the answer to its greeting. */
constexpr unsigned greeting_ms_default = 3000;
constexpr int events_at_once = 64;
/* Pulses that wait for slow event managers are tried at intervals that grow from the first to the last of these. */
constexpr unsigned retry_first_ms = 5;
constexpr unsigned retry_last_ms = 40;

static void fill_options(msg_server *server, const msg_server_options_t *options)
{
    msg_server_options_t &filled = server->ms_options;
    if (options)
        filled = *options;
    if (filled.mso_max_message == 0)
        filled.mso_max_message = message_default;
    if (filled.mso_max_reply == 0)
        filled.mso_max_reply = message_default;
    if (filled.mso_max_clients == 0)
        filled.mso_max_clients = clients_default;
    if (filled.mso_version == 0)
        filled.mso_version = 1;
    if (filled.mso_socket_mode == 0)
        filled.mso_socket_mode = socket_mode_default;
    if (filled.mso_greeting_ms == 0)
        filled.mso_greeting_ms = greeting_ms_default;
}

int server_watch(msg_server *server, event_source *source, uint32_t events)
{
    epoll_event event = {.events = events, .data = {.ptr = source}};
    return epoll_ctl(server->ms_epoll, EPOLL_CTL_ADD, source->es_fd, &event) == 0 ? 0 : errno;
}

static void set_timer(int fd, int64_t ms)
{
    const itimerspec once = {.it_value = {.tv_sec = ms / 1000, .tv_nsec = ms % 1000 * 1'000'000}};
    timerfd_settime(fd, 0, &once, nullptr);
}

void server_start_timer(msg_server *server, unsigned ms)
{
    if (server->ms_timer_ms != 0)
        return;
    set_timer(server->ms_timer.es_fd, ms);
    server->ms_timer_ms = ms;
}

/* Everything that a server needs from the system. 0 or an errno value. */
static int server_open(msg_server *server)
{
    const msg_server_options_t &options = server->ms_options;
    if (options.mso_max_message > chan_message_max || options.mso_max_reply > chan_message_max)
        return EINVAL;
    if (const int error = chan_run_dir(options.mso_dir, server->ms_dir, sizeof server->ms_dir))
        return error;
    server->ms_options.mso_dir = server->ms_dir;
    server->ms_pool.size = sizeof(frame_header) + std::max({options.mso_max_message, options.mso_max_reply, hello_body_max});
    server->ms_in = pool_take(&server->ms_pool);
    if (!server->ms_in)
        return ENOMEM;
    server->ms_epoll = epoll_create1(EPOLL_CLOEXEC);
    server->ms_wake = {source_kind::wake, eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    server->ms_timer = {source_kind::timer, timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)};
    server->ms_greeting_timer = {source_kind::greeting_timer, timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)};
    server_open_spare(server);
    for (const int fd : {server->ms_epoll, server->ms_spare})
        if (fd < 0)
            return errno;
    for (event_source *source : {&server->ms_wake, &server->ms_timer, &server->ms_greeting_timer})
        if (source->es_fd < 0 || server_watch(server, source, EPOLLIN) != 0)
            return errno;
    return 0;
}

msg_server_t *msg_server_create(const msg_server_options_t *options, const msg_server_ops_t *ops, void *owner)
{
    if (!ops || !ops->connected || !ops->received || !ops->disconnected) {
        errno = EINVAL;
        return nullptr;
    }
    auto *server = server_new<msg_server>();
    if (!server)
        return nullptr;
    server->ms_epoll = server->ms_spare = -1;
    server->ms_wake.es_fd = server->ms_timer.es_fd = server->ms_greeting_timer.es_fd = -1;
    server->ms_ops = *ops;
    server->ms_owner = owner;
    fill_options(server, options);
    if (const int error = server_open(server)) {
        msg_server_destroy(server);
        errno = error;
        return nullptr;
    }
    return server;
}

void msg_server_destroy(msg_server_t *server)
{
    if (!server)
        return;
    while (!server->ms_peers.empty())
        peer_delete(&server->ms_peers.front());
    while (!server->ms_listeners.empty())
        listener_delete(server, &server->ms_listeners.front());
    for (const int fd :
         {server->ms_epoll, server->ms_spare, server->ms_wake.es_fd, server->ms_timer.es_fd, server->ms_greeting_timer.es_fd})
        if (fd >= 0)
            close(fd);
    pool_give(&server->ms_pool, server->ms_in);
    pool_empty(&server->ms_pool);
    server_delete(server);
}

int msg_server_fd(const msg_server_t *server)
{
    return server->ms_epoll;
}

void msg_server_wake(msg_server_t *server)
{
    const int kept = errno;
    eventfd_write(server->ms_wake.es_fd, 1);
    errno = kept;
}

static void timer_fired(msg_server *server)
{
    uint64_t times;
    if (read(server->ms_timer.es_fd, &times, sizeof times) != sizeof times)
        return;
    const unsigned last = server->ms_timer_ms;
    server->ms_timer_ms = 0;
    if (server->ms_paused)
        listeners_pause(server, false);
    const bool progress = pulses_retry(server);
    if (!server->ms_pulses.empty())
        server_start_timer(server, progress ? retry_first_ms : std::min(last * 2, retry_last_ms));
}

void server_await_greetings(msg_server *server)
{
    if (!server->ms_greeting.empty())
        set_timer(server->ms_greeting_timer.es_fd, std::max<int64_t>(server->ms_greeting.front().mp_deadline - now_ms(), 1));
}

/* Clients greet in a fixed time, so they stand in the order of their deadlines. */
static void greetings_due(msg_server *server)
{
    uint64_t times;
    if (read(server->ms_greeting_timer.es_fd, &times, sizeof times) != sizeof times)
        return;
    for (msg_peer &peer : server->ms_greeting) {
        if (peer.mp_deadline > now_ms())
            break;
        msg_peer_close(&peer);
    }
    server_await_greetings(server);
}

static void serve_event(msg_server *server, const epoll_event &event)
{
    auto *source = static_cast<event_source *>(event.data.ptr);
    eventfd_t wakes;
    switch (source->es_kind) {
    case source_kind::peer:
        return peer_serve(static_cast<msg_peer *>(source), event.events);
    case source_kind::listener:
        return listener_serve(server, static_cast<msg_listener *>(source));
    case source_kind::wake:
        return static_cast<void>(eventfd_read(source->es_fd, &wakes));
    case source_kind::timer:
        return timer_fired(server);
    case source_kind::greeting_timer:
        return greetings_due(server);
    }
}

int msg_server_dispatch(msg_server_t *server, int timeout_ms)
{
    epoll_event events[events_at_once];
    const int count = epoll_wait(server->ms_epoll, events, events_at_once, timeout_ms);
    if (count < 0)
        return errno == EINTR ? 0 : -1;
    for (int i = 0; i != count; i++)
        serve_event(server, events[i]);
    return 0;
}
