/*
 * The redistribution registration batch of a connection.
 */
#pragma once

#include <ipv6_rib/redist_batch.h>

#include "connection.h"

errcode rib_lib_redist_batch_init(ip_rib_conn_p conn, rib_updatemode mode, uint64_t flags);
errcode rib_lib_redist_batch_register(ip_rib_conn_p conn, int add, rib_tableid_td table, rib_updatemode mode,
                                      ip_rib_proto_redist_flags proto_flags, ip_rib_redist_common_flags common_flags,
                                      uint16_t *count);
errcode rib_lib_redist_batch_finish(ip_rib_conn_p conn, uint16_t *count);
void rib_lib_redist_batch_free(ip_rib_conn_p conn);
