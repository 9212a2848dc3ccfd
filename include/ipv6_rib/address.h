/*
 * Questions about addresses: this router's own ones and the subnets of its interfaces. The reference server answers them from
 * the routes of protocols registered as RIB_PROTO_KIND_LOCAL and RIB_PROTO_KIND_CONNECTED.
 *
 * Each function is one exchange: it blocks until the server has answered; exchanges on one connection take turns. addr is
 * required everywhere (fatal assertion); err may be NULL and receives 0, also when the answer is no, or the code:
 * RIB_LIB_ERR_BAD_ARG (conn is NULL), RIB_LIB_ERR_NO_MEMORY, RIB_LIB_ERR_NO_CONNECTION, EBADMSG (the reply is malformed), the
 * channel's errno or the server's code. Other out-parameters are written only when the answer is yes.
 *
 * Answers are outgoing interfaces; RIB_INTERFACE_NONE stands for a route that names none.
 */
#ifndef IPV6_RIB_ADDRESS_H
#define IPV6_RIB_ADDRESS_H

#include <ipv6_rib/types.h>

IPV6_RIB_BEGIN

#define RIB_INTERFACE_NONE 0xFFFFFFFFu

/* addr_flags: what the address that was asked about is. */
#define RIB_ADDR_LOCAL 0x1u     /* one of this router's own */
#define RIB_ADDR_CONNECTED 0x2u /* on a connected subnet */

/** Whether an address is this router's own: its interface, or 0. */
IPV6_RIB_API uint32_t ipv6_rib_is_local(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, errcode *err);
/** Whether an address lies on a connected subnet: its interface, or 0. */
IPV6_RIB_API uint32_t ipv6_rib_is_connected(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, errcode *err);
/** 1 when an address lies on a connected subnet and is not this router's own, else 0. */
IPV6_RIB_API int ipv6_rib_conn_not_local(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, errcode *err);
/**
 * Finds the connected subnet of an address.
 *
 * @param prefix  receives the subnet; required (fatal assertion) when there is one
 * @param info    receives its prefix length; required then as well
 * @return 1 when there is one, else 0
 */
IPV6_RIB_API int ipv6_rib_match_connected_subnet(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr,
                                                 in6_addr_t *prefix, uint32_t *info, errcode *err);
/**
 * Chooses the best source address towards an address: the own address of the same scope that shares most leading bits with it.
 *
 * @param best_word   interface that the address must belong to, 0 for any
 * @param local_addr  receives the address; may be NULL
 * @param info        receives its interface; may be NULL
 * @return 1 when there is one, else 0
 */
IPV6_RIB_API int ipv6_rib_best_local_address(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr,
                                             uint32_t best_word, in6_addr_t *local_addr, uint32_t *info, errcode *err);
/** The same; addr_flags, which may be NULL, receives RIB_ADDR_* of addr. */
IPV6_RIB_API int ipv6_rib_best_local_address_and_check(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr,
                                                       uint32_t best_word, in6_addr_t *local_addr, uint32_t *info, errcode *err,
                                                       uint32_t *addr_flags);

IPV6_RIB_END

#endif
