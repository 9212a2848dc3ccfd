/*
 * Converting a parsed record and moving its paths into their slots. A form says what is kept of a path:
 *
 *   static void move(rib_pathtype *slot, const rib_tlv_t *path)   takes it; the path is in host order
 *   static bool knows_attribute(uint16_t type)
 */
#pragma once

#include <platform/rib_tlv_inline.h>

#include "ip/rib/wire/route_record.h"
#include "messages.h"

/*
 * Copies the bytes of a path from each place to the next one. In rising order, as the path lies at least a header behind its slot
 * and may overlap it. The places are those where a number that was converted just now begins or ends: a wider load would wait
 * until its parts are written.
 */
template <size_t from, size_t to, size_t... next> void rib_move_path_parts(rib_pathtype *slot, const rib_tlv_t *path)
{
    static_assert((to - from) % sizeof(uint16_t) == 0);
    auto *out = reinterpret_cast<uint8_t *>(slot);
    const auto *in = reinterpret_cast<const uint8_t *>(path + 1);
    size_t at = from;
    for (; to - at >= sizeof(uint64_t); at += sizeof(uint64_t))
        rib_store(out + at, rib_load<uint64_t>(in + at));
    if constexpr ((to - from) % sizeof(uint64_t) >= sizeof(uint32_t)) {
        rib_store(out + at, rib_load<uint32_t>(in + at));
        at += sizeof(uint32_t);
    }
    if constexpr ((to - from) % sizeof(uint32_t) != 0)
        rib_store(out + at, rib_load<uint16_t>(in + at));
    if constexpr (sizeof...(next) != 0)
        rib_move_path_parts<to, next...>(slot, path);
}

/* Takes a record whose header is in host order; false when it passes the end. */
inline bool rib_fetch_within(uint8_t **cursor, const uint8_t *end, rib_tlv_t **record)
{
    if (end) {
        const auto left = end - *cursor;
        const auto header = static_cast<ptrdiff_t>(RIB_TLV_HEADER_SIZE);
        if (left < header || left - header < reinterpret_cast<const rib_tlv_t *>(*cursor)->length)
            return false;
    }
    *record = rib_tlv_fetch_inline(cursor);
    return true;
}

/* Takes the path at the cursor; NULL when something else is there. */
inline rib_tlv_t *rib_take_path(uint8_t **cursor, const uint8_t *end)
{
    rib_tlv_t *path;
    if (!rib_fetch_within(cursor, end, &path) || !path)
        return nullptr;
    return path->type == RIB_TLV_ROUTE_PATH && path->length == sizeof(rib_pathtype) ? path : nullptr;
}

/* Passes over a path's attributes; false at one that the form does not know or that passes the end. */
template <class form> bool rib_pass_path_attributes(uint8_t **cursor, const uint8_t *end)
{
    rib_tlv_t *attribute;
    do {
        if (!rib_fetch_within(cursor, end, &attribute))
            return false;
    } while (attribute && form::knows_attribute(attribute->type));
    return !attribute;
}

/* Reads nothing at or behind end; NULL for a record that rib_route_fits() passed. */
template <class form> void rib_client_compact_paths(rib_routetype *route, const uint8_t *end)
{
    rib_routetype_net::swap(route);
    uint8_t *cursor = reinterpret_cast<uint8_t *>(route->rt_path);
    for (unsigned i = 0; i < route->rt_path_count; i++) {
        /* The slot lies at or before the path's own bytes, so a move never harms what is still to be read. */
        rib_tlv_t *path = i < IPV6_RIB_ROUTE_PATHS ? rib_take_path(&cursor, end) : nullptr;
        if (!path) {
            rib_log_fetch_update("Corrupt route, fewer paths than it says");
            route->rt_path_count = static_cast<uint8_t>(i);
            return;
        }
        rib_pathtype_net::swap(reinterpret_cast<rib_pathtype *>(path + 1));
        form::move(&route->rt_path[i], path);
        if (!rib_pass_path_attributes<form>(&cursor, end)) {
            rib_log_fetch_update("Unknown path attribute, the paths behind it are left out");
            route->rt_path_count = static_cast<uint8_t>(i + 1);
            return;
        }
    }
}
