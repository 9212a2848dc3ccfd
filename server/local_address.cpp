/*
 * The choice of a source address among this router's own ones.
 */
#include <algorithm>

#include <ipv6_rib/protocol.h>

#include "server/address_requests.h"
#include "server/resolve.h"

constexpr rib_prefix LINK_LOCAL = {0xFE80000000000000, 0, 10};
constexpr rib_prefix LINK_MULTICAST = {0xFF02000000000000, 0, 16};
constexpr rib_prefix MULTICAST = {0xFF00000000000000, 0, 8};

static bool has_link_scope(const rib_prefix &addr)
{
    return rib_prefix_covers(LINK_LOCAL, addr) || rib_prefix_covers(LINK_MULTICAST, addr);
}

/* Whether the route is of this router itself and, when an interface is asked for, has a path there. */
static bool suits(rib_server &server, const rib_route &route, uint32_t interface)
{
    const auto is_there = [&](const rib_path &path) { return path.id.interface == interface; };
    return rib_kind_of(server, route) == RIB_PROTO_KIND_LOCAL &&
           (interface == 0 || std::any_of(route.paths.begin(), route.paths.end(), is_there));
}

/* The addresses that share exactly so many bits with this one: a bit is another, and what follows is free. */
static rib_prefix group_of(const rib_prefix &addr, unsigned common)
{
    rib_prefix other = addr;
    if (common < 64)
        other.high ^= uint64_t{1} << (63 - common);
    else if (common < RIB_ADDR_BITS)
        other.low ^= uint64_t{1} << (127 - common);
    return rib_prefix_cut(other, std::min(common + 1, RIB_ADDR_BITS));
}

struct choice_td {
    rib_prefix addr;
    const rib_route *route = nullptr;
};
/* A multicast address that the router listens to is no source. */
static choice_td choose(rib_server &server, const rib_table &table, const rib_prefix &destination, uint32_t interface)
{
    const auto &own = table.local_addresses();
    const auto is_wanted = [&](const rib_route &route) { return suits(server, route, interface); };
    for (unsigned common = RIB_ADDR_BITS + 1; common-- != 0;) {
        const rib_prefix group = group_of(destination, common);
        for (auto at = own.lower_bound(group); at != own.end() && rib_prefix_covers(group, *at); ++at)
            if (has_link_scope(*at) == has_link_scope(destination) && !rib_prefix_covers(MULTICAST, *at))
                if (const rib_route *route = rib_best_where(*table.exact(*at), is_wanted))
                    return {*at, route};
    }
    return {};
}

errcode rib_do_best_local(rib_server &server, rib_session &, const rib_best_local_body_td &body, rib_address_reply_td &reply)
{
    const rib_prefix destination = rib_prefix_load(&body.bl_addr, RIB_ADDR_BITS);
    reply.ar_flags = rib_address_flags(server, body.bl_table, destination);
    const rib_table *table = server.tables.find(body.bl_table);
    const choice_td choice = table ? choose(server, *table, destination, body.bl_word) : choice_td{};
    if (!choice.route)
        return 0;
    reply.ar_info = rib_interface_told(body.bl_word ? +body.bl_word : choice.route->paths.front().id.interface);
    reply.ar_answer = reply.ar_info;
    rib_prefix_store(choice.addr, &reply.ar_addr);
    return 0;
}
