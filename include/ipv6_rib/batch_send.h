/*
 * Sending a batch and walking what the server made of it.
 *
 * The reply area is the caller's and is used again for every send. The walk converts each result to host order as it
 * hands it out, in place: ask for each result once, in order, the routes of a table before the next table and the paths
 * of a route before the next route. A result that the reply does not hold whole ends the walk.
 */
#ifndef IPV6_RIB_BATCH_SEND_H
#define IPV6_RIB_BATCH_SEND_H

#include <ipv6_rib/batch.h>

IPV6_RIB_BEGIN

/* Bytes of a reply area. */
#define RIB_BATCH_REPLY_BYTES 524288u

/** Allocates a reply area, not cleared; NULL without memory. */
IPV6_RIB_API void *ipv6_rib_batch_args_out_allocate(void);
/** Releases a reply area; NULL is allowed. */
IPV6_RIB_API void ipv6_rib_batch_args_out_free(void *reply);

/**
 * Sends a route batch and empties the buffer; a route that crossed the limit stays for the next message when this one
 * succeeded. A failed message is discarded, with the waiting route: build it again. Blocks until the server has
 * answered; sends on one connection take turns.
 *
 * @param reply  reply area; valid until the next send into it
 * @return a positive status when the server has processed the message (look at the results); RIB_RESULT_INVALID_PARAMETER
 *         (-3: an argument is NULL, nothing happened, or the server refused the message as malformed, nothing applied);
 *         RIB_RESULT_RPC_ERROR (-5: it could not be sent or was not answered, and may or may not have been applied);
 *         or another RIB result of the server that is not positive, with nothing applied
 */
IPV6_RIB_API int ipv6_rib_batch_buffer_send(ipv6_rib_conn_p conn, rib_batch_buffer *buffer, void *reply);

/* Result of one record of a protocol batch. */
typedef struct __attribute__((packed)) rib_proto_result {
    uint32_t pr_operation;     /*  0 1 registered, 2 unregistered */
    char pr_instance_name[44]; /*  4 */
    int32_t pr_result;         /* 48 RIB_RESULT_* */
    rib_protoid_td pr_protoid; /* 52 */
    uint8_t pr_unused_54[2];   /* 54 */
    errcode pr_err;            /* 56 why it was refused, 0 otherwise */
} rib_proto_result;

/**
 * Sends a protocol batch; call ipv6_rib_batch_proto_buffer_init() before the chain is filled again.
 *
 * @param first        chain
 * @param results      receives a rib_proto_result (60 bytes) for each record, in order
 * @param max_results  how many fit
 * @param num_results  is increased by the number received: set it to 0 first; may be NULL
 * @return the status of the last message as above; -3 (an argument is NULL, or more records or results than max_results);
 *         -4 (no memory for the reply)
 */
IPV6_RIB_API int ipv6_rib_batch_proto_buffer_send(ipv6_rib_conn_p conn, rib_batch_buffer *first, void *results,
                                                  uint32_t max_results, uint32_t *num_results);

/* First byte of every result. */
#define RIB_BATCH_OUT_ROUTE 1
#define RIB_BATCH_OUT_TABLE 6

/* Result of a route; pr_path_count path results of 280 bytes follow it. */
typedef struct __attribute__((packed)) rib_batch_route_out {
    uint8_t ro_type;         /*   0 RIB_BATCH_OUT_ROUTE */
    uint8_t ro_prefix_len;   /*   1 */
    uint8_t ro_unused_2[2];  /*   2 */
    uint16_t ro_path_count;  /*   4 */
    uint8_t ro_unused_6[42]; /*   6 */
    uint8_t ro_prefix[16];   /*  48 */
    uint8_t ro_answer[256];  /*  64 to a request of the route: a rib_batch_request_answer of srv6.h; zero without one */
    uint64_t ro_version;     /* 320 grows with every change of the table */
    int32_t ro_result;       /* 328 RIB_RESULT_* */
    uint32_t ro_flags;       /* 332 RIB_ROUTE_* of route.h */
} rib_batch_route_out;

/* Result of an added path (po_type 1). */
typedef struct __attribute__((packed)) rib_batch_path_out {
    uint8_t po_type;           /*  0 1 */
    uint8_t po_unused_1[3];    /*  1 */
    uint32_t po_interface;     /*  4 */
    uint8_t po_nexthop[16];    /*  8 */
    uint8_t po_unused_24[16];  /* 24 */
    int32_t po_result;         /* 40 RIB_RESULT_* */
    uint32_t po_nexthop_table; /* 44 */
    uint32_t po_u32_48;        /* 48 */
    uint8_t po_unused_52[228]; /* 52 */
} rib_batch_path_out;

/* Result of a withdrawn path (pd_type 2). */
typedef struct __attribute__((packed)) rib_batch_path_del_out {
    uint8_t pd_type;           /*  0 2 */
    uint8_t pd_unused_1[3];    /*  1 */
    uint32_t pd_interface;     /*  4 */
    uint8_t pd_nexthop[16];    /*  8 */
    int32_t pd_result;         /* 24 RIB_RESULT_* */
    uint32_t pd_nexthop_table; /* 28 */
    uint32_t pd_u32_32;        /* 32 */
    uint8_t pd_unused_36[244]; /* 36 */
} rib_batch_path_del_out;

/* Result of a table. */
typedef struct __attribute__((packed)) rib_batch_table_out {
    uint8_t to_type;           /*  0 RIB_BATCH_OUT_TABLE */
    uint8_t to_unused_1;       /*  1 */
    rib_protoid_td to_protoid; /*  2 */
    rib_tableid_td to_table;   /*  4 */
    int16_t to_result;         /*  8 RIB_RESULT_* */
    uint8_t to_unused_10[2];   /* 10 */
} rib_batch_table_out;

/* Each function returns a result in the reply area, converted, or NULL at the end of what it walks. */
/** The first result, of whatever type. */
IPV6_RIB_API void *ipv6_rib_batch_args_out_first_route(void *reply);
/** The result behind record, of whatever type. */
IPV6_RIB_API void *ipv6_rib_batch_args_out_next_route(void *reply, void *record);
/** The table result behind table, or the first one when table is NULL. */
IPV6_RIB_API void *ipv6_rib_batch_args_out_next_table(void *reply, void *table);
/** The route result behind route, or the first one of table when route is NULL; NULL at the table's end. */
IPV6_RIB_API void *ipv6_rib_batch_tbl_out_next_route(void *reply, void *table, void *route);
/** The first path result of a route. */
IPV6_RIB_API void *ipv6_rib_batch_route_out_first_path(void *route);
/** The path result behind path. */
IPV6_RIB_API void *ipv6_rib_batch_route_out_next_path(void *route, void *path);

IPV6_RIB_END

#endif
