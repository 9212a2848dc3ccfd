/*
 * add and del: one route, or one path, by one request.
 */
#include "argument.h"
#include "commands.h"
#include "failure.h"
#include "results.h"

#include <ipv6_rib/route.h>
#include <ipv6_rib/route_change.h>

namespace
{

std::string text_of(const protocol_identity &protocol)
{
    return fmt::format("{}/{}", protocol.name, protocol.instance);
}

/* What has become of the protocol's route, by its RIB_ROUTE_*. */
const char *state_text(uint8_t status)
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

ipv6_rib_route_add_args arguments_of(const change_options &options)
{
    const ip_prefix prefix = prefix_argument(options.prefix);
    ipv6_rib_route_add_args args;
    ipv6_rib_route_add_args_init(&args);
    args.table = options.table;
    args.prefix = prefix.addr;
    args.prefix_len = prefix.len;
    args.next_hop = nexthop_of(options);
    args.hop_word2 = options.interface;
    args.attr_words[0] = options.metric;
    args.attr_words[1] = options.tag;
    args.ext_byte = options.distance;
    args.ext_word = options.replace ? RIB_ROUTE_ADD_REPLACE : 0;
    return args;
}

/* The protocol of a route that is to go: one that is there, taken over by this client. */
rib_protoid_td take_protocol(ipv6_rib_conn_p conn, const protocol_identity &protocol)
{
    if (!find_protocol(conn, protocol))
        fail("no protocol {} is registered", text_of(protocol));
    return register_protocol(conn, protocol);
}

} // namespace

int add_command(const change_options &options, output &out)
{
    ipv6_rib_route_add_args args = arguments_of(options);
    const std::string prefix = text_of(prefix_argument(options.prefix)), protocol = text_of(options.protocol);
    const rib_connection conn;
    args.conn = conn;
    args.protoid = register_protocol(conn, options.protocol);
    uint8_t status = 0;
    errcode err = 0;
    const ipv6_rib_route_add_out told = {.status = &status, .err = &err};
    const int result = ipv6_rib_route_add(&args, &told);
    if (refused(result))
        fail("{} was refused: {}", prefix, err ? error_text(err) : ribresulttype_to_string(result));
    if (out.as_json())
        out.object({{"prefix", prefix},
                    {"nexthop", text_of(args.next_hop)},
                    {"interface", options.interface},
                    {"protocol", protocol},
                    {"result", ribresulttype_to_string(result)},
                    {"best", (status & RIB_ROUTE_BEST) != 0}});
    else
        out.line("{} by {} of {}: {}; {}", prefix, path_text(args.next_hop, options.interface), protocol,
                 ribresulttype_to_string(result), state_text(status));
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
