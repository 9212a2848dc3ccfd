/*
 * The batch buffer: a control part, then the message as it is sent. The data area is larger than what one message may
 * carry, so that a route that crosses the limit still finds room for all of its paths.
 *
 * The byte behind the data is zero unless a route or path has been opened there and is not finished yet.
 */
#pragma once

#include "ip/rib/wire/batch_records.h"

struct rib_batch_buffer {
    uint32_t capacity;     /* bytes of the data area */
    uint32_t send_limit;   /* bytes of data that one message carries at most */
    uint32_t data_len;     /* bytes of data */
    uint32_t last_rec_off; /* where the route, table, marker or protocol record started last begins */
    uint8_t *cur_rec;      /* the current route, or the last marker; NULL when none */
    void *reply_buf;       /* reply area of protocol sends */
    rib_batch_header_td inarg;
    uint8_t data[]; /* capacity bytes */
};
static_assert(offsetof(rib_batch_buffer, inarg) == 32 && offsetof(rib_batch_buffer, data) == 80);

constexpr uint32_t RIB_BATCH_SEND_LIMIT = 524240;
constexpr uint32_t RIB_BATCH_SEND_LIMIT_SMALL = 63440;
constexpr uint32_t RIB_BATCH_RESERVE = 910444;
static_assert(RIB_BATCH_SEND_LIMIT + sizeof(rib_batch_header_td) == RIB_MESSAGE_MAX);

rib_batch_buffer *rib_batch_buffer_allocate(int small);
void rib_batch_buffer_free(rib_batch_buffer *buffer);
void rib_batch_buffer_init(rib_batch_buffer *buffer, rib_tableid_td table, rib_protoid_td proto);
void rib_batch_buffer_init2(rib_batch_buffer *buffer);
void rib_batch_buffer_clear(rib_batch_buffer *buffer);
int rib_batch_buffer_is_empty(const rib_batch_buffer *buffer);

rib_batch_buffer_result rib_batch_buffer_complete(rib_batch_buffer *buffer);
rib_batch_buffer_result rib_batch_buffer_converge(rib_batch_buffer *buffer, uint32_t a, uint32_t b);

int rib_batch_buffer_route_fits(const rib_batch_buffer *buffer, uint32_t paths);
int rib_batch_buffer_table_fits(const rib_batch_buffer *buffer, uint16_t paths, uint16_t routes);
int rib_batch_buffer_route_fits2(const rib_batch_buffer *buffer, const rib_batch_sizes *sizes);
int rib_batch_buffer_table_fits2(const rib_batch_buffer *buffer, const rib_batch_sizes *sizes);

inline bool rib_batch_is_multi_table(const rib_batch_buffer *buffer)
{
    return buffer->inarg.bah_argument & RIB_BATCH_MULTI_TABLE;
}
inline bool rib_batch_over_limit(const rib_batch_buffer *buffer)
{
    return buffer->data_len > buffer->send_limit;
}
inline rib_batch_buffer_result rib_batch_fullness(const rib_batch_buffer *buffer)
{
    return rib_batch_over_limit(buffer) ? RIB_BATCH_BUFFER_FULL : RIB_BATCH_BUFFER_OK;
}
/* Whether the current record is a route, open or finished. */
inline bool rib_batch_has_route(const rib_batch_buffer *buffer)
{
    return buffer && buffer->cur_rec && *buffer->cur_rec == RIB_BATCH_REC_ROUTE;
}
/* Where the next record goes. */
inline uint8_t *rib_batch_tail(rib_batch_buffer *buffer)
{
    return buffer->data + buffer->data_len;
}
/* The one check of the data area: are so many bytes left behind the data? */
inline bool rib_batch_has_room(const rib_batch_buffer *buffer, uint64_t bytes)
{
    return buffer->data_len + bytes <= buffer->capacity;
}
/* Ends the data at an offset where nothing is open. */
inline void rib_batch_set_data_len(rib_batch_buffer *buffer, uint32_t data_len)
{
    buffer->data_len = data_len;
    if (data_len < buffer->capacity)
        buffer->data[data_len] = 0;
}
inline rib_batch_buffer_result rib_batch_advance(rib_batch_buffer *buffer, size_t bytes)
{
    rib_batch_set_data_len(buffer, buffer->data_len + static_cast<uint32_t>(bytes));
    return rib_batch_fullness(buffer);
}

/* A path is open behind the data: it is taken off its route. */
void rib_batch_drop_open_path(rib_batch_buffer *buffer);
/* The data were cleared under an open table, and the place where it stood is about to be written. */
void rib_batch_forget_table(rib_batch_buffer *buffer);

/*
 * Begins a route, table, marker or protocol record; NULL when the buffer is over its limit. A path that was opened and
 * never finished is taken off its route.
 */
inline uint8_t *rib_batch_begin_record(rib_batch_buffer *buffer)
{
    if (rib_batch_over_limit(buffer))
        return nullptr;
    uint8_t *const tail = rib_batch_tail(buffer);
    if (*tail != 0)
        rib_batch_drop_open_path(buffer);
    if (buffer->data_len == 0)
        rib_batch_forget_table(buffer);
    buffer->last_rec_off = buffer->data_len;
    return tail;
}
