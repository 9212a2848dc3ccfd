/*
 * The walks of rib_tlv.h in line, for decoders of many small records, to which a call for each header would cost more than the
 * rest of their work.
 */
#ifndef PLATFORM_RIB_TLV_WALK_H
#define PLATFORM_RIB_TLV_WALK_H

#include <platform/rib_tlv.h>

/* C as well as C++. NOLINTBEGIN(google-readability-casting) */
static inline rib_tlv_t *rib_tlv_fetch_inline(uint8_t **cursor)
{
    rib_tlv_t *record = (rib_tlv_t *)*cursor;
    *cursor += RIB_TLV_HEADER + (size_t)record->length;
    return record->type == 0 && record->length == 0 ? NULL : record;
}

static inline rib_tlv_t *rib_tlv_strip_inline(uint8_t **cursor)
{
    rib_tlv_t *record = (rib_tlv_t *)*cursor;
    record->type = __builtin_bswap16(record->type);
    record->length = __builtin_bswap16(record->length);
    return rib_tlv_fetch_inline(cursor);
}

static inline void rib_tlv_handle_delim_inline(uint8_t **cursor)
{
    while (rib_tlv_strip_inline(cursor))
        ;
}
/* NOLINTEND(google-readability-casting) */

#endif
