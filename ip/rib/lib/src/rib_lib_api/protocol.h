/*
 * Registration of protocols and their life.
 */
#pragma once

#include <ipv6_rib/protocol.h>

#include "connection.h"

rib_protoid_td rib_client_register_protocol(ip_rib_conn_p conn, const rib_register_protocol_in *in, errcode *err);
rib_protoid_td rib_client_findpdb(ip_rib_conn_p conn, const char *proto_name, const char *instance_name, uint32_t reg_word1,
                                  errcode *err);
int rib_client_modify_protocol(ip_rib_conn_p conn, rib_protoid_td protoid, uint32_t word_a, uint32_t word_b, uint32_t word_c,
                               uint32_t word_d, errcode *err);
errcode rib_client_protocol_unregister(ip_rib_conn_p conn, rib_protoid_td protoid, uint32_t value);
int rib_client_purge_protocol(ip_rib_conn_p conn, rib_protoid_td protoid, uint32_t word_a, uint32_t word_b, uint32_t word_c,
                              errcode *err);
errcode rib_client_purge_client(ip_rib_conn_p conn, const char *client_name, const char *node_name);
errcode rib_client_update_complete(ip_rib_conn_p conn, rib_protoid_td protoid, uint32_t value);
int rib_client_clear_aft_by_vrf(ip_rib_conn_p conn, rib_protoid_td protoid, uint32_t vrf, errcode *err);
errcode rib_client_get_table_status(ip_rib_conn_p conn, rib_tableid_td table, void *status);
errcode rib_client_batch_protoid_to_proto_info(ip_rib_conn_p conn, uint32_t selector, const rib_protoid_td *protoids,
                                               uint16_t count, void *names);
errcode rib_client_notify_fib_ug_updates(ip_rib_conn_p conn);
errcode rib_client_free_all_srv6_sid_req(ip_rib_conn_p conn, uint32_t value, rib_protoid_td protoid, uint32_t word_a,
                                         uint32_t word_b);
