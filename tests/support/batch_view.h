/*
 * The inside of a batch buffer, read by offset: the control words, then the message with its 48-byte header and its data.
 */
#pragma once

#include <cstring>

#include <ipv6_rib/batch.h>

#include "tests/support/hex.h"

struct batch_view_t {
    const rib_batch_buffer *buffer;

    uint32_t capacity() const { return word(0); }
    uint32_t send_limit() const { return word(4); }
    uint32_t data_len() const { return word(8); }
    uint32_t last_rec_off() const { return word(12); }
    bytes_t header() const { return bytes_at(at(32), 48); }
    bytes_t data() const { return bytes_at(at(80), data_len()); }
    /* Data bytes whether or not they count yet: records that are still open lie behind data_len(). */
    bytes_t data(size_t offset, size_t len) const { return bytes_at(at(80 + offset), len); }
    /* The control words and everything that lies in the data area. */
    bytes_t all() const { return bytes_at(buffer, 80 + data_len()); }

private:
    const char *at(size_t offset) const { return reinterpret_cast<const char *>(buffer) + offset; }
    uint32_t word(size_t offset) const
    {
        uint32_t value;
        std::memcpy(&value, at(offset), sizeof value);
        return value;
    }
};
