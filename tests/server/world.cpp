/*
 * Random changes, made in the server and in the list.
 */
#include "tests/server/world.h"

#include <arpa/inet.h>

std::string text_of(const rib_prefix &addr)
{
    bytes_t bytes(16);
    rib_prefix_store(addr, bytes.data());
    return addr_at(bytes, 0);
}

rib_prefix addr_of(const std::string &text)
{
    in6_addr_t addr = {};
    inet_pton(AF_INET6, text.c_str(), &addr);
    return rib_prefix_load(&addr, 128);
}

world_td::world_td(unsigned seed) : random(seed)
{
    for (rib_protoid_td id = 0; id != WORLD_PROTOCOLS; ++id)
        add_protocol(session, "p" + std::to_string(id), {kinds[id]});
}

rib_prefix world_td::random_addr()
{
    const uint64_t mask = 0x8080000000010001;
    const uint64_t scopes[] = {0, 0, 0xFE80000000000000, 0xFF02000000000000};
    return {(random() & mask) | scopes[dice(4)], random() & mask, 128};
}

void world_td::change()
{
    const auto protoid = static_cast<rib_protoid_td>(dice(WORLD_PROTOCOLS));
    const auto at = std::next(routes.begin(), dice(static_cast<uint32_t>(routes.size() + 1)));
    if (dice(50) == 0) {
        kinds[protoid] = dice(4);
        send(session, protoid_request(11, protoid, kinds[protoid]));
    } else if (routes.size() > 60 + dice(100) && at != routes.end()) {
        const auto &[table, prefix, owner] = at->first;
        send(session, request_of(2, {{0, owner, 2}, {4, table}, {24, prefix.len, 2}}, {{8, text_of(prefix)}}));
        routes.erase(at);
    } else {
        const rib_tableid_td table = TABLE + dice(2);
        const rib_prefix prefix = dice(2) && at != routes.end() ? prefix_of(at) : random_prefix();
        route_td route = {text_of(prefix), prefix.len, {}, true, dice(3), static_cast<uint8_t>(dice(3))};
        for (uint32_t path = 0, count = 1 + dice(2); path != count; ++path)
            route.paths.push_back({.nexthop = dice(3) ? text_of(random_addr()) : "::",
                                   .interface = dice(2) ? 10 + path + dice(2) : 100 * path,
                                   .table = dice(3) ? 0 : TABLE + dice(2),
                                   .backup = dice(3) == 0});
        const bool twice = route.paths.size() == 2 && route.paths[0].interface == route.paths[1].interface;
        route.paths.resize(twice ? 1 : route.paths.size());
        send(session, single_batch(table, protoid, {record(route)}));
        routes[{table, prefix, protoid}] = route;
    }
}

bool world_td::better(place_td first, place_td second) const
{
    const auto rank = [&](place_td at) {
        static constexpr uint8_t by_kind[] = {200, 0, 0, 1};
        const auto &[prefix, len, paths, replace, metric, distance, attrs] = at->second;
        const bool backup = std::all_of(paths.begin(), paths.end(), [](const path_td &path) { return path.backup; });
        return std::make_tuple(backup, distance ? distance : by_kind[kind_of(at)], metric, std::get<2>(at->first));
    };
    return rank(first) < rank(second);
}

bool world_td::best(place_td at) const
{
    const auto &[table, prefix, protoid] = at->first;
    for (rib_protoid_td id = 0; id != WORLD_PROTOCOLS; ++id)
        if (const auto other = routes.find({table, prefix, id}); other != routes.end() && better(other, at))
            return false;
    return true;
}

world_td::place_td world_td::longest(rib_tableid_td table, const rib_prefix &addr, unsigned max_len, int kind) const
{
    place_td found = routes.end();
    for (place_td at = routes.begin(); at != routes.end(); ++at) {
        const rib_prefix &prefix = prefix_of(at);
        if (std::get<0>(at->first) != table || prefix.len > max_len || !rib_prefix_covers(prefix, addr) ||
            (kind >= 0 && static_cast<int>(kind_of(at)) != kind))
            continue;
        if (found == routes.end() || prefix.len > prefix_of(found).len || (prefix == prefix_of(found) && better(at, found)))
            found = at;
    }
    return found;
}
