/*
 * Reads numbers in network order out of foreign bytes. A read beyond the end gives zeros and makes ok() false for good:
 * look at ok() before using what was read.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

class byte_cursor
{
public:
    explicit byte_cursor(std::span<const uint8_t> bytes) : rest_(bytes) {}

    bool ok() const { return ok_; }
    size_t left() const { return rest_.size(); }
    uint8_t u8() { return static_cast<uint8_t>(number(1)); }
    uint16_t u16() { return static_cast<uint16_t>(number(2)); }
    uint32_t u32() { return static_cast<uint32_t>(number(4)); }

    /* The next bytes; empty when there are not so many. */
    std::span<const uint8_t> bytes(size_t count)
    {
        if (count > rest_.size()) {
            ok_ = false;
            rest_ = {};
            return {};
        }
        const std::span<const uint8_t> taken = rest_.first(count);
        rest_ = rest_.subspan(count);
        return taken;
    }

private:
    uint64_t number(size_t width)
    {
        uint64_t value = 0;
        for (const uint8_t byte : bytes(width))
            value = value << 8 | byte;
        return value;
    }

    std::span<const uint8_t> rest_;
    bool ok_ = true;
};
