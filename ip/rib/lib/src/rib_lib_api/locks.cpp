/*
 * Taking and releasing the locks, and the check of their order.
 */
#include "locks.h"

#include <cerrno>

#include <platform/ptd.h>

#include "../rib_fatal.h"
#include "read_pool.h"

/* Waiting writers go first: a bind must not starve behind other connections' requests. Readers never nest. */
pthread_rwlock_t rib_bind_mutex = PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP;

#ifdef NDEBUG
constexpr bool order_is_checked = false;
#else
constexpr bool order_is_checked = true;
#endif

/* What the thread holds. A reader/writer lock other than the bind mutex is the registry's. */
static thread_local struct {
    bool bind_mutex;
    bool registry;
    bool read_buf;
    const pthread_mutex_t *connection;
    unsigned times; /* that the connection's lock was taken, as it is recursive */
} held;

static bool is_read_buf(const pthread_mutex_t *mutex)
{
    return mutex == &rib_client_read_buf_pool_instance.mutex;
}

static void require_order(const pthread_rwlock_t *lock)
{
    rib_fatal_unless(!held.connection, "!held.connection");
    rib_fatal_unless(!held.registry, "!held.registry");
    rib_fatal_unless(!held.read_buf, "!held.read_buf");
    rib_fatal_unless(lock != &rib_bind_mutex || !held.bind_mutex, "lock != &rib_bind_mutex || !held.bind_mutex");
}

static void require_order(const pthread_mutex_t *mutex)
{
    rib_fatal_unless(!held.registry, "!held.registry");
    rib_fatal_unless(!held.read_buf, "!held.read_buf");
    rib_fatal_unless(!is_read_buf(mutex) || !held.bind_mutex, "!is_read_buf(mutex) || !held.bind_mutex");
    rib_fatal_unless(!held.connection || held.connection == mutex, "!held.connection || held.connection == mutex");
}

static void note_taken(const pthread_rwlock_t *lock)
{
    (lock == &rib_bind_mutex ? held.bind_mutex : held.registry) = true;
}

static void note_taken(const pthread_mutex_t *mutex)
{
    if (is_read_buf(mutex)) {
        held.read_buf = true;
    } else {
        held.connection = mutex;
        held.times++;
    }
}

static void note_released(const pthread_rwlock_t *lock)
{
    (lock == &rib_bind_mutex ? held.bind_mutex : held.registry) = false;
}

static void note_released(const pthread_mutex_t *mutex)
{
    if (is_read_buf(mutex))
        held.read_buf = false;
    else if (held.connection == mutex && --held.times == 0)
        held.connection = nullptr;
}

/* Takes a lock in its order. */
template <class lock_t> static int take(lock_t *lock, int (*function)(lock_t *))
{
    if (order_is_checked)
        require_order(lock);
    const int error = function(lock);
    if (order_is_checked && error == 0)
        note_taken(lock);
    return error;
}

template <class lock_t> static int release(lock_t *lock, int (*function)(lock_t *))
{
    if (order_is_checked)
        note_released(lock);
    return function(lock);
}

int rib_rwlock_rdlock(pthread_rwlock_t *lock)
{
    return take(lock, pthread_rwlock_rdlock);
}

int rib_rwlock_wrlock(pthread_rwlock_t *lock)
{
    return take(lock, pthread_rwlock_wrlock);
}

int rib_rwlock_unlock(pthread_rwlock_t *lock)
{
    return release(lock, pthread_rwlock_unlock);
}

int rib_mutex_lock_as(pthread_mutex_t *mutex, const char *who, unsigned line)
{
    int error = take(mutex, pthread_mutex_trylock);
    if (error == EBUSY) {
        ptd_set_mutex_block(mutex, who, line);
        error = take(mutex, pthread_mutex_lock);
        ptd_unset_mutex_block();
    }
    return error;
}

int rib_mutex_unlock(pthread_mutex_t *mutex)
{
    return release(mutex, pthread_mutex_unlock);
}

int rib_client_mutex_lock_inline(ip_rib_conn_p conn)
{
    if (!conn)
        return EINVAL;
    int error = rib_rwlock_rdlock(&rib_bind_mutex);
    if (error)
        rib_log_lock("rib_client_mutex_lock_inline", "lock bind mutex", error);
    rib_fatal_unless(error == 0, "error == 0");
    const int lock_error = rib_mutex_lock_as(&conn->lock, "rib_client_mutex_lock_inline", __LINE__);
    if (lock_error == 0)
        return 0;
    error = rib_rwlock_unlock(&rib_bind_mutex);
    if (error)
        rib_log_lock("rib_client_mutex_lock_inline", "unlock bind mutex", error);
    rib_fatal_unless(error == 0, "error == 0");
    return lock_error;
}

int rib_client_mutex_unlock_inline(ip_rib_conn_p conn)
{
    if (!conn)
        return EINVAL;
    const int lock_error = rib_mutex_unlock(&conn->lock);
    if (lock_error)
        rib_log_lock("rib_client_mutex_unlock_inline", "unlock", lock_error);
    const int error = rib_rwlock_unlock(&rib_bind_mutex);
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
    return conn ? rib_mutex_unlock(&conn->lock) : EINVAL;
}
