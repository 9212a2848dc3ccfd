/*
 * local and nexthop: what the server knows of an address.
 */
#include "argument.h"
#include "commands.h"
#include "failure.h"
#include "results.h"
#include "show_next_hops.h"

#include <ipv6_rib/next_hop.h>

namespace
{

/* An answer of the server: an interface, or that the route names none. */
std::string interface_text(uint32_t interface)
{
    return interface == RIB_INTERFACE_NONE ? "on no interface in particular" : fmt::format("on interface {}", interface);
}

struct address_answers {
    uint32_t local = 0, connected = 0, source_interface = 0; /* interfaces, 0 for no */
    ip_prefix subnet = {};
    in6_addr source = {};
};

void check(errcode err, const in6_addr &addr)
{
    if (err)
        fail("the server cannot tell about {}: {}", text_of(addr), error_text(err));
}

address_answers ask(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr &addr)
{
    address_answers told;
    errcode err = 0;
    told.local = ipv6_rib_is_local(conn, table, &addr, &err);
    check(err, addr);
    told.connected = ipv6_rib_is_connected(conn, table, &addr, &err);
    check(err, addr);
    uint32_t len = 0;
    const bool in_subnet = ipv6_rib_match_connected_subnet(conn, table, &addr, &told.subnet.addr, &len, &err) == 1;
    check(err, addr);
    told.connected = in_subnet ? told.connected : 0; // the subnet may have gone between the two questions
    told.subnet.len = static_cast<uint8_t>(len);
    const bool has_source = ipv6_rib_best_local_address(conn, table, &addr, 0, &told.source, &told.source_interface, &err) == 1;
    check(err, addr);
    told.source_interface = has_source ? told.source_interface : 0;
    return told;
}

json object_of(const in6_addr &addr, const address_answers &told)
{
    return {{"address", text_of(addr)},
            {"local", told.local != 0},
            {"local_interface", interface_json(told.local)},
            {"connected", told.connected != 0},
            {"subnet", told.connected ? json(text_of(told.subnet)) : json()},
            {"subnet_interface", interface_json(told.connected)},
            {"source", told.source_interface ? json(text_of(told.source)) : json()},
            {"source_interface", interface_json(told.source_interface)}};
}

void print_text(const in6_addr &addr, const address_answers &told, output &out)
{
    out.line("{} is {}", text_of(addr), told.local ? "local, " + interface_text(told.local) : "not local");
    if (told.connected)
        out.line("subnet    {} {}", text_of(told.subnet), interface_text(told.connected));
    else
        out.line("subnet    none is connected");
    if (told.source_interface)
        out.line("source    {} {}", text_of(told.source), interface_text(told.source_interface));
    else
        out.line("source    no own address suits");
}

} // namespace

int local_command(const address_options &options, output &out)
{
    const in6_addr addr = address_argument(options.addr);
    const rib_connection conn;
    const address_answers told = ask(conn, options.table, addr);
    if (out.as_json())
        out.object(object_of(addr, told));
    else
        print_text(addr, told, out);
    return exit_fine;
}

int nexthop_command(const nexthop_options &options, output &out)
{
    const in6_addr addr = address_argument(options.addresses.front());
    const rib_connection conn;
    in6_addr nexthop = {};
    uint32_t flags = 0;
    errcode err = 0;
    const uint32_t interface =
        ipv6_rib_next_hop(conn, options.table, &addr, options.one_step ? RIB_NEXT_HOP_ONE_STEP : RIB_NEXT_HOP_RECURSIVE,
                          options.no_default ? 1 : 0, 0, &nexthop, &flags, &err);
    if (err == RIB_SRV_ERR_NOT_FOUND)
        fail("table {:#010x} has no way to {}", options.table, text_of(addr));
    check(err, addr);
    if (out.as_json())
        out.object({{"address", text_of(addr)},
                    {"nexthop", text_of(nexthop)},
                    {"interface", interface_json(interface)},
                    {"local", (flags & RIB_ADDR_LOCAL) != 0},
                    {"connected", (flags & RIB_ADDR_CONNECTED) != 0}});
    else
        out.line("{} by {} {}{}{}", text_of(addr), text_of(nexthop), interface_text(interface),
                 flags & RIB_ADDR_LOCAL ? ", local" : "", flags & RIB_ADDR_CONNECTED ? ", connected" : "");
    return exit_fine;
}
