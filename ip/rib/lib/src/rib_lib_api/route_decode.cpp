/*
 * Decoding of route records in place.
 */
#include "route_decode.h"

#include "messages.h"

/* Converts a type-6 attribute; false when it has no entries. */
static bool convert_attr_6(void *value)
{
    auto *attr = static_cast<rib_route_attr_6_td *>(value);
    rib_to_host(attr);
    uint8_t *entry = reinterpret_cast<uint8_t *>(attr + 1);
    for (uint16_t i = 0; i < attr->ra_count; i++, entry += RIB_ROUTE_ATTR_6_ENTRY)
        rib_swap_field<uint32_t>(entry + RIB_ROUTE_ATTR_6_ENTRY - sizeof(uint32_t));
    return attr->ra_count != 0;
}

/* Where a record refers to an attribute of a type; 0 for types that it does not know. */
static size_t place_of(uint16_t type)
{
    switch (type) {
    case RIB_TLV_ROUTE_ADVERTISERS:
        return offsetof(rib_routetype, rt_advertisers);
    case RIB_TLV_ROUTE_ATTR_6:
        return offsetof(rib_routetype, rt_attr_6);
    case RIB_TLV_ROUTE_ATTR_8:
        return offsetof(rib_routetype, rt_attr_8);
    case RIB_TLV_ROUTE_ATTR_9:
        return offsetof(rib_routetype, rt_attr_9);
    case RIB_TLV_ROUTE_ATTR_10:
        return offsetof(rib_routetype, rt_attr_10);
    case RIB_TLV_ROUTE_ATTR_11:
        return offsetof(rib_routetype, rt_attr_11);
    case RIB_TLV_ROUTE_ATTR_15:
        return offsetof(rib_routetype, rt_attr_15);
    default:
        return 0;
    }
}

/* Whether an attribute of a known type has entries; each type keeps its count in its own way. */
static bool has_entries(uint16_t type, uint8_t *value)
{
    if (type == RIB_TLV_ROUTE_ATTR_6)
        return convert_attr_6(value);
    if (type == RIB_TLV_ROUTE_ADVERTISERS)
        return rib_load<uint32_t>(value) != 0;
    return rib_load<uint16_t>(value + sizeof(uint16_t)) != 0;
}

static void set_attribute(rib_routetype *route, rib_tlv_t *record)
{
    const size_t place = place_of(record->type);
    uint8_t *value = reinterpret_cast<uint8_t *>(record + 1);
    if (place == 0)
        return;
    if (!rib_route_attribute_fits(record->type, value, record->length))
        rib_log_fetch_update("Corrupt route attribute, it is left out");
    else if (has_entries(record->type, value))
        rib_store(reinterpret_cast<uint8_t *>(route) + place, value);
}

static rib_routetype *no_route()
{
    rib_log_fetch_update("Corrupt buffer? - ROUTE TLV \n");
    return nullptr;
}

rib_routetype *rib_client_parse_route(rib_tlv_t *tlv, uint8_t **cursor)
{
    if (tlv->type != RIB_TLV_ROUTE || tlv->length != RIB_ROUTE_FIXED)
        return no_route();
    auto *route = reinterpret_cast<rib_routetype *>(tlv + 1);
    route->rt_advertisers = nullptr;
    route->rt_attr_6 = route->rt_attr_8 = route->rt_attr_9 = route->rt_attr_10 = route->rt_attr_11 = route->rt_attr_15 = nullptr;
    while (rib_tlv_t *record = rib_tlv_strip(cursor)) {
        if (record->type == RIB_TLV_ROUTE_PATH)
            rib_tlv_handle_delim(cursor);
        else
            set_attribute(route, record);
    }
    return route;
}

rib_routetype *rib_client_next_route(uint8_t **cursor)
{
    if (!*cursor)
        return nullptr;
    const auto type = rib_load_net<uint16_t>(*cursor + offsetof(rib_tlv_header_td, tlv_type));
    if (type == RIB_TLV_DELIMITER)
        return nullptr;
    return type == RIB_TLV_ROUTE ? rib_client_parse_route(rib_tlv_strip(cursor), cursor) : no_route();
}

/* Takes a record whose header is in host order; false when it passes the end. */
static bool fetch_within(uint8_t **cursor, const uint8_t *end, rib_tlv_t **record)
{
    if (end) {
        const auto left = end - *cursor;
        const auto header = static_cast<ptrdiff_t>(RIB_TLV_HEADER_SIZE);
        if (left < header || left - header < reinterpret_cast<const rib_tlv_t *>(*cursor)->length)
            return false;
    }
    *record = rib_tlv_fetch(cursor);
    return true;
}

/* Takes the path at the cursor; NULL when something else is there. */
static rib_tlv_t *take_path(uint8_t **cursor, const uint8_t *end)
{
    rib_tlv_t *path;
    if (!fetch_within(cursor, end, &path) || !path)
        return nullptr;
    return path->type == RIB_TLV_ROUTE_PATH && path->length == sizeof(rib_pathtype) ? path : nullptr;
}

/* Passes over a path's attributes; false at one that the form does not know or that passes the end. */
static bool pass_attributes(uint8_t **cursor, const rib_path_form *form, const uint8_t *end)
{
    rib_tlv_t *attribute;
    do {
        if (!fetch_within(cursor, end, &attribute))
            return false;
    } while (attribute && form->knows_attribute(attribute->type));
    return !attribute;
}

void rib_client_compact_paths(rib_routetype *route, const rib_path_form *form, const uint8_t *end)
{
    rib_routetype_net::swap(route);
    uint8_t *cursor = reinterpret_cast<uint8_t *>(route->rt_path);
    for (unsigned i = 0; i < route->rt_path_count; i++) {
        /* The slot lies at or before the path's own bytes, so a move never harms what is still to be read. */
        rib_tlv_t *path = i < IPV6_RIB_ROUTE_PATHS ? take_path(&cursor, end) : nullptr;
        if (!path) {
            rib_log_fetch_update("Corrupt route, fewer paths than it says");
            route->rt_path_count = static_cast<uint8_t>(i);
            return;
        }
        rib_pathtype_net::swap(reinterpret_cast<rib_pathtype *>(path + 1));
        form->move(&route->rt_path[i], path);
        if (!pass_attributes(&cursor, form, end)) {
            rib_log_fetch_update("Unknown path attribute, the paths behind it are left out");
            route->rt_path_count = static_cast<uint8_t>(i + 1);
            return;
        }
    }
}

/* Copies the bytes from one field up to another. */
static void move_part(rib_pathtype *slot, const uint8_t *path, size_t from, size_t to)
{
    std::memmove(reinterpret_cast<uint8_t *>(slot) + from, path + from, to - from);
}

/* In rising order, as the slot may overlap the path. */
static void move_kept_parts(rib_pathtype *slot, const rib_tlv_t *tlv)
{
    const auto *path = reinterpret_cast<const uint8_t *>(tlv + 1);
    move_part(slot, path, 0, offsetof(rib_pathtype, path_unused_12));
    move_part(slot, path, offsetof(rib_pathtype, path_nexthop), offsetof(rib_pathtype, path_u32_72));
    move_part(slot, path, offsetof(rib_pathtype, path_infosource_afi), offsetof(rib_pathtype, path_u16_80));
    slot->path_u16_80 = 0;
}

void rib_strip_tlv_from_path(rib_routetype *route)
{
    static constexpr rib_path_form fetched = {.move = move_kept_parts, .knows_attribute = [](uint16_t) { return true; }};
    rib_client_compact_paths(route, &fetched, nullptr);
}
