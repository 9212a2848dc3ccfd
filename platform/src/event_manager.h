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
#include "event_source.h"

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
    event_source em_pulses; // its socket's; first, so that a source is its manager
    event_source *em_sources;
    uint64_t em_last_number; // of a source
    event_manager *em_next;  // in the registry
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
/* Of the source em_pulses: takes in the pulses that wait and runs their handlers. */
int event_run_pulses(event_source *source, uint32_t epoll_events);
