/*
 * IPv6 address arithmetic.
 */
#ifndef PLATFORM_IPV6_ADDR_H
#define PLATFORM_IPV6_ADDR_H

#include <netinet/in.h>
#include <stdint.h>

#include <platform/platform.h>

PLATFORM_BEGIN

/** Clears every bit of an address behind the first prefix_len; more than 128 counts as 128. */
PLATFORM_API void ipv6_prefix_only(struct in6_addr *addr, uint32_t prefix_len);
/** Orders two addresses as 128-bit numbers: -1, 0 or 1. */
PLATFORM_API int ipv6_addr_comp(const struct in6_addr *first, const struct in6_addr *second);

PLATFORM_END

#endif
