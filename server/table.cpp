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
    const auto place = tree_.find(rib_prefix_cut(prefix, prefix.len));
    return place == tree_.end() ? nullptr : &*place;
}

/*
 * Among the prefixes that do not stand behind the address, the last one either covers it and is the answer, or shares a
 * number of bits with it that no covering prefix can exceed. A few such steps lead to the answer in real tables.
 */
const rib_table::entry_td *rib_table::longest(const rib_prefix &addr, unsigned min_len, unsigned max_len) const
{
    for (unsigned len = max_len;;) {
        auto place = tree_.upper_bound(rib_prefix_cut(addr, len));
        if (place == tree_.begin())
            return nullptr;
        --place;
        const unsigned common = rib_common_bits(place->first, addr);
        if (common >= place->first.len)
            return place->first.len >= min_len ? &*place : nullptr;
        if (common < min_len)
            return nullptr;
        len = common;
    }
}

const rib_table::entry_td *rib_table::first_longer(const rib_prefix &prefix) const
{
    const rib_prefix within = rib_prefix_cut(prefix, prefix.len);
    const auto place = tree_.upper_bound(within);
    return place != tree_.end() && rib_prefix_covers(within, place->first) ? &*place : nullptr;
}

rib_table::place_td rib_table::locate(const rib_prefix &prefix)
{
    const bool in_order = (cursor_ == tree_.end() || !(cursor_->first < prefix)) &&
                          (cursor_ == tree_.begin() || std::prev(cursor_)->first < prefix);
    if (!in_order)
        cursor_ = tree_.lower_bound(prefix);
    return cursor_ != tree_.end() && cursor_->first == prefix ? cursor_ : tree_.end();
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
    locate(prefix);
    const place_td place = tree_.try_emplace(cursor_, prefix);
    rib_route *added = route.get();
    rib_route_ptr &link = place->second ? place->second->next : place->second;
    added->next = std::move(link);
    link = std::move(route);
    table_change(place, rib_change::added, added);
    return place;
}

/* Every change of a table ends here. */
void rib_table::table_change(place_td place, rib_change change, rib_route *route)
{
    if (!audience) {
        settle(place, change, route);
        return;
    }
    const rib_route *head = place->second.get();
    const bool alone = change == rib_change::added && head == route;
    rib_route_event event = {.prefix = place->first,
                             .change = change,
                             .protoid = route->protoid,
                             .best_before = alone ? RIB_PROTOID_NONE : head->protoid};
    if (const rib_route *best = settle(place, change, route))
        event.best_after = best->protoid;
    rib_tell_change(audience->watchers, event);
    const bool subnet = change != rib_change::changed && common_.kinds[event.protoid] == RIB_PROTO_KIND_CONNECTED;
    audience->steps.touch(event.prefix, subnet);
}

/*
 * The head of the chain is still the route that was best before; an added route stands in the chain, a withdrawn one is
 * taken out and freed. Afterwards the cursor stands behind the prefix. Returns the best route, NULL when none is left.
 */
const rib_route *rib_table::settle(place_td place, rib_change change, rib_route *route)
{
    route->version = ++common_.version;
    if (change == rib_change::added) {
        ++counts_[route->protoid];
        ++route_count_;
    } else if (change == rib_change::withdrawn) {
        take_out(place, route);
    }
    if (place->first.len == RIB_ADDR_BITS && change != rib_change::changed)
        settle_local(*place);
    if (!place->second) {
        cursor_ = tree_.erase(place);
        return nullptr;
    }
    elect(place->second);
    cursor_ = std::next(place);
    return place->second.get();
}

void rib_table::take_out(place_td place, rib_route *route)
{
    --counts_[route->protoid];
    --route_count_;
    for (rib_protoid_td id = 0; route->advertisers && id != RIB_PROTOID_COUNT; ++id)
        advertised_[id] -= route->advertisers->test(id);
    rib_route_ptr *link = link_of(&place->second, route);
    const rib_route_ptr withdrawn = std::move(*link);
    *link = std::move(withdrawn->next);
    if (ledger)
        ledger->ended(place->first);
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
    for (const entry_td &entry : tree_)
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
    for (place_td place = tree_.begin(); advertised_[protoid] != 0; ++place)
        advertise(place, protoid, false);
}

void rib_table::for_each_route(rib_protoid_td protoid, absl::FunctionRef<verdict(rib_route &)> work)
{
    uint32_t left = counts_[protoid];
    for (place_td place = tree_.begin(); left != 0;) {
        rib_route *route = route_of(*place, protoid);
        left -= route != nullptr;
        const verdict answer = route ? work(*route) : verdict::keep;
        if (answer == verdict::keep) {
            ++place;
            continue;
        }
        table_change(place, answer == verdict::changed ? rib_change::changed : rib_change::withdrawn, route);
        place = cursor_;
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
