/*
 * Copying and comparing IPv6 addresses.
 */
#include <cstring>

#include <platform/ipv6_addr.h>

#include "ip/rib/lib/src/rib_addr.h"
#include "ip/rib/lib/src/rib_fatal.h"

void rib_copy_addr(void *dest, const in6_addr_t *src)
{
    rib_fatal_unless(dest, "dest != ((void*)0)");
    rib_fatal_unless(src, "src != ((void*)0)");
    std::memcpy(dest, src, sizeof *src);
}

int rib_cmp_addr(const in6_addr_t *addr1, const in6_addr_t *addr2)
{
    rib_fatal_unless(addr1, "addr1 != ((void*)0)");
    rib_fatal_unless(addr2, "addr2 != ((void*)0)");
    return ipv6_addr_comp(addr1, addr2);
}
