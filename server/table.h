/*
 * One table: its prefixes in order, and for each prefix the routes of the protocols, the best one first.
 */
#pragma once

#include <array>
#include <cstdint>

#include <absl/container/btree_set.h>
#include <absl/functional/function_ref.h>

#include <ipv6_rib/types.h>

#include "server/prefix_map.h"

enum class rib_change { added, changed, withdrawn };

struct rib_audience;
class rib_ledger;

/* What all tables share. */
struct rib_table_common {
    uint64_t version = 0;                               /* of the last change, so that versions grow over the life of a table */
    std::array<uint32_t, RIB_PROTOID_COUNT> kinds = {}; /* RIB_PROTO_KIND_* by identifier */
};

class rib_table
{
public:
    using entry_td = rib_prefix_map::entry_td;
    using place_td = rib_prefix_map::iterator;
    using const_place_td = rib_prefix_map::const_iterator;

    rib_table(rib_tableid_td id, rib_table_common &common) : id_(id), common_(common) {}
    rib_table(const rib_table &) = delete;
    rib_table &operator=(const rib_table &) = delete;

    rib_tableid_td id() const { return id_; }
    uint64_t version() const { return common_.version; }
    size_t prefix_count() const { return prefixes_.size(); }
    size_t route_count() const { return route_count_; }
    uint32_t route_count(rib_protoid_td protoid) const { return counts_[protoid]; }

    /* Lookups give the entry of a prefix, or NULL. The bits of addr behind the length do not count. */
    const entry_td *exact(const rib_prefix &prefix) const;
    const entry_td *longest(const rib_prefix &addr, unsigned min_len, unsigned max_len) const;
    /* The first prefix within the given one, in prefix order, that is longer. */
    const entry_td *first_longer(const rib_prefix &prefix) const;
    /* A walk in prefix order, from the first prefix that does not stand before the given one. */
    const_place_td from(const rib_prefix &prefix) const { return prefixes_.lower_bound(prefix); }
    const_place_td end() const { return prefixes_.end(); }
    /* This router's own addresses: the prefixes of 128 bits that have a route of a protocol of kind local. */
    const absl::btree_set<rib_prefix> &local_addresses() const { return local_addresses_; }

    /* Searches begun early for prefixes that will be located soon, as those of the map. */
    using hint_td = rib_prefix_map::hint_td;
    void expect(const rib_prefix &prefix, hint_td *hint) const { prefixes_.expect(prefix, hint); }
    void approach(hint_td *hint) const { prefixes_.approach(hint); }
    void recall(const hint_td &hint) { prefixes_.recall(hint); }
    /* Where a prefix stands, end() when it is absent. Costs no search when asked for in prefix order. */
    place_td locate(const rib_prefix &prefix);
    place_td end() { return prefixes_.end(); }
    static rib_route *route_of(const entry_td &entry, rib_protoid_td protoid);
    /* Takes in a route of a protocol that has none for the prefix; returns where it stands. */
    place_td add(const rib_prefix &prefix, rib_route_ptr route);
    /* A route of the place was changed by the caller. */
    void changed(place_td place, rib_route *route) { table_change(place, rib_change::changed, route); }
    void withdraw(place_td place, rib_route *route) { table_change(place, rib_change::withdrawn, route); }

    /* Takes away the paths of a protocol for which gone() answers true, and routes that have none left. */
    void remove_paths(rib_protoid_td protoid, absl::FunctionRef<bool(const rib_path &)> gone);
    /* Changes the distance of the protocol's routes that have none of their own. */
    void set_distance(rib_protoid_td protoid, uint8_t distance);
    /* The protocol is of another kind than before. */
    void kind_changed(rib_protoid_td protoid, uint32_t before);

    /* The protocol advertises the best route of the place and no other one there, or none. False: it was so already. */
    bool advertise(place_td place, rib_protoid_td protoid, bool advertises);
    void forget_advertiser(rib_protoid_td protoid);

    bool converged = false;           /* a convergence marker came */
    rib_audience *audience = nullptr; /* NULL while the changes concern nobody */
    rib_ledger *ledger = nullptr;     /* of what the routes show; NULL in a table whose routes stand for themselves */

private:
    place_td table_change(place_td place, rib_change change, rib_route *route);
    const rib_route *settle(place_td *place, rib_change change, rib_route *route);
    void take_out(entry_td &entry, rib_route *route);
    void settle_local(const entry_td &entry);
    /* Runs work on each route of a protocol; what it answers is done: nothing, or the change. */
    enum class verdict { keep, changed, withdraw };
    void for_each_route(rib_protoid_td protoid, absl::FunctionRef<verdict(rib_route &)> work);

    rib_tableid_td id_;
    rib_table_common &common_;
    rib_prefix_map prefixes_;
    std::array<uint32_t, RIB_PROTOID_COUNT> counts_ = {};
    std::array<uint32_t, RIB_PROTOID_COUNT> advertised_ = {}; /* routes that a protocol advertises */
    absl::btree_set<rib_prefix> local_addresses_;
    size_t route_count_ = 0;
};
