/*
 * Comings and goings of clients, and the choice of who serves a message.
 */
#include "server/server.h"

#include <cerrno>
#include <utility>

#include "ip/rib/wire/next_hop_batch.h"
#include "ip/rib/wire/redist_batch.h"
#include "server/batch.h"
#include "server/lifecycle.h"
#include "server/next_hop_batch.h"
#include "server/redist_batch.h"
#include "server/redistribution.h"
#include "server/requests.h"

rib_session *rib_server_connect(rib_server &server, const rib_credentials &credentials)
{
    uint32_t &id = server.last_client_id;
    do
        ++id;
    while (id == 0 || id == RIB_NO_PARENT || id == UINT32_MAX || server.sessions.contains(id));
    auto session = std::make_unique<rib_session>();
    session->client_id = id;
    session->credentials = credentials;
    session->consumer.stirred = &server.stirred;
    server.stirred.reserve(server.sessions.size() + 1);
    return server.sessions.emplace(id, std::move(session)).first->second.get();
}

void rib_server_disconnect(rib_server &server, rib_session *session)
{
    rib_next_hops_end(server, *session);
    rib_interests_end(server, *session, 0);
    rib_forget_ended(*session);
    rib_hold_protocols_of(server, session);
    std::erase(server.stirred, session);
    server.sessions.erase(session->client_id);
}

void rib_wake_consumers(rib_server &server)
{
    rib_next_hops_settle(server);
    for (rib_session *session : server.stirred)
        rib_consumer_wake(*session);
    server.stirred.clear();
}

size_t rib_reply_result(rib_reply_area area, errcode result)
{
    uint8_t *reply = area(sizeof result);
    if (!reply)
        return 0;
    rib_store_net(reply, result);
    return sizeof result;
}

size_t rib_server_handle(rib_server &server, rib_session &session, uint8_t *msg, size_t len, rib_reply_area area)
{
    switch (len >= sizeof(uint32_t) ? rib_load<uint32_t>(msg) : 0) {
    case RIB_MSG_LWM:
        return rib_serve_request(server, session, msg, len, area);
    case RIB_MSG_BATCH:
        return rib_serve_batch(server, session, msg, len, area);
    case RIB_MSG_REDIST:
    case RIB_MSG_REDIST_ISSU:
        return rib_serve_redist_batch(server, session, msg, len, area);
    case RIB_MSG_NEXT_HOPS:
        return rib_serve_next_hops(server, session, msg, len, area);
    default:
        return rib_reply_result(area, EBADMSG);
    }
}
