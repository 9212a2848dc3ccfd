/*
 * Blocked-thread diagnostics: which mutex each thread of the process waits for right now, and who asked for it.
 */
#ifndef PLATFORM_PTD_H
#define PLATFORM_PTD_H

#include <pthread.h>
#include <stddef.h>

#include <platform/platform.h>

PLATFORM_BEGIN

typedef struct ptd_blocked {
    int pb_thread; /* kernel thread id */
    const pthread_mutex_t *pb_mutex;
    const char *pb_function; /* who waits: a text that lives as long as the process */
    unsigned pb_line;
} ptd_blocked_t;

/** The calling thread is about to wait for a mutex. */
PLATFORM_API void ptd_set_mutex_block(pthread_mutex_t *mutex, const char *function, unsigned line);
/** It waits no more. */
PLATFORM_API void ptd_unset_mutex_block(void);
/** Copies what is known of at most room waiting threads; returns how many wait. Any thread may call; nobody is held up. */
PLATFORM_API size_t ptd_list_blocked(ptd_blocked_t *list, size_t room);

PLATFORM_END

#endif
