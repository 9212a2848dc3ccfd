/*
 * Spoilt replies, and what the first word of one says.
 */
#pragma once

#include <algorithm>

#include "tests/support/hex.h"

/* Calls visit with every proper prefix of a reply and with each place spoilt, as a byte or as a number. The middle of a long
 * reply, which is one of many like it, is sampled. */
template <class visit_t> void each_spoilt(const bytes_t &good, visit_t visit)
{
    for (size_t offset = 0; offset < good.size(); ++offset) {
        if (good.size() > 2048 && offset >= 256 && good.size() - offset > 64 && offset % 41)
            continue;
        visit(slice(good, 0, offset), offset, "ends");
        bytes_t spoilt = good;
        for (const int byte : {good[offset] ^ 0xff, good[offset] ^ 0x01, good[offset] + 1}) {
            spoilt[offset] = static_cast<uint8_t>(byte);
            visit(spoilt, offset, "differs");
        }
        for (const size_t width : {1u, 2u, 4u})
            for (const uint8_t byte : {uint8_t{0x00}, uint8_t{0xff}}) {
                spoilt = good;
                std::fill_n(spoilt.begin() + static_cast<ptrdiff_t>(offset), std::min(width, good.size() - offset), byte);
                visit(spoilt, offset, byte ? "is at its maximum" : "is zero");
            }
    }
}

/* A number of a reply that was received over other bytes, most significant byte first. */
inline uint32_t told(const bytes_t &reply, size_t offset = 0, size_t width = 4, const bytes_t &before = bytes_t(48))
{
    uint32_t number = 0;
    for (size_t at = offset; at != offset + width; ++at)
        number = number << 8 | (at < reply.size() ? reply[at] : before.at(at));
    return number;
}
