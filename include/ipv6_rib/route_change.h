/*
 * Changing one route with one request: for a table at a time, batches (batch.h) are hundreds of times faster.
 *
 * Each function is one exchange: it blocks until the server has answered; exchanges on one connection take turns. What the
 * words of a record mean is the server's business; the meanings given here are the reference server's, see docs/wire.md.
 */
#ifndef IPV6_RIB_ROUTE_CHANGE_H
#define IPV6_RIB_ROUTE_CHANGE_H

#include <ipv6_rib/errors.h>
#include <ipv6_rib/types.h>

IPV6_RIB_BEGIN

/* A route with one path. Prepare it with ipv6_rib_route_add_args_init(). */
typedef struct ipv6_rib_route_add_args {
    ipv6_rib_conn_p conn; /* required */
    rib_protoid_td protoid;
    rib_tableid_td table;
    in6_addr_t prefix;      /* without bits behind prefix_len */
    uint32_t prefix_len;    /* at most 128 */
    in6_addr_t next_hop;    /* :: for a path that has only an outgoing interface */
    uint32_t hop_word1;     /* sent as 0 */
    uint32_t hop_word2;     /* outgoing interface, 0 for none */
    in6_addr_t address2;    /* who told of the path */
    uint32_t attr_words[4]; /* metric of the route; tag; flags; metric of the path */
    uint16_t attr_short;    /* route type */
    uint32_t ext_words[4];  /* table of the next hop, 0 for the route's own; sent as RIB_LABEL_NONE; sent as 0; caller word */
    uint8_t ext_byte;       /* administrative distance, 0 for the protocol's */
    uint32_t ext_word;      /* RIB_ROUTE_ADD_REPLACE or 0 */
    uint16_t item_count;    /* sent as 0 */
    uint16_t item_short;    /* 0 */
    uint8_t items[8][8];    /* not sent */
} ipv6_rib_route_add_args;

/* ext_word: the path takes the place of all that the protocol's route has; else it joins them. */
#define RIB_ROUTE_ADD_REPLACE 0x1u

/* Where ipv6_rib_route_add() tells more; either pointer may be NULL. */
typedef struct ipv6_rib_route_add_out {
    uint8_t *status; /* receives RIB_ROUTE_* of the protocol's route after the change; only on success */
    errcode *err;    /* receives the code of the exchange, when there was one */
} ipv6_rib_route_add_out;

/** Clears a record up to its items and sets what has no label. 0, or -3 when args is NULL. */
IPV6_RIB_API int ipv6_rib_route_add_args_init(ipv6_rib_route_add_args *args);

/**
 * Adds a route, or a path to the protocol's route for the prefix.
 *
 * @param args  see above; the words that are told to be sent as a constant are set to it
 * @param out   required (-3 without it)
 * @return the server's RIB result (errors.h): RIB_RESULT_OK, RIB_RESULT_CHANGED, RIB_RESULT_NO_CHANGE,
 *         RIB_RESULT_ROUTE_LIMIT ...; without an exchange RIB_RESULT_INVALID_PARAMETER (-3: args or out is NULL, prefix_len is
 *         above 128, the prefix has bits behind it) or RIB_RESULT_NO_CONNECTION (-7: args has no connection); after a failed
 *         one RIB_RESULT_RPC_ERROR (-5), with the code in *out->err: EPERM (the protocol belongs to another client),
 *         RIB_SRV_ERR_NOT_FOUND (no such protocol), EINVAL, EBADMSG, RIB_LIB_ERR_NO_CONNECTION, the channel's errno
 */
IPV6_RIB_API int ipv6_rib_route_add(ipv6_rib_route_add_args *args, const ipv6_rib_route_add_out *out);

/**
 * Withdraws a path of a protocol's route, and with its last path the route.
 *
 * @param prefix, next_hop  required (fatal assertions)
 * @param prefix_len        at most 128
 * @param del_word1         outgoing interface of the path
 * @param del_word2         table of its next hop, as it was added; next_hop ::, del_word1 0 and del_word2 0 together mean every
 * path
 * @param del_status        receives RIB_ROUTE_* of what is left, 0 when nothing is; only on success; may be NULL
 * @param err               receives the code, too; may be NULL
 * @return 0; RIB_LIB_ERR_BAD_ARG (conn is NULL); RIB_SRV_ERR_NOT_FOUND (no such protocol, route or path); EPERM; EINVAL (bits
 *         behind the length); RIB_LIB_ERR_NO_CONNECTION; the channel's errno
 */
IPV6_RIB_API errcode ipv6_rib_route_delete(ipv6_rib_conn_p conn, rib_protoid_td protoid, uint32_t table, const in6_addr_t *prefix,
                                           uint16_t prefix_len, const in6_addr_t *next_hop, uint32_t del_word1,
                                           uint32_t del_word2, uint8_t *del_status, errcode *err);

/* Items that travel with an advertising flag. The reference server does not read them. */
#define RIB_ADV_LIST_MAX 8
typedef struct adv_list {
    uint16_t adv_count; /* at most 8 */
    uint16_t adv_value;
    uint8_t adv_items[RIB_ADV_LIST_MAX][8]; /* sent as they are */
} adv_list;

/**
 * Tells whether a protocol advertises the best route for a prefix. Who does is seen in the route (rt_advertisers).
 *
 * @param prefix     required (fatal assertion)
 * @param protoid    a protocol of this client
 * @param adv_value  1 advertises, 0 no longer
 * @return 0 on success, also when it was so already; -1 on any failure
 */
IPV6_RIB_API int ipv6_rib_set_advertising_flag(ipv6_rib_conn_p conn, uint32_t table, const in6_addr_t *prefix,
                                               uint32_t prefix_len, uint16_t protoid, uint32_t adv_value);
/** The same with a list, which may be NULL; -1, and nothing sent, when it has more than 8 items. */
IPV6_RIB_API int ipv6_rib_set_advertising_flag2(ipv6_rib_conn_p conn, uint32_t table, const in6_addr_t *prefix,
                                                uint32_t prefix_len, uint16_t protoid, uint32_t adv_value, const adv_list *list);
/** The same with two words more, which the reference server does not read. */
IPV6_RIB_API int ipv6_rib_set_advertising_flag3(ipv6_rib_conn_p conn, uint32_t table, const in6_addr_t *prefix,
                                                uint32_t prefix_len, uint16_t protoid, uint32_t adv_value, uint8_t adv_byte,
                                                uint32_t adv_word, const adv_list *list);

IPV6_RIB_END

#endif
