/*
 * Fetching updates: the dumps that are under way, then what stands in the line, as much as a reply holds.
 */
#include <algorithm>
#include <cerrno>
#include <new>

#include <ipv6_rib/update.h>

#include "ip/rib/wire/update.h"
#include "server/next_hop_told.h"
#include "server/next_hop_tracker.h"
#include "server/requests.h"
#include "server/update_writer.h"

/* Prefixes that one fetch looks at for dumps: one that finds little to tell must not hold up other clients. */
constexpr unsigned DUMP_STEPS = 65'536;
/* What a waiting update is expected to take in a reply. */
constexpr size_t LIKELY_UPDATE = 512;

/* The state of one fetch. An update that begins before the end of the room may pass it by the longest update. */
struct fetch_td {
    rib_server &server;
    rib_session &session;
    rib_consumer &consumer;
    rib_update_writer writer;
    const uint8_t *end;
    uint16_t flags = 0;
    unsigned steps = DUMP_STEPS;

    bool full() const { return writer.cursor() >= end; }
};

static void write_route(fetch_td &fetch, const rib_interest &interest, const rib_table::entry_td &entry, const rib_route &route)
{
    fetch.writer.route(interest.table, entry, route, *fetch.server.protocols.find(route.protoid));
}

/* Gives routes from where the dump stands on. False: there is more, for the next fetch. */
static bool dump_routes(fetch_td &fetch, rib_interest &interest)
{
    const rib_table *table = fetch.server.tables.find(interest.table);
    const bool empty = !table || interest.waits || (!interest.whole() && table->route_count(interest.source) == 0);
    for (auto place = empty ? rib_table::const_place_td() : table->from(interest.dumped); !empty && place != table->end();
         ++place) {
        if (fetch.steps == 0)
            return false;
        --fetch.steps;
        if (place->first != interest.dumped)
            interest.dumped_key = -1;
        interest.dumped = place->first;
        while (const rib_route *route = rib_interest_next(interest, *place, interest.dumped_key)) {
            if (fetch.full())
                return false;
            write_route(fetch, interest, *place, *route);
            interest.dumped_key = interest.key_of(route->protoid);
        }
    }
    return !fetch.full();
}

/* False: the first dump is not over yet. */
static bool write_dump(fetch_td &fetch)
{
    rib_interest &interest = *fetch.consumer.dumps.front();
    if (!dump_routes(fetch, interest))
        return false;
    interest.dumping = false;
    fetch.consumer.dumps.pop_front();
    fetch.writer.dump_end(interest, fetch.consumer.dumps.empty());
    fetch.flags |= RIB_FETCH_DUMP_ENDED;
    return true;
}

static void write_key(fetch_td &fetch, const rib_interest &interest, const rib_update &update)
{
    const rib_table *table = fetch.server.tables.find(interest.table);
    const rib_table::entry_td *entry = table ? table->exact(update.prefix) : nullptr;
    const rib_route *route = rib_interest_route(interest, entry, update.protoid);
    if (route)
        write_route(fetch, interest, *entry, *route);
    else
        fetch.writer.withdrawn(interest.table, update.prefix, update.protoid);
}

static void write_came(fetch_td &fetch, rib_protoid_td protoid)
{
    const rib_protocol &protocol = *fetch.server.protocols.find(protoid);
    fetch.writer.protocol(RIB_PROTO_CAME, protoid, {protocol.proto_name, protocol.instance_name, protocol.words[0]});
}

static void write_went(fetch_td &fetch, rib_protoid_td protoid)
{
    const auto gone = fetch.consumer.gone.find(protoid);
    fetch.writer.protocol(RIB_PROTO_WENT, protoid, gone->second);
    fetch.consumer.gone.erase(gone);
}

static void write_next_hop(fetch_td &fetch, const rib_update &update)
{
    const rib_next_hop_key key = {update.table, update.prefix};
    rib_next_hop &hop = fetch.session.next_hops.registered.find(key)->second;
    hop.told = hop.tracked->way;
    fetch.writer.next_hop(rib_next_hop_told(key, hop.words, *hop.told));
}

static void write_update(fetch_td &fetch, const rib_update &update)
{
    switch (update.kind) {
    case rib_update_kind::route:
        write_key(fetch, *update.interest, update);
        break;
    case rib_update_kind::complete:
        fetch.writer.marker(update.interest->table, update.protoid, RIB_MARKER_COMPLETE);
        break;
    case rib_update_kind::converged:
        fetch.writer.marker(update.interest->table, update.protoid, RIB_MARKER_CONVERGED);
        break;
    case rib_update_kind::came:
        write_came(fetch, update.protoid);
        break;
    case rib_update_kind::went:
        write_went(fetch, update.protoid);
        break;
    case rib_update_kind::next_hop:
        write_next_hop(fetch, update);
        break;
    case rib_update_kind::next_hops_told:
        fetch.writer.next_hops_told(update.table);
        break;
    }
}

static void write_updates(fetch_td &fetch)
{
    rib_consumer &consumer = fetch.consumer;
    while (!consumer.dumps.empty() && write_dump(fetch)) {
    }
    while (consumer.dumps.empty() && !consumer.line.empty() && !fetch.full()) {
        write_update(fetch, *consumer.line.begin());
        rib_consumer_drop(fetch.session, consumer.line.begin());
    }
    fetch.writer.close();
    if (consumer.waits())
        return;
    fetch.flags |= RIB_FETCH_DONE;
    consumer.pulsed = false;
}

static size_t longest_update(const rib_server &server)
{
    return RIB_UPDATE_MAX + server.most_path_attrs;
}

/* Bytes that a reply is to have, but for its head and the update that passes its end. */
static size_t room_for(const rib_server &server, const rib_consumer &consumer)
{
    const size_t full = RIB_MESSAGE_MAX - sizeof(rib_fetch_reply_td) - longest_update(server);
    const size_t likely = consumer.dumps.empty() ? consumer.line.size() * LIKELY_UPDATE : full;
    return std::clamp<size_t>(std::min(likely, server.options.fetch_bytes), 1, full);
}

size_t rib_serve_fetch(rib_request_td &request)
{
    if (request.refusal == EBADMSG)
        return rib_reply_result(request.area, EBADMSG);
    rib_next_hops_settle(request.server);
    rib_consumer &consumer = request.session.consumer;
    if (consumer.lost)
        return 0;
    const size_t room = room_for(request.server, consumer);
    uint8_t *area = request.area(sizeof(rib_fetch_reply_td) + (consumer.waits() ? room + longest_update(request.server) : 0));
    if (!area)
        return 0;
    uint8_t *messages = area + sizeof(rib_fetch_reply_td);
    fetch_td fetch = {request.server, request.session, consumer, {messages, request.server.options.msg_version}, messages + room};
    write_updates(fetch);
    const auto len = static_cast<uint32_t>(fetch.writer.cursor() - area);
    auto *reply = new (area) rib_fetch_reply_td{
        .fr_len = len,
        .fr_block = len - static_cast<uint32_t>(sizeof(rib_fetch_reply_td) - RIB_FETCH_BLOCK_HEAD),
        .fr_flags = fetch.flags,
    };
    rib_to_net(reply);
    return len;
}
