/*
 * Requests about protocols and tables.
 */
#include "server/protocol_requests.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <ipv6_rib/errors.h>

#include "server/lifecycle.h"

bool rib_text_of(const char *field, size_t size, std::string_view *text)
{
    const size_t len = strnlen(field, size);
    *text = {field, len};
    return len != size;
}

bool rib_names_of(const rib_name_pair_td &pair, std::string_view *proto_name, std::string_view *instance_name)
{
    return rib_text_of(pair.np_proto, sizeof pair.np_proto, proto_name) &&
           rib_text_of(pair.np_instance, sizeof pair.np_instance, instance_name);
}

errcode rib_protocol_named(rib_server &server, const rib_name_pair_td &names, rib_protocol **protocol)
{
    std::string_view proto_name;
    std::string_view instance_name;
    if (!rib_names_of(names, &proto_name, &instance_name))
        return EINVAL;
    *protocol = server.protocols.find(proto_name, instance_name);
    return *protocol ? 0 : RIB_SRV_ERR_NOT_FOUND;
}

errcode rib_do_register(rib_server &server, rib_session &session, const rib_register_protocol_body_td &body,
                        rib_protoid_reply_td &reply)
{
    rib_registration in;
    if (!rib_names_of(body.rp_names, &in.proto_name, &in.instance_name))
        return EINVAL;
    std::memcpy(in.words.data(), body.rp_words, sizeof in.words);
    in.word64 = body.rp_word64;
    rib_protoid_td id = RIB_PROTOID_NONE;
    const errcode result = rib_protocol_register(server, session, in, &id);
    reply.protoid = id;
    return result;
}

errcode rib_do_findpdb(rib_server &server, rib_session &, const rib_findpdb_body_td &body, rib_protoid_reply_td &reply)
{
    rib_protocol *protocol;
    if (const errcode refusal = rib_protocol_named(server, body.fp_names, &protocol))
        return refusal;
    if (body.fp_word1 != 0 && protocol->words[0] != body.fp_word1)
        return RIB_SRV_ERR_NOT_FOUND;
    reply.protoid = protocol->id;
    return 0;
}

errcode rib_do_modify(rib_server &server, rib_session &session, const rib_modify_protocol_body_td &body, rib_result_reply_td &)
{
    rib_protocol *protocol;
    if (const errcode refusal = rib_protocol_owned(server, session, body.mp_protoid, &protocol))
        return refusal;
    return rib_protocol_set_words(server, *protocol, {body.mp_word_a, body.mp_word_b, body.mp_word_c, body.mp_word_d});
}

errcode rib_do_unregister(rib_server &server, rib_session &session, const rib_protocol_unregister_body_td &body,
                          rib_result_reply_td &)
{
    rib_protocol *protocol;
    if (const errcode refusal = rib_protocol_owned(server, session, body.pu_protoid, &protocol))
        return refusal;
    if (body.pu_value > static_cast<uint32_t>(rib_farewell::hold))
        return EINVAL;
    rib_protocol_release(server, *protocol, static_cast<rib_farewell>(+body.pu_value));
    return 0;
}

errcode rib_do_purge_protocol(rib_server &server, rib_session &session, const rib_purge_protocol_body_td &body,
                              rib_result_reply_td &)
{
    rib_protocol *protocol;
    if (const errcode refusal = rib_protocol_purgeable(server, session, body.pp_protoid, &protocol))
        return refusal;
    if (body.pp_word_b > 1)
        return EINVAL;
    const rib_which which = body.pp_word_b ? rib_which::stale : rib_which::all;
    if (body.pp_word_a == 0)
        rib_protocol_withdraw(server, *protocol, which);
    else if (rib_table *table = server.tables.find(body.pp_word_a))
        rib_protocol_withdraw(*table, *protocol, which);
    rib_protocol_forget_when_idle(server, *protocol);
    return 0;
}

errcode rib_do_purge_client(rib_server &server, rib_session &session, const rib_purge_client_body_td &body, rib_result_reply_td &)
{
    std::string_view process;
    std::string_view node;
    if (!rib_text_of(body.pc_client, sizeof body.pc_client, &process) || !rib_text_of(body.pc_node, sizeof body.pc_node, &node))
        return EINVAL;
    return rib_purge_dead_client(server, session, process, node);
}

errcode rib_do_update_complete(rib_server &server, rib_session &session, const rib_update_complete_body_td &body,
                               rib_result_reply_td &)
{
    rib_protocol *protocol;
    if (const errcode refusal = rib_protocol_owned(server, session, body.uc_protoid, &protocol))
        return refusal;
    rib_protocol_complete(server, *protocol);
    return 0;
}

errcode rib_do_clear_aft(rib_server &server, rib_session &session, const rib_clear_aft_body_td &body, rib_result_reply_td &)
{
    rib_protocol *protocol;
    if (const errcode refusal = rib_protocol_purgeable(server, session, body.ca_protoid, &protocol))
        return refusal;
    if (rib_table *table = server.tables.find(body.ca_vrf))
        rib_protocol_withdraw(*table, *protocol, rib_which::all);
    rib_protocol_forget_when_idle(server, *protocol);
    return 0;
}

errcode rib_do_table_status(rib_server &server, rib_session &, const rib_table_status_body_td &body,
                            rib_table_status_reply_td &reply)
{
    const rib_table *table = server.tables.find(body.ts_table);
    if (!table)
        return 0;
    const bool complete = std::all_of(server.protocols.begin(), server.protocols.end(), [&](const rib_protocol &protocol) {
        return protocol.complete || table->route_count(protocol.id) == 0;
    });
    reply.ts_status[0] = RIB_TABLE_EXISTS | (complete ? RIB_TABLE_COMPLETE : 0) | (table->converged ? RIB_TABLE_CONVERGED : 0);
    reply.ts_status[1] = static_cast<uint32_t>(table->prefix_count());
    return 0;
}

errcode rib_do_proto_info(rib_server &server, rib_session &, const rib_proto_info_body_td &body, rib_proto_info_reply_td &reply)
{
    if (body.pi_count > RIB_PROTOID_COUNT)
        return EINVAL;
    for (size_t slot = 0; slot != body.pi_count; ++slot) {
        const rib_protocol *protocol = server.protocols.find(body.pi_protoids[slot]);
        if (!protocol)
            continue;
        rib_name_pair_td &names = reply.pi_names[slot];
        std::memcpy(names.np_proto, protocol->proto_name.data(), protocol->proto_name.size());
        std::memcpy(names.np_instance, protocol->instance_name.data(), protocol->instance_name.size());
    }
    return 0;
}

errcode rib_do_free_all_sids(rib_server &server, rib_session &session, const rib_free_all_sids_body_td &body,
                             rib_result_reply_td &)
{
    rib_protocol *protocol;
    if (const errcode refusal = rib_protocol_owned(server, session, body.fs_protoid, &protocol))
        return refusal;
    if (rib_table *table = server.tables.find(IPV6_RIB_TABLE_SID))
        rib_protocol_withdraw(*table, *protocol, rib_which::all);
    return 0;
}
