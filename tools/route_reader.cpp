#include "route_reader.h"

#include <fmt/format.h>

namespace
{

constexpr size_t mrt_header_bytes = 12;

/* The type of an MRT record is 11 to 49 in 16 bits: its first byte is a zero, which no text holds. */
bool looks_like_mrt(std::span<const uint8_t> start)
{
    return start.size() >= mrt_header_bytes && start[4] == 0 && start[5] >= 11 && start[5] <= 49;
}

} // namespace

std::unique_ptr<route_reader> route_reader_for(input &bytes)
{
    const std::span<const uint8_t> start = bytes.peek(mrt_header_bytes);
    if (looks_like_mrt(start))
        return mrt_reader(bytes);
    return !start.empty() && start[0] == '{' ? json_reader(bytes) : text_reader(bytes);
}

std::string printable(std::string_view text)
{
    constexpr size_t longest = 60;
    std::string shown;
    for (const char c : text.substr(0, longest))
        shown += c >= ' ' && c <= '~' ? std::string(1, c) : fmt::format("\\x{:02x}", static_cast<uint8_t>(c));
    return text.size() > longest ? shown + "..." : shown;
}
