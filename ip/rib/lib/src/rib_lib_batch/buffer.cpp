/*
 * Life of a batch buffer, its markers and its space checks.
 */
#include "buffer.h"

#include <cstdlib>

#include "images.h"
#include "table.h"

rib_batch_buffer *rib_batch_buffer_allocate(int small)
{
    const uint32_t send_limit = small ? RIB_BATCH_SEND_LIMIT_SMALL : RIB_BATCH_SEND_LIMIT;
    const uint32_t capacity = send_limit + RIB_BATCH_RESERVE;
    auto *buffer = static_cast<rib_batch_buffer *>(std::calloc(1, sizeof(rib_batch_buffer) + capacity));
    if (buffer) {
        rib_batch_prepare_images();
        buffer->capacity = capacity;
        buffer->send_limit = send_limit;
    }
    return buffer;
}

void rib_batch_buffer_free(rib_batch_buffer *buffer)
{
    std::free(buffer);
}

void rib_batch_buffer_clear(rib_batch_buffer *buffer)
{
    if (!buffer)
        return;
    buffer->last_rec_off = 0;
    buffer->cur_rec = nullptr;
    rib_batch_set_data_len(buffer, 0);
}

void rib_batch_buffer_init(rib_batch_buffer *buffer, rib_tableid_td table, rib_protoid_td proto)
{
    if (!buffer)
        return;
    std::memset(&buffer->inarg.bai_opinfo, 0, sizeof buffer->inarg.bai_opinfo);
    buffer->inarg.bai_opinfo.single.bst_table = rib_swap(table);
    buffer->inarg.bai_opinfo.single.bst_protoid = rib_swap(proto);
    buffer->inarg.bah_argument = RIB_BATCH_SINGLE_TABLE;
}

void rib_batch_buffer_init2(rib_batch_buffer *buffer)
{
    if (!buffer)
        return;
    rib_batch_buffer_clear(buffer);
    std::memset(&buffer->inarg.bai_opinfo, 0, sizeof buffer->inarg.bai_opinfo);
    buffer->inarg.bah_argument = RIB_BATCH_MULTI_TABLE;
}

int rib_batch_buffer_is_empty(const rib_batch_buffer *buffer)
{
    return !buffer || buffer->data_len == 0;
}

void rib_batch_drop_open_path(rib_batch_buffer *buffer)
{
    uint8_t *const tail = rib_batch_tail(buffer);
    if (buffer->data_len == buffer->capacity || *tail == 0)
        return;
    if (buffer->cur_rec && buffer->cur_rec != tail) {
        auto *route = reinterpret_cast<bori_fixed *>(buffer->cur_rec);
        route->borfi_path_count = rib_swap(static_cast<uint16_t>(rib_swap(uint16_t{route->borfi_path_count}) - 1));
    }
    *tail = 0;
}

void rib_batch_forget_table(rib_batch_buffer *buffer)
{
    if (rib_batch_is_multi_table(buffer))
        rib_batch_last_table_done(buffer);
}

/* A marker is a record of its own, so behind it a cut leaves nothing over unless it crossed the limit itself. */
static rib_batch_buffer_result finish_marker(rib_batch_buffer *buffer, uint8_t *marker, size_t bytes)
{
    buffer->cur_rec = marker;
    const rib_batch_buffer_result result = rib_batch_advance(buffer, bytes);
    if (result == RIB_BATCH_BUFFER_OK)
        buffer->last_rec_off = buffer->data_len;
    return result;
}

rib_batch_buffer_result rib_batch_buffer_complete(rib_batch_buffer *buffer)
{
    uint8_t *const tail = buffer ? rib_batch_begin_record(buffer) : nullptr;
    if (!tail)
        return RIB_BATCH_BUFFER_ERROR;
    *reinterpret_cast<rib_batch_complete_rec_td *>(tail) = {.bcm_type = RIB_BATCH_REC_COMPLETE};
    return finish_marker(buffer, tail, sizeof(rib_batch_complete_rec_td));
}

rib_batch_buffer_result rib_batch_buffer_converge(rib_batch_buffer *buffer, uint32_t a, uint32_t b)
{
    uint8_t *const tail = buffer ? rib_batch_begin_record(buffer) : nullptr;
    if (!tail)
        return RIB_BATCH_BUFFER_ERROR;
    auto *marker = reinterpret_cast<rib_batch_converge_rec_td *>(tail);
    *marker = {.bcv_type = RIB_BATCH_REC_CONVERGE, .bcv_a = a, .bcv_b = b};
    rib_to_net(marker);
    return finish_marker(buffer, tail, sizeof *marker);
}

/* In 64 bits: a count that would wrap does not fit. */
static int fits(const rib_batch_buffer *buffer, uint64_t needed)
{
    return buffer->data_len + needed <= buffer->send_limit;
}

int rib_batch_buffer_route_fits(const rib_batch_buffer *buffer, uint32_t paths)
{
    return buffer && fits(buffer, 280 * uint64_t{paths} + 340);
}

int rib_batch_buffer_table_fits(const rib_batch_buffer *buffer, uint16_t paths, uint16_t routes)
{
    return buffer && fits(buffer, 280 * uint64_t{paths} + 344 * uint64_t{routes} + 352);
}

/* Bytes that a route of that size takes with a table record's worth of reserve. */
static uint64_t needed_bytes(const rib_batch_sizes *sizes)
{
    const uint64_t items_24 = uint64_t{sizes->items_24[0]} + sizes->items_24[1] + sizes->items_24[2];
    return 352 + 280 * uint64_t{sizes->paths} + 64 * uint64_t{sizes->items_64} +
           (sizes->items_32 ? 32 * uint64_t{sizes->items_32} + 16 : 0) + 8 * uint64_t{sizes->items_8} +
           12 * uint64_t{sizes->items_12} + 16 * uint64_t{sizes->items_16} + 4 * uint64_t{sizes->items_4} + 24 * items_24 +
           (sizes->has_168 ? 168 : 0) + (sizes->has_256 ? 256 : 0) + (sizes->has_4[0] || sizes->has_4[1] ? 4 : 0) +
           (sizes->has_1 ? 1 : 0) + (sizes->has_24 ? 24 : 0);
}

int rib_batch_buffer_route_fits2(const rib_batch_buffer *buffer, const rib_batch_sizes *sizes)
{
    return buffer && sizes && fits(buffer, needed_bytes(sizes));
}

int rib_batch_buffer_table_fits2(const rib_batch_buffer *buffer, const rib_batch_sizes *sizes)
{
    return buffer && sizes && fits(buffer, needed_bytes(sizes) + sizeof(rib_batch_table_rec_td));
}
