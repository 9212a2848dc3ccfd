/*
 * What an interest sees of a table, and of its changes.
 */
#include "server/interest.h"

#include <tuple>

#include "server/session.h"

bool rib_interest_covers(const rib_interest &interest, rib_protoid_td protoid)
{
    if (!interest.whole())
        return !interest.waits && interest.source == protoid;
    return !interest.foreign || !interest.session->consumer.own.test(protoid);
}

static bool sees_best(const rib_interest &interest, rib_protoid_td best)
{
    return best != RIB_PROTOID_NONE && rib_interest_covers(interest, best);
}

const rib_route *rib_interest_route(const rib_interest &interest, const rib_table::entry_td *entry, rib_protoid_td key)
{
    if (!entry)
        return nullptr;
    const rib_route *best = entry->second.get();
    const rib_route *route = interest.best_only ? best : rib_table::route_of(*entry, key);
    const bool seen = route && rib_interest_covers(interest, route->protoid) && interest.key_of(route->protoid) == key;
    return seen ? route : nullptr;
}

const rib_route *rib_interest_next(const rib_interest &interest, const rib_table::entry_td &entry, int key)
{
    const rib_route *lowest = nullptr;
    for (const rib_route *route = entry.second.get(); route; route = route->next.get()) {
        const bool lower = !lowest || route->protoid < lowest->protoid;
        if (interest.key_of(route->protoid) > key && lower && rib_interest_covers(interest, route->protoid))
            lowest = route;
        if (interest.best_only)
            break;
    }
    return lowest;
}

/* A route was in sight, or is. Nothing else waits for the key: what was in sight is what the client knows. */
static void put_route(rib_interest &interest, const rib_prefix &prefix, rib_protoid_td key, bool before, bool after)
{
    rib_consumer_stir(*interest.session);
    if (interest.dumping && std::make_tuple(prefix, int{key}) > std::make_tuple(interest.dumped, interest.dumped_key))
        return;
    const rib_update update = {.interest = &interest, .prefix = prefix, .protoid = key, .fresh = !before};
    rib_update_queue &line = interest.session->consumer.line;
    const auto place = line.find(update);
    if (place == line.end())
        rib_consumer_put(*interest.session, update);
    else if (place->fresh && !after)
        rib_consumer_drop(*interest.session, place);
}

static void tell_best(rib_interest &interest, const rib_route_event &event)
{
    if (event.best_before == event.best_after && event.protoid != event.best_after)
        return;
    const bool before = sees_best(interest, event.best_before);
    const bool after = sees_best(interest, event.best_after);
    if (before || after)
        put_route(interest, event.prefix, interest.whole() ? RIB_PROTOID_NONE : interest.source, before, after);
}

/* Routes that became or ceased to be the best are told too: their state says so. */
static void tell_each(rib_interest &interest, const rib_route_event &event)
{
    const auto tell = [&](rib_protoid_td protoid, bool before, bool after) {
        if (rib_interest_covers(interest, protoid))
            put_route(interest, event.prefix, protoid, before, after);
    };
    tell(event.protoid, event.change != rib_change::added, event.change != rib_change::withdrawn);
    if (event.best_before == event.best_after)
        return;
    for (const rib_protoid_td best : {event.best_before, event.best_after})
        if (best != RIB_PROTOID_NONE && best != event.protoid)
            tell(best, true, true);
}

void rib_tell_change(const rib_watchers &watchers, const rib_route_event &event)
{
    for (rib_interest *interest : watchers) {
        if (interest->best_only)
            tell_best(*interest, event);
        else
            tell_each(*interest, event);
    }
}

void rib_interest_own_changed(rib_interest &interest, const rib_table &table, rib_protoid_td protoid, bool owns)
{
    uint32_t left = table.route_count(protoid);
    for (auto place = table.from({}); left != 0; ++place) {
        const rib_route *route = rib_table::route_of(*place, protoid);
        left -= route != nullptr;
        if (route && (!interest.best_only || route == place->second.get()))
            put_route(interest, place->first, interest.key_of(protoid), owns, !owns);
    }
}
