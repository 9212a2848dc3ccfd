/*
 * Buffers of one size, each large enough for any message or reply of a server. They come straight from the kernel, so one
 * that holds little costs little; a few are kept for the next user, so that a busy client does not fault its pages in anew.
 */
#pragma once

#include <cstddef>
#include <cstdint>

struct buffer_pool {
    size_t size;    // of every buffer
    void *kept;     // the kept buffers, linked through their first word
    unsigned count; // how many they are
};

/* NULL when there is no memory. */
uint8_t *pool_take(buffer_pool *pool);
void pool_give(buffer_pool *pool, uint8_t *buffer);
/* Frees what is kept. */
void pool_empty(buffer_pool *pool);
