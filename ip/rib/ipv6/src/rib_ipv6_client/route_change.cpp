/*
 * Exported functions: changes of one route.
 */
#include "ip/rib/lib/src/rib_lib_api/route_change.h"

#include <cstddef>
#include <cstring>

int ipv6_rib_route_add_args_init(ipv6_rib_route_add_args *args)
{
    if (!args)
        return RIB_RESULT_INVALID_PARAMETER;
    std::memset(args, 0, offsetof(ipv6_rib_route_add_args, items));
    args->ext_words[1] = RIB_LABEL_NONE;
    return 0;
}

int ipv6_rib_route_add(ipv6_rib_route_add_args *args, const ipv6_rib_route_add_out *out)
{
    return rib_client_route_add(args, out);
}

errcode ipv6_rib_route_delete(ipv6_rib_conn_p conn, rib_protoid_td protoid, uint32_t table, const in6_addr_t *prefix,
                              uint16_t prefix_len, const in6_addr_t *next_hop, uint32_t del_word1, uint32_t del_word2,
                              uint8_t *del_status, errcode *err)
{
    return rib_client_route_delete(conn, protoid, table, prefix, prefix_len, next_hop, 0, del_word1, del_word2, del_status, err);
}

int ipv6_rib_set_advertising_flag(ipv6_rib_conn_p conn, uint32_t table, const in6_addr_t *prefix, uint32_t prefix_len,
                                  uint16_t protoid, uint32_t adv_value)
{
    return rib_client_set_advertising_flag(conn, table, prefix, prefix_len, protoid, adv_value, 0, 0, nullptr);
}

int ipv6_rib_set_advertising_flag2(ipv6_rib_conn_p conn, uint32_t table, const in6_addr_t *prefix, uint32_t prefix_len,
                                   uint16_t protoid, uint32_t adv_value, const adv_list *list)
{
    return rib_client_set_advertising_flag(conn, table, prefix, prefix_len, protoid, adv_value, 0, 0, list);
}

int ipv6_rib_set_advertising_flag3(ipv6_rib_conn_p conn, uint32_t table, const in6_addr_t *prefix, uint32_t prefix_len,
                                   uint16_t protoid, uint32_t adv_value, uint8_t adv_byte, uint32_t adv_word,
                                   const adv_list *list)
{
    return rib_client_set_advertising_flag(conn, table, prefix, prefix_len, protoid, adv_value, adv_byte, adv_word, list);
}
