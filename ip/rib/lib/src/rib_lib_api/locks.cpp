/*
 * Taking and releasing the bind mutex and the connections' locks.
 */
#include "locks.h"

#include <cerrno>

#include <platform/ptd.h>

#include "../rib_fatal.h"

/* Waiting writers go first: a bind must not starve behind other connections' requests. Readers never nest. */
pthread_rwlock_t rib_bind_mutex = PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP;

int rib_mutex_lock_as(pthread_mutex_t *mutex, const char *who, unsigned line)
{
    int error = pthread_mutex_trylock(mutex);
    if (error == EBUSY) {
        ptd_set_mutex_block(mutex, who, line);
        error = pthread_mutex_lock(mutex);
        ptd_unset_mutex_block();
    }
    return error;
}

int rib_client_mutex_lock_inline(ip_rib_conn_p conn)
{
    if (!conn)
        return EINVAL;
    int error = pthread_rwlock_rdlock(&rib_bind_mutex);
    if (error)
        rib_log_lock("rib_client_mutex_lock_inline", "lock bind mutex", error);
    rib_fatal_unless(error == 0, "error == 0");
    const int lock_error = rib_mutex_lock_as(&conn->lock, "rib_client_mutex_lock_inline", __LINE__);
    if (lock_error == 0)
        return 0;
    error = pthread_rwlock_unlock(&rib_bind_mutex);
    if (error)
        rib_log_lock("rib_client_mutex_lock_inline", "unlock bind mutex", error);
    rib_fatal_unless(error == 0, "error == 0");
    return lock_error;
}

int rib_client_mutex_unlock_inline(ip_rib_conn_p conn)
{
    if (!conn)
        return EINVAL;
    const int lock_error = pthread_mutex_unlock(&conn->lock);
    if (lock_error)
        rib_log_lock("rib_client_mutex_unlock_inline", "unlock", lock_error);
    const int error = pthread_rwlock_unlock(&rib_bind_mutex);
    if (error)
        rib_log_lock("rib_client_mutex_unlock_inline", "unlock bind mutex", error);
    rib_fatal_unless(error == 0, "error == 0");
    return lock_error;
}

int rib_client_mutex_lock(ip_rib_conn_p conn)
{
    if (!conn)
        return EINVAL;
    const int error = rib_client_mutex_lock_inline(conn);
    if (error)
        rib_log_lock("rib_client_mutex_lock", "lock", error);
    return error;
}

int rib_client_mutex_only_lock_inline(ip_rib_conn_p conn)
{
    return conn ? rib_mutex_lock_as(&conn->lock, "rib_client_mutex_only_lock_inline", __LINE__) : EINVAL;
}

int rib_client_mutex_only_unlock(ip_rib_conn_p conn)
{
    return conn ? pthread_mutex_unlock(&conn->lock) : EINVAL;
}
