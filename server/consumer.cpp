/*
 * Putting updates into the line, and waking the client.
 */
#include <new>

#include "server/session.h"

void rib_consumer_stir(rib_session &session)
{
    rib_consumer &consumer = session.consumer;
    if (consumer.is_stirred)
        return;
    consumer.stirred->push_back(&session); // has room for every session
    consumer.is_stirred = true;
}

/* Without memory the client cannot end with the true table any more: its next fetch ends the connection. */
void rib_consumer_put(rib_session &session, const rib_update &update)
try {
    rib_consumer &consumer = session.consumer;
    if (consumer.lost)
        return;
    rib_consumer_stir(session);
    consumer.line.push(update);
    if (update.interest)
        ++update.interest->in_line;
} catch (const std::bad_alloc &) {
    session.consumer.lost = true;
    session.consumer.line.clear();
}

void rib_consumer_drop(rib_session &session, rib_update_queue::place_td place)
{
    if (place->interest)
        --place->interest->in_line;
    session.consumer.line.erase(place);
}

void rib_consumer_mark(rib_interest &interest, rib_protoid_td protoid, rib_update_kind kind)
{
    const rib_update marker = {.interest = &interest, .protoid = protoid, .kind = kind};
    rib_update_queue &line = interest.session->consumer.line;
    const auto place = line.find(marker);
    if (place == line.end())
        rib_consumer_put(*interest.session, marker);
    else
        line.move_behind(place);
}

void rib_consumer_came(rib_session &session, rib_protoid_td protoid)
{
    if (!session.consumer.interests.empty())
        rib_consumer_put(session, {.protoid = protoid, .kind = rib_update_kind::came});
}

void rib_consumer_went(rib_session &session, rib_protoid_td protoid, const rib_gone_protocol &gone)
{
    rib_consumer &consumer = session.consumer;
    if (consumer.interests.empty())
        return;
    const auto untold = consumer.line.find({.protoid = protoid, .kind = rib_update_kind::came});
    if (untold != consumer.line.end()) {
        rib_consumer_drop(session, untold);
    } else {
        consumer.gone[protoid] = gone;
        rib_consumer_put(session, {.protoid = protoid, .kind = rib_update_kind::went});
    }
}

void rib_consumer_wake(rib_session &session)
{
    rib_consumer &consumer = session.consumer;
    consumer.is_stirred = false;
    if (session.has_event && session.pulse && !consumer.pulsed && consumer.waits())
        consumer.pulsed = session.pulse();
}
