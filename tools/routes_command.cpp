/*
 * routes: the table, or a part of it, as it arrives.
 */
#include "argument.h"
#include "commands.h"
#include "failure.h"
#include "lookup.h"
#include "route_fetch.h"
#include "show_routes.h"

#include <unistd.h>

namespace
{

route_filter filter_of(ipv6_rib_conn_p conn, const routes_options &options)
{
    route_filter filter = {.table = options.table, .best_only = options.best};
    if (!options.range.empty())
        filter.range = range_argument(options.range);
    if (options.protocol.empty())
        return filter;
    const protocol_identity protocol = protocol_argument(options.protocol);
    if (!find_protocol(conn, protocol))
        fail("no protocol {} is registered", printable(options.protocol));
    filter.protocol = protocol.name;
    filter.instance = protocol.instance;
    return filter;
}

void print_one(const ipv6_routetype &route, const paths_attributes &attributes, const protocol_namer &name, bool plain,
               output &out)
{
    if (out.as_json())
        out.object(route_object(route, name, attributes));
    else if (plain)
        out.line("{} {}", text_of(prefix_of(route)), text_of(nexthop_of(route, 0)));
    else
        out.line("{}", route_line(route, name, attributes));
}

} // namespace

int routes_command(const routes_options &options, output &out)
{
    const rib_connection conn;
    const route_filter filter = filter_of(conn, options);
    const protocol_namer name = cached_names(conn);
    const uint64_t count = for_each_route(conn, filter, [&](const ipv6_routetype &route, const paths_attributes &attributes) {
        print_one(route, attributes, name, options.plain, out);
        return true;
    });
    if (count == 0 && !(status_of(conn, options.table).flags & RIB_TABLE_EXISTS))
        fail("table {:#010x} does not exist, and so has no routes", options.table);
    out.finish();
    if (isatty(STDERR_FILENO))
        fmt::print(stderr, "{} routes\n", count);
    return exit_fine;
}
