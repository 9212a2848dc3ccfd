/*
 * An IPv6 prefix as a number: ordered by address, then by length, so that a prefix stands right before the prefixes
 * within it. Bits behind the length are zero in every prefix that a table holds.
 */
#pragma once

#include <bit>
#include <compare>
#include <cstdint>

#include "ip/rib/wire/rib_wire.h"

constexpr unsigned RIB_ADDR_BITS = 128;

struct rib_prefix {
    uint64_t high = 0;
    uint64_t low = 0;
    uint8_t len = 0;
    auto operator<=>(const rib_prefix &) const = default;
};

inline rib_prefix rib_prefix_load(const void *addr, uint8_t len)
{
    const char *bytes = static_cast<const char *>(addr);
    return {rib_load_net<uint64_t>(bytes), rib_load_net<uint64_t>(bytes + 8), len};
}

inline void rib_prefix_store(const rib_prefix &prefix, void *addr)
{
    char *bytes = static_cast<char *>(addr);
    rib_store_net(bytes, prefix.high);
    rib_store_net(bytes + 8, prefix.low);
}

/* The highest len bits of a word; len may pass 64. */
constexpr uint64_t rib_high_bits(unsigned len)
{
    return len == 0 ? 0 : len >= 64 ? ~uint64_t{0} : ~uint64_t{0} << (64 - len);
}

/* The prefix of len bits that begins like this one. */
inline rib_prefix rib_prefix_cut(const rib_prefix &prefix, unsigned len)
{
    return {prefix.high & rib_high_bits(len), prefix.low & rib_high_bits(len > 64 ? len - 64 : 0), static_cast<uint8_t>(len)};
}

inline bool rib_prefix_has_host_bits(const rib_prefix &prefix)
{
    return rib_prefix_cut(prefix, prefix.len) != prefix;
}

/* How many leading bits two addresses share. */
inline unsigned rib_common_bits(const rib_prefix &first, const rib_prefix &second)
{
    if (first.high != second.high)
        return static_cast<unsigned>(std::countl_zero(first.high ^ second.high));
    return 64 + static_cast<unsigned>(std::countl_zero(first.low ^ second.low));
}

inline bool rib_prefix_covers(const rib_prefix &prefix, const rib_prefix &addr)
{
    return rib_common_bits(prefix, addr) >= prefix.len;
}
