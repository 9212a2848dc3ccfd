/*
 * The sources of an event manager.
 */
#include "event_manager.h"

#include "guard.h"

#include <cstdlib>
#include <sys/epoll.h>

void event_source_add(event_manager *manager, event_source *source)
{
    mutex_guard guard(&event_lock);
    source->es_number = ++manager->em_last_number;
    source->es_users = 1;
    source->es_next = manager->em_sources;
    manager->em_sources = source;
}

void event_source_remove(event_manager *manager, const event_source *source)
{
    event_source **at = &manager->em_sources;
    while (*at != source)
        at = &(*at)->es_next;
    *at = source->es_next;
}

event_source *event_source_acquire(const event_manager *manager, uint64_t number)
{
    mutex_guard guard(&event_lock);
    event_source *source = manager->em_sources;
    while (source && source->es_number != number)
        source = source->es_next;
    if (source)
        source->es_users++;
    return source;
}

void event_source_release(event_source *source)
{
    pthread_mutex_lock(&event_lock);
    const bool last = --source->es_users == 0;
    pthread_mutex_unlock(&event_lock);
    if (last)
        free(source);
}

int event_source_watch(const event_manager *manager, const event_source *source, int fd, uint32_t epoll_events)
{
    epoll_event event = {.events = epoll_events, .data = {.u64 = source->es_number}};
    return epoll_ctl(manager->em_epoll, EPOLL_CTL_ADD, fd, &event) == 0 ? 0 : errno;
}

/* Closing alone would not end it: the set holds on to what other descriptors share. */
void event_source_unwatch(const event_manager *manager, int fd)
{
    epoll_ctl(manager->em_epoll, EPOLL_CTL_DEL, fd, nullptr);
    close(fd);
}
