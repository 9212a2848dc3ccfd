/*
 * Event connections. A timer asks for the next attempt; while a connection stands, its end is watched through a duplicate of
 * the channel's socket. A duplicate, because it still reports the end when the channel is closed by somebody else, and
 * because no other socket can take its number meanwhile. Nothing is read from it: that is for the threads that send.
 */
#include "event_manager.h"

#include "guard.h"
#include "msg_chan_table.h"

#include <platform/event_conn.h>

#include <algorithm>
#include <cstdlib>
#include <sys/epoll.h>
#include <sys/timerfd.h>

constexpr uint32_t default_max_seconds = 60;
constexpr uint32_t default_first_seconds = 1;

struct event_conn {
    event_source ec_source; // first, so that a source is its connection
    event_manager *ec_manager;
    event_conn_open_fn ec_open;
    void *ec_context;
    int ec_timer;
    /* Under event_lock from here on. */
    int ec_watched; // -1 when no connection stands
    event_conn_state_fn ec_notify;
    uint32_t ec_events; // that notify hears of
    uint32_t ec_max_seconds;
    uint32_t ec_first_seconds;
    uint32_t ec_next_seconds; // the next wait
    bool ec_begun;
    bool ec_waiting; // between two attempts
    bool ec_ended;
};

static void set_timer(const event_conn *conn, timespec delay)
{
    const itimerspec timer = {.it_value = delay};
    timerfd_settime(conn->ec_timer, 0, &timer, nullptr);
}

/* Under the lock. */
static void wait_to_retry(event_conn *conn)
{
    conn->ec_waiting = true;
    set_timer(conn, {.tv_sec = conn->ec_next_seconds});
    conn->ec_next_seconds = static_cast<uint32_t>(std::min<uint64_t>(uint64_t{conn->ec_next_seconds} * 2, conn->ec_max_seconds));
}

/* Under the lock. */
static void reset_wait(event_conn *conn)
{
    conn->ec_next_seconds = std::min(conn->ec_first_seconds, conn->ec_max_seconds);
}

/* Under the lock. */
static void stop_watching(event_conn *conn)
{
    event_source_unwatch(conn->ec_manager, conn->ec_watched);
    conn->ec_watched = -1;
}

static void tell(event_conn *conn, uint32_t event)
{
    event_conn_state_fn notify = nullptr;
    {
        mutex_guard guard(&event_lock);
        if (!conn->ec_ended && (conn->ec_events & event) != 0)
            notify = conn->ec_notify;
    }
    if (notify)
        notify(conn, event, conn->ec_context);
}

/* False when the channel is gone, or cannot be watched, or nobody wants it any more. */
static bool watch(event_conn *conn, int32_t connid)
{
    fd_guard fd(channel_dup(connid));
    mutex_guard guard(&event_lock);
    if (fd.get() < 0 || conn->ec_ended || event_source_watch(conn->ec_manager, &conn->ec_source, fd.get(), EPOLLRDHUP) != 0)
        return false;
    conn->ec_watched = fd.take();
    return true;
}

/* The owner closes the channel before the next attempt opens another. */
static void lose(event_conn *conn)
{
    tell(conn, EVENT_CONN_LOST);
    mutex_guard guard(&event_lock);
    if (conn->ec_ended)
        return;
    reset_wait(conn);
    wait_to_retry(conn);
}

static void retry_later(event_conn *conn)
{
    mutex_guard guard(&event_lock);
    if (!conn->ec_ended)
        wait_to_retry(conn);
}

/* Takes the timer's expiry; false when there is none, as the timer was set anew meanwhile. */
static bool attempt_is_due(event_conn *conn)
{
    uint64_t expiries;
    mutex_guard guard(&event_lock);
    if (conn->ec_ended || read(conn->ec_timer, &expiries, sizeof expiries) != sizeof expiries)
        return false;
    conn->ec_waiting = false;
    return true;
}

static int attempt(event_conn *conn)
{
    if (!attempt_is_due(conn))
        return 0;
    const int32_t connid = conn->ec_open(conn->ec_context);
    if (connid < 0) {
        retry_later(conn);
        return 1;
    }
    const bool watched = watch(conn, connid);
    tell(conn, EVENT_CONN_ESTABLISHED);
    if (!watched)
        lose(conn);
    return 1;
}

static int hear_end(event_conn *conn)
{
    {
        mutex_guard guard(&event_lock);
        if (conn->ec_ended || conn->ec_watched < 0)
            return 0;
        stop_watching(conn);
    }
    lose(conn);
    return 1;
}

/* Only the timer is watched for input. */
static int conn_ready(event_source *source, uint32_t epoll_events)
{
    auto *conn = reinterpret_cast<event_conn *>(source);
    return (epoll_events & EPOLLIN) != 0 ? attempt(conn) : hear_end(conn);
}

errcode event_conn_create(event_conn_t **conn, event_manager_t *manager, event_conn_open_fn open, void *context, uint32_t)
{
    if (!conn)
        return EINVAL;
    *conn = nullptr;
    if (!manager || !open)
        return EINVAL;
    fd_guard timer(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
    if (timer.get() < 0)
        return static_cast<errcode>(errno);
    auto *made = static_cast<event_conn *>(calloc_named(1, sizeof(event_conn), "event connection"));
    if (!made)
        return ENOMEM;
    made->ec_source.es_ready = conn_ready;
    made->ec_manager = manager;
    made->ec_open = open;
    made->ec_context = context;
    made->ec_timer = timer.take();
    made->ec_watched = -1;
    event_conn_setretry(made, default_max_seconds, default_first_seconds);
    event_source_add(manager, &made->ec_source);
    const int error = event_source_watch(manager, &made->ec_source, made->ec_timer, EPOLLIN);
    if (error == 0)
        *conn = made;
    else
        event_conn_destroy(made);
    return static_cast<errcode>(error);
}

errcode event_conn_setretry(event_conn_t *conn, uint32_t max_seconds, uint32_t first_seconds)
{
    if (!conn || max_seconds == 0 || first_seconds == 0)
        return EINVAL;
    mutex_guard guard(&event_lock);
    conn->ec_max_seconds = max_seconds;
    conn->ec_first_seconds = first_seconds;
    reset_wait(conn);
    if (conn->ec_waiting)
        wait_to_retry(conn);
    return 0;
}

errcode event_conn_notify(event_conn_t *conn, uint32_t events, event_conn_state_fn notify)
{
    if (!conn)
        return EINVAL;
    mutex_guard guard(&event_lock);
    conn->ec_events = events;
    conn->ec_notify = notify;
    return 0;
}

errcode event_conn_open(event_conn_t *conn)
{
    if (!conn)
        return EINVAL;
    mutex_guard guard(&event_lock);
    if (conn->ec_begun)
        return 0;
    conn->ec_begun = true;
    set_timer(conn, {.tv_nsec = 1});
    return EVENT_CONN_IN_PROGRESS;
}

errcode event_conn_destroy(event_conn_t *conn)
{
    if (!conn)
        return EINVAL;
    {
        mutex_guard guard(&event_lock);
        conn->ec_ended = true;
        event_source_remove(conn->ec_manager, &conn->ec_source);
        if (conn->ec_watched >= 0)
            stop_watching(conn);
        event_source_unwatch(conn->ec_manager, conn->ec_timer);
    }
    event_source_release(&conn->ec_source);
    return 0;
}
