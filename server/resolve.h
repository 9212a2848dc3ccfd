/*
 * How an address is reached: longest match, and again for each next hop that is not directly reached. And which routes of
 * a kind cover an address.
 */
#pragma once

#include <absl/container/inlined_vector.h>

#include <ipv6_rib/address.h>

#include "server/server.h"

constexpr unsigned RIB_RESOLVE_STEPS = 16; /* next hops that are looked up behind the address */

struct rib_resolve_query {
    rib_tableid_td table = 0;
    rib_prefix addr; /* 128 bits */
    unsigned min_len = 0;
    unsigned max_len = RIB_ADDR_BITS; /* of the first match */
    bool one_step = false;
};

/* One lookup on the way. While nothing changes between the match and the address, its answer stays. */
struct rib_resolve_step {
    rib_tableid_td table = 0;
    rib_prefix addr;
    bool matched = false;
    rib_prefix match;
};

struct rib_resolution {
    bool reached = false;
    uint32_t interface = RIB_INTERFACE_NONE;
    rib_prefix next_hop;              /* that is directly reached; after one step, the one that the route names */
    const rib_route *route = nullptr; /* the last one on the way, until a table changes */
    absl::InlinedVector<rib_resolve_step, 2> steps;
};

/* A next hop that leads round in a circle is not reached, as one that needs too many steps. */
rib_resolution rib_resolve(rib_server &server, const rib_resolve_query &query);

/* An interface as it is told: routes that name none have 0. */
inline uint32_t rib_interface_told(uint32_t interface)
{
    return interface ? interface : RIB_INTERFACE_NONE;
}

/* The best of an entry's routes for which wanted() answers true, or NULL. */
template <class wanted_t> const rib_route *rib_best_where(const rib_table::entry_td &entry, wanted_t wanted)
{
    const rib_route *best = nullptr;
    for (const rib_route *route = entry.second.get(); route; route = route->next.get())
        if (wanted(*route) && (!best || rib_route_better(*route, *best)))
            best = route;
    return best;
}

/* RIB_PROTO_KIND_* of the protocol of a route. */
uint32_t rib_kind_of(rib_server &server, const rib_route &route);
/* The longest prefix covering the address that has a route of that kind, best or not, and the best one of that kind there. */
struct rib_cover {
    const rib_table::entry_td *entry = nullptr;
    const rib_route *route = nullptr;
};
rib_cover rib_covering(rib_server &server, const rib_table &table, const rib_prefix &addr, uint32_t kind);
/* RIB_ADDR_* of an address. */
uint32_t rib_address_flags(rib_server &server, rib_tableid_td table, const rib_prefix &addr);
