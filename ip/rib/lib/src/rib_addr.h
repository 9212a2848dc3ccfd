/*
 * Address copies and comparisons, which the address family's layer provides.
 */
#pragma once

#include <ipv6_rib/types.h>

/* Copies 16 bytes to any place. Both are required: fatal assertions "dest != ((void*)0)" and "src != ((void*)0)". */
void rib_copy_addr(void *dest, const in6_addr_t *src);
/* Orders two addresses: -1, 0 or 1. Both are required: fatal assertions "addr1" and "addr2". */
int rib_cmp_addr(const in6_addr_t *addr1, const in6_addr_t *addr2);
