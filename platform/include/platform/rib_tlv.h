/*
 * RIB TLV service: type-length-value records behind one another without padding, closed by a delimiter record (type 0,
 * length 0). A header is 8 bytes: 4 zero bytes, the type and the length of the value (16 bits each), in network order on
 * the wire and in host order once rib_tlv_strip() or rib_tlv_handle_delim() has passed.
 *
 * The walks take no end: check a received list with rib_tlv_list_fits() first.
 */
#ifndef PLATFORM_RIB_TLV_H
#define PLATFORM_RIB_TLV_H

#include <stddef.h>
#include <stdint.h>

#include <platform/platform.h>

PLATFORM_BEGIN

#define RIB_TLV_HEADER 8u

typedef struct __attribute__((packed)) rib_tlv {
    uint8_t tlv_service[4]; /* 0 owned by the service: zero */
    uint16_t type;          /* 4 */
    uint16_t length;        /* 6 bytes of value that follow */
} rib_tlv_t;

/**
 * Writes a header in network order at the cursor, moves the cursor behind it and takes header and value from the room.
 * With too little room nothing is written or moved. A NULL room means that the caller knows it fits.
 * @return 1 written, 0 no room
 */
PLATFORM_API int rib_tlv_stamp(uint16_t type, uint16_t length, uint8_t **cursor, size_t *room);
/** Takes the record at the cursor, its header now in host order, and moves behind its value; NULL at a delimiter, moved behind
 * it. */
PLATFORM_API rib_tlv_t *rib_tlv_strip(uint8_t **cursor);
/** As rib_tlv_strip(), over records whose headers are in host order already. */
PLATFORM_API rib_tlv_t *rib_tlv_fetch(uint8_t **cursor);
/** Takes records up to and with the list's delimiter, converting their headers as rib_tlv_strip() does. */
PLATFORM_API void rib_tlv_handle_delim(uint8_t **cursor);
/**
 * Walks a list as received without changing it.
 * @return the byte behind its delimiter, or NULL when a header or value would pass end or the delimiter is missing
 */
PLATFORM_API const uint8_t *rib_tlv_list_fits(const uint8_t *begin, const uint8_t *end);

PLATFORM_END

#endif
