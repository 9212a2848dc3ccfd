/*
 * Listing routes: by prefix, those of one prefix by protocol, as many as fit, written straight into the reply.
 */
#include <algorithm>
#include <cerrno>
#include <new>

#include <ipv6_rib/errors.h>

#include "ip/rib/wire/route_fetch.h"
#include "server/protocol_requests.h"
#include "server/requests.h"
#include "server/route_reply.h"

/* Flags of a request and of its reply, which says how to go on: behind the last prefix; from 2 on in it, behind a protocol. */
constexpr uint8_t BEHIND_PREFIX = 1;
constexpr uint8_t BEHIND_PROTOCOL = 2;

/* A walk over the routes that are asked for. */
struct walk_td {
    rib_table::const_place_td place;
    rib_table::const_place_td end;
    rib_prefix last; /* prefixes that begin behind its bits are too far */
    rib_protoid_td protoid = RIB_PROTOID_NONE;
    bool best_only = false;
    int done = -1; /* routes of the place up to this identifier are behind */
};

static bool wanted(const walk_td &walk, const rib_route &route)
{
    return route.protoid > walk.done && (walk.protoid == RIB_PROTOID_NONE || walk.protoid == route.protoid);
}

/* The next route at the place, or NULL. */
static const rib_route *next_here(const walk_td &walk)
{
    const rib_route *best = walk.place->second.get();
    const rib_route *lowest = wanted(walk, *best) ? best : nullptr;
    if (walk.best_only)
        return lowest;
    for (const rib_route *route = best->next.get(); route; route = route->next.get())
        if (wanted(walk, *route) && (!lowest || route->protoid < lowest->protoid))
            lowest = route;
    return lowest;
}

/* Moves on to the next route; NULL behind the last one. */
static const rib_route *next(walk_td &walk)
{
    for (; walk.place != walk.end && !(walk.last < rib_prefix_cut(walk.place->first, walk.last.len)); ++walk.place) {
        if (const rib_route *route = next_here(walk)) {
            walk.done = route->protoid;
            return route;
        }
        walk.done = -1;
    }
    return nullptr;
}

static void set_out(const rib_table &table, const rib_get_routes_body_td &body, walk_td *walk)
{
    const rib_prefix start = rib_prefix_cut(rib_prefix_load(&body.gr_start, 0), body.gr_start_len);
    walk->last = rib_prefix_cut(rib_prefix_load(&body.gr_end, 0), body.gr_end_len);
    walk->best_only = body.gr_options & RIB_FETCH_BEST_ONLY;
    walk->place = table.from(start);
    walk->end = table.end();
    const bool at_start = walk->place != walk->end && walk->place->first == start;
    if (at_start && body.gr_flag == BEHIND_PREFIX)
        ++walk->place;
    else if (at_start && body.gr_flag >= BEHIND_PROTOCOL)
        walk->done = body.gr_flag - BEHIND_PROTOCOL;
}

static errcode begin(rib_server &server, const rib_get_routes_body_td &body, walk_td *walk, const rib_route **first)
{
    if (body.gr_start_len > RIB_ADDR_BITS || body.gr_end_len > RIB_ADDR_BITS ||
        body.gr_flag >= BEHIND_PROTOCOL + RIB_PROTOID_COUNT || (body.gr_options & ~RIB_FETCH_BEST_ONLY) != 0)
        return EINVAL;
    if (!rib_names_are_empty(body.gr_names)) {
        rib_protocol *protocol;
        if (const errcode refusal = rib_protocol_named(server, body.gr_names, &protocol))
            return refusal;
        walk->protoid = protocol->id;
    }
    const rib_table *table = server.tables.find(body.gr_table);
    if (!table || (walk->protoid != RIB_PROTOID_NONE && table->route_count(walk->protoid) == 0))
        return RIB_SRV_ERR_NOT_FOUND;
    set_out(*table, body, walk);
    *first = next(*walk);
    if (!*first)
        return RIB_SRV_ERR_NOT_FOUND;
    return rib_route_record_len(**first) <= body.gr_room ? 0 : EMSGSIZE;
}

/* Writes routes up to the end of the room, tells in the reply how many and how to go on; returns the byte behind them. */
static uint8_t *write_routes(rib_server &server, const rib_get_routes_body_td &body, walk_td &walk, const rib_route *route,
                             size_t room, rib_get_routes_reply_td *reply)
{
    uint8_t *cursor = reinterpret_cast<uint8_t *>(reply + 1);
    const uint8_t *end = cursor + room;
    const uint32_t limit = body.gr_count ? body.gr_count : UINT32_MAX;
    uint32_t count = 0;
    auto place = walk.place;
    rib_protoid_td protoid = 0;
    for (; route && count != limit && rib_route_record_len(*route) <= static_cast<size_t>(end - cursor); route = next(walk)) {
        rib_write_route(body.gr_table, *walk.place, *route, *server.protocols.find(route->protoid), &cursor);
        ++count;
        place = walk.place;
        protoid = route->protoid;
    }
    reply->gr_count = count;
    if (route)
        reply->gr_flag = walk.place == place ? static_cast<uint8_t>(BEHIND_PROTOCOL + protoid) : BEHIND_PREFIX;
    return cursor;
}

size_t rib_serve_get_routes(rib_request_td &request)
{
    rib_get_routes_body_td body = {};
    walk_td walk;
    const rib_route *first = nullptr;
    errcode result = request.refusal;
    if (result == 0) {
        body = rib_body_of<rib_get_routes_body_td>(request);
        result = begin(request.server, body, &walk, &first);
    }
    const size_t room = result == 0 ? std::min<size_t>(body.gr_room, RIB_ROUTES_ROOM) : 0;
    uint8_t *area = request.area(sizeof(rib_get_routes_reply_td) + room);
    if (!area)
        return 0;
    auto *reply = new (area) rib_get_routes_reply_td{};
    reply->result = result;
    const uint8_t *behind = area + sizeof *reply;
    if (result == 0)
        behind = write_routes(request.server, body, walk, first, room, reply);
    rib_to_net(reply);
    return static_cast<size_t>(behind - area);
}
