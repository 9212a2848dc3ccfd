/*
 * add and del: one route, or one path, by one exchange.
 */
#include "argument.h"
#include "commands.h"
#include "failure.h"
#include "results.h"
#include "route_writer.h"

#include <ipv6_rib/route.h>
#include <ipv6_rib/route_change.h>

namespace
{

/* What has become of the protocol's route, by its RIB_ROUTE_*. */
const char *state_text(uint32_t status)
{
    if (status & RIB_ROUTE_BEST)
        return "best now";
    return status & RIB_ROUTE_BACKUP ? "not best, as it has backup paths only" : "not best";
}

std::string path_text(const in6_addr &nexthop, uint32_t interface)
{
    return fmt::format("{}{}", text_of(nexthop), interface ? fmt::format(", interface {}", interface) : "");
}

/* The path that the options name; a next hop that leads nowhere fails the command. */
in6_addr nexthop_of(const change_options &options)
{
    const in6_addr nexthop = address_argument(options.nexthop);
    if (same_address(nexthop, in6addr_any) && options.interface == 0)
        fail("the next hop :: leads nowhere without an --interface");
    return nexthop;
}

route_details details_of(const change_options &options)
{
    route_path path = {.nexthop = nexthop_of(options), .interface = options.interface};
    for (size_t i = 0; i < options.attributes.size(); ++i) {
        const words_t &words = options.attributes[i];
        const char *why = words.empty() ? nullptr : set_attribute(attribute_kinds()[i], words, &path.attributes);
        if (why)
            fail("{}", why);
    }
    route_details details = {
        .metric = options.metric, .tag = options.tag, .distance = options.distance, .paths = {std::move(path)}};
    if (const char *why = check_details(details))
        fail("{}", why);
    return details;
}

} // namespace

int add_command(const change_options &options, output &out)
{
    const ip_prefix where = prefix_argument(options.prefix);
    const std::string prefix = text_of(where), protocol = text_of(options.protocol);
    const route_details details = details_of(options);
    const rib_connection conn;
    single_batch batch(conn, options.table, register_protocol(conn, options.protocol));
    if (const std::string why = write_route(batch.buffer(), where, details, options.replace, 0); !why.empty())
        fail("{} was refused: {}", prefix, why);
    const rib_batch_route_out &told = batch.send();
    const int result = told.ro_result, path_result = batch.refused_path();
    if (refused(result) || refused(path_result))
        fail("{} was refused: {}", prefix, ribresulttype_to_string(refused(result) ? result : path_result));
    const in6_addr &nexthop = details.paths[0].nexthop;
    if (out.as_json())
        out.object({{"prefix", prefix},
                    {"nexthop", text_of(nexthop)},
                    {"interface", options.interface},
                    {"protocol", protocol},
                    {"result", ribresulttype_to_string(result)},
                    {"best", (told.ro_flags & RIB_ROUTE_BEST) != 0}});
    else
        out.line("{} by {} of {}: {}; {}", prefix, path_text(nexthop, options.interface), protocol,
                 ribresulttype_to_string(result), state_text(told.ro_flags));
    return exit_fine;
}

int del_command(const change_options &options, output &out)
{
    const ip_prefix prefix = prefix_argument(options.prefix);
    const bool every_path = options.nexthop.empty() && options.interface == 0; // as the request puts it: nothing but zeros
    const in6_addr nexthop = options.nexthop.empty() ? in6addr_any : nexthop_of(options);
    const std::string protocol = text_of(options.protocol);
    const rib_connection conn;
    const rib_protoid_td proto = take_protocol(conn, options.protocol);
    uint8_t left = 0;
    const errcode err = ipv6_rib_route_delete(conn, proto, options.table, &prefix.addr, prefix.len, &nexthop, options.interface,
                                              0, &left, nullptr);
    if (err == RIB_SRV_ERR_NOT_FOUND)
        fail("{} has no {} {} in table {:#010x}", protocol,
             every_path ? "route" : fmt::format("path by {} for", path_text(nexthop, options.interface)), text_of(prefix),
             options.table);
    if (err)
        fail("{} cannot be withdrawn: {}", text_of(prefix), error_text(err));
    if (out.as_json())
        out.object({{"prefix", text_of(prefix)},
                    {"protocol", protocol},
                    {"withdrawn", left ? "path" : "route"},
                    {"best", (left & RIB_ROUTE_BEST) != 0}});
    else
        out.line("{} of {}: {}", text_of(prefix), protocol,
                 left ? fmt::format("a path was withdrawn; the route is {}", state_text(left)) : "withdrawn");
    return exit_fine;
}
