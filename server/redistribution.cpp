/*
 * Parents and sources of redistributions.
 */
#include "server/redistribution.h"

#include <cerrno>

#include "ip/rib/wire/request.h"
#include "server/server.h"

static bool same_process(const rib_credentials &first, const rib_credentials &second)
{
    return first.uid == second.uid && first.pid == second.pid;
}

errcode rib_check_parent(const rib_server &server, const rib_session &session, uint32_t parent)
{
    if (parent == RIB_NO_PARENT)
        return 0;
    const auto found = server.sessions.find(parent);
    const bool joins = found != server.sessions.end() && !found->second->redistributions.wanted.empty() &&
                       same_process(found->second->credentials, session.credentials);
    return joins ? 0 : EPERM;
}

void rib_drop_source(rib_server &server, rib_protoid_td source)
{
    for (const auto &[id, session] : server.sessions) {
        auto &wanted = session->redistributions.wanted;
        wanted.erase(wanted.lower_bound({source, 0}), wanted.upper_bound({source, UINT32_MAX}));
    }
}
