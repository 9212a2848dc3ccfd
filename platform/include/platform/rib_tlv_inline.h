/*
 * Functions of rib_tlv.h in line, for encoders and decoders of many small records, to which a call for each header would cost
 * more than the rest of their work.
 */
#ifndef PLATFORM_RIB_TLV_INLINE_H
#define PLATFORM_RIB_TLV_INLINE_H

#include <platform/rib_tlv.h>

/* C as well as C++. NOLINTBEGIN(google-readability-casting) */
static inline int rib_tlv_stamp_inline(uint16_t type, uint16_t length, uint8_t **cursor, size_t *room)
{
    const size_t needed = RIB_TLV_HEADER + (size_t)length;
    if (room && *room < needed)
        return 0;
    const rib_tlv_t header = {{0}, __builtin_bswap16(type), __builtin_bswap16(length)};
    __builtin_memcpy(*cursor, &header, sizeof header);
    *cursor += sizeof header;
    if (room)
        *room -= needed;
    return 1;
}

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
