/*
 * Opening and closing tables.
 */
#include "table.h"

#include "../rib_fatal.h"

void rib_batch_last_table_done(rib_batch_buffer *buffer)
{
    auto *table = static_cast<rib_batch_table_rec_td *>(buffer->inarg.bai_opinfo.bai_multblhdr.bmti_last_tblarg);
    if (!table)
        return;
    if (buffer->data_len == 0) {
        /* The buffer was cleared under the table. */
        std::memset(static_cast<void *>(table), 0, sizeof *table);
    } else {
        rib_fatal_unless(table->bti_len <= buffer->data_len, "table->bti_len <= buffer->data_len");
        table->bti_len = buffer->data_len - table->bti_len;
        rib_to_net(table);
    }
    buffer->inarg.bai_opinfo.bai_multblhdr.bmti_last_tblarg = nullptr;
}

rib_batch_buffer_result rib_batch_table_init(rib_batch_buffer *buffer, rib_tableid_td table, rib_protoid_td proto)
{
    /* What stands at the place of the open table in other buffers is not one. */
    const bool multi_table = buffer && rib_batch_is_multi_table(buffer);
    if (!buffer || rib_batch_over_limit(buffer))
        return RIB_BATCH_BUFFER_ERROR;
    if (multi_table) {
        rib_batch_last_table_done(buffer);
        rib_fatal_unless(buffer->inarg.bai_opinfo.bai_multblhdr.bmti_last_tblarg == nullptr,
                         "(buffer->inarg.bai_opinfo. bai_multblhdr.bmti_last_tblarg) == ((void*)0)");
    }
    auto *record = reinterpret_cast<rib_batch_table_rec_td *>(rib_batch_begin_record(buffer));
    *record = {.bti_type = RIB_BATCH_REC_TABLE, .bti_protoid = proto, .bti_table = table};
    buffer->cur_rec = nullptr; // a path belongs to a route of this table
    rib_batch_advance(buffer, sizeof *record);
    record->bti_len = buffer->data_len;
    if (multi_table)
        buffer->inarg.bai_opinfo.bai_multblhdr.bmti_last_tblarg = record;
    else
        rib_to_net(record);
    return buffer->send_limit < uint64_t{buffer->last_rec_off} + sizeof *record + RIB_BATCH_ROUTE_FIXED ? RIB_BATCH_BUFFER_FULL
                                                                                                        : RIB_BATCH_BUFFER_OK;
}
