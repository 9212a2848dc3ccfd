/*
 * Walking the results of a batch.
 */
#include "results.h"

constexpr size_t path_result = sizeof(rib_batch_path_out);

static uint8_t type_of(const void *record)
{
    return *static_cast<const uint8_t *>(record);
}

/* Of a route that was handed out. */
static uint16_t path_count_of(const void *route)
{
    return rib_load<uint16_t>(static_cast<const uint8_t *>(route) + offsetof(rib_batch_route_out, ro_path_count));
}

/* Bytes of a result by its type and path count; 0 for a type that ends the walk. */
static size_t result_bytes(uint8_t type, uint16_t path_count)
{
    switch (type) {
    case RIB_BATCH_RES_ROUTE:
        return sizeof(rib_batch_route_out) + path_result * path_count;
    case RIB_BATCH_RES_2:
        return sizeof(rib_batch_res_2_td);
    case RIB_BATCH_RES_5:
        return sizeof(rib_batch_res_5_td);
    case RIB_BATCH_RES_TABLE:
        return sizeof(rib_batch_table_out);
    default:
        return 0;
    }
}

static void convert(void *record)
{
    switch (type_of(record)) {
    case RIB_BATCH_RES_ROUTE:
        rib_batch_route_out_net::swap(static_cast<rib_batch_route_out *>(record));
        break;
    case RIB_BATCH_RES_2:
        rib_to_host(static_cast<rib_batch_res_2_td *>(record));
        break;
    case RIB_BATCH_RES_5:
        rib_to_host(static_cast<rib_batch_res_5_td *>(record));
        break;
    case RIB_BATCH_RES_TABLE:
        rib_batch_table_out_net::swap(static_cast<rib_batch_table_out *>(record));
        break;
    default:
        break;
    }
}

static void convert_path(void *path)
{
    if (type_of(path) == 1)
        rib_batch_path_out_net::swap(static_cast<rib_batch_path_out *>(path));
    else if (type_of(path) == 2)
        rib_batch_path_del_out_net::swap(static_cast<rib_batch_path_del_out *>(path));
}

/* The end of a reply by its own word; one that says more than an area holds has no results. */
static const uint8_t *end_of(const void *reply)
{
    const auto len = rib_load<uint32_t>(reply);
    return static_cast<const uint8_t *>(reply) + (len <= RIB_BATCH_REPLY_BYTES ? len : 0);
}

/* A result whose fixed part lies in the reply; else NULL. */
static uint8_t *within(const void *reply, uint8_t *record)
{
    const uint8_t *const end = end_of(reply);
    if (record >= end || result_bytes(type_of(record), 0) > static_cast<size_t>(end - record))
        return nullptr;
    return record;
}

static uint8_t *first_record(void *reply)
{
    if (!reply || rib_load<uint32_t>(reply) <= sizeof(rib_batch_reply_header_td))
        return nullptr;
    rib_batch_reply_header_td::net_walk::swap(static_cast<rib_batch_reply_header_td *>(reply));
    return within(reply, static_cast<uint8_t *>(reply) + sizeof(rib_batch_reply_header_td));
}

/* Bytes of a result that was handed out, with its paths. */
static size_t stride(const void *record)
{
    return result_bytes(type_of(record), type_of(record) == RIB_BATCH_RES_ROUTE ? path_count_of(record) : 0);
}

/* The result behind one that was handed out. Behind the small results it comes converted already. */
static uint8_t *step(void *reply, void *record)
{
    if (!reply || !record)
        return nullptr;
    auto *const at = static_cast<uint8_t *>(record);
    const uint8_t *const end = end_of(reply);
    const size_t bytes = stride(record);
    if (bytes == 0 || at >= end || bytes >= static_cast<size_t>(end - at))
        return nullptr;
    uint8_t *const next = within(reply, at + bytes);
    if (next && (type_of(record) == RIB_BATCH_RES_2 || type_of(record) == RIB_BATCH_RES_5))
        convert(next);
    return next;
}

/* Hands out a result, unless the reply breaks off within the paths that it now says it has. */
static void *hand_out(const void *reply, uint8_t *record)
{
    if (!record)
        return nullptr;
    convert(record);
    return stride(record) <= static_cast<size_t>(end_of(reply) - record) ? record : nullptr;
}

void *rib_batch_args_out_first_route(void *reply)
{
    return hand_out(reply, first_record(reply));
}

void *rib_batch_args_out_next_route(void *reply, void *record)
{
    return hand_out(reply, step(reply, record));
}

void *rib_batch_args_out_next_table(void *reply, void *table)
{
    uint8_t *record = table ? step(reply, table) : first_record(reply);
    while (record && type_of(record) != RIB_BATCH_RES_TABLE)
        record = step(reply, record);
    return hand_out(reply, record);
}

void *rib_batch_tbl_out_next_route(void *reply, void *table, void *route)
{
    uint8_t *record = step(reply, route ? route : table);
    while (record && type_of(record) != RIB_BATCH_RES_ROUTE && type_of(record) != RIB_BATCH_RES_TABLE)
        record = step(reply, record);
    return record && type_of(record) == RIB_BATCH_RES_ROUTE ? hand_out(reply, record) : nullptr;
}

void *rib_batch_route_out_first_path(void *route)
{
    if (!route || type_of(route) != RIB_BATCH_RES_ROUTE || path_count_of(route) == 0)
        return nullptr;
    uint8_t *const path = static_cast<uint8_t *>(route) + sizeof(rib_batch_route_out);
    convert_path(path);
    return path;
}

void *rib_batch_route_out_next_path(void *route, void *path)
{
    if (!route || !path || type_of(route) != RIB_BATCH_RES_ROUTE)
        return nullptr;
    uint8_t *const next = static_cast<uint8_t *>(path) + path_result;
    if (next >= static_cast<uint8_t *>(route) + sizeof(rib_batch_route_out) + path_result * path_count_of(route))
        return nullptr;
    convert_path(next);
    return next;
}
