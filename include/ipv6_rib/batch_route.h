/*
 * Routes and paths in a batch buffer: a route, then its paths, then the next route. A path always belongs to the route
 * written last. Routes and paths are written with one call, or in three steps when attributes are to be attached:
 * open, set, finish.
 *
 * Nothing here blocks or locks. An address that is NULL, or an info source that is NULL or of another family than 1 and
 * 2, is a fatal assertion. Results are those of batch.h: RIB_BATCH_BUFFER_ERROR leaves the buffer as it was, and is what a
 * buffer or path-opening record that is NULL gets.
 */
#ifndef IPV6_RIB_BATCH_ROUTE_H
#define IPV6_RIB_BATCH_ROUTE_H

#include <ipv6_rib/batch.h>

IPV6_RIB_BEGIN

/* Paths that one route of a batch may have. */
#define RIB_BATCH_ROUTE_PATHS 2048

/* An address with its family. */
typedef struct ip_rib_qlfd_addr_td {
    uint32_t afi; /* 1 IPv4, 2 IPv6 */
    union {
        const struct in_addr *v4;
        const in6_addr_t *v6;
    } addr;
} ip_rib_qlfd_addr_td;

/**
 * Writes a route with no metric, tag or distance of its own.
 *
 * @param prefix     required
 * @param prefixlen  0 to 128
 * @param value6     route type, given back with the route
 * @param flag       1: the paths that follow replace those that the route has; 0: they are added to them. Lowest bit only.
 * @return OK, FULL, or ERROR (buffer is NULL or over its limit)
 */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_add_route(rib_batch_buffer *buffer, const in6_addr_t *prefix,
                                                                     uint8_t prefixlen, uint16_t value6, uint32_t flag);
/**
 * Writes a route.
 *
 * @param flags    given back with the route; bit 0x8000 is the library's own: set while the route has no primary path
 * @param value12  metric
 * @param value16  tag
 * @param value40  administrative distance; 0 for the protocol's
 * Others, and results, as for ipv6_rib_batch_buffer_add_route().
 */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_add_route2(rib_batch_buffer *buffer, const in6_addr_t *prefix,
                                                                      uint8_t prefixlen, uint16_t value6, uint32_t flags,
                                                                      uint32_t value12, uint32_t flag, uint32_t value16,
                                                                      uint8_t value40);
/** Opens a route, to which attributes may be set until ipv6_rib_batch_buffer_add_route3() finishes it. OK or ERROR. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_init_route(rib_batch_buffer *buffer, const in6_addr_t *prefix,
                                                                      uint8_t prefixlen);
/** Finishes the route that ipv6_rib_batch_buffer_init_route() opened. OK, FULL, or ERROR (nothing is open). */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_add_route3(rib_batch_buffer *buffer);

/**
 * Adds a path to the current route. A route has one path for each next hop, interface and next-hop table: a path that
 * equals another in these replaces it.
 *
 * @param value152    outgoing interface, 0 for none
 * @param value8      path flags, kept
 * @param nexthop     required; :: for none
 * @param infosource  who told of the path; required
 * @param value4      path metric
 * @param value20, value16  given back with the path
 * @return OK; FULL; TOO_MANY_ITEMS; ERROR (no current route, 2,048 paths, or no room)
 */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_add_path(rib_batch_buffer *buffer, uint32_t value152, uint64_t value8,
                                                                    const in6_addr_t *nexthop, const in6_addr_t *infosource,
                                                                    uint32_t value4, uint32_t value20, uint16_t value16);
/**
 * The same with a table for the next hop, a label and extended communities.
 *
 * @param value176    table in which the next hop is to be resolved, 0 for the route's own
 * @param value24     given back with the path
 * @param label       remote label, RIB_LABEL_NONE for none
 * @param attr_array  16-bit count of at most 8, a 16-bit word, items of 8 bytes from offset 4; NULL for none; copied
 */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_add_path2(rib_batch_buffer *buffer, uint32_t value152, uint64_t value8,
                                                                     const in6_addr_t *nexthop, uint32_t value176,
                                                                     const in6_addr_t *infosource, uint32_t value4,
                                                                     uint16_t value16, uint32_t value24, uint32_t label,
                                                                     const void *attr_array);
/** The same with an info source of either family. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_add_path3(rib_batch_buffer *buffer, uint32_t value152, uint64_t value8,
                                                                     const in6_addr_t *nexthop, uint32_t value176,
                                                                     uint32_t value4, ip_rib_qlfd_addr_td infosource,
                                                                     uint32_t value20, uint16_t value16, uint32_t value24,
                                                                     uint32_t label, const void *attr_array);

/* What the two path-opening functions read. Room is kept for what it announces; attributes that it does not announce are refused
 * only when there is none. */
typedef struct rib_batch_path_init_in {
    uint32_t pi_u32_0;                 /*  0 interface */
    uint32_t pi_unused_4[3];           /*  4 */
    uint32_t pi_u32_16;                /* 16 table of the next hop */
    uint32_t pi_u32_20;                /* 20 given back with the path */
    ip_rib_qlfd_addr_td pi_infosource; /* 24 for added paths */
    uint32_t pi_count_a;               /* 40 next-next-hops that will be set */
    uint16_t pi_count_b;               /* 44 extended communities */
    uint16_t pi_count_c;               /* 46 SIDs */
    uint8_t pi_flags;                  /* 48 RIB_PATH_INIT_*: what else will be set */
} rib_batch_path_init_in;
#define RIB_PATH_INIT_16 0x02   /* layer-2 information */
#define RIB_PATH_INIT_24_A 0x04 /* SID that the path leads through */
#define RIB_PATH_INIT_4 0x08    /* interface or group */
#define RIB_PATH_INIT_24_B 0x10 /* tunnel */
#define RIB_PATH_INIT_24_C 0x20 /* forwarding table */

/** Opens an added path of the current route. in is required. OK or ERROR (no current route, 2,048 paths, no room). */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_add_path_init(rib_batch_buffer *buffer, const in6_addr_t *nexthop,
                                                                         const rib_batch_path_init_in *in);
/** Finishes an open path. OK, FULL, or ERROR (no path is open). */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_add_path_done(rib_batch_buffer *buffer);
/** The same for a backup path: a route of which every path is finished so is a backup route. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_add_backup_path_done(rib_batch_buffer *buffer);

/**
 * Withdraws a path of the current route; :: without interface and table withdraws all of them. A route without paths is gone.
 *
 * @param nexthop   required
 * @param value112  interface
 * @param value236  0
 * @return as for ipv6_rib_batch_buffer_add_path()
 */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_delete_path(rib_batch_buffer *buffer, const in6_addr_t *nexthop,
                                                                       uint32_t value112, uint32_t value236);
/** @param value136  table of the next hop */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_delete_path2(rib_batch_buffer *buffer, const in6_addr_t *nexthop,
                                                                        uint32_t value136, uint32_t value112, uint32_t value236);
/** @param value2  0 */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_delete_path3(rib_batch_buffer *buffer, const in6_addr_t *nexthop,
                                                                        uint32_t value136, uint32_t value112, uint32_t value236,
                                                                        uint8_t value2);
/** Opens a path withdrawal; its info source is not read. OK or ERROR. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_del_path_init(rib_batch_buffer *buffer, const in6_addr_t *nexthop,
                                                                         const rib_batch_path_init_in *in);
/** Finishes an open withdrawal. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_del_path_done(rib_batch_buffer *buffer);
/** The same for a backup path. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_del_backup_path_done(rib_batch_buffer *buffer);

IPV6_RIB_END

#endif
