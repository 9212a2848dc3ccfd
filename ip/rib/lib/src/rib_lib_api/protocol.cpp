/*
 * Registration of protocols and their life: one exchange each.
 */
#include "protocol.h"

#include <cstdio>
#include <cstring>

#include "names.h"
#include "request.h"

rib_protoid_td rib_client_register_protocol(ip_rib_conn_p conn, const rib_register_protocol_in *in, errcode *err)
{
    if (!conn || !in || !err || !in->proto_name || !in->instance_name)
        return rib_report(err, RIB_LIB_ERR_BAD_ARG), RIB_PROTOID_NONE;
    if (!rib_names_fit(in->proto_name, in->instance_name))
        return rib_report(err, ENAMETOOLONG), RIB_PROTOID_NONE;
    rib_register_protocol_body_td body = {.rp_words = {in->reg_word1, in->reg_word2, in->reg_word3, in->reg_word4},
                                          .rp_word64 = in->reg_word64};
    rib_fill_names(&body.rp_names, in->proto_name, in->instance_name);
    rib_protoid_td protoid = RIB_PROTOID_NONE;
    rib_report(err, rib_request(conn, body, [&](const rib_protoid_reply_td &reply) { protoid = reply.protoid; }));
    return protoid;
}

rib_protoid_td rib_client_findpdb(ip_rib_conn_p conn, const char *proto_name, const char *instance_name, uint32_t reg_word1,
                                  errcode *err)
{
    if (!conn || !proto_name || !instance_name)
        return rib_report(err, RIB_LIB_ERR_BAD_ARG), RIB_PROTOID_NONE;
    rib_reply_area<rib_protoid_reply_td> reply;
    if (!reply)
        return rib_report(err, RIB_LIB_ERR_NO_MEMORY), RIB_PROTOID_NONE;
    if (!rib_names_fit(proto_name, instance_name))
        return rib_report(err, ENAMETOOLONG), RIB_PROTOID_NONE;
    rib_findpdb_body_td body = {.fp_word1 = reg_word1};
    rib_fill_names(&body.fp_names, proto_name, instance_name);
    return rib_report(err, rib_exchange(conn, body, reply.get())) == 0 ? reply.get()->protoid : RIB_PROTOID_NONE;
}

int rib_client_modify_protocol(ip_rib_conn_p conn, rib_protoid_td protoid, uint32_t word_a, uint32_t word_b, uint32_t word_c,
                               uint32_t word_d, errcode *err)
{
    const rib_modify_protocol_body_td body = {
        .mp_word_a = word_a, .mp_protoid = protoid, .mp_word_b = word_b, .mp_word_c = word_c, .mp_word_d = word_d};
    return rib_report(err, rib_request(conn, body)) == 0;
}

errcode rib_client_protocol_unregister(ip_rib_conn_p conn, rib_protoid_td protoid, uint32_t value)
{
    return rib_request(conn, rib_protocol_unregister_body_td{.pu_protoid = protoid, .pu_value = value});
}

int rib_client_purge_protocol(ip_rib_conn_p conn, rib_protoid_td protoid, uint32_t word_a, uint32_t word_b, uint32_t word_c,
                              errcode *err)
{
    const rib_purge_protocol_body_td body = {
        .pp_protoid = protoid, .pp_word_a = word_a, .pp_word_b = word_b, .pp_word_c = word_c};
    return rib_report(err, rib_request(conn, body)) == 0 ? 0 : -1;
}

errcode rib_client_purge_client(ip_rib_conn_p conn, const char *client_name, const char *node_name)
{
    if (!client_name || !node_name)
        return RIB_LIB_ERR_BAD_ARG;
    rib_purge_client_body_td body = {};
    std::snprintf(body.pc_client, sizeof body.pc_client, "%s", client_name);
    std::snprintf(body.pc_node, sizeof body.pc_node, "%s", node_name);
    return rib_request(conn, body);
}

errcode rib_client_update_complete(ip_rib_conn_p conn, rib_protoid_td protoid, uint32_t value)
{
    return rib_request(conn, rib_update_complete_body_td{.uc_value = value, .uc_protoid = protoid});
}

int rib_client_clear_aft_by_vrf(ip_rib_conn_p conn, rib_protoid_td protoid, uint32_t vrf, errcode *err)
{
    return rib_report(err, rib_request(conn, rib_clear_aft_body_td{.ca_protoid = protoid, .ca_vrf = vrf})) == 0 ? 0 : -1;
}

errcode rib_client_get_table_status(ip_rib_conn_p conn, rib_tableid_td table, void *status)
{
    if (!status)
        return RIB_LIB_ERR_BAD_ARG;
    return rib_request(conn, rib_table_status_body_td{.ts_table = table}, [&](const rib_table_status_reply_td &reply) {
        std::memcpy(status, reply.ts_status, sizeof reply.ts_status);
    });
}

errcode rib_client_batch_protoid_to_proto_info(ip_rib_conn_p conn, uint32_t selector, const rib_protoid_td *protoids,
                                               uint16_t count, void *names)
{
    if (!conn || (count && !protoids) || !names)
        return RIB_LIB_ERR_BAD_ARG;
    if (count > RIB_PROTOID_COUNT)
        return EINVAL;
    rib_proto_info_body_td body = {.pi_selector = selector, .pi_count = count};
    if (count)
        std::memcpy(body.pi_protoids, protoids, count * sizeof *protoids);
    return rib_request(conn, body,
                       [&](const rib_proto_info_reply_td &reply) { std::memcpy(names, reply.pi_names, sizeof reply.pi_names); });
}

errcode rib_client_notify_fib_ug_updates(ip_rib_conn_p conn)
{
    return rib_request(conn, rib_notify_fib_ug_body_td());
}

errcode rib_client_free_all_srv6_sid_req(ip_rib_conn_p conn, uint32_t value, rib_protoid_td protoid, uint32_t word_a,
                                         uint32_t word_b)
{
    return rib_request(
        conn, rib_free_all_sids_body_td{.fs_value = value, .fs_protoid = protoid, .fs_word_a = word_a, .fs_word_b = word_b});
}
