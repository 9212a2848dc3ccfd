/*
 * The 512 KiB buffers that updates are received into: two are kept for the life of the process, more are made when they are
 * taken. A buffer is all zero when it is taken.
 */
#pragma once

#include <pthread.h>

#include <ipv6_rib/types.h>

struct rib_client_read_buf_pool {
    pthread_mutex_t mutex; /* error-checking; taken with no other lock held */
    void *slot[2];         /* NULL when taken, or when there was no memory */
    int read_buf_initialized;
};
extern rib_client_read_buf_pool rib_client_read_buf_pool_instance;

/* Lock and unlock the pool: 1; or 0 with RIB_LIB_ERR_READ_BUF in *code, and a message that names who. */
int rib_client_read_buf_lock_with_error(errcode *code, const char *who);
int rib_client_read_buf_unlock_with_error(errcode *code, const char *who);

/* Takes a buffer: *buffer, or NULL with RIB_LIB_ERR_READ_BUF or RIB_LIB_ERR_NO_MEMORY in *code. */
void rib_client_get_read_buf(rib_client_read_buf_pool *pool, errcode *code, void **buffer);
/* Gives a buffer back, of which the first used bytes may have been written. *code is set when a lock fails. */
void rib_client_return_read_buf(rib_client_read_buf_pool *pool, errcode *code, void **buffer, size_t used);
