/*
 * Exported functions: next-hop registration batches.
 */
#include "ip/rib/lib/src/rib_lib_api/nh_batch.h"

errcode ipv6_rib_nh_batch_init(ipv6_rib_conn_p conn, int flag)
{
    return rib_lib_nh_batch_init(conn, flag);
}

errcode ipv6_rib_nh_batch_register(ipv6_rib_conn_p conn, int add, rib_tableid_td table, const in6_addr_t *nexthop,
                                   uint32_t prefixlen, uint32_t value)
{
    return rib_lib_nh_batch_register(conn, add, table, nexthop, prefixlen, value);
}

errcode ipv6_rib_nh_batch_register_converge(ipv6_rib_conn_p conn, rib_tableid_td table)
{
    return rib_lib_nh_batch_register_converge(conn, table);
}

errcode ipv6_rib_nh_batch_unregister_converge(ipv6_rib_conn_p conn, rib_tableid_td table)
{
    return rib_lib_nh_batch_unregister_converge(conn, table);
}

errcode ipv6_rib_nh_batch_finish(ipv6_rib_conn_p conn)
{
    return rib_lib_nh_batch_finish(conn);
}

void ipv6_rib_nh_batch_free(ipv6_rib_conn_p conn)
{
    rib_lib_nh_batch_free(conn);
}

errcode ipv6_rib_nh_batch_sync_register(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *nexthop, uint32_t prefixlen,
                                        uint32_t value, void *reply)
{
    return rib_lib_nh_batch_sync_register(conn, table, nexthop, prefixlen, value, reply);
}
