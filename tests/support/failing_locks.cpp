/*
 * The wrapped lock functions.
 */
#include "tests/support/failing_locks.h"

#include <atomic>
#include <cerrno>
#include <pthread.h>
#include <string_view>

static std::string_view failing;
static unsigned failing_call;
static int failing_error;
static std::atomic<unsigned> calls;

void fail_locks(const char *function, unsigned nth, int error)
{
    failing = function;
    failing_call = nth;
    failing_error = error;
    calls = 0;
}

/* The error of this call, 0 when it does not fail. */
static int failure(std::string_view function, int usual_error)
{
    if (failing != function || (++calls != failing_call && failing_call != 0))
        return 0;
    return failing_error ? failing_error : usual_error;
}
static bool checked(const pthread_mutex_t *lock)
{
    return lock->__data.__kind != PTHREAD_MUTEX_NORMAL;
}

#define WRAPPED(function, parameters)                                                                                            \
    extern "C" int __real_##function parameters;                                                                                 \
    extern "C" __attribute__((visibility("default"))) int __wrap_##function parameters;                                          \
    int __wrap_##function parameters

WRAPPED(pthread_mutex_trylock, (pthread_mutex_t * lock))
{
    const int error = checked(lock) ? failure("trylock", EOWNERDEAD) : 0;
    return error ? error : __real_pthread_mutex_trylock(lock);
}
WRAPPED(pthread_mutex_unlock, (pthread_mutex_t * lock))
{
    const int done = __real_pthread_mutex_unlock(lock), error = checked(lock) ? failure("unlock", EPERM) : 0;
    return error ? error : done;
}
WRAPPED(pthread_rwlock_rdlock, (pthread_rwlock_t * lock))
{
    const int error = failure("rdlock", EDEADLK);
    return error ? error : __real_pthread_rwlock_rdlock(lock);
}
WRAPPED(pthread_rwlock_wrlock, (pthread_rwlock_t * lock))
{
    const int error = failure("wrlock", EDEADLK);
    return error ? error : __real_pthread_rwlock_wrlock(lock);
}
WRAPPED(pthread_mutex_init, (pthread_mutex_t * lock, const pthread_mutexattr_t *attr))
{
    const int error = failure("init", ENOMEM);
    return error ? error : __real_pthread_mutex_init(lock, attr);
}
