#include "address.h"

#include <arpa/inet.h>
#include <endian.h>
#include <fmt/format.h>

#include <charconv>
#include <cstring>

address_bits bits_of(const in6_addr &addr)
{
    uint64_t half[2];
    std::memcpy(half, &addr, sizeof half);
    return address_bits{be64toh(half[0])} << 64 | be64toh(half[1]);
}

in6_addr address_of(address_bits bits)
{
    const uint64_t half[2] = {htobe64(static_cast<uint64_t>(bits >> 64)), htobe64(static_cast<uint64_t>(bits))};
    in6_addr addr;
    std::memcpy(&addr, half, sizeof addr);
    return addr;
}

in6_addr address_at(const void *place)
{
    in6_addr addr;
    std::memcpy(&addr, place, sizeof addr);
    return addr;
}

address_bits mask_of(unsigned len)
{
    return len ? ~address_bits{0} << (128 - len) : 0;
}

in6_addr masked(const in6_addr &addr, unsigned len)
{
    return address_of(bits_of(addr) & mask_of(len));
}

bool same_address(const in6_addr &a, const in6_addr &b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

bool operator==(const ip_prefix &a, const ip_prefix &b)
{
    return a.len == b.len && same_address(a.addr, b.addr);
}

bool in_prefix_order(const ip_prefix &a, const ip_prefix &b)
{
    const address_bits left = bits_of(a.addr), right = bits_of(b.addr);
    return left != right ? left < right : a.len < b.len;
}

bool contains(const ip_prefix &prefix, address_bits addr)
{
    return (addr & mask_of(prefix.len)) == bits_of(prefix.addr);
}

const char *parse_address(std::string_view text, in6_addr *addr)
{
    char terminated[INET6_ADDRSTRLEN] = {};
    if (text.size() >= sizeof terminated || text.find('\0') != text.npos)
        return "not an IPv6 address";
    text.copy(terminated, text.size());
    return inet_pton(AF_INET6, terminated, addr) == 1 ? nullptr : "not an IPv6 address";
}

const char *parse_prefix(std::string_view text, ip_prefix *prefix)
{
    const size_t slash = text.find('/');
    if (slash == text.npos)
        return "not an IPv6 prefix: the length is missing";
    ip_prefix read = {};
    const char *const first = text.data() + slash + 1, *const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(first, last, read.len);
    if (error != std::errc() || end != last || read.len > 128)
        return "not a prefix length of 0 to 128";
    if (parse_address(text.substr(0, slash), &read.addr))
        return "not an IPv6 prefix";
    if (bits_of(read.addr) & ~mask_of(read.len))
        return "the prefix has bits set behind its length";
    *prefix = read;
    return nullptr;
}

std::string text_of(const in6_addr &addr)
{
    char text[INET6_ADDRSTRLEN];
    inet_ntop(AF_INET6, &addr, text, sizeof text);
    return text;
}

std::string text_of(const ip_prefix &prefix)
{
    return fmt::format("{}/{}", text_of(prefix.addr), prefix.len);
}
