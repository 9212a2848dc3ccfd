/*
 * Parsers of update messages: each walks the payload of one message and tells a callback what is in it, in host order.
 *
 * The payload is not trusted: nothing at or behind its end is read. What does not fit ends the walk; what came before it has
 * been told. The results say whether the payload was whole: 0, or EBADMSG.
 */
#ifndef PLATFORM_UPDATE_PARSERS_H
#define PLATFORM_UPDATE_PARSERS_H

#include <stdint.h>

#include <platform/platform.h>
#include <platform/rib_tlv.h>

PLATFORM_BEGIN

/* A message as it was taken from a reply. 40 bytes. */
typedef struct rib_update_info {
    uint32_t ui_word;        /*  0 header word */
    uint16_t ui_type;        /*  4 */
    uint16_t ui_zero_6;      /*  6 */
    uint32_t ui_len;         /*  8 with the header */
    uint32_t ui_extra;       /* 12 */
    uint32_t ui_format;      /* 16 0 or 1 */
    uint32_t ui_payload_len; /* 20 */
    void *ui_payload;        /* 24 changed in place */
    uint32_t ui_number;      /* 32 messages taken so far from this reply, this one included */
    uint32_t ui_zero_36;     /* 36 */
} rib_update_info_t;

/* A route record; its inside is the client library's. */
struct ipv6_routetype;

/* Takes the attributes of the route whose record is tlv and moves the cursor behind the route; NULL when it is none. */
typedef struct ipv6_routetype *(*rib_route_parser_t)(rib_tlv_t *tlv, uint8_t **cursor);
/* Converts a parsed route and moves its paths into their slots. */
typedef void (*rib_route_stripper_t)(struct ipv6_routetype *route);

typedef void (*rib_route_update_fn)(uint32_t word, struct ipv6_routetype *route, void *context);
typedef void (*rib_proto_update_fn)(uint32_t word, uint32_t operation, uint16_t protoid, uint32_t kind, const char *proto_name,
                                    const char *instance_name, void *context);
typedef void (*rib_bytes_update_fn)(uint32_t word, const void *bytes, uint32_t len, void *context);

/**
 * Routes, behind one another: a record (type 3), path records (type 4) each with a list of its own behind it, other records,
 * and a delimiter. The framing of a whole route is checked before parser and stripper see it, not what kind of record it begins
 * with. A record that the parser refuses ends the walk; that is the parser's to tell, and no EBADMSG.
 *
 * @param limited  whether the fetch has a pass limit; makes no difference here
 */
PLATFORM_API errcode rib_lib_pvt_parse_route_update(const rib_update_info_t *info, rib_route_update_fn callback,
                                                    rib_route_parser_t parser, rib_route_stripper_t stripper, int limited,
                                                    void *context);
/** Protocols: entries of RIB_PROTO_UPDATE_ENTRY bytes, numbers in network order. */
PLATFORM_API errcode rib_lib_pvt_parse_proto_update(rib_proto_update_fn callback, const rib_update_info_t *info, void *context);
#define RIB_PROTO_UPDATE_ENTRY 92u
/* Offsets in an entry: 0 16-bit operation; 2 16-bit protocol identifier; 4 32-bit kind; 8 protocol name and 49 instance name, 41
 * bytes each, of which 40 count. */

/** Opaque updates: records of any type up to the end or a delimiter; the callback is given each value. */
PLATFORM_API errcode rib_lib_pvt_parse_opaque_update(rib_bytes_update_fn callback, const rib_update_info_t *info, void *context);
/** A grid: the 32-bit length of a row, in network order and not 0, and rows. */
PLATFORM_API errcode rib_lib_pvt_parse_grid_update(rib_bytes_update_fn callback, const rib_update_info_t *info, void *context);

PLATFORM_END

#endif
