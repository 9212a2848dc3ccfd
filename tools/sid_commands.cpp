/*
 * sid: SIDs are asked for, given back and listed.
 */
#include "argument.h"
#include "failure.h"
#include "identifier.h"
#include "lookup.h"
#include "route_attributes.h"
#include "route_fetch.h"
#include "srv6_names.h"

#include <cstring>

namespace
{

srv6_sid_req_t request_of(const sid_options &options)
{
    const srv6_sid_fmt_info_t format = format_argument(options.format);
    const ip_prefix locator = prefix_argument(options.locator);
    const auto function = endpoint_named(options.function);
    if (!function)
        fail("'{}': not an endpoint behaviour", printable(options.function));
    if (locator.len != format.sf_locator_len)
        fail("a locator of {} has {} bits, not {}", format.sf_name, format.sf_locator_len, locator.len);
    srv6_sid_req_t request = {.sr_func = *function,
                              .sr_format = format.sf_id,
                              .sr_table = options.lookup_table,
                              .sr_interface = options.interface,
                              .sr_opcode = options.opcode.value_or(RIB_SID_OPCODE_ANY)};
    std::memcpy(request.sr_locator, &locator.addr, sizeof request.sr_locator);
    if (!options.nexthop.empty()) {
        const in6_addr nexthop = address_argument(options.nexthop);
        std::memcpy(request.sr_nexthop, &nexthop, sizeof request.sr_nexthop);
    }
    return request;
}

std::string request_text(const sid_options &options)
{
    return fmt::format("the SID for {} in {}", options.function, options.locator);
}

/* The function's value, which stands behind the locator. */
uint64_t opcode_in(const ip_prefix &sid, uint32_t format)
{
    srv6_sid_fmt_info_t info;
    if (srv6_sid_fmt_get_info(format, &info) != 0 || sid.len == 0 || info.sf_func_len == 0 || info.sf_func_len > sid.len)
        return 0;
    return static_cast<uint64_t>(bits_of(sid.addr) >> (128 - sid.len) & ((address_bits{1} << info.sf_func_len) - 1));
}

json held_object(const ipv6_routetype &route, const rib_held_sid &held, const protocol_namer &name)
{
    const srv6_sid_req_t &request = held.hs_request;
    const in6_addr nexthop = address_at(request.sr_nexthop);
    json told = {{"sid", text_of(prefix_of(route))},
                 {"function", endpoint_name(request.sr_func)},
                 {"format", format_name(request.sr_format)},
                 {"opcode", opcode_in(prefix_of(route), request.sr_format)},
                 {"protocol", name(route.rt_protoid)}};
    if (request.sr_interface)
        told["interface"] = request.sr_interface;
    if (bits_of(nexthop) != 0)
        told["nexthop"] = text_of(nexthop);
    if (request.sr_table)
        told["table"] = request.sr_table;
    told["context"] = held.hs_context;
    told["held"] = (route.rt_state & RIB_ROUTE_STALE) != 0;
    return told;
}

} // namespace

int sid_add_command(const sid_options &options, output &out)
{
    const srv6_sid_req_t request = request_of(options);
    const rib_connection conn;
    const rib_protoid_td proto = register_protocol(conn, options.protocol);
    const auto [told, had_it] =
        ask_identifier(conn, IPV6_RIB_TABLE_SID, proto, request_text(options), [&](rib_batch_buffer *buffer) {
            return ipv6_rib_batch_buffer_add_srv6_sid_req(buffer, &request, context_pointer(options.context));
        });
    const std::string sid = text_of(prefix_of(told)), protocol = text_of(options.protocol);
    if (out.as_json())
        out.object({{"sid", sid},
                    {"function", endpoint_name(request.sr_func)},
                    {"opcode", told.an_opcode},
                    {"protocol", protocol},
                    {"context", told.an_context},
                    {"new", !had_it}});
    else
        out.line("{} for {} of {}, function value {:#x}{}", sid, endpoint_name(request.sr_func), protocol, told.an_opcode,
                 had_it ? ", which it had" : "");
    return exit_fine;
}

int sid_free_command(const sid_options &options, output &out)
{
    const srv6_sid_req_t request = request_of(options);
    const auto free =
        options.immediate ? ipv6_rib_batch_buffer_immediate_free_srv6_sid_req : ipv6_rib_batch_buffer_free_srv6_sid_req;
    const rib_connection conn;
    const rib_protoid_td proto = take_protocol(conn, options.protocol);
    const auto [told, had_it] =
        ask_identifier(conn, IPV6_RIB_TABLE_SID, proto, request_text(options),
                       [&](rib_batch_buffer *buffer) { return free(buffer, &request, context_pointer(options.context)); });
    const std::string sid = text_of(prefix_of(told)), protocol = text_of(options.protocol);
    if (out.as_json())
        out.object({{"sid", sid}, {"protocol", protocol}, {"opcode", told.an_opcode}, {"context", told.an_context}});
    else
        out.line("{} of {}: given back", sid, protocol);
    return exit_fine;
}

int sid_list_command(output &out)
{
    return list_identifiers(IPV6_RIB_TABLE_SID, out, held_sid, held_object);
}
