/*
 * Exported functions: control of redistribution.
 */
#include "ip/rib/lib/src/rib_lib_api/redist.h"

rib_protoid_td ipv6_rib_protocol_redist(ipv6_rib_conn_p conn, const char *proto_name, const char *instance_name,
                                        rib_tableid_td table, ip_rib_proto_redist_flags proto_flags, rib_updatemode mode,
                                        errcode *err)
{
    return rib_client_redist_protocol_common(conn, proto_name, instance_name, table, proto_flags, mode, nullptr, 0, err);
}

rib_protoid_td ipv6_rib_child_protocol_redist(ipv6_rib_conn_p conn, const char *proto_name, const char *instance_name,
                                              rib_tableid_td table, uint32_t redist_flag, rib_updatemode mode,
                                              ipv6_rib_conn_p parent, int child_arg, errcode *err)
{
    return rib_client_redist_protocol_common(conn, proto_name, instance_name, table, redist_flag ? 1 : 0, mode, parent, child_arg,
                                             err);
}

errcode ipv6_rib_redist_enable_rcmd_markers(ipv6_rib_conn_p conn, const char *proto_name, const char *instance_name,
                                            rib_tableid_td table)
{
    return rib_client_redist_enable_rcmd_markers(conn, proto_name, instance_name, table);
}

int ipv6_rib_redist_reset(ipv6_rib_conn_p conn, uint32_t reset_value, errcode *err)
{
    return rib_client_redist_reset(conn, reset_value, err);
}

uint32_t ipv6_rib_default_netsource(ipv6_rib_conn_p conn, uint32_t netsource_value, errcode *err)
{
    return rib_client_default_netsource(conn, netsource_value, err);
}
