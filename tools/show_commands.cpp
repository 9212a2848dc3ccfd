/*
 * The commands that only read: lookup, protocols, status.
 */
#include "commands.h"
#include "failure.h"
#include "results.h"
#include "verify.h"

#include <numeric>

namespace
{

/* An address stands for itself; host bits of a prefix are cleared. */
ip_prefix parse_asked(const std::string &text)
{
    ip_prefix asked = {{}, 128};
    const size_t slash = text.find('/');
    const char *why = parse_address(text.substr(0, slash), &asked.addr);
    if (!why && slash != text.npos) {
        ip_prefix length_alone;
        why = parse_prefix("::" + text.substr(slash), &length_alone);
        asked.len = why ? asked.len : length_alone.len;
    }
    if (why)
        fail("'{}': {}", printable(text), why);
    return {masked(asked.addr, asked.len), asked.len};
}

json path_object(const rib_pathtype &path)
{
    json told = {{"nexthop", text_of(address_at(&path.path_nexthop))},
                 {"interface", +path.path_interface},
                 {"metric", +path.path_metric},
                 {"backup", (path.path_state & RIB_PATH_BACKUP) != 0}};
    told["label"] = path.path_label == RIB_LABEL_NONE ? json() : json(+path.path_label);
    return told;
}

json route_object(const ipv6_routetype &found, const std::string &protocol)
{
    json paths = json::array();
    for (unsigned i = 0; i < found.rt_path_count; ++i)
        paths.push_back(path_object(found.rt_path[i]));
    return {{"prefix", text_of(prefix_of(found))},
            {"protocol", protocol},
            {"protocol_id", +found.rt_protoid},
            {"distance", +found.rt_distance},
            {"metric", +found.rt_metric},
            {"held", (found.rt_state & RIB_ROUTE_STALE) != 0},
            {"paths", paths}};
}

void print_path(const rib_pathtype &path, output &out)
{
    std::string text = fmt::format("    via {}", text_of(address_at(&path.path_nexthop)));
    if (path.path_interface)
        text += fmt::format(", interface {}", +path.path_interface);
    text += fmt::format(", metric {}", +path.path_metric);
    if (path.path_label != RIB_LABEL_NONE)
        text += fmt::format(", label {}", +path.path_label);
    out.line("{}{}", text, path.path_state & RIB_PATH_BACKUP ? ", backup" : "");
}

void print_route(const ipv6_routetype &found, const std::string &protocol, output &out)
{
    out.line("{} from {}, distance {}, metric {}{}", text_of(prefix_of(found)), protocol, +found.rt_distance, +found.rt_metric,
             found.rt_state & RIB_ROUTE_STALE ? ", held for a client that is gone" : "");
    for (unsigned i = 0; i < found.rt_path_count; ++i)
        print_path(found.rt_path[i], out);
}

struct table_status {
    uint32_t flags, prefixes;
};

table_status status_of(ipv6_rib_conn_p conn, rib_tableid_td table)
{
    table_status status = {};
    if (const errcode err = ipv6_rib_get_table_status(conn, table, &status))
        fail("cannot read the status of table {:#010x}: {}", table, error_text(err));
    return status;
}

std::string flags_text(uint32_t flags)
{
    if (!(flags & RIB_TABLE_EXISTS))
        return "does not exist";
    return fmt::format("exists{}{}", flags & RIB_TABLE_COMPLETE ? ", complete" : "",
                       flags & RIB_TABLE_CONVERGED ? ", converged" : "");
}

} // namespace

int lookup_command(const lookup_options &options, output &out)
{
    const ip_prefix asked = parse_asked(options.what);
    const rib_connection conn;
    const ipv6_routetype *found = look_up(conn, options.table, asked, options.exact ? RIB_LOOKUP_EXACT : RIB_LOOKUP_LONGEST);
    if (!found)
        fail("table {:#010x} has no route {} {}", options.table, options.exact ? "that is exactly" : "for", text_of(asked));
    const std::string protocol = name_of(conn, found->rt_protoid);
    if (out.as_json())
        out.object(route_object(*found, protocol));
    else
        print_route(*found, protocol, out);
    return exit_fine;
}

int protocols_command(output &out)
{
    const rib_connection conn;
    std::vector<rib_protoid_td> ids(RIB_PROTOID_COUNT);
    std::iota(ids.begin(), ids.end(), rib_protoid_td{0});
    for (const protocol_names &known : names_of(conn, ids)) {
        if (known.name.empty() && known.instance.empty())
            continue;
        if (out.as_json())
            out.object({{"id", known.id}, {"protocol", known.name}, {"instance", known.instance}});
        else
            out.line("{:3} {}/{}", known.id, known.name, known.instance);
    }
    return exit_fine;
}

int status_command(rib_tableid_td table, output &out)
{
    const rib_connection conn;
    const uint32_t client = ipv6_rib_get_my_client_id(conn), channel = ipv6_rib_conn_p_get_msg_conn(conn);
    const bool collocated = ipv6_rib_collocated(conn) == 1;
    const table_status status = status_of(conn, table);
    if (out.as_json()) {
        out.object({{"client_id", client},
                    {"channel", channel},
                    {"collocated", collocated},
                    {"table", table},
                    {"exists", (status.flags & RIB_TABLE_EXISTS) != 0},
                    {"complete", (status.flags & RIB_TABLE_COMPLETE) != 0},
                    {"converged", (status.flags & RIB_TABLE_CONVERGED) != 0},
                    {"prefixes", status.prefixes}});
        return exit_fine;
    }
    out.line("client    {} on channel {:#x}, server on {}", client, channel, collocated ? "this node" : "another node");
    out.line("table     {:#010x} {}", table, flags_text(status.flags));
    out.line("prefixes  {}", status.prefixes);
    return exit_fine;
}
