/*
 * The bytes of a run, taken from the front. What is not there any more reads as zeros, or as fewer bytes.
 */
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

using fuzz_bytes = std::span<const uint8_t>;

class fuzz_input
{
public:
    fuzz_input() = default;
    fuzz_input(const uint8_t *data, size_t size) : left_(data, size) {}

    bool empty() const { return left_.empty(); }
    fuzz_bytes rest() { return take(left_.size()); }
    fuzz_bytes take(size_t len)
    {
        const fuzz_bytes taken = left_.first(std::min(len, left_.size()));
        left_ = left_.subspan(taken.size());
        return taken;
    }
    uint8_t byte()
    {
        const fuzz_bytes taken = take(1);
        return taken.empty() ? uint8_t{0} : taken[0];
    }
    /* The low byte first. */
    size_t number()
    {
        const uint8_t low = byte();
        return low | size_t{byte()} << 8;
    }
    /* So many bytes as the number ahead of them says. */
    fuzz_bytes block() { return take(number()); }

private:
    fuzz_bytes left_;
};
