/*
 * Parsers of update messages. Each moves a cursor over the payload and takes what it has checked to lie in front of the end.
 */
#include <platform/update_parsers.h>

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>

#include <platform/rib_tlv_inline.h>

constexpr uint16_t tlv_delimiter = 0;
constexpr uint16_t tlv_route_path = 4;

static size_t left(const uint8_t *cursor, const uint8_t *end)
{
    return static_cast<size_t>(end - cursor);
}

static uint16_t load_16(const uint8_t *from)
{
    uint16_t number;
    memcpy(&number, from, sizeof number);
    return ntohs(number);
}

static uint32_t load_32(const uint8_t *from)
{
    uint32_t number;
    memcpy(&number, from, sizeof number);
    return ntohl(number);
}

struct update_record {
    uint16_t ur_type;
    uint16_t ur_length;
    const uint8_t *ur_value;
};

/* Takes the record at the cursor without changing it; false when it would pass the end. */
static bool take_record(const uint8_t **cursor, const uint8_t *end, update_record *record)
{
    if (left(*cursor, end) < RIB_TLV_HEADER)
        return false;
    *record = {load_16(*cursor + offsetof(rib_tlv_t, type)), load_16(*cursor + offsetof(rib_tlv_t, length)),
               *cursor + RIB_TLV_HEADER};
    if (left(record->ur_value, end) < record->ur_length)
        return false;
    *cursor = record->ur_value + record->ur_length;
    return true;
}

static bool is_delimiter(const update_record &record)
{
    return record.ur_type == tlv_delimiter && record.ur_length == 0;
}

/* The length of the route at begin with its delimiter, or 0. */
static size_t whole_route(const uint8_t *begin, const uint8_t *end)
{
    const uint8_t *cursor = begin;
    update_record record;
    if (!take_record(&cursor, end, &record))
        return 0;
    while (take_record(&cursor, end, &record)) {
        if (is_delimiter(record))
            return left(begin, cursor);
        if (record.ur_type == tlv_route_path && !(cursor = rib_tlv_list_fits(cursor, end)))
            return 0;
    }
    return 0;
}

errcode rib_lib_pvt_parse_route_update(const rib_update_info_t *info, rib_route_update_fn callback, rib_route_parser_t parser,
                                       rib_route_stripper_t stripper, int, void *context)
{
    auto *at = static_cast<uint8_t *>(info->ui_payload);
    const uint8_t *end = at + info->ui_payload_len;
    for (size_t len; at != end; at += len) {
        len = whole_route(at, end);
        if (len == 0)
            return EBADMSG;
        uint8_t *cursor = at;
        rib_tlv_t *record = rib_tlv_strip_inline(&cursor);
        ipv6_routetype *route = record ? parser(record, &cursor) : nullptr;
        if (!route)
            return record ? 0 : EBADMSG; // what the parser refuses, it has told
        stripper(route);
        callback(info->ui_word, route, context);
    }
    return 0;
}

/* One entry, its names ended where a sender may not have ended them. */
struct proto_entry {
    uint16_t pe_operation;
    uint16_t pe_protoid;
    uint32_t pe_kind;
    char pe_proto[41];
    char pe_instance[41];
    uint8_t pe_unused_90[2];
};
static_assert(sizeof(proto_entry) == RIB_PROTO_UPDATE_ENTRY && offsetof(proto_entry, pe_instance) == 49);

errcode rib_lib_pvt_parse_proto_update(rib_proto_update_fn callback, const rib_update_info_t *info, void *context)
{
    const auto *cursor = static_cast<const uint8_t *>(info->ui_payload);
    const uint8_t *end = cursor + info->ui_payload_len;
    for (; left(cursor, end) >= RIB_PROTO_UPDATE_ENTRY; cursor += RIB_PROTO_UPDATE_ENTRY) {
        proto_entry entry;
        memcpy(&entry, cursor, sizeof entry);
        entry.pe_proto[sizeof entry.pe_proto - 1] = entry.pe_instance[sizeof entry.pe_instance - 1] = '\0';
        callback(info->ui_word, ntohs(entry.pe_operation), ntohs(entry.pe_protoid), ntohl(entry.pe_kind), entry.pe_proto,
                 entry.pe_instance, context);
    }
    return cursor == end ? 0 : EBADMSG;
}

errcode rib_lib_pvt_parse_opaque_update(rib_bytes_update_fn callback, const rib_update_info_t *info, void *context)
{
    const auto *cursor = static_cast<const uint8_t *>(info->ui_payload);
    const uint8_t *end = cursor + info->ui_payload_len;
    while (cursor != end) {
        update_record record;
        if (!take_record(&cursor, end, &record))
            return EBADMSG;
        if (is_delimiter(record))
            return 0;
        callback(info->ui_word, record.ur_value, record.ur_length, context);
    }
    return 0;
}

errcode rib_lib_pvt_parse_grid_update(rib_bytes_update_fn callback, const rib_update_info_t *info, void *context)
{
    const auto *cursor = static_cast<const uint8_t *>(info->ui_payload);
    const uint8_t *end = cursor + info->ui_payload_len;
    if (left(cursor, end) < sizeof(uint32_t))
        return EBADMSG;
    const uint32_t row = load_32(cursor);
    if (row == 0)
        return EBADMSG;
    for (cursor += sizeof row; left(cursor, end) >= row; cursor += row)
        callback(info->ui_word, cursor, row, context);
    return cursor == end ? 0 : EBADMSG;
}
