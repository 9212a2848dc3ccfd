/*
 * Routes: the record in which they are handed over, and the lookups.
 *
 * What the numbers of a record mean is the server's business; the names are those of the reference server, and
 * docs/wire.md tells which field of a downloaded route comes back where. Addresses are bytes, as records may stand at any
 * place: copy one into a struct in6_addr, or hand it to inet_ntop() as it is.
 */
#ifndef IPV6_RIB_ROUTE_H
#define IPV6_RIB_ROUTE_H

#include <ipv6_rib/types.h>

IPV6_RIB_BEGIN

/* One path of a route. 88 bytes, packed: it travels. */
typedef struct __attribute__((packed)) rib_pathtype {
    uint32_t path_interface;     /*  0 outgoing interface, 0 for none */
    uint32_t path_nexthop_table; /*  4 table in which the next hop is to be resolved, 0 for the route's own */
    uint32_t path_metric;        /*  8 */
    uint8_t path_unused_12[4];   /* 12 */
    uint8_t path_nexthop[16];    /* 16 */
    uint8_t path_infosource[16]; /* 32 who told of the path */
    uint32_t path_u32_48;        /* 48 */
    uint32_t path_u32_52;        /* 52 */
    uint8_t path_unused_56[12];  /* 56 */
    uint32_t path_label;         /* 68 first remote label, RIB_LABEL_NONE for none */
    uint32_t path_u32_72;        /* 72 */
    uint8_t path_infosource_afi; /* 76 1 IPv4, 2 IPv6 */
    uint8_t path_state;          /* 77 RIB_PATH_* */
    uint8_t path_label_count;    /* 78 */
    uint8_t path_unused_79;      /* 79 */
    uint16_t path_u16_80;        /* 80 */
    uint16_t path_u16_82;        /* 82 */
    uint8_t path_unused_84[4];   /* 84 */
} rib_pathtype;

#define RIB_PATH_BACKUP 0x1u

/* rt_state */
#define RIB_ROUTE_BEST 0x1u      /* the one that forwards among the routes of its prefix */
#define RIB_ROUTE_STALE 0x2u     /* held for a client that died */
#define RIB_ROUTE_BACKUP 0x4u    /* has backup paths only */
#define RIB_ROUTE_WITHDRAWN 0x8u /* of an update: is gone, and has no paths */

#define IPV6_RIB_ROUTE_PATHS 128

/* Value of a record's list of advertising protocols. */
typedef struct __attribute__((packed)) rib_advertisers {
    uint32_t adv_count;     /* as received */
    uint16_t adv_protoid[]; /* as received */
} rib_advertisers;

/* A route with its paths: 11,392 bytes. The fixed part is packed: it travels. */
typedef struct __attribute__((packed)) ipv6_routetype {
    uint8_t rt_prefix_len;     /*  0 */
    uint8_t rt_distance;       /*  1 administrative distance */
    uint8_t rt_state;          /*  2 RIB_ROUTE_* */
    uint8_t rt_path_count;     /*  3 paths that follow, at most 128 */
    uint8_t rt_unused_4[2];    /*  4 */
    uint16_t rt_type;          /*  6 caller value of the download */
    uint16_t rt_proto_kind;    /*  8 RIB_PROTO_KIND_* of the owner */
    rib_protoid_td rt_protoid; /* 10 owner */
    uint8_t rt_unused_12[4];   /* 12 */
    uint8_t rt_prefix[16];     /* 16 */
    rib_tableid_td rt_table;   /* 32 */
    uint32_t rt_flags;         /* 36 caller flags of the download */
    uint16_t rt_u16_40;        /* 40 */
    uint8_t rt_unused_42[2];   /* 42 */
    uint32_t rt_metric;        /* 44 */
    uint32_t rt_tag;           /* 48 */
    uint32_t rt_local_label;   /* 52 RIB_LABEL_NONE for none */
    uint32_t rt_u32_56;        /* 56 */
    uint32_t rt_version;       /* 60 grows with every change of the table */
    uint8_t rt_unused_64[8];   /* 64 */
    /* Attributes that came with the route; NULL when absent. They point into the received bytes: into this record when it
     * was copied for the caller. */
    rib_advertisers *rt_advertisers;            /*  72 type 7 */
    void *rt_attr_6;                            /*  80 */
    void *rt_attr_8;                            /*  88 */
    void *rt_attr_9;                            /*  96 */
    void *rt_attr_10;                           /* 104 */
    void *rt_attr_11;                           /* 112 */
    void *rt_attr_15;                           /* 120 */
    rib_pathtype rt_path[IPV6_RIB_ROUTE_PATHS]; /* 128 */
} ipv6_routetype;

/* Lookup flags of the reference server. */
#define RIB_LOOKUP_LONGEST 0x0u     /* longest match of at most prefix_len bits */
#define RIB_LOOKUP_EXACT 0x1u       /* the prefix itself */
#define RIB_LOOKUP_LONGER 0x4u      /* the first route, in prefix order, that is longer than the prefix and within it */
#define RIB_LOOKUP_RESERVED 0x1000u /* the library's own */
#define RIB_LOOKUP_RANGE 0x4000u    /* longest match among the lengths of a range */

/**
 * Finds the best route for an address. Blocks until the server has answered.
 *
 * @param conn       connection
 * @param table      table to look in
 * @param addr       address or prefix; required
 * @param prefix_len length of the prefix, 128 for an address
 * @param flags      RIB_LOOKUP_*; without RIB_LOOKUP_RESERVED (fatal assertion)
 * @param unused     any value
 * @param route      receives the route in host order; without it 0 is returned
 * @param err        receives 0 or the code; required by ipv6_rib_route_lookup()
 * @return 1 when a route was found; 0 when there is none (*err is 0) or on failure (*err tells): RIB_LIB_ERR_BAD_ARG (conn
 *         is NULL), RIB_LIB_ERR_NO_MEMORY, RIB_LIB_ERR_NO_CONNECTION, EMSGSIZE (the route has more than 128 paths or does
 *         not fit the record; nothing is written), EBADMSG (the reply is malformed), the channel's errno, the server's code
 */
IPV6_RIB_API int ipv6_rib_route_lookup(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t prefix_len,
                                       uint32_t flags, uint32_t unused, ipv6_routetype *route, errcode *err);
/** The same, but the record is left as received; ipv6_rib_route_xform() converts it. err may be NULL, as for the two below. */
IPV6_RIB_API int ipv6_rib_route_lookup_internal(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr,
                                                uint32_t prefix_len, uint32_t flags, uint32_t unused, ipv6_routetype *route,
                                                errcode *err);
/** Finds the first more specific route within a prefix; the record is left as received. */
IPV6_RIB_API int ipv6_rib_route_lookup_longer_internal(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr,
                                                       uint32_t prefix_len, uint32_t unused, ipv6_routetype *route, errcode *err);
/**
 * Finds the longest match for an address among the routes of min_len to max_len bits; the record is left as received.
 * Returns 0 at once, with *err untouched, when min_len is above max_len or max_len above 128.
 */
IPV6_RIB_API int ipv6_rib_route_lookup_longer_range_internal(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr,
                                                             uint32_t min_len, uint32_t max_len, ipv6_routetype *route,
                                                             errcode *err);

/**
 * Converts a record that came from one of the _internal() lookups to host order, in place, and moves its paths into
 * rt_path. Call it once. Paths that the record claims but does not hold are taken off rt_path_count, and reported.
 *
 * @param route  required
 */
IPV6_RIB_API void ipv6_rib_route_xform(ipv6_routetype *route);

/** Releases routes that the library allocated; NULL is allowed. */
IPV6_RIB_API void ipv6_rib_route_free(void *route);

IPV6_RIB_END

#endif
