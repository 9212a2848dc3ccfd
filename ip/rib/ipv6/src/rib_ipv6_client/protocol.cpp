/*
 * Exported functions: protocols.
 */
#include "ip/rib/lib/src/rib_lib_api/protocol.h"

rib_protoid_td ipv6_rib_register_protocol(ipv6_rib_conn_p conn, const char *proto_name, const char *instance_name,
                                          uint32_t reg_word1, uint32_t reg_word2, uint32_t reg_word3, uint32_t reg_word4,
                                          errcode *err)
{
    const rib_register_protocol_in in = {.proto_name = proto_name,
                                         .instance_name = instance_name,
                                         .reg_word1 = reg_word1,
                                         .reg_word2 = reg_word2,
                                         .reg_word3 = reg_word3,
                                         .reg_word4 = reg_word4};
    return rib_client_register_protocol(conn, &in, err);
}

rib_protoid_td ipv6_rib_register_protocol_2(ipv6_rib_conn_p conn, const rib_register_protocol_in *in, errcode *err)
{
    return rib_client_register_protocol(conn, in, err);
}

rib_protoid_td ipv6_rib_findpdb(ipv6_rib_conn_p conn, const char *proto_name, const char *instance_name, uint32_t reg_word1,
                                errcode *err)
{
    return rib_client_findpdb(conn, proto_name, instance_name, reg_word1, err);
}

int ipv6_rib_modify_protocol(ipv6_rib_conn_p conn, rib_protoid_td protoid, uint32_t word_a, uint32_t word_b, uint32_t word_c,
                             uint32_t word_d, errcode *err)
{
    return rib_client_modify_protocol(conn, protoid, word_a, word_b, word_c, word_d, err);
}

errcode ipv6_rib_protocol_unregister(ipv6_rib_conn_p conn, rib_protoid_td protoid, uint32_t value)
{
    return rib_client_protocol_unregister(conn, protoid, value);
}

int ipv6_rib_purge_protocol(ipv6_rib_conn_p conn, rib_protoid_td protoid, uint32_t word_a, uint32_t word_b, uint32_t word_c,
                            errcode *err)
{
    return rib_client_purge_protocol(conn, protoid, word_a, word_b, word_c, err);
}

errcode ipv6_rib_purge_client(ipv6_rib_conn_p conn, const char *client_name, const char *node_name)
{
    return rib_client_purge_client(conn, client_name, node_name);
}

errcode ipv6_rib_update_complete(ipv6_rib_conn_p conn, rib_protoid_td protoid, uint32_t value)
{
    return rib_client_update_complete(conn, protoid, value);
}

int ipv6_rib_clear_aft_by_vrf(ipv6_rib_conn_p conn, rib_protoid_td protoid, uint32_t vrf, errcode *err)
{
    return rib_client_clear_aft_by_vrf(conn, protoid, vrf, err);
}

errcode ipv6_rib_get_table_status(ipv6_rib_conn_p conn, rib_tableid_td table, void *status)
{
    return rib_client_get_table_status(conn, table, status);
}

errcode ipv6_rib_batch_protoid_to_proto_info(ipv6_rib_conn_p conn, uint32_t selector, const rib_protoid_td *protoids,
                                             uint16_t count, void *names)
{
    return rib_client_batch_protoid_to_proto_info(conn, selector, protoids, count, names);
}

errcode ipv6_rib_notify_fib_ug_updates(ipv6_rib_conn_p conn)
{
    return rib_client_notify_fib_ug_updates(conn);
}

errcode ipv6_rib_free_all_srv6_sid_req(ipv6_rib_conn_p conn, uint32_t value, rib_protoid_td protoid, uint32_t word_a,
                                       uint32_t word_b)
{
    return rib_client_free_all_srv6_sid_req(conn, value, protoid, word_a, word_b);
}
