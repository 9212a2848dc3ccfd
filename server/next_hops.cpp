/*
 * Registering next hops, and what waits to be told of them.
 */
#include "server/next_hops.h"

#include <utility>

#include "server/next_hop_tracker.h"
#include "server/server.h"

static rib_update update_of(const rib_next_hop_key &key)
{
    return {.prefix = key.addr, .table = key.table, .kind = rib_update_kind::next_hop};
}

static rib_update all_told(rib_tableid_td table)
{
    return {.table = table, .kind = rib_update_kind::next_hops_told};
}

static void drop(rib_session &session, const rib_update &update)
{
    const auto place = session.consumer.line.find(update);
    if (place != session.consumer.line.end())
        rib_consumer_drop(session, place);
}

static void unfollow(rib_server &server, rib_session &session, rib_next_hop &hop)
{
    if (hop.tracked)
        rib_next_hop_unfollow(server, session, *std::exchange(hop.tracked, nullptr));
}

bool rib_next_hop_fits(const rib_session &session, const rib_next_hop_key &key)
{
    const auto &registered = session.next_hops.registered;
    return registered.size() < RIB_SESSION_NEXT_HOPS || registered.contains(key);
}

const rib_next_hop_way &rib_next_hop_register(rib_server &server, rib_session &session, const rib_next_hop_key &key,
                                              const rib_next_hop_words &words, rib_next_hop_answer answer)
{
    rib_next_hops_settle(server);
    rib_next_hop &hop = session.next_hops.registered[key];
    const rib_tracked_key how = {key, words.min_len, words.one_step};
    if (!hop.tracked || hop.tracked->key != how) {
        unfollow(server, session, hop);
        hop.tracked = &rib_next_hop_follow(server, session, how);
    }
    hop.words = words;
    hop.told.reset();
    if (answer == rib_next_hop_answer::update) {
        rib_consumer_put_behind(session, update_of(key));
    } else {
        drop(session, update_of(key));
        hop.told = hop.tracked->way;
    }
    return hop.tracked->way;
}

bool rib_next_hop_unregister(rib_server &server, rib_session &session, const rib_next_hop_key &key)
{
    rib_next_hops_settle(server);
    auto &registered = session.next_hops.registered;
    const auto place = registered.find(key);
    if (place == registered.end())
        return false;
    drop(session, update_of(key));
    unfollow(server, session, place->second);
    registered.erase(place);
    return true;
}

void rib_next_hops_register_converge(rib_server &server, rib_session &session, rib_tableid_td table)
{
    rib_next_hops_settle(server);
    auto &converging = server.tables.audience(table).converging;
    converging.reserve(converging.size() + 1);
    if (session.next_hops.converging.insert(table).second)
        converging.push_back(&session);
    rib_consumer_put_behind(session, all_told(table));
}

static void leave_converging(rib_server &server, rib_session &session, rib_tableid_td table)
{
    std::erase(server.tables.audience_of(table)->converging, &session);
    server.tables.audience_left(table);
}

void rib_next_hops_unregister_converge(rib_server &server, rib_session &session, rib_tableid_td table)
{
    if (session.next_hops.converging.erase(table) == 0)
        return;
    leave_converging(server, session, table);
    drop(session, all_told(table));
}

void rib_next_hops_end(rib_server &server, rib_session &session)
{
    rib_next_hops_settle(server);
    for (auto &[key, hop] : session.next_hops.registered)
        unfollow(server, session, hop);
    for (const rib_tableid_td table : session.next_hops.converging)
        leave_converging(server, session, table);
    session.next_hops = {};
}

void rib_next_hops_converged(rib_server &server, rib_tableid_td table)
{
    const rib_audience *audience = server.tables.audience_of(table);
    if (!audience || audience->converging.empty())
        return;
    rib_next_hops_settle(server);
    for (rib_session *session : audience->converging)
        rib_consumer_put_behind(*session, all_told(table));
}

/* It waits while it is not as it was told last: what changed back before the client heard of it is not told. */
void rib_next_hop_changed(rib_session &session, const rib_next_hop_key &key)
{
    const rib_next_hop &hop = session.next_hops.registered.find(key)->second;
    if (hop.told != hop.tracked->way)
        rib_consumer_put_once(session, update_of(key));
    else
        drop(session, update_of(key));
}
