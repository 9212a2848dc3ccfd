/*
 * Questions about addresses, one exchange each.
 */
#pragma once

#include "connection.h"
#include "ip/rib/wire/address.h"

uint32_t rib_client_next_hop(ip_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t nh_word1,
                             uint32_t nh_word2, uint32_t nh_word3, in6_addr_t *next_hop, uint32_t *addr_flags, errcode *err);
uint32_t rib_client_is_local(ip_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, errcode *err);
/* A reply with its list, for callers that keep it on their stack. */
union rib_address_reply_area_td {
    uint8_t bytes[rib_address_reply_td::room];
    rib_address_reply_td fixed;
};
/* The exchange behind the questions about connected subnets, into an area of zeros: the answer, 0 when the address is on none
 * or on failure. */
uint32_t rib_client_is_connected(ip_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr,
                                 rib_address_reply_area_td *reply, errcode *err);
int rib_client_best_local_address(ip_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t best_word,
                                  in6_addr_t *local_addr, uint32_t *info, errcode *err, uint32_t *addr_flags);
