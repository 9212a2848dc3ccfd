#include "route_range.h"

/* An end without a length; the shortest prefix that begins at an address comes first among those that do. */
static uint8_t shortest_length(const in6_addr &addr)
{
    uint8_t len = 0;
    while (bits_of(addr) & ~mask_of(len))
        ++len;
    return len;
}

/* One end of a range: a prefix, or an address, which gets the length that takes in all that begins there. */
static const char *parse_end(std::string_view text, bool first, ip_prefix *end)
{
    if (text.find('/') != text.npos)
        return parse_prefix(text, end);
    if (const char *why = parse_address(text, &end->addr))
        return why;
    end->len = first ? shortest_length(end->addr) : 128;
    return nullptr;
}

const char *parse_range(std::string_view text, route_range *range)
{
    const size_t dash = text.find('-');
    route_range read;
    if (dash == text.npos) {
        if (const char *why = parse_prefix(text, &read.start))
            return why;
        read.end = read.start;
    } else {
        if (const char *why = parse_end(text.substr(0, dash), true, &read.start))
            return why;
        if (const char *why = parse_end(text.substr(dash + 1), false, &read.end))
            return why;
        if (bits_of(read.start.addr) > (bits_of(read.end.addr) | ~mask_of(read.end.len)))
            return "the range ends before it begins";
    }
    *range = read;
    return nullptr;
}
