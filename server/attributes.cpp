/*
 * Checking and keeping attribute entries.
 */
#include "server/attributes.h"

#include <bitset>

#include <platform/srv6.h>

#include "server/prefix.h"

struct entry_td {
    uint8_t type;
    uint16_t len;
    const uint8_t *value;
};

static entry_td entry_at(const uint8_t *at)
{
    return {at[offsetof(rib_attr_entry_td, ae_type)], rib_load<uint16_t>(at + offsetof(rib_attr_entry_td, ae_len)),
            at + sizeof(rib_attr_entry_td)};
}

rib_attr_set::rib_attr_set(const uint8_t *entries, size_t len)
{
    for (const uint8_t *at = entries, *end = entries + len; at != end;) {
        const entry_td entry = entry_at(at);
        if (entry.type < RIB_ATTR_TYPES)
            values_[entry.type] = entry.value;
        at = entry.value + entry.len;
    }
}

uint16_t rib_attr_set::len(uint8_t type) const
{
    return rib_load<uint16_t>(values_[type] - sizeof(uint16_t));
}

static bool is_sid_len(uint32_t bits)
{
    return bits >= 1 && bits <= RIB_ADDR_BITS;
}

static bool sid_list_valid(const uint8_t *value)
{
    constexpr size_t head = rib_attr_shapes[RIB_ATTR_SID_LIST].head, item = rib_attr_shapes[RIB_ATTR_SID_LIST].item;
    constexpr size_t length_at = offsetof(srv6_sid_info_t, si_len) - offsetof(srv6_sid_info_t, si_func);
    bool valid = srv6_transit_func_type_is_valid(rib_load<srv6_transit_func_type>(value + offsetof(srv6_sid_list_t, sl_func)));
    const uint8_t *at = value + head;
    for (unsigned left = value[0]; left != 0; --left, at += item)
        valid = valid && is_sid_len(rib_load<uint32_t>(at + length_at));
    return valid;
}

static bool tunnel_valid(const uint8_t *value)
{
    constexpr uint32_t id_bits = 0xFFFFFF;
    const auto tunnel = rib_load<ip_rib_tunnel_info_td>(value);
    constexpr unsigned both = RIB_TUNNEL_LOCAL_ID | RIB_TUNNEL_REMOTE_ID;
    return (tunnel.ti_flags & both) != both || ((tunnel.ti_local_id ^ tunnel.ti_remote_id) & id_bits) == 0;
}

/* A value of the right length. */
static bool value_valid(const entry_td &entry)
{
    switch (entry.type) {
    case RIB_ATTR_INTF:
        return rib_load<uint32_t>(entry.value) != 0;
    case RIB_ATTR_SID_LIST:
        return sid_list_valid(entry.value);
    case RIB_ATTR_VIA_SID:
        return is_sid_len(entry.value[sizeof(in6_addr_t)]);
    case RIB_ATTR_TUNNEL:
        return tunnel_valid(entry.value);
    case RIB_ATTR_SL_ID:
        return entry.value[0] == 1 || entry.value[0] == 2;
    default:
        return true;
    }
}

static bool entry_valid(const entry_td &entry, rib_attr_owner owner)
{
    const bool of_route = entry.type >= RIB_ATTR_ALGO_LABELS;
    if (entry.type >= RIB_ATTR_TYPES || entry.type == RIB_ATTR_5 || of_route != (owner == rib_attr_owner::route))
        return false;
    const rib_attr_shape &shape = rib_attr_shapes[entry.type];
    if (shape.head == 0 || entry.len < shape.head)
        return false;
    const unsigned count = shape.count(entry.value);
    if (shape.item != 0 && (count == 0 || count > shape.max_items))
        return false;
    return entry.len == shape.head + count * shape.item && value_valid(entry);
}

bool rib_attrs_valid(const uint8_t *entries, size_t len, rib_attr_owner owner)
{
    std::bitset<RIB_ATTR_TYPES> seen;
    for (const uint8_t *at = entries, *end = entries + len; at != end;) {
        const entry_td entry = entry_at(at);
        if (!entry_valid(entry, owner) || seen.test(entry.type))
            return false;
        seen.set(entry.type);
        at = entry.value + entry.len;
    }
    /* A route is of one algorithm or of several, or asks for one thing. */
    return seen[RIB_ATTR_ALGO] + seen[RIB_ATTR_ALGO_LABELS] + seen[RIB_ATTR_SID_REQUEST] + seen[RIB_ATTR_IID_REQUEST] <= 1;
}

void rib_attr_append(std::vector<uint8_t> &entries, rib_attr_type_t type, const void *value, size_t len)
{
    const rib_attr_entry_td header = {.ae_type = type, .ae_unused_1 = 0, .ae_len = static_cast<uint16_t>(len)};
    const size_t at = entries.size();
    entries.resize(at + sizeof header + len);
    rib_store(&entries[at], header);
    std::memcpy(&entries[at + sizeof header], value, len);
}

std::vector<uint8_t> rib_attrs_kept(const uint8_t *entries, size_t len)
{
    std::vector<uint8_t> kept;
    const rib_attr_set set(entries, len);
    kept.reserve(len);
    for (uint8_t type = 0; type != RIB_ATTR_TYPES; ++type)
        if (set.has(type) && type != RIB_ATTR_SID_REQUEST && type != RIB_ATTR_IID_REQUEST)
            rib_attr_append(kept, static_cast<rib_attr_type_t>(type), set.value(type), set.len(type));
    return kept;
}
