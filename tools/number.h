/*
 * Numbers as people write them: decimal, or hexadecimal behind 0x.
 */
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

/* Nothing when the text is no number, or one above most. */
inline std::optional<uint64_t> parse_number(std::string_view text, uint64_t most)
{
    const bool hexadecimal = text.starts_with("0x");
    text.remove_prefix(hexadecimal ? 2 : 0);
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, hexadecimal ? 16 : 10);
    if (error != std::errc() || end != text.data() + text.size() || number > most)
        return {};
    return number;
}
