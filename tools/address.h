/*
 * IPv6 addresses and prefixes: as text, as numbers, and how they contain each other.
 */
#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <string>
#include <string_view>

/* An address as a number: order and masks are those of the bits. */
using address_bits = unsigned __int128;

struct ip_prefix {
    in6_addr addr;
    uint8_t len;
};

address_bits bits_of(const in6_addr &addr);
in6_addr address_of(address_bits bits);
/* The address that stands at any place, aligned or not, as in a packed record. */
in6_addr address_at(const void *place);
/* The first len bits set, for a length of 0 to 128. */
address_bits mask_of(unsigned len);
/* The address without its bits behind len. */
in6_addr masked(const in6_addr &addr, unsigned len);

bool operator==(const ip_prefix &a, const ip_prefix &b);
/* By address, then the shorter first: what covers a prefix comes before it. */
bool in_prefix_order(const ip_prefix &a, const ip_prefix &b);
bool same_address(const in6_addr &a, const in6_addr &b);
bool contains(const ip_prefix &prefix, address_bits addr);

/* Each returns NULL, or why the text is none; the result is then left as it was. */
const char *parse_address(std::string_view text, in6_addr *addr);
const char *parse_prefix(std::string_view text, ip_prefix *prefix);

std::string text_of(const in6_addr &addr);
std::string text_of(const ip_prefix &prefix);
