/*
 * Decoding of route records in place.
 */
#include "route_decode.h"

#include "messages.h"
#include "route_compact.h"

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
    while (rib_tlv_t *record = rib_tlv_strip_inline(cursor)) {
        if (record->type == RIB_TLV_ROUTE_PATH)
            rib_tlv_handle_delim_inline(cursor);
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
    return type == RIB_TLV_ROUTE ? rib_client_parse_route(rib_tlv_strip_inline(cursor), cursor) : no_route();
}

struct kept_parts {
    static void move(rib_pathtype *slot, const rib_tlv_t *path)
    {
        rib_move_path_parts<0, 4, 8, 12>(slot, path);
        rib_move_path_parts<16, 48, 52, 56, 68, 72>(slot, path);
        rib_move_path_parts<76, 80>(slot, path);
        slot->path_u16_80 = 0;
    }
    static bool knows_attribute(uint16_t) { return true; }
};

void rib_strip_tlv_from_path(rib_routetype *route)
{
    rib_client_compact_paths<kept_parts>(route, nullptr);
}
