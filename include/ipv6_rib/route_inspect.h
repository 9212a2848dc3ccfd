/*
 * Looking into routes and paths. Nothing is sent, locked or allocated.
 */
#ifndef IPV6_RIB_ROUTE_INSPECT_H
#define IPV6_RIB_ROUTE_INSPECT_H

#include <ipv6_rib/route.h>

IPV6_RIB_BEGIN

/* A path with what tells it from others of its route. 128 bytes, packed. */
typedef struct __attribute__((packed)) ip_rib_path {
    rib_pathtype path;       /*   0 of it, interface, next-hop table and next hop are compared */
    uint32_t path_cmp_word;  /*  88 */
    uint8_t sec_addr_count;  /*  92 secondary addresses, at most 2 */
    uint8_t unused_93[3];    /*  93 */
    uint8_t sec_addr[2][16]; /*  96 */
} ip_rib_path;

/**
 * Orders two paths: by next-hop table, next hop, interface, path_cmp_word, then by their secondary addresses.
 *
 * @param path1, path2  in host order; both required (fatal assertions)
 * @return -1, 0 or 1
 */
IPV6_RIB_API int ipv6_rib_route_path_compare(const ip_rib_path *path1, const ip_rib_path *path2);

/* A set of protocols: bit i of byte i / 8, least significant first, stands for identifier i. */
#define RIB_PROTOID_MASK_BYTES 12

/** 1 when a route, in host order, is owned or advertised by a protocol, else 0; 0 for a route that is NULL. */
IPV6_RIB_API int ipv6_rib_route_check_advertisement(const ipv6_routetype *route, uint16_t protoid);
/** 1 when a protocol of a set owns or advertises the route, else 0; 0 when route or mask (12 bytes) is NULL. */
IPV6_RIB_API int ipv6_rib_route_check_advertisement_mask(const ipv6_routetype *route, const uint8_t *mask);
/** Makes a set (12 bytes) of the protocols that advertise a route; its owner is not among them for that alone. Nothing happens
 * when route or mask is NULL. Identifiers above 95 are left out. */
IPV6_RIB_API void ipv6_rib_route_copy_advertisement_mask(const ipv6_routetype *route, uint8_t *mask);

IPV6_RIB_END

#endif
