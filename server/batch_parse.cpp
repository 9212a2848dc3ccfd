/*
 * The check that every batch message passes before anything is done with it.
 */
#include "server/batch_parse.h"

#include <ipv6_rib/batch_route.h>
#include <ipv6_rib/batch_send.h>

#include "server/prefix.h"

constexpr uint32_t KNOWN_BLOCKS = 0x3F;

/* What is left of the message, and what it will be answered with. */
struct span_td {
    const uint8_t *at;
    const uint8_t *end;
    size_t reply_len;
    bool holds(size_t len) const { return len <= static_cast<size_t>(end - at); }
};

/* Entries must fill their array to the byte; their headers are in host order. */
static bool check_entries(const uint8_t *array, size_t len)
{
    const uint8_t *at = rib_batch_attrs(array);
    for (const uint8_t *end = at + len; at != end;) {
        const auto left = static_cast<size_t>(end - at);
        if (left < sizeof(rib_attr_entry_td))
            return false;
        const size_t entry = sizeof(rib_attr_entry_td) + rib_load<uint16_t>(at + offsetof(rib_attr_entry_td, ae_len));
        if (entry > left)
            return false;
        at += entry;
    }
    return true;
}

static bool check_path(span_td *span)
{
    if (!span->holds(RIB_BATCH_PATH_FIXED))
        return false;
    const uint8_t *path = span->at;
    const bool adds = path[0] == RIB_BATCH_REC_ADD_PATH;
    if (!adds && path[0] != RIB_BATCH_REC_DEL_PATH)
        return false;
    if (adds && (rib_batch_ext_mask(path) & ~KNOWN_BLOCKS))
        return false;
    const uint8_t *array =
        path + (adds ? offsetof(rib_batch_add_path_in, bapi_attrs) : offsetof(rib_batch_del_path_in, bdpi_attrs));
    if (!span->holds(rib_batch_path_len(path)) || !check_entries(array, rib_batch_attr_len(array)))
        return false;
    span->at += rib_batch_path_len(path);
    span->reply_len += sizeof(rib_batch_path_out);
    return true;
}

static bool check_route(span_td *span)
{
    if (!span->holds(RIB_BATCH_ROUTE_FIXED))
        return false;
    const uint8_t *route = span->at;
    const uint8_t *array = route + offsetof(bori_fixed, borfi_attrs);
    if (route[offsetof(bori_fixed, borfi_prefixlen)] > RIB_ADDR_BITS || !span->holds(rib_batch_route_len(route)) ||
        !check_entries(array, rib_batch_attr_len(array)))
        return false;
    const unsigned paths = rib_batch_path_count(route);
    if (paths > RIB_BATCH_ROUTE_PATHS)
        return false;
    span->at += rib_batch_route_len(route);
    span->reply_len += sizeof(rib_batch_route_out);
    for (unsigned path = 0; path != paths; ++path)
        if (!check_path(span))
            return false;
    return true;
}

static bool check_fixed(span_td *span, size_t len, size_t reply_len)
{
    if (!span->holds(len))
        return false;
    span->at += len;
    span->reply_len += reply_len;
    return true;
}

static bool check_record(span_td *span, uint16_t argument)
{
    switch (span->at[0]) {
    case RIB_BATCH_REC_ROUTE:
        return argument != RIB_BATCH_PROTOCOLS && check_route(span);
    case RIB_BATCH_REC_COMPLETE:
        return argument != RIB_BATCH_PROTOCOLS && check_fixed(span, sizeof(rib_batch_complete_rec_td), 0);
    case RIB_BATCH_REC_CONVERGE:
        return argument != RIB_BATCH_PROTOCOLS && check_fixed(span, sizeof(rib_batch_converge_rec_td), 0);
    case RIB_BATCH_REC_TABLE:
        return argument == RIB_BATCH_MULTI_TABLE &&
               check_fixed(span, sizeof(rib_batch_table_rec_td), sizeof(rib_batch_table_out));
    case RIB_BATCH_REC_PROTO: {
        const uint8_t operation = span->holds(2) ? span->at[offsetof(rib_batch_proto_rec_td, bpi_operation)] : uint8_t{0};
        return argument == RIB_BATCH_PROTOCOLS && (operation == RIB_BATCH_PROTO_ADD || operation == RIB_BATCH_PROTO_DEL) &&
               check_fixed(span, sizeof(rib_batch_proto_rec_td), sizeof(rib_proto_result));
    }
    default:
        return false;
    }
}

bool rib_batch_check(const uint8_t *msg, size_t len, rib_batch_shape *shape)
{
    if (len < sizeof(rib_batch_header_td) || rib_load_net<uint32_t>(msg + offsetof(rib_batch_header_td, bah_len)) != len)
        return false;
    shape->argument = rib_load_net<uint16_t>(msg + offsetof(rib_batch_header_td, bah_argument));
    if (shape->argument > RIB_BATCH_PROTOCOLS)
        return false;
    span_td span = {msg + sizeof(rib_batch_header_td), msg + len, sizeof(rib_batch_reply_header_td)};
    while (span.at != span.end)
        if (!check_record(&span, shape->argument) || span.reply_len > RIB_BATCH_REPLY_BYTES)
            return false;
    shape->reply_len = span.reply_len;
    shape->entries = (len - sizeof(rib_batch_header_td)) / sizeof(rib_batch_proto_rec_td);
    const auto announced = rib_load_net<uint32_t>(msg + offsetof(rib_batch_header_td, bai_opinfo));
    return shape->argument != RIB_BATCH_PROTOCOLS || shape->entries <= announced;
}
