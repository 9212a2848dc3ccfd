/*
 * Chains of protocol records.
 */
#include "proto.h"

#include <cstdlib>

#include <platform/bounded_copy.h>

static rib_batch_proto_td *chain_of(rib_batch_buffer *buffer)
{
    return &buffer->inarg.bai_opinfo.proto;
}

rib_batch_buffer *rib_batch_proto_buffer_allocate(uint32_t records)
{
    const uint64_t needed = uint64_t{records} * sizeof(rib_batch_proto_rec_td);
    rib_batch_buffer *const first = rib_batch_buffer_allocate(0);
    rib_batch_buffer *last = first;
    for (uint64_t held = RIB_BATCH_SEND_LIMIT; last && held < needed; held += RIB_BATCH_SEND_LIMIT) {
        chain_of(last)->bpr_next = rib_batch_buffer_allocate(0);
        last = chain_of(last)->bpr_next;
    }
    if (!last)
        rib_batch_proto_buffer_free(first);
    return last ? first : nullptr;
}

void rib_batch_proto_buffer_free(rib_batch_buffer *first)
{
    if (!first)
        return;
    std::free(first->reply_buf);
    while (first) {
        rib_batch_buffer *const next = chain_of(first)->bpr_next;
        rib_batch_buffer_free(first);
        first = next;
    }
}

void rib_batch_proto_buffer_init(rib_batch_buffer *first)
{
    for (rib_batch_buffer *buffer = first; buffer; buffer = chain_of(buffer)->bpr_next) {
        rib_batch_buffer_clear(buffer);
        chain_of(buffer)->bpr_count = 0;
        buffer->inarg.bah_argument = RIB_BATCH_PROTOCOLS;
    }
}

/*
 * Puts a finished record into the first buffer of the chain that is within its limit. A record that crosses a buffer's
 * limit is not sent with it, so it is written into the next one as well.
 */
static rib_batch_buffer_result add_record(rib_batch_buffer *buffer, const rib_batch_proto_rec_td &record)
{
    rib_batch_buffer_result result = RIB_BATCH_BUFFER_ERROR;
    for (; buffer; buffer = chain_of(buffer)->bpr_next) {
        uint8_t *const tail = rib_batch_begin_record(buffer);
        if (!tail)
            continue;
        std::memcpy(tail, &record, sizeof record);
        chain_of(buffer)->bpr_count++;
        result = rib_batch_advance(buffer, sizeof record);
        if (result == RIB_BATCH_BUFFER_OK)
            break;
    }
    return result;
}

rib_batch_buffer_result rib_batch_buffer_add_proto(rib_batch_buffer *first, const rib_register_protocol_in *in)
{
    if (!first || !in)
        return RIB_BATCH_BUFFER_ERROR;
    rib_batch_proto_rec_td record = {.bpi_type = RIB_BATCH_REC_PROTO,
                                     .bpi_operation = RIB_BATCH_PROTO_ADD,
                                     .bpi_u8_2 = rib_load<uint8_t>(&in->word_16),
                                     .bpi_word1 = in->reg_word1,
                                     .bpi_words = {in->reg_word2, in->reg_word3, in->reg_word4},
                                     .bpi_word64 = in->reg_word64};
    if (in->instance_name &&
        strncpy_s(record.bpi_instance, sizeof record.bpi_instance, in->instance_name, std::strlen(in->instance_name)) != 0)
        return RIB_BATCH_BUFFER_ERROR;
    rib_to_net(&record);
    return add_record(first, record);
}

rib_batch_buffer_result rib_batch_buffer_del_proto(rib_batch_buffer *first, uint32_t value, rib_protoid_td protoid)
{
    rib_batch_proto_rec_td record = {
        .bpi_type = RIB_BATCH_REC_PROTO, .bpi_operation = RIB_BATCH_PROTO_DEL, .bpi_word1 = value, .bpi_protoid = protoid};
    rib_to_net(&record);
    return add_record(first, record);
}
