/*
 * Lookups, and the one place where every change of a table passes.
 */
#include "server/table.h"

#include <algorithm>
#include <utility>

#include <ipv6_rib/protocol.h>

#include "server/audience.h"
#include "server/interest.h"
#include "server/ledger.h"

/* The link that holds a route, in a chain that has it. */
static rib_route_ptr *link_of(rib_route_ptr *link, const rib_route *route)
{
    while (link->get() != route)
        link = &(*link)->next;
    return link;
}

/* Moves the best route of a chain to its head. */
static void elect(rib_route_ptr &head)
{
    rib_route *best = head.get();
    for (rib_route *route = head->next.get(); route; route = route->next.get())
        if (rib_route_better(*route, *best))
            best = route;
    if (best == head.get())
        return;
    rib_route_ptr *link = link_of(&head, best);
    rib_route_ptr moved = std::move(*link);
    *link = std::move(moved->next);
    moved->next = std::move(head);
    head = std::move(moved);
}

const rib_table::entry_td *rib_table::exact(const rib_prefix &prefix) const
{
    const rib_prefix wanted = rib_prefix_cut(prefix, prefix.len);
    const auto place = prefixes_.lower_bound(wanted);
    return place != prefixes_.end() && place->first == wanted ? &*place : nullptr;
}

/*
 * Among the prefixes that do not stand behind the address, the last one either covers it and is the answer, or shares a
 * number of bits with it that no covering prefix can exceed. A few such steps lead to the answer in real tables.
 */
const rib_table::entry_td *rib_table::longest(const rib_prefix &addr, unsigned min_len, unsigned max_len) const
{
    for (unsigned len = max_len;;) {
        const entry_td *entry = prefixes_.last_until(rib_prefix_cut(addr, len));
        if (!entry)
            return nullptr;
        const unsigned common = rib_common_bits(entry->first, addr);
        if (common >= entry->first.len)
            return entry->first.len >= min_len ? entry : nullptr;
        if (common < min_len)
            return nullptr;
        len = common;
    }
}

const rib_table::entry_td *rib_table::first_longer(const rib_prefix &prefix) const
{
    const rib_prefix within = rib_prefix_cut(prefix, prefix.len);
    const auto place = prefixes_.upper_bound(within);
    return place != prefixes_.end() && rib_prefix_covers(within, place->first) ? &*place : nullptr;
}

rib_table::place_td rib_table::locate(const rib_prefix &prefix)
{
    const place_td place = prefixes_.locate(prefix);
    return place != end() && place->first == prefix ? place : end();
}

rib_route *rib_table::route_of(const entry_td &entry, rib_protoid_td protoid)
{
    rib_route *route = entry.second.get();
    while (route && route->protoid != protoid)
        route = route->next.get();
    return route;
}

rib_table::place_td rib_table::add(const rib_prefix &prefix, rib_route_ptr route)
{
    const place_td there = locate(prefix);
    const place_td place = there == end() ? prefixes_.insert(prefix) : there;
    rib_route *added = route.get();
    rib_route_ptr &link = place->second ? place->second->next : place->second;
    added->next = std::move(link);
    link = std::move(route);
    table_change(place, rib_change::added, added);
    return place;
}

/* Every change of a table ends here. Returns the place behind the prefix. */
rib_table::place_td rib_table::table_change(place_td place, rib_change change, rib_route *route)
{
    if (!audience) {
        settle(&place, change, route);
        return place;
    }
    const rib_route *head = place->second.get();
    const bool alone = change == rib_change::added && head == route;
    rib_route_event event = {.prefix = place->first,
                             .change = change,
                             .protoid = route->protoid,
                             .best_before = alone ? RIB_PROTOID_NONE : head->protoid};
    if (const rib_route *best = settle(&place, change, route))
        event.best_after = best->protoid;
    rib_tell_change(audience->watchers, event);
    const bool subnet = change != rib_change::changed && common_.kinds[event.protoid] == RIB_PROTO_KIND_CONNECTED;
    audience->steps.touch(event.prefix, subnet);
    return place;
}

/*
 * The head of the chain is still the route that was best before; an added route stands in the chain, a withdrawn one is
 * taken out and freed. The place moves behind the prefix. Returns the best route, NULL when none is left.
 */
const rib_route *rib_table::settle(place_td *place, rib_change change, rib_route *route)
{
    entry_td &entry = **place;
    route->version = ++common_.version;
    if (change == rib_change::added) {
        ++counts_[route->protoid];
        ++route_count_;
    } else if (change == rib_change::withdrawn) {
        take_out(entry, route);
    }
    if (entry.first.len == RIB_ADDR_BITS && change != rib_change::changed)
        settle_local(entry);
    if (!entry.second) {
        *place = prefixes_.erase(*place);
        return nullptr;
    }
    elect(entry.second);
    ++*place;
    return entry.second.get();
}

void rib_table::take_out(entry_td &entry, rib_route *route)
{
    --counts_[route->protoid];
    --route_count_;
    for (rib_protoid_td id = 0; route->advertisers && id != RIB_PROTOID_COUNT; ++id)
        advertised_[id] -= route->advertisers->test(id);
    rib_route_ptr *link = link_of(&entry.second, route);
    const rib_route_ptr withdrawn = std::move(*link);
    *link = std::move(withdrawn->next);
    if (ledger)
        ledger->ended(entry.first);
}

void rib_table::settle_local(const entry_td &entry)
{
    const rib_route *route = entry.second.get();
    while (route && common_.kinds[route->protoid] != RIB_PROTO_KIND_LOCAL)
        route = route->next.get();
    if (route)
        local_addresses_.insert(entry.first);
    else
        local_addresses_.erase(entry.first);
}

void rib_table::kind_changed(rib_protoid_td protoid, uint32_t before)
{
    if (counts_[protoid] == 0)
        return;
    if (audience)
        audience->steps.touch_all();
    if (before != RIB_PROTO_KIND_LOCAL && common_.kinds[protoid] != RIB_PROTO_KIND_LOCAL)
        return;
    for (const entry_td &entry : prefixes_)
        if (entry.first.len == RIB_ADDR_BITS)
            settle_local(entry);
}

bool rib_table::advertise(place_td place, rib_protoid_td protoid, bool advertises)
{
    bool changed = false;
    for (rib_route *route = place->second.get(); route; route = route->next.get()) {
        const bool before = route->advertisers && route->advertisers->test(protoid);
        const bool after = advertises && route == place->second.get();
        if (before == after)
            continue;
        changed = true;
        if (!route->advertisers)
            route->advertisers = std::make_unique<rib_protocol_set>();
        route->advertisers->set(protoid, after);
        if (route->advertisers->none())
            route->advertisers.reset();
        advertised_[protoid] = advertised_[protoid] + after - before;
    }
    return changed;
}

void rib_table::forget_advertiser(rib_protoid_td protoid)
{
    for (place_td place = prefixes_.begin(); advertised_[protoid] != 0; ++place)
        advertise(place, protoid, false);
}

void rib_table::for_each_route(rib_protoid_td protoid, absl::FunctionRef<verdict(rib_route &)> work)
{
    uint32_t left = counts_[protoid];
    for (place_td place = prefixes_.begin(); left != 0;) {
        rib_route *route = route_of(*place, protoid);
        left -= route != nullptr;
        const verdict answer = route ? work(*route) : verdict::keep;
        if (answer == verdict::keep) {
            ++place;
            continue;
        }
        place = table_change(place, answer == verdict::changed ? rib_change::changed : rib_change::withdrawn, route);
    }
}

void rib_table::remove_paths(rib_protoid_td protoid, absl::FunctionRef<bool(const rib_path &)> gone)
{
    for_each_route(protoid, [&](rib_route &route) {
        const auto last = std::remove_if(route.paths.begin(), route.paths.end(), gone);
        if (last == route.paths.end())
            return verdict::keep;
        route.paths.erase(last, route.paths.end());
        if (route.paths.empty())
            return verdict::withdraw;
        rib_route_settle(route);
        return verdict::changed;
    });
}

void rib_table::set_distance(rib_protoid_td protoid, uint8_t distance)
{
    for_each_route(protoid, [&](rib_route &route) {
        if (route.words.distance != 0 || route.distance == distance)
            return verdict::keep;
        route.distance = distance;
        return verdict::changed;
    });
}
