/*
 * Values of path attributes: as words, as bytes of the records behind a path, and as JSON.
 *
 * Reading words returns NULL, or why they are no such value. Showing takes any bytes: what they do not hold reads as zero.
 */
#pragma once

#include "output.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

using words_t = std::vector<std::string>;
using value_t = std::vector<uint8_t>;

const char *parse_labels(const words_t &words, value_t *value);
const char *parse_label(const words_t &words, value_t *value);
const char *parse_ecomms(const words_t &words, value_t *value);
const char *parse_nnh(const words_t &words, value_t *value);
const char *parse_word(const words_t &words, value_t *value);
const char *parse_interface(const words_t &words, value_t *value);
const char *parse_via_sid(const words_t &words, value_t *value);
const char *parse_tunnel(const words_t &words, value_t *value);
const char *parse_segment_list(const words_t &words, value_t *value);
/* As many bytes as hexadecimal digits say; exactly bytes of them. */
const char *parse_bytes(const words_t &words, size_t bytes, value_t *value);

json show_numbers(const value_t &value);
json show_number(const value_t &value);
json show_ecomms(const value_t &value);
json show_nnh(const value_t &value);
json show_via_sid(const value_t &value);
json show_tunnel(const value_t &value);
json show_segment_list(const value_t &value);
json show_bytes(const value_t &value);

/* A number or record at an offset, zero where there are too few bytes. */
template <class field> field field_at(const value_t &value, size_t offset)
{
    field read = {};
    if (offset < value.size())
        std::memcpy(static_cast<void *>(&read), value.data() + offset, std::min(sizeof read, value.size() - offset));
    return read;
}
template <class field> void append(value_t *value, const field &what)
{
    const auto *bytes = reinterpret_cast<const uint8_t *>(&what);
    value->insert(value->end(), bytes, bytes + sizeof what);
}
/* How often an item stands behind an offset, of as many as are said to. */
inline size_t items_in(const value_t &value, size_t offset, size_t item, size_t said)
{
    return value.size() < offset ? 0 : std::min(said, (value.size() - offset) / item);
}
