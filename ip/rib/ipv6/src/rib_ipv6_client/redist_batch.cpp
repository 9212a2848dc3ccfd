/*
 * Exported functions: redistribution registration batches.
 */
#include "ip/rib/lib/src/rib_lib_api/redist_batch.h"

errcode ipv6_rib_redist_batch_init(ipv6_rib_conn_p conn, rib_updatemode mode)
{
    return rib_lib_redist_batch_init(conn, mode, 0);
}

errcode ipv6_rib_redist_batch_init2(ipv6_rib_conn_p conn, rib_updatemode mode, uint64_t flags)
{
    return rib_lib_redist_batch_init(conn, mode, flags);
}

errcode ipv6_rib_redist_batch_register(ipv6_rib_conn_p conn, int add, rib_tableid_td table, rib_updatemode mode,
                                       ip_rib_proto_redist_flags proto_flags, ip_rib_redist_common_flags common_flags,
                                       uint16_t *count)
{
    return rib_lib_redist_batch_register(conn, add, table, mode, proto_flags, common_flags, count);
}

errcode ipv6_rib_redist_batch_finish(ipv6_rib_conn_p conn, uint16_t *count)
{
    return rib_lib_redist_batch_finish(conn, count);
}

void ipv6_rib_redist_batch_free(ipv6_rib_conn_p conn)
{
    rib_lib_redist_batch_free(conn);
}
