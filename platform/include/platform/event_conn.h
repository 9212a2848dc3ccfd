/*
 * Event connections: a connection that an event manager opens on behalf of its owner, watches, and opens again when it was
 * lost. The owner's functions run in the thread that dispatches the manager, and so do retries. The functions below may be
 * called from any thread.
 */
#ifndef PLATFORM_EVENT_CONN_H
#define PLATFORM_EVENT_CONN_H

#include <stdint.h>

#include <platform/event.h>

PLATFORM_BEGIN

typedef struct event_conn event_conn_t;

#define EVENT_CONN_ESTABLISHED 0x1000u
#define EVENT_CONN_LOST 0x2000u
/* event_conn_open(): the first attempt is made by the next dispatch. No failure. */
#define EVENT_CONN_IN_PROGRESS 0x21200E00u

/* Opens a message channel: its connection id (msg_get_conn_connid()), or -1 to be tried again later. */
typedef int32_t (*event_conn_open_fn)(void *context);
/*
 * Hears of the states that were asked for: established when a channel was opened; lost when its server is gone or it was
 * closed, also when that had happened before it could be watched. At EVENT_CONN_LOST the owner closes the channel.
 */
typedef void (*event_conn_state_fn)(event_conn_t *conn, uint32_t event, void *context);

/** Makes an event connection, *conn NULL on failure. Reserved is ignored. 0, EINVAL (conn, manager or open is NULL), ENOMEM or
 * what timerfd_create() and epoll_ctl() report. */
PLATFORM_API errcode event_conn_create(event_conn_t **conn, event_manager_t *manager, event_conn_open_fn open, void *context,
                                       uint32_t reserved);
/** Sets how long to wait between attempts: first_seconds, then twice as long each time, never more than max_seconds. Waiting
 * begins anew with first_seconds, also a wait that is under way. At first 60 and 1. 0, or EINVAL (conn is NULL, a value is 0). */
PLATFORM_API errcode event_conn_setretry(event_conn_t *conn, uint32_t max_seconds, uint32_t first_seconds);
/** Names the function that hears of states, an or of EVENT_CONN_*; NULL for none. 0, or EINVAL (conn is NULL). */
PLATFORM_API errcode event_conn_notify(event_conn_t *conn, uint32_t events, event_conn_state_fn notify);
/** Begins. EVENT_CONN_IN_PROGRESS; 0 when it was begun before; EINVAL (conn is NULL). */
PLATFORM_API errcode event_conn_open(event_conn_t *conn);
/** Ends and frees; the channel stays open. Also from within the owner's functions. Called from another thread it does not wait
 * for one of them that is running. 0, or EINVAL (conn is NULL). Destroy it before its manager. */
PLATFORM_API errcode event_conn_destroy(event_conn_t *conn);

PLATFORM_END

#endif
