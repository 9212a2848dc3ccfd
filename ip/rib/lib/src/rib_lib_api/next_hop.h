/*
 * Registration of next hops, and the check of a route: one exchange each.
 */
#pragma once

#include <ipv6_rib/next_hop.h>

#include "connection.h"

uint32_t rib_client_next_hop_register(ip_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t nh_reg_word1,
                                      uint32_t nh_reg_word2, uint32_t nh_reg_word3, rib_nh_info *nh_info, errcode *err);
errcode rib_client_next_hop_unregister(ip_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t nh_reg_word1,
                                       uint32_t nh_reg_word2, uint32_t nh_reg_word3, errcode *err);
int rib_client_get_check(ip_rib_conn_p conn, ip_rib_conn_p parent, uint32_t check_word1, uint32_t check_word2,
                         uint64_t check_long1, uint64_t check_long2, uint32_t check_word3, const in6_addr_t *check_addr,
                         in6_addr_t *addr_out, uint32_t *check_value, void *data, uint32_t reply_size, uint32_t *pair);
