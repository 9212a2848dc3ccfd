/*
 * What an event manager watches. A source is a record with a function that runs when a descriptor of it is ready; it may
 * have several descriptors. The epoll set knows a source by its number, which is never given twice: a source that was
 * removed while a report of it was under way is not found any more, and so is not touched.
 *
 * A source lives until it was removed from its manager and the dispatch that runs it has released it.
 */
#pragma once

#include <platform/event.h>

/* Stands first in the record of its owner, which comes from calloc(). */
struct event_source {
    event_source *es_next; // in the manager
    uint64_t es_number;
    unsigned es_users; // the manager counts as one
    /* Does what is due, without the lock. The number of handlers run. */
    int (*es_ready)(event_source *source, uint32_t epoll_events);
};

/* Puts a source, its function set, into a manager. */
void event_source_add(event_manager *manager, event_source *source);
/* Under event_lock: takes it out. The manager's use of it then waits for event_source_release(). */
void event_source_remove(event_manager *manager, const event_source *source);
/* The source of a number, to be released after use; NULL when it was removed. */
event_source *event_source_acquire(const event_manager *manager, uint64_t number);
/* The last release frees the record. */
void event_source_release(event_source *source);

/* Watches a descriptor for a source of the manager. 0 or an errno value. */
int event_source_watch(const event_manager *manager, const event_source *source, int fd, uint32_t epoll_events);
/* Ends that and closes the descriptor. */
void event_source_unwatch(const event_manager *manager, int fd);
