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
    rib_consumer_lose(session);
}

void rib_consumer_put_once(rib_session &session, const rib_update &update)
{
    rib_update_queue &line = session.consumer.line;
    if (line.find(update) == line.end())
        rib_consumer_put(session, update);
}

void rib_consumer_put_behind(rib_session &session, const rib_update &update)
{
    rib_update_queue &line = session.consumer.line;
    const auto place = line.find(update);
    if (place == line.end())
        rib_consumer_put(session, update);
    else
        line.move_behind(place);
}

void rib_consumer_lose(rib_session &session)
{
    rib_consumer_stir(session);
    session.consumer.lost = true;
    session.consumer.line.clear();
}

void rib_consumer_drop(rib_session &session, rib_update_queue::place_td place)
{
    if (place->interest)
        --place->interest->in_line;
    session.consumer.line.erase(place);
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
