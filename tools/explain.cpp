#include "explain.h"

#include "failure.h"
#include "lookup.h"
#include "route_fetch.h"
#include "show_routes.h"

#include <algorithm>
#include <vector>

std::string reason(std::span<const candidate> ranked, size_t index)
{
    const bool best = index == 0;
    if (ranked.size() == 1)
        return ranked[0].rank.backup_only ? "best: the only one, with backup paths only" : "best: the only one";
    /* The best one is measured by the next, the others by the best. */
    const candidate &other = ranked[best ? 1 : 0];
    const route_rank &mine = ranked[index].rank, &its = other.rank;
    if (mine.backup_only != its.backup_only)
        return best ? "best: the only one with a primary path" : "not best: backup paths only";
    const auto compared = [&](const char *what, uint32_t number, uint32_t against) {
        return best ? fmt::format("best: lowest {}", what)
                    : fmt::format("not best: {} {} against {} of {}", what, number, against, other.protocol);
    };
    if (mine.distance != its.distance)
        return compared("distance", mine.distance, its.distance);
    if (mine.metric != its.metric)
        return compared("metric", mine.metric, its.metric);
    return compared("protocol identifier", mine.protoid, its.protoid);
}

namespace
{

struct shown_route {
    candidate judged;
    bool forwards;
    std::string text;
    json object;
};

shown_route shown(const ipv6_routetype &route, const paths_attributes &attributes, const protocol_namer &name, bool as_json)
{
    const bool backup_only = (route.rt_state & RIB_ROUTE_BACKUP) != 0;
    const route_rank rank = {backup_only, route.rt_distance, route.rt_metric, route.rt_protoid};
    return {.judged = {rank, name(route.rt_protoid)},
            .forwards = (route.rt_state & RIB_ROUTE_BEST) != 0,
            .text = as_json ? "" : route_text(route, name, attributes),
            .object = as_json ? route_object(route, name, attributes) : json()};
}

/* All routes of the prefix, best first. */
std::vector<shown_route> routes_for(ipv6_rib_conn_p conn, rib_tableid_td table, const ip_prefix &prefix, bool as_json)
{
    const route_filter filter = {.table = table, .range = {prefix, prefix}, .in_a_pass = RIB_PROTOID_COUNT};
    const protocol_namer name = cached_names(conn);
    std::vector<shown_route> routes;
    for_each_route(conn, filter, [&](const ipv6_routetype &route, const paths_attributes &attributes) {
        if (!(prefix_of(route) == prefix))
            return false; // the more specific ones begin
        routes.push_back(shown(route, attributes, name, as_json));
        return true;
    });
    std::sort(routes.begin(), routes.end(),
              [](const shown_route &a, const shown_route &b) { return a.judged.rank < b.judged.rank; });
    return routes;
}

} // namespace

void explain(ipv6_rib_conn_p conn, rib_tableid_td table, const ip_prefix &prefix, output &out)
{
    std::vector<shown_route> routes = routes_for(conn, table, prefix, out.as_json());
    if (routes.empty())
        fail("table {:#010x} has no route that is exactly {}", table, text_of(prefix));
    std::vector<candidate> ranked;
    for (const shown_route &one : routes)
        ranked.push_back(one.judged);
    for (size_t i = 0; i < routes.size(); ++i) {
        const std::string why = reason(ranked, i);
        if (out.as_json()) {
            routes[i].object["why"] = why;
            out.object(routes[i].object);
        } else {
            out.line("{}\n    {}", routes[i].text, why);
        }
    }
    if (!routes[0].forwards)
        fail("the server does not forward by the first of these, which should be best");
}
