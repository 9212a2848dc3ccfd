/*
 * Updates: what the server has queued for this client, which asked for redistribution (redistribution.h, redist_batch.h) or
 * registered next hops (next_hop_batch.h).
 * The event of the connection fires when the queue is no longer empty; a fetch then brings all of it, in passes of up to
 * 512 KiB, and hands it to the callbacks that the caller names.
 *
 * Which messages there are is the server's business. The reference server sends routes (RIB_UPDATE_ROUTES), the end of an
 * initial dump (RIB_UPDATE_DUMP_END), markers of a source (RIB_UPDATE_SOURCE_MARKER), protocols (RIB_UPDATE_PROTOCOLS), next hops
 * that were registered (RIB_UPDATE_NEXT_HOP), and that all of a table are told (RIB_UPDATE_NEXT_HOPS_TOLD); see docs/wire.md.
 */
#ifndef IPV6_RIB_UPDATE_H
#define IPV6_RIB_UPDATE_H

#include <ipv6_rib/route.h>

IPV6_RIB_BEGIN

/* Types in the callback list of a fetch. Behind each but the last stands a value: a function of the type below, a pointer's
 * width, or a uint32_t. A type may be left out; what has no callback is skipped. */
#define RIB_UPDATE_ROUTES 1          /* rib_route_update_cb */
#define RIB_UPDATE_CB_3 3            /* rib_value_update_cb */
#define RIB_UPDATE_NEXT_HOP 4        /* rib_next_hop_update_cb */
#define RIB_UPDATE_DUMP_END 5        /* rib_words_update_cb */
#define RIB_UPDATE_DUMPS_COMPLETE 6  /* rib_word_update_cb */
#define RIB_UPDATE_CB_7 7            /* rib_state_update_cb */
#define RIB_UPDATE_ROUTES_8 8        /* rib_route_update_cb */
#define RIB_UPDATE_CB_9 9            /* rib_payload_update_cb */
#define RIB_UPDATE_NEXT_HOPS_TOLD 10 /* rib_word_update_cb */
#define RIB_UPDATE_PASS_LIMIT 11     /* uint32_t: passes at most; 0 for no limit */
#define RIB_UPDATE_CB_12 12          /* rib_value_update_cb */
#define RIB_UPDATE_SOURCE_MARKER 13  /* rib_marker_update_cb */
#define RIB_UPDATE_CB_14 14          /* rib_list_update_cb */
#define RIB_UPDATE_PROTOCOLS 15      /* rib_proto_update_cb */
#define RIB_UPDATE_OPAQUE 16         /* rib_bytes_update_cb */
#define RIB_UPDATE_PASS_END 17       /* rib_pass_update_cb: after each pass */
#define RIB_UPDATE_PASS_FLAG_2 18    /* rib_pass_update_cb: after a pass in which an initial dump ended */
#define RIB_UPDATE_PASS_STOP 19      /* rib_pass_update_cb: after a pass that the server wants to be the last one */
#define RIB_UPDATE_GRID 20           /* rib_bytes_update_cb */
#define RIB_UPDATE_CB_21 21          /* rib_bytes_update_cb */
#define RIB_UPDATE_CB_24 24          /* rib_bytes_update_cb */
#define RIB_UPDATE_STATE 26          /* rib_state_record_cb */
#define RIB_UPDATE_END 254           /* ends the list */

/*
 * Callbacks. word is the first word of the message, from the reference server the table; context is that of the fetch. What
 * they are given lies in the fetch's buffer, at any alignment, and is gone when they return. They run without a lock and may use
 * the connection, but must not unbind it.
 */
/* A route in host order, its paths in rt_path. RIB_ROUTE_WITHDRAWN in rt_state: the prefix alone, the route is gone. */
typedef void (*rib_route_update_cb)(uint32_t word, struct ipv6_routetype *route, void *context);
/* RIB_UPDATE_CB_3: 72 bytes. RIB_UPDATE_CB_12: the payload, whose length is not told and may be 0. */
typedef void (*rib_value_update_cb)(uint32_t word, void *value, void *context);
/* A rib_next_hop_update of next_hop_batch.h, and its nu_value. */
typedef void (*rib_next_hop_update_cb)(uint32_t word, void *value, void *context, uint32_t nu_value);
/* End of an initial dump: second is 1 when no other dump of this client is under way, third the source, RIB_PROTOID_NONE for
 * a dump of the whole table. */
typedef void (*rib_words_update_cb)(uint32_t word, uint32_t second, uint32_t third, void *context);
typedef void (*rib_word_update_cb)(uint32_t word, void *context);
typedef void (*rib_state_update_cb)(uint32_t word, void *payload, uint8_t state, void *context);
typedef void (*rib_payload_update_cb)(void *payload, void *context);
/* A marker of a source: its protocol, and RIB_MARKER_*. */
typedef void (*rib_marker_update_cb)(uint32_t word, uint16_t protoid, uint32_t marker, void *context);
typedef void (*rib_list_update_cb)(uint32_t word_0, uint32_t word_4, uint32_t word_8, uint32_t count, void *words, void *context);
/* A protocol came or went: RIB_PROTO_*, its identifier, RIB_PROTO_KIND_*, its names. */
typedef void (*rib_proto_update_cb)(uint32_t word, uint32_t operation, uint16_t protoid, uint32_t kind, const char *proto_name,
                                    const char *instance_name, void *context);
typedef void (*rib_bytes_update_cb)(uint32_t word, const void *bytes, uint32_t len, void *context);
typedef void (*rib_pass_update_cb)(void *context);

/* What RIB_UPDATE_STATE hands over: 264 bytes. */
typedef struct rib_state_record {
    void *payload;    /*  0 NULL when the message has none */
    uint8_t state;    /*  8 */
    uint32_t word;    /* 12 first word of the message */
    uint32_t word_20; /* 16 of the payload */
    uint8_t unused_20[4];
    uint8_t data[240]; /* 24 of the payload, from its byte 24 on */
} rib_state_record;
typedef void (*rib_state_record_cb)(rib_state_record *record, void *context);

#define RIB_MARKER_COMPLETE 1u  /* the source has completed its update */
#define RIB_MARKER_CONVERGED 2u /* the source says that the table has converged */
#define RIB_PROTO_CAME 1u
#define RIB_PROTO_WENT 2u

/**
 * Fetches what the server has queued. Blocks while passes are received; callbacks run in between, in the calling thread.
 * Several threads may fetch at once, each pass of a connection goes to one of them.
 *
 * @param context  handed to the callbacks
 * @param err      receives the code; may be NULL
 * @param ...      pairs of a type (int) and its value, ended by RIB_UPDATE_END; a type that does not exist is reported, has
 *                 no value, and is left out
 * @return the code, negated: 0, RIB_LIB_ERR_BAD_ARG (conn is NULL), RIB_LIB_ERR_NO_MEMORY, RIB_LIB_ERR_NO_CONNECTION,
 *         RIB_LIB_ERR_READ_BUF (a lock failed), RIB_LIB_ERR_PASS_LIMIT (more may wait), EMSGSIZE (the reply claims more than
 *         512 KiB; nothing of it was decoded), or the channel's errno. A message that cannot be decoded is reported, with it
 *         the rest of its pass is dropped, and the fetch goes on.
 */
IPV6_RIB_API int32_t ipv6_rib_fetch_update(ipv6_rib_conn_p conn, void *context, errcode *err, ...);

IPV6_RIB_END

#endif
