/*
 * Wire bytes as a test writes and prints them.
 *
 * hex("06 00 0102 00*4 'bgp' @20 e0000001 // table") reads pairs of hex digits; spaces only separate. XX*n repeats a byte,
 * 'text' gives its characters, @n fills with zeros up to offset n (and throws when the bytes before it went too far, so
 * that offsets written in the margin are checked), // comments to the end of the line.
 */
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

using bytes_t = std::vector<uint8_t>;

/* Throws std::invalid_argument for text that is not in the notation. */
bytes_t hex(std::string_view text);

/* The bytes behind a pointer. */
bytes_t bytes_at(const void *place, size_t len);
/* A part of bytes, shortened where they end. */
bytes_t slice(const bytes_t &bytes, size_t offset, size_t len);
bytes_t operator+(const bytes_t &first, const bytes_t &second);

/* Writes a number into bytes, most significant byte first, as numbers travel. */
void put_net(bytes_t *bytes, size_t offset, uint64_t number, size_t width);

/* One record of a list, and what ends a list; the header of the record as it travels or as the host keeps it. */
bytes_t tlv(uint16_t type, const bytes_t &value, bool host_order = false);
inline const bytes_t DELIMITER(8);

/* Equal, or a failure that shows both around the first difference, in the same notation. */
testing::AssertionResult same_bytes(const bytes_t &got, const bytes_t &expected);
inline testing::AssertionResult same_bytes(const bytes_t &got, std::string_view expected)
{
    return same_bytes(got, hex(expected));
}
