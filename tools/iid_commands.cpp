/*
 * iid: identifiers in prefixes are asked for, given back and listed.
 */
#include "argument.h"
#include "attribute_value.h"
#include "failure.h"
#include "identifier.h"
#include "lookup.h"
#include "route_attributes.h"
#include "route_fetch.h"
#include "srv6_names.h"

#include <cstring>

namespace
{

constexpr std::pair<const char *, uint32_t> forms[] = {
    {"mapped", RIB_IID_MAPPED}, {"sid", RIB_IID_SID}, {"explicit", RIB_IID_EXPLICIT}};

const char *form_name(uint32_t kind)
{
    for (const auto &[name, known] : forms)
        if (known == kind)
            return name;
    return forms[0].first; // what any other value means
}

void fill_sid_form(const iid_options &options, ip_rib_iid_ctx_td *form)
{
    if (options.sid.empty() || options.format.empty())
        fail("the form sid needs --sid and --format");
    form->ic_sid = address_argument(options.sid);
    form->ic_sid_format = format_argument(options.format).sf_id;
}

/* 96 bits in network order. */
void fill_explicit_form(const iid_options &options, ip_rib_iid_ctx_td *form)
{
    constexpr size_t bytes = 12;
    value_t value;
    if (parse_bytes({options.value}, bytes, &value))
        fail("the form explicit needs a --value of 24 hexadecimal digits");
    for (size_t i = 0; i < bytes; ++i) {
        if (i < sizeof form->ic_hi)
            form->ic_hi = form->ic_hi << 8 | value[i];
        else
            form->ic_lo = form->ic_lo << 8 | value[i];
    }
}

ip_rib_iid_req_t request_of(const iid_options &options)
{
    ip_rib_iid_req_t request = {.iq_iid = options.iid};
    for (const auto &[name, kind] : forms)
        if (options.form == name)
            request.iq_ctx.ic_kind = kind;
    if (request.iq_ctx.ic_kind == RIB_IID_SID)
        fill_sid_form(options, &request.iq_ctx);
    if (request.iq_ctx.ic_kind == RIB_IID_EXPLICIT)
        fill_explicit_form(options, &request.iq_ctx);
    if (options.key.size() > sizeof request.iq_key)
        fail("the key has more than {} bytes", sizeof request.iq_key);
    std::memcpy(request.iq_key, options.key.data(), options.key.size());
    return request;
}

std::string request_text(const iid_options &options)
{
    return fmt::format("the IID for '{}', {} form,", printable(options.key), options.form);
}

/* The number within a prefix that was given out for a request. */
uint32_t iid_in(const in6_addr &prefix, const ip_rib_iid_ctx_td &form)
{
    uint32_t iid = 0;
    ip_rib_iid_ctx_td told = {};
    srv6_sid_block_t block = {};
    if (form.ic_kind == RIB_IID_SID && srv6_pltf_util_extract_sid_block_iid(form.ic_sid_format, &form.ic_sid, &block) != 0)
        return 0;
    ipv6_rib_iid_get_iid_from_prefix(&prefix, &iid, block.sb_block, 0, form.ic_sid_format, &told);
    return iid;
}

std::string key_text(const ip_rib_iid_req_t &request)
{
    const auto *key = reinterpret_cast<const char *>(request.iq_key);
    return printable({key, strnlen(key, sizeof request.iq_key)});
}

json held_object(const ipv6_routetype &route, const rib_held_iid &held, const protocol_namer &name)
{
    const ip_rib_iid_ctx_td &form = held.hi_request.iq_ctx;
    json told = {{"prefix", text_of(prefix_of(route))}, {"form", form_name(form.ic_kind)}};
    if (form.ic_kind != RIB_IID_EXPLICIT)
        told["iid"] = iid_in(address_at(route.rt_prefix), form);
    if (form.ic_kind == RIB_IID_SID)
        told.update({{"sid", text_of(form.ic_sid)}, {"format", format_name(form.ic_sid_format)}});
    told.update({{"key", key_text(held.hi_request)},
                 {"protocol", name(route.rt_protoid)},
                 {"context", held.hi_context},
                 {"held", (route.rt_state & RIB_ROUTE_STALE) != 0}});
    return told;
}

} // namespace

int iid_add_command(const iid_options &options, output &out)
{
    const ip_rib_iid_req_t request = request_of(options);
    const rib_connection conn;
    const rib_protoid_td proto = register_protocol(conn, options.protocol);
    const auto [told, had_it] =
        ask_identifier(conn, ipv6_rib_batch_get_iid_tableid(), proto, request_text(options), [&](rib_batch_buffer *buffer) {
            return ipv6_rib_batch_buffer_add_iid_req(buffer, &request, context_pointer(options.context));
        });
    const std::string prefix = text_of(prefix_of(told)), protocol = text_of(options.protocol);
    if (out.as_json())
        out.object({{"prefix", prefix},
                    {"form", options.form},
                    {"iid", told.an_iid},
                    {"protocol", protocol},
                    {"context", told.an_context},
                    {"new", !had_it}});
    else
        out.line("{} of {}{}{}", prefix, protocol, told.an_iid ? fmt::format(", IID {:#x}", told.an_iid) : "",
                 had_it ? ", which it had" : "");
    return exit_fine;
}

int iid_free_command(const iid_options &options, output &out)
{
    const ip_rib_iid_req_t request = request_of(options);
    const rib_connection conn;
    const rib_protoid_td proto = take_protocol(conn, options.protocol);
    const auto [told, had_it] =
        ask_identifier(conn, ipv6_rib_batch_get_iid_tableid(), proto, request_text(options), [&](rib_batch_buffer *buffer) {
            return ipv6_rib_batch_buffer_free_iid_req(buffer, &request, request.iq_iid, context_pointer(options.context));
        });
    const std::string prefix = text_of(prefix_of(told)), protocol = text_of(options.protocol);
    if (out.as_json())
        out.object({{"prefix", prefix}, {"protocol", protocol}, {"iid", told.an_iid}, {"context", told.an_context}});
    else
        out.line("{} of {}: given back", prefix, protocol);
    return exit_fine;
}

int iid_list_command(output &out)
{
    return list_identifiers(IPV6_RIB_TABLE_IID, out, held_iid, held_object);
}
