/*
 * An event manager from inside, and the registry of those that exist.
 *
 * One lock guards the registry and the contents of all managers. It is held for a few instructions at a time, never while a
 * handler runs.
 */
#pragma once

#include <platform/avl.h>
#include <platform/event.h>

#include <pthread.h>

#include "event_pulse.h"

struct event_attachment {
    event_handler_t ea_handler;
    uint32_t ea_code;
    void *ea_context;
};

/* A value that may reach a handler. */
struct event_armed {
    avl_node_t ar_node; // first, so that a node is its record
    uint32_t ar_attach;
    uint64_t ar_value;
};

struct event_manager {
    event_manager *em_next; // in the registry
    int em_epoll;
    int em_socket;
    event_target em_target; // token and name; each event adds its attach id
    event_attachment *em_attached;
    uint32_t em_attached_count;
    avl_node_t *em_armed;
};

extern pthread_mutex_t event_lock;

/* Under the lock: the armed record of a handler and value, or NULL. */
event_armed *event_find_armed(const event_manager *manager, uint32_t attach, uint64_t value);
