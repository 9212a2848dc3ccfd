#include "show_routes.h"

#include "lookup.h"
#include "route_attributes.h"

#include <netinet/in.h>

namespace
{

/* The first label stands in the path itself. Where more are known to be there, their number is told. */
json attributes_of(const rib_pathtype &path, const paths_attributes &all, size_t index)
{
    if (index >= all.size() && path.path_label == RIB_LABEL_NONE)
        return {};
    path_attributes own = index < all.size() ? all[index] : path_attributes();
    const bool only_first = path.path_label != RIB_LABEL_NONE && !own.count(RIB_PATH_ATTR_LABELS);
    if (only_first)
        append(&own[RIB_PATH_ATTR_LABELS], +path.path_label);
    json told = attributes_object(own);
    if (only_first && path.path_label_count > 1)
        told["label_count"] = +path.path_label_count;
    return told;
}

json path_object(const rib_pathtype &path, const json &attributes)
{
    json told = {{"nexthop", text_of(address_at(&path.path_nexthop))},
                 {"interface", +path.path_interface},
                 {"metric", +path.path_metric},
                 {"backup", (path.path_state & RIB_PATH_BACKUP) != 0}};
    if (path.path_nexthop_table)
        told["nexthop_table"] = +path.path_nexthop_table;
    if (!attributes.empty())
        told.update(attributes);
    return told;
}

std::vector<std::string> advertisers_of(const ipv6_routetype &found, const protocol_namer &name)
{
    std::vector<std::string> names;
    if (const rib_advertisers *list = found.rt_advertisers)
        for (uint32_t i = 0; i < list->adv_count; ++i)
            names.push_back(name(list->adv_protoid[i]));
    return names;
}

std::string path_text(const rib_pathtype &path, const json &attributes)
{
    std::string text = fmt::format("via {}", text_of(address_at(&path.path_nexthop)));
    if (path.path_interface)
        text += fmt::format(", interface {}", +path.path_interface);
    if (path.path_nexthop_table)
        text += fmt::format(", resolved in table {:#010x}", +path.path_nexthop_table);
    text += fmt::format(", metric {}", +path.path_metric) + named_values_text(attributes, ", ");
    return text + (path.path_state & RIB_PATH_BACKUP ? ", backup" : "");
}

/* A path as one of several in a line. */
std::string gateway_text(const rib_pathtype &path, const json &attributes)
{
    std::string text = text_of(address_at(&path.path_nexthop));
    if (path.path_interface)
        text += fmt::format(" interface {}", +path.path_interface);
    text += named_values_text(attributes, " ");
    return text + (path.path_state & RIB_PATH_BACKUP ? " backup" : "");
}

} // namespace

json route_object(const ipv6_routetype &found, const protocol_namer &name, const paths_attributes &attributes)
{
    json paths = json::array();
    for (unsigned i = 0; i < found.rt_path_count; ++i)
        paths.push_back(path_object(found.rt_path[i], attributes_of(found.rt_path[i], attributes, i)));
    json told = {{"prefix", text_of(prefix_of(found))},
                 {"protocol", name(found.rt_protoid)},
                 {"protocol_id", +found.rt_protoid},
                 {"distance", +found.rt_distance},
                 {"metric", +found.rt_metric},
                 {"tag", +found.rt_tag},
                 {"best", (found.rt_state & RIB_ROUTE_BEST) != 0},
                 {"held", (found.rt_state & RIB_ROUTE_STALE) != 0},
                 {"paths", std::move(paths)},
                 {"advertised_by", advertisers_of(found, name)}};
    if (json own = route_attributes_object(found); !own.empty())
        told["attributes"] = std::move(own);
    return told;
}

std::string route_line(const ipv6_routetype &found, const protocol_namer &name, const paths_attributes &attributes)
{
    std::string gateways;
    for (unsigned i = 0; i < found.rt_path_count; ++i)
        gateways += (i ? ", " : "") + gateway_text(found.rt_path[i], attributes_of(found.rt_path[i], attributes, i));
    return fmt::format("{} via {} from {}, distance {}, metric {}{}{}{}", text_of(prefix_of(found)), gateways,
                       name(found.rt_protoid), +found.rt_distance, +found.rt_metric,
                       named_values_text(route_attributes_object(found), ", "),
                       found.rt_state & RIB_ROUTE_BEST ? "" : ", not best", found.rt_state & RIB_ROUTE_STALE ? ", held" : "");
}

std::string route_text(const ipv6_routetype &found, const protocol_namer &name, const paths_attributes &attributes)
{
    std::string text =
        fmt::format("{} from {}, distance {}, metric {}{}{}{}", text_of(prefix_of(found)), name(found.rt_protoid),
                    +found.rt_distance, +found.rt_metric, found.rt_tag ? fmt::format(", tag {}", +found.rt_tag) : "",
                    named_values_text(route_attributes_object(found), ", "),
                    found.rt_state & RIB_ROUTE_STALE ? ", held for a client that is gone" : "");
    for (unsigned i = 0; i < found.rt_path_count; ++i)
        text += "\n    " + path_text(found.rt_path[i], attributes_of(found.rt_path[i], attributes, i));
    const std::vector<std::string> advertisers = advertisers_of(found, name);
    if (!advertisers.empty())
        text += fmt::format("\n    advertised by {}", fmt::join(advertisers, ", "));
    return text;
}
