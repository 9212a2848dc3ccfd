/*
 * The next-hop registration batch of a connection.
 */
#pragma once

#include <ipv6_rib/next_hop_batch.h>

#include "connection.h"

errcode rib_lib_nh_batch_init(ip_rib_conn_p conn, int flag);
errcode rib_lib_nh_batch_register(ip_rib_conn_p conn, int add, rib_tableid_td table, const in6_addr_t *nexthop,
                                  uint32_t prefixlen, uint32_t value);
errcode rib_lib_nh_batch_register_converge(ip_rib_conn_p conn, rib_tableid_td table);
errcode rib_lib_nh_batch_unregister_converge(ip_rib_conn_p conn, rib_tableid_td table);
errcode rib_lib_nh_batch_finish(ip_rib_conn_p conn);
void rib_lib_nh_batch_free(ip_rib_conn_p conn);
errcode rib_lib_nh_batch_sync_register(ip_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *nexthop, uint32_t prefixlen,
                                       uint32_t value, void *reply);
