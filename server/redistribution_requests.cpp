/*
 * Asking for redistribution, and ending it.
 */
#include "server/redistribution_requests.h"

#include <cerrno>

#include "server/protocol_requests.h"

static errcode keep(rib_redistributions &redistributions, const rib_redist_key &key, const rib_redist &redist)
{
    const bool known = redistributions.wanted.contains(key);
    if (!known && redistributions.wanted.size() == RIB_SESSION_REDISTRIBUTIONS)
        return ENOSPC;
    redistributions.wanted.insert_or_assign(key, redist);
    return 0;
}

static void tell(const rib_session &session, rib_protoid_td source, rib_redist_reply_td &reply)
{
    reply.protoid = source;
    reply.rr_client_id = session.client_id;
}

errcode rib_do_redist(rib_server &server, rib_session &session, const rib_redist_protocol_body_td &body,
                      rib_redist_reply_td &reply)
{
    rib_protocol *source;
    if (const errcode refusal = rib_protocol_named(server, body.rr_names, &source))
        return refusal;
    if (body.rr_mode > UINT16_MAX)
        return EINVAL;
    if (const errcode refusal = rib_check_parent(server, session, body.rr_parent))
        return refusal;
    const rib_redist redist = {.flags = body.rr_flags,
                               .child_arg = body.rr_child_arg,
                               .parent = body.rr_parent,
                               .mode = static_cast<uint16_t>(body.rr_mode)};
    if (const errcode refusal = keep(session.redistributions, {source->id, body.rr_table}, redist))
        return refusal;
    tell(session, source->id, reply);
    return 0;
}

errcode rib_do_redist_markers(rib_server &server, rib_session &session, const rib_redist_markers_body_td &body,
                              rib_redist_reply_td &reply)
{
    rib_protocol *source = nullptr;
    if (!rib_names_are_empty(body.rr_names))
        if (const errcode refusal = rib_protocol_named(server, body.rr_names, &source))
            return refusal;
    bool found = false;
    for (auto &[key, redist] : session.redistributions.wanted) {
        if (key.table != body.rr_table || (source && key.source != source->id))
            continue;
        redist.markers = true;
        found = true;
    }
    if (!found)
        return RIB_SRV_ERR_NOT_FOUND;
    tell(session, source ? source->id : RIB_PROTOID_NONE, reply);
    return 0;
}

errcode rib_do_redist_reset(rib_server &, rib_session &session, const rib_redist_reset_body_td &body, rib_result_reply_td &)
{
    const uint32_t table = body.rr_value;
    const auto dropped = absl::erase_if(session.redistributions.wanted,
                                        [&](const auto &entry) { return table == 0 || entry.first.table == table; });
    return dropped != 0 ? 0 : RIB_SRV_ERR_NOT_FOUND;
}
