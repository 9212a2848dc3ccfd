/*
 * RIB TLV service. Records stand at any address, so a header moves through a local copy.
 */
#include <platform/rib_tlv_inline.h>

#include <arpa/inet.h>
#include <cstring>

static_assert(sizeof(rib_tlv_t) == RIB_TLV_HEADER && offsetof(rib_tlv_t, type) == 4);

int rib_tlv_stamp(uint16_t type, uint16_t length, uint8_t **cursor, size_t *room)
{
    return rib_tlv_stamp_inline(type, length, cursor, room);
}

rib_tlv_t *rib_tlv_fetch(uint8_t **cursor)
{
    return rib_tlv_fetch_inline(cursor);
}

rib_tlv_t *rib_tlv_strip(uint8_t **cursor)
{
    return rib_tlv_strip_inline(cursor);
}

void rib_tlv_handle_delim(uint8_t **cursor)
{
    rib_tlv_handle_delim_inline(cursor);
}

const uint8_t *rib_tlv_list_fits(const uint8_t *begin, const uint8_t *end)
{
    while (static_cast<size_t>(end - begin) >= RIB_TLV_HEADER) {
        rib_tlv_t header;
        memcpy(&header, begin, sizeof header);
        begin += sizeof header;
        if (header.type == 0 && header.length == 0)
            return begin;
        const size_t length = ntohs(header.length);
        if (static_cast<size_t>(end - begin) < length)
            return nullptr;
        begin += length;
    }
    return nullptr;
}
