/*
 * Exported functions: next hops, and the check of a route.
 */
#include "ip/rib/lib/src/rib_lib_api/next_hop.h"

#include "ip/rib/lib/src/rib_lib_api/address.h"

uint32_t ipv6_rib_next_hop(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t nh_word1,
                           uint32_t nh_word2, uint32_t nh_word3, in6_addr_t *next_hop, uint32_t *addr_flags, errcode *err)
{
    return rib_client_next_hop(conn, table, addr, nh_word1, nh_word2, nh_word3, next_hop, addr_flags, err);
}

uint32_t ipv6_rib_next_hop_register(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t nh_reg_word1,
                                    uint32_t nh_reg_word2, uint32_t nh_reg_word3, rib_nh_info *nh_info, errcode *err)
{
    return rib_client_next_hop_register(conn, table, addr, nh_reg_word1, nh_reg_word2, nh_reg_word3, nh_info, err);
}

errcode ipv6_rib_next_hop_unregister(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t nh_reg_word1,
                                     uint32_t nh_reg_word2, uint32_t nh_reg_word3, errcode *err)
{
    return rib_client_next_hop_unregister(conn, table, addr, nh_reg_word1, nh_reg_word2, nh_reg_word3, err);
}

int ipv6_rib_get_check(ipv6_rib_conn_p conn, ipv6_rib_conn_p parent, uint32_t check_word1, uint32_t check_word2,
                       uint64_t check_long1, uint64_t check_long2, uint32_t check_word3, in6_addr_t check_addr,
                       in6_addr_t *addr_out, uint32_t *check_value, void *data, uint32_t reply_size, uint32_t pair[2])
{
    return rib_client_get_check(conn, parent, check_word1, check_word2, check_long1, check_long2, check_word3, &check_addr,
                                addr_out, check_value, data, reply_size, pair);
}
