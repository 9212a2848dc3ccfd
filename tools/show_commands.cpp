/*
 * The commands that only read: lookup, explain, protocols, status.
 */
#include "argument.h"
#include "commands.h"
#include "explain.h"
#include "failure.h"
#include "lookup.h"
#include "show_routes.h"

#include <numeric>

namespace
{

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
    const ip_prefix asked = asked_argument(options.what);
    const rib_connection conn;
    paths_attributes attributes;
    const uint32_t flags = options.exact ? RIB_LOOKUP_EXACT : RIB_LOOKUP_LONGEST;
    const ipv6_routetype *found = options.longer ? look_up_longer(conn, options.table, asked, &attributes)
                                                 : look_up(conn, options.table, asked, flags, &attributes);
    if (!found) {
        const char *which = options.longer ? "longer than" : options.exact ? "that is exactly" : "for";
        fail("table {:#010x} has no route {} {}", options.table, which, text_of(asked));
    }
    const protocol_namer name = cached_names(conn);
    if (out.as_json())
        out.object(route_object(*found, name, attributes));
    else
        out.line("{}", route_text(*found, name, attributes));
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

int explain_command(const std::string &what, rib_tableid_td table, output &out)
{
    ip_prefix prefix = asked_argument(what);
    const rib_connection conn;
    if (what.find('/') == what.npos) {
        const ipv6_routetype *found = look_up(conn, table, prefix, RIB_LOOKUP_LONGEST);
        if (!found)
            fail("table {:#010x} has no route for {}", table, text_of(prefix));
        prefix = prefix_of(*found);
    }
    explain(conn, table, prefix, out);
    return exit_fine;
}
