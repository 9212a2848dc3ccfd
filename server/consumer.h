/*
 * The receiving side of a session: its interests, the dumps that are under way, and what waits to be told, of next hops
 * too. The dumps are told first, then the line. Nothing is sent to the client but replies to its own requests.
 */
#pragma once

#include <list>
#include <memory>
#include <string>

#include <absl/container/btree_map.h>

#include "server/interest.h"
#include "server/update_queue.h"

constexpr size_t RIB_SESSION_INTERESTS = 65'536;

/* A protocol that is not there any more when the client hears of it. */
struct rib_gone_protocol {
    std::string proto_name;
    std::string instance_name;
    uint32_t kind = 0;
};

struct rib_consumer {
    absl::btree_map<rib_interest_key, std::unique_ptr<rib_interest>> interests;
    std::vector<std::unique_ptr<rib_interest>> ended; /* until what waits of them is forgotten */
    std::list<rib_interest *> dumps;                  /* under way, in the order in which they were asked for */
    rib_update_queue line;
    absl::btree_map<rib_protoid_td, rib_gone_protocol> gone; /* those in the line */
    rib_protocol_set own;                                    /* protocols of the session */
    std::vector<rib_session *> *stirred = nullptr;           /* of the server: sessions that may have to be woken */
    bool is_stirred = false;
    bool pulsed = false; /* the client was woken since it last fetched all */
    bool lost = false;   /* there was no memory for what it had to be told: it must start anew */

    bool waits() const { return !dumps.empty() || !line.empty() || lost; }
};

/* Something may wait now: the session is looked at before the server waits for the next message. Does not throw. */
void rib_consumer_stir(rib_session &session);
/* Puts an update at the end of the line. Does not throw. */
void rib_consumer_put(rib_session &session, const rib_update &update);
void rib_consumer_drop(rib_session &session, rib_update_queue::place_td place);
/* The same; an update that waits already stays where it is, or moves behind all that waits. */
void rib_consumer_put_once(rib_session &session, const rib_update &update);
void rib_consumer_put_behind(rib_session &session, const rib_update &update);
/* The client cannot end with the truth any more, for want of memory: its next fetch ends the connection. Does not throw. */
void rib_consumer_lose(rib_session &session);
/*
 * A protocol came, or went, which a session with interests is told. Both wait at most once for an identifier, went ahead of
 * came; one that came and went before it was told is not told.
 */
void rib_consumer_came(rib_session &session, rib_protoid_td protoid);
void rib_consumer_went(rib_session &session, rib_protoid_td protoid, const rib_gone_protocol &gone);
/* Wakes the client when something waits and it was not woken before. */
void rib_consumer_wake(rib_session &session);
