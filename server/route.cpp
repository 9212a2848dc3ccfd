/*
 * Comparing routes and paths.
 */
#include "server/route.h"

#include <tuple>

bool rib_path_same(const rib_path &first, const rib_path &second)
{
    const auto words = [](const rib_path &path) {
        return std::tie(path.id.interface, path.id.nexthop_table, path.metric, path.u32_20, path.u32_24, path.u32_200, path.label,
                        path.flags, path.u16_16, path.infosource_afi, path.label_count, path.backup);
    };
    if (words(first) != words(second) || first.id.nexthop != second.id.nexthop || first.infosource != second.infosource)
        return false;
    if (!first.extra || !second.extra)
        return !first.extra && !second.extra;
    return *first.extra == *second.extra;
}

bool rib_attrs_same(const rib_attr_bytes &first, const rib_attr_bytes &second)
{
    if (!first || !second)
        return !first && !second;
    return *first == *second;
}

bool rib_route_stale(const rib_route &route, uint32_t epoch)
{
    return std::all_of(route.paths.begin(), route.paths.end(), [&](const rib_path &path) { return path.epoch != epoch; });
}

void rib_route_settle(rib_route &route)
{
    route.backup_only = std::all_of(route.paths.begin(), route.paths.end(), [](const rib_path &path) { return path.backup; });
}

bool rib_route_better(const rib_route &first, const rib_route &second)
{
    const auto rank = [](const rib_route &route) {
        return std::tie(route.backup_only, route.distance, route.words.metric, route.protoid);
    };
    return rank(first) < rank(second);
}
