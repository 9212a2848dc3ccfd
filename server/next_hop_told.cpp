/*
 * From a resolution to what is told of it.
 */
#include "server/next_hop_told.h"

#include <cstring>

#include "server/resolve.h"

rib_next_hop_way rib_next_hop_way_of(rib_server &server, const rib_next_hop_key &key, const rib_resolution &found)
{
    if (!found.reached)
        return {};
    const rib_route &route = *found.route;
    const bool connected = rib_address_flags(server, key.table, key.addr) & RIB_ADDR_CONNECTED;
    rib_next_hop_way way = {
        .metric = route.words.metric,
        .interface = found.interface,
        .protoid = route.protoid,
        .flags = static_cast<uint8_t>(RIB_NH_REACHED | (connected ? RIB_NH_CONNECTED : 0)),
        .prefix_len = found.steps.back().match.len,
        .distance = route.distance,
        .kind = static_cast<uint8_t>(rib_kind_of(server, route)),
    };
    rib_prefix_store(found.next_hop, way.via.data());
    return way;
}

rib_nh_told_td rib_next_hop_told(const rib_next_hop_key &key, const rib_next_hop_words &words, const rib_next_hop_way &way)
{
    rib_nh_told_td told = {};
    told.nu_flags = way.flags;
    std::memcpy(told.nu_via, way.via.data(), sizeof told.nu_via);
    told.nu_prefix_len = way.prefix_len;
    told.nu_protoid = way.protoid;
    rib_prefix_store(key.addr, told.nu_addr);
    told.nu_table = key.table;
    told.nu_distance = way.distance;
    told.nu_proto_kind = way.kind;
    told.nu_metric = way.metric;
    told.nu_interface = way.interface;
    told.nu_min_len = words.min_len;
    told.nu_value = words.value;
    return told;
}
