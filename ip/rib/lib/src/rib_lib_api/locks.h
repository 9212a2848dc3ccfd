/*
 * The bind mutex and the connections' locks, and how every lock of the library is taken. The order is told in
 * docs/locking.md; without NDEBUG, taking one against it is fatal.
 *
 * A thread that has to wait for a connection's lock tells the blocked-thread diagnostics under the name of its function,
 * only while it really waits.
 */
#pragma once

#include <pthread.h>

#include "connection.h"
#include "messages.h"

/* Read-locked by every operation on a connection, write-locked by bind, rebind and unbind. */
extern pthread_rwlock_t rib_bind_mutex;

/* Takes the bind mutex for reading and the connection's lock. 0, EINVAL (no connection), or the lock's error with nothing held.
 */
int rib_client_mutex_lock_inline(ip_rib_conn_p conn);
/* Releases both. The lock's error is logged and returned; an error of the bind mutex is fatal. */
int rib_client_mutex_unlock_inline(ip_rib_conn_p conn);
/* As rib_client_mutex_lock_inline(), and logs an error. */
int rib_client_mutex_lock(ip_rib_conn_p conn);
/* The connection's lock alone, for a thread that holds the bind mutex. 0, EINVAL (no connection), or the lock's error. */
int rib_client_mutex_only_lock_inline(ip_rib_conn_p conn);
int rib_client_mutex_only_unlock(ip_rib_conn_p conn);

/* The pthread functions, for the bind mutex and the registry lock. */
int rib_rwlock_rdlock(pthread_rwlock_t *lock);
int rib_rwlock_wrlock(pthread_rwlock_t *lock);
int rib_rwlock_unlock(pthread_rwlock_t *lock);

/* Takes a mutex in the name of a function, which is told while it waits. 0, or the mutex's error. */
int rib_mutex_lock_as(pthread_mutex_t *mutex, const char *who, unsigned line);
int rib_mutex_unlock(pthread_mutex_t *mutex);

/* Runs work under the connection locks. Its result stands even when the unlock fails, which is only logged. */
template <class result, class work_t>
result rib_client_locked(ip_rib_conn_p conn, const char *who, result lock_failed, work_t work)
{
    if (const int error = rib_client_mutex_lock_inline(conn)) {
        rib_log_lock(who, "lock", error);
        return lock_failed;
    }
    const result done = work();
    if (const int error = rib_client_mutex_unlock_inline(conn))
        rib_log_lock(who, "unlock", error);
    return done;
}
