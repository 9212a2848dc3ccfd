/*
 * Control of redistribution. The client id that the server gives to a redistribution is kept as the datum of the
 * connection's channel; further connections of the process send it to join.
 */
#include "redist.h"

#include <platform/msg_chan.h>

#include "../rib_fatal.h"
#include "ip/rib/wire/redistribution.h"
#include "locks.h"
#include "names.h"
#include "request.h"

bool rib_client_parent_datum(ip_rib_conn_p parent, uint32_t *datum)
{
    *datum = RIB_NO_PARENT;
    if (!parent)
        return true;
    msg_clinfo_datum_h kept = nullptr;
    if (!rib_client_locked(parent, "rib_client_parent_datum", false,
                           [&] { return msg_conn_get_datum(parent->conn, &kept) == 0; }))
        return false;
    *datum = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(kept));
    return true;
}

/* A datum is a pointer's worth: the id, sign-extended. */
static msg_clinfo_datum_h datum_of(uint32_t client_id)
{
    return reinterpret_cast<msg_clinfo_datum_h>(static_cast<intptr_t>(static_cast<int32_t>(client_id)));
}

rib_protoid_td rib_client_redist_protocol_common(ip_rib_conn_p conn, const char *proto_name, const char *instance_name,
                                                 rib_tableid_td table, ip_rib_proto_redist_flags proto_flags, rib_updatemode mode,
                                                 ip_rib_conn_p parent, int child_arg, errcode *err)
{
    if (!conn || !proto_name || !instance_name || !rib_names_fit(proto_name, instance_name))
        return rib_report(err, RIB_LIB_ERR_BAD_ARG), RIB_PROTOID_NONE;
    rib_reply_area<rib_redist_reply_td> reply;
    if (!reply)
        return rib_report(err, RIB_LIB_ERR_NO_MEMORY), RIB_PROTOID_NONE;
    rib_redist_protocol_body_td body = {.rr_flags = proto_flags,
                                        .rr_mode = static_cast<uint16_t>(mode),
                                        .rr_table = table,
                                        .rr_child_arg = static_cast<uint32_t>(child_arg)};
    rib_fill_names(&body.rr_names, proto_name, instance_name);
    uint32_t datum;
    if (!rib_client_parent_datum(parent, &datum))
        return rib_report(err, EINVAL), RIB_PROTOID_NONE;
    body.rr_parent = datum;
    int saved = 0;
    /* The id is kept before the lock is let go: with a rebind in between it would go to a channel that it is not of. */
    const errcode code = rib_client_locked<errcode>(conn, "rib_client_lwm_send", RIB_LIB_ERR_NO_CONNECTION, [&] {
        const errcode answer = rib_exchange(conn, body, reply.get(), rib_redist_reply_td::room, rib_client_lwm_send_no_lock);
        if (answer == 0)
            saved = msg_conn_save_datum(conn->conn, datum_of(reply.get()->rr_client_id));
        return answer;
    });
    if (rib_report(err, code) != 0)
        return RIB_PROTOID_NONE;
    rib_fatal_unless(saved == 0, "0 == msg_conn_save_datum(conn->conn, (msg_clinfo_datum_h)reply->client_id)");
    return reply.get()->protoid;
}

errcode rib_client_redist_enable_rcmd_markers(ip_rib_conn_p conn, const char *proto_name, const char *instance_name,
                                              rib_tableid_td table)
{
    const char *instance = instance_name ? instance_name : "";
    if (!conn || !rib_names_fit(proto_name ? proto_name : "", instance))
        return RIB_LIB_ERR_BAD_ARG;
    rib_redist_markers_body_td body = {.rr_table = table};
    if (proto_name)
        rib_fill_names(&body.rr_names, proto_name, instance);
    return rib_request(conn, body);
}

int rib_client_redist_reset(ip_rib_conn_p conn, uint32_t reset_value, errcode *err)
{
    return rib_report(err, rib_request(conn, rib_redist_reset_body_td{.rr_value = reset_value})) == 0;
}

uint32_t rib_client_default_netsource(ip_rib_conn_p conn, uint32_t netsource_value, errcode *err)
{
    uint32_t answer = 0;
    rib_report(err, rib_request(conn, rib_netsource_body_td{.dn_value = netsource_value},
                                [&](const rib_netsource_reply_td &reply) { answer = reply.dn_answer; }));
    return answer;
}
