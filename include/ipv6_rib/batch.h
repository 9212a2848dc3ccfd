/*
 * Batch buffers: many tables, routes and paths in one message of at most 512 KiB. The caller owns the buffer, fills it
 * (here and in batch_route.h), sends it and walks the results (batch_send.h).
 *
 * Filling takes no lock and does not block; one buffer must not be used by two threads at once.
 */
#ifndef IPV6_RIB_BATCH_H
#define IPV6_RIB_BATCH_H

#include <ipv6_rib/protocol.h>
#include <ipv6_rib/types.h>

IPV6_RIB_BEGIN

typedef struct rib_batch_buffer rib_batch_buffer;

/* What an operation that adds to a buffer returns. */
typedef enum rib_batch_buffer_result {
    RIB_BATCH_BUFFER_ERROR = -1, /* nothing was added: no buffer, no room, no current route, or a refused value */
    RIB_BATCH_BUFFER_OK = 1,     /* added */
    RIB_BATCH_BUFFER_FULL = 2,   /* added, but send now: the last record waits for the next message */
    /* Refused, and nothing was added; the names say which value it was. */
    RIB_BATCH_BUFFER_TOO_MANY_ITEMS = 4,        /* more than 8 items in an array */
    RIB_BATCH_BUFFER_TOO_MANY_NNH = 5,          /* more than 512 next-next-hops */
    RIB_BATCH_BUFFER_INVALID_INTF = 6,          /* interface 0 */
    RIB_BATCH_BUFFER_TOO_MANY_SIDS = 7,         /* more than 24 SIDs */
    RIB_BATCH_BUFFER_INVALID_TRANSIT_FUNC = 8,  /* no headend behaviour */
    RIB_BATCH_BUFFER_TOO_MANY_ALGO_LABELS = 10, /* more than 256 labels */
    RIB_BATCH_BUFFER_NOT_IID_TABLE = 13,        /* the current table may have no IID request */
    RIB_BATCH_BUFFER_ATTR_CONFLICT = 14,        /* the route has an attribute that excludes it */
    RIB_BATCH_BUFFER_ATTR_DUPLICATE = 15,       /* the route has this attribute */
    RIB_BATCH_BUFFER_SID_INTEROP_FAILED = 18,   /* a SID format that does not exist */
    RIB_BATCH_BUFFER_INVALID_OPCODE = 22,       /* of a SID request */
    RIB_BATCH_BUFFER_INVALID_SID_REQ = 23,      /* a SID request without a function */
    RIB_BATCH_BUFFER_NOT_ZERO_PREFIX = 24,      /* a SID request on a route other than :: */
    RIB_BATCH_BUFFER_INVALID_TUNNEL = 25,       /* network identifiers that differ */
    RIB_BATCH_BUFFER_INVALID_SL_ID = 26,        /* a segment list of another kind */
} rib_batch_buffer_result;

/**
 * Allocates an empty buffer, for table 0 and protocol 0 until it is initialised.
 *
 * @param small  0 for messages of up to 524,288 bytes, else 63,488
 * @return the buffer, released with ipv6_rib_batch_buffer_free(); NULL without memory
 */
IPV6_RIB_API rib_batch_buffer *ipv6_rib_batch_buffer_allocate(int small);
/** Releases a buffer; NULL is allowed. */
IPV6_RIB_API void ipv6_rib_batch_buffer_free(rib_batch_buffer *buffer);
/** Makes it a buffer for the routes of one protocol in one table. Records in it stay: clear it first. NULL is
 * ignored. */
IPV6_RIB_API void ipv6_rib_batch_buffer_init(rib_batch_buffer *buffer, rib_tableid_td table, rib_protoid_td proto);
/** Empties a buffer and makes it one for several tables, each opened with ipv6_rib_batch_table_init(). NULL is ignored. */
IPV6_RIB_API void ipv6_rib_batch_buffer_init2(rib_batch_buffer *buffer);
/** Empties a buffer; NULL is allowed. */
IPV6_RIB_API void ipv6_rib_batch_buffer_clear(rib_batch_buffer *buffer);
/** 1 when nothing is in the buffer, or it is NULL; else 0. */
IPV6_RIB_API int ipv6_rib_batch_buffer_is_empty(const rib_batch_buffer *buffer);

/**
 * Opens a table of a buffer for several tables; the routes that follow belong to it.
 *
 * @return RIB_BATCH_BUFFER_OK; RIB_BATCH_BUFFER_FULL (opened, but no room for a route: send first);
 *         RIB_BATCH_BUFFER_ERROR (buffer is NULL or over its limit)
 */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_table_init(rib_batch_buffer *buffer, rib_tableid_td table,
                                                               rib_protoid_td proto);

/** Adds a marker: the protocol's routes are complete. As the marker below: OK, FULL, or ERROR (buffer over its limit); buffer
 * required. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_complete(rib_batch_buffer *buffer);
/** Adds a marker: the protocol has converged. @param a table, @param b any value, as the reference server reads them */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_converge(rib_batch_buffer *buffer, uint32_t a, uint32_t b);

/*
 * Room. Ask before a route is begun: a route that crosses the limit waits in the buffer for the next message, where in a
 * buffer for several tables it no longer belongs to a table and is refused with RIB_RESULT_NO_TABLE.
 */
/** 1 when a route with that many paths fits without attributes, else 0; 0 for NULL. */
IPV6_RIB_API int ipv6_rib_batch_buffer_route_fits(const rib_batch_buffer *buffer, uint32_t paths);
/** 1 when a table with that many routes, and paths in sum, fits without attributes, else 0; 0 for NULL. */
IPV6_RIB_API int ipv6_rib_batch_buffer_table_fits(const rib_batch_buffer *buffer, uint16_t paths, uint16_t routes);

/* What a route with its paths and attributes (attributes.h) will need: how many of each, or whether it is there. */
typedef struct rib_batch_sizes {
    uint16_t paths;       /*  0 */
    uint16_t items_64;    /*  2 paths with binding label, trailing blocks or more than one attribute: 64 bytes of reserve */
    uint16_t items_32;    /*  4 SIDs of a list */
    uint16_t items_8;     /*  6 extended communities and next-next-hops */
    uint16_t items_12;    /*  8 labels by algorithm */
    uint16_t items_16;    /* 10 layer-2 information of paths */
    uint16_t items_4;     /* 12 interfaces and groups */
    uint16_t items_24[3]; /* 14 SIDs that paths lead through, tunnels, forwarding tables that paths lead through */
    uint32_t has_168;     /* 20 a request for an IID */
    uint32_t has_256;     /* 24 a request for a SID */
    uint32_t has_4[2];    /* 28 an algorithm; another value of 4 bytes */
    uint32_t has_1;       /* 36 layer-2 information */
    uint32_t has_24;      /* 40 a forwarding table */
} rib_batch_sizes;
/** 1 when a route of that size fits, else 0; 0 when an argument is NULL. */
IPV6_RIB_API int ipv6_rib_batch_buffer_route_fits2(const rib_batch_buffer *buffer, const rib_batch_sizes *sizes);
/** 1 when a table record and a route of that size fit, else 0; 0 when an argument is NULL. */
IPV6_RIB_API int ipv6_rib_batch_buffer_table_fits2(const rib_batch_buffer *buffer, const rib_batch_sizes *sizes);

/** Stores a record type in the first byte of a record. @param record required @return 1 */
IPV6_RIB_API int ipv6_rib_batch_set_argument_type(void *record, uint8_t type);

/*
 * Protocol batches: many registrations in one exchange, in a chain of buffers.
 */
/**
 * Allocates a chain of buffers for a number of protocol records.
 *
 * @return the first buffer; NULL without memory
 */
IPV6_RIB_API rib_batch_buffer *ipv6_rib_batch_proto_buffer_allocate(uint32_t records);
/** Releases a chain and the reply area that its sends used; NULL is allowed. */
IPV6_RIB_API void ipv6_rib_batch_proto_buffer_free(rib_batch_buffer *first);
/** Empties a chain. Required after each send. NULL is allowed. */
IPV6_RIB_API void ipv6_rib_batch_proto_buffer_init(rib_batch_buffer *first);
/**
 * Adds a registration of a further instance of the client's protocol. Reads instance_name (NULL for none, at most 38
 * characters), the first byte of word_16, reg_word1 to reg_word4 and reg_word64.
 *
 * @return RIB_BATCH_BUFFER_OK; RIB_BATCH_BUFFER_FULL (the chain is full and this record will not be sent: send, init, and
 *         add it again); RIB_BATCH_BUFFER_ERROR (an argument is NULL, no room, or the name is too long)
 */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_add_proto(rib_batch_buffer *first, const rib_register_protocol_in *in);
/** Adds the end of a registration. @param value as for ipv6_rib_protocol_unregister(). Results as above. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_del_proto(rib_batch_buffer *first, uint32_t value,
                                                                     rib_protoid_td protoid);

IPV6_RIB_END

#endif
