/*
 * Asking for redistribution, and ending it.
 */
#include "server/redistribution_requests.h"

#include <cerrno>

#include "server/protocol_requests.h"
#include "server/redistribution.h"

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
    const rib_interest_key key = {source->proto_name, source->instance_name, body.rr_table};
    const auto &interests = session.consumer.interests;
    if (!interests.contains(key) && interests.size() == RIB_SESSION_INTERESTS)
        return ENOSPC;
    rib_interest_begin(server, session, key, source,
                       {.flags = body.rr_flags,
                        .child_arg = body.rr_child_arg,
                        .parent = body.rr_parent,
                        .mode = static_cast<uint16_t>(body.rr_mode)});
    rib_forget_ended(session);
    tell(session, source->id, reply);
    return 0;
}

errcode rib_do_redist_markers(rib_server &, rib_session &session, const rib_redist_markers_body_td &body,
                              rib_redist_reply_td &reply)
{
    std::string_view proto_name;
    std::string_view instance_name;
    if (!rib_names_of(body.rr_names, &proto_name, &instance_name))
        return EINVAL;
    const bool every = rib_names_are_empty(body.rr_names);
    const rib_interest *found = nullptr;
    for (auto &[key, interest] : session.consumer.interests) {
        if (key.table != body.rr_table || (!every && (key.proto_name != proto_name || key.instance_name != instance_name)))
            continue;
        interest->markers = true;
        found = interest.get();
    }
    if (!found)
        return RIB_SRV_ERR_NOT_FOUND;
    tell(session, every || found->waits ? RIB_PROTOID_NONE : found->source, reply);
    return 0;
}

errcode rib_do_redist_reset(rib_server &server, rib_session &session, const rib_redist_reset_body_td &body, rib_result_reply_td &)
{
    const bool any = rib_interests_end(server, session, body.rr_value);
    rib_forget_ended(session);
    return any ? 0 : RIB_SRV_ERR_NOT_FOUND;
}
