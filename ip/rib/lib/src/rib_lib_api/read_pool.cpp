/*
 * Taking read buffers and giving them back.
 */
#include "read_pool.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#include <ipv6_rib/errors.h>

#include "ip/rib/wire/update.h"
#include "locks.h"

rib_client_read_buf_pool rib_client_read_buf_pool_instance = {PTHREAD_ERRORCHECK_MUTEX_INITIALIZER_NP, {}, 0};

static int tell(int error, errcode *code, const char *who, const char *operation)
{
    if (error == 0)
        return 1;
    rib_log_lock(who, operation, error);
    *code = RIB_LIB_ERR_READ_BUF;
    return 0;
}

int rib_client_read_buf_lock_with_error(errcode *code, const char *who)
{
    pthread_mutex_t *mutex = &rib_client_read_buf_pool_instance.mutex;
    return tell(rib_mutex_lock_as(mutex, "rib_client_read_buf_lock_with_error", __LINE__), code, who, "buf lock");
}

int rib_client_read_buf_unlock_with_error(errcode *code, const char *who)
{
    return tell(rib_mutex_unlock(&rib_client_read_buf_pool_instance.mutex), code, who, "buf unlock");
}

static void *new_buffer()
{
    return std::calloc(1, rib_fetch_reply_td::room);
}

/* Fills the slots once; false without memory. */
static bool fill(rib_client_read_buf_pool *pool)
{
    if (pool->read_buf_initialized)
        return true;
    pool->read_buf_initialized = 1;
    for (void *&slot : pool->slot)
        if (!(slot = new_buffer()))
            return false;
    return true;
}

static void *take(rib_client_read_buf_pool *pool)
{
    for (void *&slot : pool->slot)
        if (slot)
            return std::exchange(slot, nullptr);
    return new_buffer();
}

static void put(rib_client_read_buf_pool *pool, void *buffer)
{
    for (void *&slot : pool->slot)
        if (!slot) {
            slot = buffer;
            return;
        }
    std::free(buffer);
}

void rib_client_get_read_buf(rib_client_read_buf_pool *pool, errcode *code, void **buffer)
{
    *buffer = nullptr;
    if (!rib_client_read_buf_lock_with_error(code, "rib_client_get_read_buf"))
        return;
    void *taken = fill(pool) ? take(pool) : nullptr;
    if (!taken)
        *code = RIB_LIB_ERR_NO_MEMORY;
    if (!rib_client_read_buf_unlock_with_error(code, "rib_client_get_read_buf")) {
        std::free(taken); // with the lock in an unknown state the pool is left alone
        return;
    }
    *buffer = taken;
}

void rib_client_return_read_buf(rib_client_read_buf_pool *pool, errcode *code, void **buffer, size_t used)
{
    std::memset(*buffer, 0, used);
    if (rib_client_read_buf_lock_with_error(code, "rib_client_return_read_buf")) {
        put(pool, *buffer);
        rib_client_read_buf_unlock_with_error(code, "rib_client_return_read_buf");
    } else {
        std::free(*buffer);
    }
    *buffer = nullptr;
}
