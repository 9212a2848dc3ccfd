/*
 * The bounded pass over a received route. After it, the decoder may walk the route without looking at any length again.
 */
#include "route_decode.h"

/* A position in received bytes that never passes their end. Headers are in network order. */
struct received_t {
    const uint8_t *at;
    const uint8_t *end;
    uint16_t type;
    uint16_t length;
    const uint8_t *value;

    /* Takes the next record, which may be a delimiter; false when it is not whole. */
    bool take()
    {
        if (end - at < static_cast<ptrdiff_t>(RIB_TLV_HEADER_SIZE))
            return false;
        type = rib_load_net<uint16_t>(at + offsetof(rib_tlv_header_td, tlv_type));
        length = rib_load_net<uint16_t>(at + offsetof(rib_tlv_header_td, tlv_length));
        value = at + RIB_TLV_HEADER_SIZE;
        if (end - value < length)
            return false;
        at = value + length;
        return true;
    }
    bool is_delimiter() const { return type == RIB_TLV_DELIMITER && length == 0; }
};

bool rib_route_attribute_fits(uint16_t type, const uint8_t *value, size_t length)
{
    switch (type) {
    case RIB_TLV_ROUTE_ATTR_6:
        return length >= sizeof(rib_route_attr_6_td) &&
               (length - sizeof(rib_route_attr_6_td)) / RIB_ROUTE_ATTR_6_ENTRY >=
                   rib_load_net<uint16_t>(value + offsetof(rib_route_attr_6_td, ra_count));
    case RIB_TLV_ROUTE_ADVERTISERS:
        return length >= sizeof(rib_advertisers) &&
               (length - sizeof(rib_advertisers)) / sizeof(rib_protoid_td) >= rib_load<uint32_t>(value);
    case RIB_TLV_ROUTE_ATTR_8:
    case RIB_TLV_ROUTE_ATTR_9:
    case RIB_TLV_ROUTE_ATTR_10:
    case RIB_TLV_ROUTE_ATTR_11:
    case RIB_TLV_ROUTE_ATTR_15:
        return length >= 2 * sizeof(uint16_t);
    default:
        return true;
    }
}

static bool attribute_fits(const received_t &record)
{
    return rib_route_attribute_fits(record.type, record.value, record.length);
}

static bool path_fits(received_t *received)
{
    if (received->length != sizeof(rib_pathtype))
        return false;
    do {
        if (!received->take())
            return false;
    } while (!received->is_delimiter());
    return true;
}

const uint8_t *rib_route_fits(const uint8_t *begin, const uint8_t *end)
{
    received_t received = {.at = begin, .end = end};
    /* The path slots begin where the paths do, so the record must end there. */
    if (!received.take() || received.type != RIB_TLV_ROUTE || received.length != RIB_ROUTE_FIXED)
        return nullptr;
    while (received.take()) {
        if (received.is_delimiter())
            return received.at;
        if (received.type == RIB_TLV_ROUTE_PATH ? !path_fits(&received) : !attribute_fits(received))
            return nullptr;
    }
    return nullptr;
}
