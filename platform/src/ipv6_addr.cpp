/*
 * IPv6 address arithmetic.
 */
#include <platform/ipv6_addr.h>

#include <cstring>

void ipv6_prefix_only(struct in6_addr *addr, uint32_t prefix_len)
{
    if (prefix_len >= 128)
        return;
    const uint32_t whole = prefix_len / 8;
    addr->s6_addr[whole] = static_cast<uint8_t>(addr->s6_addr[whole] & ~(0xFFu >> prefix_len % 8));
    memset(addr->s6_addr + whole + 1, 0, sizeof addr->s6_addr - whole - 1);
}

int ipv6_addr_comp(const struct in6_addr *first, const struct in6_addr *second)
{
    const int order = memcmp(first->s6_addr, second->s6_addr, sizeof first->s6_addr);
    return (order > 0) - (order < 0);
}
