/*
 * Interests, parents, sources and markers.
 */
#include "server/redistribution.h"

#include <algorithm>
#include <cerrno>

#include <absl/container/flat_hash_set.h>
#include <absl/functional/function_ref.h>

#include <ipv6_rib/redist_batch.h>

#include "ip/rib/wire/request.h"

static bool same_process(const rib_credentials &first, const rib_credentials &second)
{
    return first.uid == second.uid && first.pid == second.pid;
}

errcode rib_check_parent(const rib_server &server, const rib_session &session, uint32_t parent)
{
    if (parent == RIB_NO_PARENT)
        return 0;
    const auto found = server.sessions.find(parent);
    const bool joins = found != server.sessions.end() && !found->second->consumer.interests.empty() &&
                       same_process(found->second->credentials, session.credentials);
    return joins ? 0 : EPERM;
}

static std::unique_ptr<rib_interest> make_interest(rib_session &session, const rib_interest_key &key, const rib_protocol *source,
                                                   const rib_interest_words &words)
{
    const bool all = words.mode == RIB_REDIST_ALL || words.mode == RIB_REDIST_ALL_FOREIGN;
    auto interest = std::make_unique<rib_interest>();
    interest->session = &session;
    interest->table = key.table;
    interest->source = source ? source->id : RIB_PROTOID_NONE;
    interest->best_only = !all;
    interest->foreign = !source && (words.mode == RIB_REDIST_BEST_FOREIGN || words.mode == RIB_REDIST_ALL_FOREIGN);
    interest->words = words;
    return interest;
}

/* The interest is told of the changes of its table, which need not be there yet. */
static void watch(rib_server &server, rib_interest *interest)
{
    server.tables.audience(interest->table).watchers.push_back(interest);
}

static void unwatch(rib_server &server, rib_interest *interest)
{
    std::erase(server.tables.audience_of(interest->table)->watchers, interest);
    server.tables.audience_left(interest->table);
}

using place_td = decltype(rib_consumer::interests)::iterator;

static place_td end_interest(rib_server &server, rib_consumer &consumer, place_td place)
{
    rib_interest *interest = place->second.get();
    if (!interest->waits)
        unwatch(server, interest);
    if (interest->dumping)
        consumer.dumps.erase(interest->dump_place);
    consumer.ended.push_back(std::move(place->second));
    return consumer.interests.erase(place);
}

void rib_interest_begin(rib_server &server, rib_session &session, const rib_interest_key &key, const rib_protocol *source,
                        const rib_interest_words &words)
{
    rib_interest_end(server, session, key);
    rib_consumer &consumer = session.consumer;
    const auto begun = consumer.interests.emplace(key, make_interest(session, key, source, words)).first;
    rib_interest *interest = begun->second.get();
    watch(server, interest);
    interest->dump_place = consumer.dumps.insert(consumer.dumps.end(), interest);
    interest->dumping = true;
    rib_consumer_stir(session);
}

void rib_interest_end(rib_server &server, rib_session &session, const rib_interest_key &key)
{
    const auto place = session.consumer.interests.find(key);
    if (place != session.consumer.interests.end())
        end_interest(server, session.consumer, place);
}

bool rib_interests_end(rib_server &server, rib_session &session, rib_tableid_td table)
{
    auto &interests = session.consumer.interests;
    const size_t before = interests.size();
    for (auto place = interests.begin(); place != interests.end();)
        place = table == 0 || place->first.table == table ? end_interest(server, session.consumer, place) : std::next(place);
    return interests.size() != before;
}

void rib_forget_ended(rib_session &session)
{
    rib_consumer &consumer = session.consumer;
    const auto waits = [](const auto &interest) { return interest->in_line != 0; };
    if (consumer.interests.empty()) {
        consumer.line.erase_if([](const rib_update &update) { return !rib_is_of_next_hops(update.kind); });
        consumer.gone.clear();
    } else if (std::any_of(consumer.ended.begin(), consumer.ended.end(), waits)) {
        absl::flat_hash_set<const rib_interest *> gone;
        for (const auto &interest : consumer.ended)
            gone.insert(interest.get());
        consumer.line.erase_if([&](const rib_update &update) { return gone.contains(update.interest); });
    }
    consumer.ended.clear();
}

/* Runs work on the session's interests in a source of these names. */
static void for_each_interest(rib_session &session, const rib_protocol &source, absl::FunctionRef<void(rib_interest &)> work)
{
    auto &interests = session.consumer.interests;
    auto place = interests.lower_bound({source.proto_name, source.instance_name, 0});
    for (; place != interests.end() && place->first.proto_name == source.proto_name &&
           place->first.instance_name == source.instance_name;
         ++place)
        work(*place->second);
}

void rib_protocol_came(rib_server &server, const rib_protocol &protocol)
{
    for (const auto &[id, session] : server.sessions) {
        rib_consumer_came(*session, protocol.id);
        for_each_interest(*session, protocol, [&](rib_interest &interest) {
            interest.source = protocol.id;
            interest.waits = false;
            watch(server, &interest);
        });
    }
}

void rib_protocol_went(rib_server &server, const rib_protocol &protocol)
{
    for (const auto &[id, session] : server.sessions) {
        rib_consumer_went(*session, protocol.id, {protocol.proto_name, protocol.instance_name, protocol.words[0]});
        for_each_interest(*session, protocol, [&](rib_interest &interest) {
            interest.waits = true;
            unwatch(server, &interest);
        });
    }
}

static void set_own(rib_server &server, rib_session &session, rib_protoid_td protoid, bool owns)
{
    session.consumer.own.set(protoid, owns);
    for (const auto &[key, interest] : session.consumer.interests) {
        const rib_table *table = interest->foreign ? server.tables.find(interest->table) : nullptr;
        if (table)
            rib_interest_own_changed(*interest, *table, protoid, owns);
    }
}

void rib_protocol_set_owner(rib_server &server, rib_protocol &protocol, rib_session *owner)
{
    if (protocol.owner == owner)
        return;
    if (protocol.owner)
        set_own(server, *protocol.owner, protocol.id, false);
    if (owner)
        set_own(server, *owner, protocol.id, true);
    protocol.owner = owner;
}

static void mark(const rib_watchers &watchers, rib_protoid_td protoid, rib_update_kind kind)
{
    for (rib_interest *interest : watchers)
        if (interest->markers && rib_interest_covers(*interest, protoid))
            rib_consumer_put_behind(*interest->session, {.interest = interest, .protoid = protoid, .kind = kind});
}

void rib_tell_complete(rib_server &server, rib_protoid_td protoid)
{
    for (const auto &[table, audience] : server.tables.audiences())
        mark(audience->watchers, protoid, rib_update_kind::complete);
}

void rib_tell_converged(rib_server &server, rib_tableid_td table, rib_protoid_td protoid)
{
    if (const rib_audience *audience = server.tables.audience_of(table))
        mark(audience->watchers, protoid, rib_update_kind::converged);
}
