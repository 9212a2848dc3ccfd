/*
 * Following many next hops: registrations are collected and travel a hundred in a message. Each connection has at most one such
 * batch, filled by any thread under the connection's locks: init, any number of records, finish; then more records or init
 * again. A hundred records are sent on the spot, by the call that adds the last of them, which blocks as long.
 *
 * The server tells of each next hop by an update (RIB_UPDATE_NEXT_HOP in update.h): once for the registration, and again whenever
 * the way to it changes. Updates come in the order of the registrations. A registration ends with the connection; one of the same
 * table and address, by whichever function, takes its place.
 *
 * A call that cannot take the locks logs that, does nothing and returns 0.
 */
#ifndef IPV6_RIB_NEXT_HOP_BATCH_H
#define IPV6_RIB_NEXT_HOP_BATCH_H

#include <ipv6_rib/next_hop.h>

IPV6_RIB_BEGIN

/* How a next hop is reached: the value of a RIB_UPDATE_NEXT_HOP callback, and the reply to a synchronous registration. */
typedef struct __attribute__((packed)) rib_next_hop_update {
    uint32_t nu_flags;         /*  0 RIB_NH_*, 0 while it is not reached; then :: and 0 stand for the route's fields */
    uint8_t nu_via[16];        /*  4 next hop that is directly reached */
    uint8_t nu_unused_20[4];   /* 20 */
    uint16_t nu_prefix_len;    /* 24 of the route that leads there */
    rib_protoid_td nu_protoid; /* 26 of that route; RIB_PROTOID_NONE while it is not reached */
    uint8_t nu_addr[16];       /* 28 the next hop that was registered */
    uint8_t nu_unused_44[4];   /* 44 */
    rib_tableid_td nu_table;   /* 48 in which it was registered */
    uint16_t nu_distance;      /* 52 administrative distance of that route */
    uint16_t nu_proto_kind;    /* 54 RIB_PROTO_KIND_* of its protocol */
    uint32_t nu_metric;        /* 56 of that route */
    uint32_t nu_interface;     /* 60 outgoing interface; RIB_INTERFACE_NONE when no route names one, 0 while it is not reached */
    errcode nu_result;         /* 64 of a synchronous registration: 0, or why it was refused */
    uint32_t nu_unused_68;     /* 68 */
    uint32_t nu_min_len;       /* 72 prefix length of the registration */
    uint32_t nu_unused_76;     /* 76 */
    uint32_t nu_value;         /* 80 value of the registration; the last argument of the callback */
    uint16_t nu_unused_84[2];  /* 84 */
} rib_next_hop_update;
#define RIB_NEXT_HOP_UPDATE_BYTES 88

/**
 * Opens a batch in the connection's buffer, which the first call allocates, and tells the server at once; what was collected and
 * not sent is dropped.
 *
 * @param flag  goes along as 0 or 1; the reference server does not read it
 * @return 0; RIB_LIB_ERR_BAD_ARG (conn is NULL); RIB_LIB_ERR_NO_MEMORY; RIB_LIB_ERR_BATCH_SEND (it did not reach the server; the
 *         batch is open); the server's word, in the byte order in which it comes
 */
IPV6_RIB_API errcode ipv6_rib_nh_batch_init(ipv6_rib_conn_p conn, int flag);
/**
 * Adds a registration, or ends one. When it is the hundredth record, all are sent.
 *
 * @param add        0 ends the registration; prefixlen and value are not read by the reference server then
 * @param nexthop    address, not all ones; required
 * @param prefixlen  shorter prefixes lead nowhere: 0 for any, at most 128
 * @param value      given back with each update
 * @return 0 (added, and sent if due); RIB_LIB_ERR_BAD_ARG (conn or nexthop is NULL, all ones, a longer prefix, or no init before:
 *         nothing was added); of a send: RIB_LIB_ERR_BATCH_SEND (the hundred records are dropped) or the server's word
 */
IPV6_RIB_API errcode ipv6_rib_nh_batch_register(ipv6_rib_conn_p conn, int add, rib_tableid_td table, const in6_addr_t *nexthop,
                                                uint32_t prefixlen, uint32_t value);
/**
 * Asks to be told, by a RIB_UPDATE_NEXT_HOPS_TOLD update, that all has been told of the next hops registered in the table so far;
 * and again each time that a protocol says that the table has converged, behind the changes made until then.
 *
 * @return as for ipv6_rib_nh_batch_register()
 */
IPV6_RIB_API errcode ipv6_rib_nh_batch_register_converge(ipv6_rib_conn_p conn, rib_tableid_td table);
/** Ends that. */
IPV6_RIB_API errcode ipv6_rib_nh_batch_unregister_converge(ipv6_rib_conn_p conn, rib_tableid_td table);
/**
 * Sends what was collected. Blocks until the server has answered.
 *
 * @return 0; RIB_LIB_ERR_BAD_ARG (conn is NULL, no init before); RIB_LIB_ERR_BATCH_SEND (the records are dropped); the server's
 *         word
 */
IPV6_RIB_API errcode ipv6_rib_nh_batch_finish(ipv6_rib_conn_p conn);
/** Frees the buffer with what was not sent. NULL, or a connection without one, is ignored. */
IPV6_RIB_API void ipv6_rib_nh_batch_free(ipv6_rib_conn_p conn);

/**
 * Registers one next hop, beside the batch, and gets the way to it at once; updates tell of changes only. Blocks until the server
 * has answered.
 *
 * @param table      not 0
 * @param nexthop, prefixlen, value  as above
 * @param reply      receives 88 bytes, a rib_next_hop_update, whatever the server sends; required
 * @return 0 (nu_result tells); RIB_LIB_ERR_BAD_ARG (an argument is NULL, nexthop is all ones, prefixlen above 128);
 *         RIB_LIB_ERR_NO_TABLE (table is 0); RIB_LIB_ERR_NO_MEMORY; RIB_LIB_ERR_BATCH_SEND (no answer; the bytes of reply are not
 *         meaningful)
 */
IPV6_RIB_API errcode ipv6_rib_nh_batch_sync_register(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *nexthop,
                                                     uint32_t prefixlen, uint32_t value, void *reply);

IPV6_RIB_END

#endif
