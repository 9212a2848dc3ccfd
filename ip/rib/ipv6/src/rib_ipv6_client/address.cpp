/*
 * Exported functions: questions about addresses.
 */
#include "ip/rib/lib/src/rib_lib_api/address.h"

#include "ip/rib/lib/src/rib_addr.h"

uint32_t ipv6_rib_is_local(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, errcode *err)
{
    return rib_client_is_local(conn, table, addr, err);
}

uint32_t ipv6_rib_is_connected(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, errcode *err)
{
    rib_address_reply_area_td reply = {};
    return rib_client_is_connected(conn, table, addr, &reply, err);
}

int ipv6_rib_conn_not_local(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, errcode *err)
{
    rib_address_reply_area_td reply = {};
    const uint32_t answer = rib_client_is_connected(conn, table, addr, &reply, err);
    return answer != 0 && !(reply.fixed.ar_flags & RIB_ADDR_LOCAL);
}

int ipv6_rib_match_connected_subnet(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, in6_addr_t *prefix,
                                    uint32_t *info, errcode *err)
{
    rib_address_reply_area_td reply = {};
    if (rib_client_is_connected(conn, table, addr, &reply, err) == 0)
        return 0;
    const in6_addr_t found = reply.fixed.ar_addr;
    rib_copy_addr(prefix, &found);
    *info = reply.fixed.ar_info;
    return 1;
}

int ipv6_rib_best_local_address(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t best_word,
                                in6_addr_t *local_addr, uint32_t *info, errcode *err)
{
    return rib_client_best_local_address(conn, table, addr, best_word, local_addr, info, err, nullptr);
}

int ipv6_rib_best_local_address_and_check(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t best_word,
                                          in6_addr_t *local_addr, uint32_t *info, errcode *err, uint32_t *addr_flags)
{
    return rib_client_best_local_address(conn, table, addr, best_word, local_addr, info, err, addr_flags);
}
