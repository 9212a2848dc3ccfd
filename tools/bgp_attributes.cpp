#include "bgp_attributes.h"

#include "byte_cursor.h"

#include <algorithm>
#include <cstring>

namespace
{

enum : uint8_t { attr_extended_length = 0x10, attr_as_path = 2, attr_mp_reach = 14 };
enum : uint8_t { as_set = 1, as_sequence = 2, as_confed_sequence = 3, as_confed_set = 4 };

const char *parse_as_path(std::span<const uint8_t> value, uint32_t *len)
{
    byte_cursor cursor(value);
    uint32_t sum = 0;
    while (cursor.left() > 0) {
        const uint8_t type = cursor.u8(), count = cursor.u8();
        cursor.bytes(size_t{4} * count);
        if (!cursor.ok())
            return "the AS path runs over its attribute";
        if (type < as_set || type > as_confed_set)
            return "the AS path has a segment of unknown type";
        if (type == as_set)
            sum += count > 0;
        else if (type == as_sequence)
            sum += count;
    }
    *len = sum;
    return nullptr;
}

/* Dumps hold the next hop alone, but some hold the attribute as it travelled: family 2 is then seen by its zero byte. */
const char *parse_mp_reach(std::span<const uint8_t> value, in6_addr *nexthop)
{
    byte_cursor cursor(value);
    const bool full = !value.empty() && value[0] == 0;
    if (full) {
        const uint16_t family = cursor.u16();
        cursor.u8();
        if (cursor.ok() && family != 2)
            return "the next hop is of another family";
    }
    const size_t len = cursor.u8();
    const std::span<const uint8_t> addresses = cursor.bytes(len);
    if (!cursor.ok())
        return "the next hop runs over its attribute";
    if (len != 16 && len != 32)
        return "the next hop has neither 16 nor 32 bytes";
    if (!full && cursor.left() > 0)
        return "something follows the next hop in its attribute";
    std::memcpy(nexthop, addresses.data(), sizeof *nexthop); // of two the global one comes first
    const bool specified = std::any_of(addresses.begin(), addresses.begin() + 16, [](uint8_t byte) { return byte != 0; });
    return specified ? nullptr : "the next hop is the unspecified address";
}

} // namespace

const char *parse_bgp_attributes(std::span<const uint8_t> attributes, bgp_path *path)
{
    byte_cursor cursor(attributes);
    bool has_as_path = false, has_nexthop = false;
    while (cursor.left() > 0) {
        const uint8_t flags = cursor.u8(), type = cursor.u8();
        const size_t len = flags & attr_extended_length ? cursor.u16() : cursor.u8();
        const std::span<const uint8_t> value = cursor.bytes(len);
        if (!cursor.ok())
            return "an attribute runs over the entry";
        const char *why = nullptr;
        if (type == attr_as_path && !has_as_path)
            has_as_path = !(why = parse_as_path(value, &path->as_path_len));
        else if (type == attr_mp_reach && !has_nexthop)
            has_nexthop = !(why = parse_mp_reach(value, &path->nexthop));
        if (why)
            return why;
    }
    if (!has_as_path)
        return "it has no AS path";
    return has_nexthop ? nullptr : "it has no IPv6 next hop";
}
