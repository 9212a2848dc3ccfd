/*
 * Control of redistribution, one exchange each.
 */
#pragma once

#include <ipv6_rib/redistribution.h>

#include "connection.h"

rib_protoid_td rib_client_redist_protocol_common(ip_rib_conn_p conn, const char *proto_name, const char *instance_name,
                                                 rib_tableid_td table, ip_rib_proto_redist_flags proto_flags, rib_updatemode mode,
                                                 ip_rib_conn_p parent, int child_arg, errcode *err);
errcode rib_client_redist_enable_rcmd_markers(ip_rib_conn_p conn, const char *proto_name, const char *instance_name,
                                              rib_tableid_td table);
int rib_client_redist_reset(ip_rib_conn_p conn, uint32_t reset_value, errcode *err);
uint32_t rib_client_default_netsource(ip_rib_conn_p conn, uint32_t netsource_value, errcode *err);

/* What the channel of a parent connection keeps for its children, as it is sent; without a parent RIB_NO_PARENT. False when it
 * cannot be read. */
bool rib_client_parent_datum(ip_rib_conn_p parent, uint32_t *datum);
