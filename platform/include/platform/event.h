/*
 * Events: an event manager is an epoll set with a pollable descriptor, so that any event loop can host it. A handler is
 * attached to a manager and described by a struct sigevent, which may be copied and sent to a server; the server's pulse
 * then reaches exactly this manager and handler, with the pulse value that the event carries.
 *
 * One thread dispatches a manager; everything else may be called from any thread.
 */
#ifndef PLATFORM_EVENT_H
#define PLATFORM_EVENT_H

#include <stdint.h>

#include <platform/platform.h>

PLATFORM_BEGIN

struct sigevent; /* <signal.h> */
typedef struct event_manager event_manager_t;

/* Runs in the dispatching thread: the event's pulse value, the code it was attached with, the handler's own context. */
typedef void (*event_handler_t)(void *pulse_value, uint32_t code, void *context);

/** Creates a manager; NULL with errno on failure. */
PLATFORM_API event_manager_t *event_manager_create(void);
/** Frees a manager; no thread may be dispatching it. Events that describe its handlers go nowhere. NULL is allowed. */
PLATFORM_API void event_manager_destroy(event_manager_t *manager);
/** A descriptor that polls readable when event_manager_dispatch() has work. */
PLATFORM_API int event_manager_fd(const event_manager_t *manager);
/** Waits for at most timeout_ms (-1: without end), runs the handlers of what arrived. Number of handlers run, or -1 with errno.
 */
PLATFORM_API int event_manager_dispatch(event_manager_t *manager, int timeout_ms);

/** Attaches a handler. An id from 0 on, or -1 (manager or handler is NULL, or no memory). */
PLATFORM_API int event_async_attach(event_manager_t *manager, uint32_t code, event_handler_t handler, void *context);
/**
 * Describes an attached handler. Whatever the two reserved arguments are, they are ignored.
 * @return 0, or EINVAL (unknown manager or id, NULL event)
 */
PLATFORM_API errcode event_init_sigevent(event_manager_t *manager, int attach_id, uint32_t reserved_1, uint32_t reserved_2,
                                         struct sigevent *event);
/** The pulse value of an event. */
PLATFORM_API void *event_pulse_ptr(const struct sigevent *event);
/**
 * Sets the pulse value. A value set is armed: only armed values reach the handler. Setting NULL disarms the value that
 * the event held, so that a pulse still under way is dropped. Reserved is ignored.
 */
PLATFORM_API void event_pulse_ptr_set(struct sigevent *event, void *value, uint32_t reserved);

PLATFORM_END

#endif
