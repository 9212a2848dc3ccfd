/*
 * The server's buffers.
 */
#include "msg_server_pool.h"

#include <cstring>
#include <sys/mman.h>

constexpr unsigned kept_max = 8;

uint8_t *pool_take(buffer_pool *pool)
{
    if (void *buffer = pool->kept) {
        memcpy(&pool->kept, buffer, sizeof pool->kept);
        pool->count--;
        return static_cast<uint8_t *>(buffer);
    }
    void *fresh = mmap(nullptr, pool->size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return fresh == MAP_FAILED ? nullptr : static_cast<uint8_t *>(fresh);
}

void pool_give(buffer_pool *pool, uint8_t *buffer)
{
    if (!buffer)
        return;
    if (pool->count == kept_max) {
        munmap(buffer, pool->size);
        return;
    }
    memcpy(buffer, &pool->kept, sizeof pool->kept);
    pool->kept = buffer;
    pool->count++;
}

void pool_empty(buffer_pool *pool)
{
    while (pool->count != 0)
        munmap(pool_take(pool), pool->size);
}
