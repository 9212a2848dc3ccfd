/*
 * Following next hops.
 */
#include "server/resolve.h"

#include <algorithm>

#include <ipv6_rib/protocol.h>

static rib_prefix next_hop_of(const rib_path &path)
{
    return rib_prefix_load(path.id.nexthop.data(), RIB_ADDR_BITS);
}

static bool names_next_hop(const rib_path &path)
{
    return path.id.nexthop != rib_addr_bytes{};
}

/* The path that is followed: the first one that is no backup, or the first. */
static const rib_path &path_of(const rib_route &route)
{
    const auto primary = std::find_if(route.paths.begin(), route.paths.end(), [](const rib_path &path) { return !path.backup; });
    return primary == route.paths.end() ? route.paths.front() : *primary;
}

/* The addresses of these routes are on an interface of this router. */
static bool is_direct(rib_server &server, const rib_route &route)
{
    const uint32_t kind = rib_kind_of(server, route);
    return kind == RIB_PROTO_KIND_CONNECTED || kind == RIB_PROTO_KIND_LOCAL;
}

/* Looks an address up; the best route, or NULL. */
static const rib_route *take_step(rib_server &server, const rib_resolve_query &query, rib_resolution *resolution)
{
    rib_resolve_step &step = resolution->steps.emplace_back(rib_resolve_step{query.table, query.addr});
    const rib_table *table = server.tables.find(query.table);
    const rib_table::entry_td *entry = table ? table->longest(query.addr, query.min_len, query.max_len) : nullptr;
    if (!entry)
        return nullptr;
    step.matched = true;
    step.match = entry->first;
    return entry->second.get();
}

static void arrive(rib_resolution *resolution, const rib_prefix &next_hop, const rib_path &path)
{
    resolution->reached = true;
    resolution->interface = rib_interface_told(path.id.interface);
    resolution->next_hop = next_hop;
}

rib_resolution rib_resolve(rib_server &server, const rib_resolve_query &query)
{
    rib_resolution resolution;
    rib_resolve_query at = query;
    for (unsigned step = 0; step <= RIB_RESOLVE_STEPS; ++step) {
        resolution.route = take_step(server, at, &resolution);
        if (!resolution.route)
            break;
        const rib_path &path = path_of(*resolution.route);
        const bool ends_here = !names_next_hop(path) || (!query.one_step && is_direct(server, *resolution.route));
        if (ends_here || query.one_step || path.id.interface != 0) {
            arrive(&resolution, ends_here ? at.addr : next_hop_of(path), path);
            break;
        }
        at.addr = next_hop_of(path);
        at.table = path.id.nexthop_table ? path.id.nexthop_table : at.table;
        at.max_len = RIB_ADDR_BITS;
    }
    return resolution;
}

uint32_t rib_kind_of(rib_server &server, const rib_route &route)
{
    return server.protocols.find(route.protoid)->words[0];
}

rib_cover rib_covering(rib_server &server, const rib_table &table, const rib_prefix &addr, uint32_t kind)
{
    const auto is_of_kind = [&](const rib_route &route) { return rib_kind_of(server, route) == kind; };
    const rib_table::entry_td *entry = table.longest(addr, 0, RIB_ADDR_BITS);
    while (entry) {
        if (const rib_route *route = rib_best_where(*entry, is_of_kind))
            return {entry, route};
        entry = entry->first.len ? table.longest(addr, 0, entry->first.len - 1u) : nullptr;
    }
    return {};
}

uint32_t rib_address_flags(rib_server &server, rib_tableid_td table_id, const rib_prefix &addr)
{
    const rib_table *table = server.tables.find(table_id);
    if (!table)
        return 0;
    return (rib_covering(server, *table, addr, RIB_PROTO_KIND_LOCAL).entry ? RIB_ADDR_LOCAL : 0) |
           (rib_covering(server, *table, addr, RIB_PROTO_KIND_CONNECTED).entry ? RIB_ADDR_CONNECTED : 0);
}
