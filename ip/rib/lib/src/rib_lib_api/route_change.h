/*
 * Adding and withdrawing one route, and telling who advertises it: one exchange each.
 */
#pragma once

#include <ipv6_rib/route_change.h>

#include "connection.h"

int rib_client_route_add(ipv6_rib_route_add_args *args, const ipv6_rib_route_add_out *out);
errcode rib_client_route_delete(ip_rib_conn_p conn, rib_protoid_td protoid, uint32_t table, const in6_addr_t *prefix,
                                uint16_t prefix_len, const in6_addr_t *next_hop, uint32_t word0, uint32_t del_word1,
                                uint32_t del_word2, uint8_t *del_status, errcode *err);
int rib_client_set_advertising_flag(ip_rib_conn_p conn, uint32_t table, const in6_addr_t *prefix, uint32_t prefix_len,
                                    uint16_t protoid, uint32_t adv_value, uint8_t adv_byte, uint32_t adv_word,
                                    const adv_list *list);
