/*
 * What SIDs and IIDs have in common: how they are asked for, and what the server answers.
 */
#pragma once

#include "commands.h"
#include "connection.h"
#include "failure.h"
#include "lookup.h"
#include "route_fetch.h"
#include "route_writer.h"

#include <ipv6_rib/srv6.h>

#include <absl/functional/function_ref.h>
#include <platform/srv6.h>

/* Puts a request into the route that is open in a batch. */
using request_putter = absl::FunctionRef<rib_batch_buffer_result(rib_batch_buffer *buffer)>;

struct identifier_answer {
    rib_batch_request_answer told;
    bool had_it; /* nothing had to be given out */
};

/* Sends a request of a protocol in a table; what names it in messages. Fails the command when the request, or what it asks for,
 * is refused. */
identifier_answer ask_identifier(ipv6_rib_conn_p conn, rib_tableid_td table, rib_protoid_td proto, const std::string &what,
                                 request_putter put);

ip_prefix prefix_of(const rib_batch_request_answer &told);
/* A context, which is never looked into, as the library takes it. */
const void *context_pointer(uint64_t context);
/* The format that a command names. Fails the command for one that there is not. */
srv6_sid_fmt_info_t format_argument(const std::string &name);

/* Lists a table of identifiers: held_of() tells what a route of it stands for, object_of() shows that. */
template <class held_of_td, class object_of_td>
int list_identifiers(rib_tableid_td table, output &out, held_of_td held_of, object_of_td object_of)
{
    const rib_connection conn;
    const protocol_namer name = cached_names(conn);
    for_each_route(conn, {.table = table}, [&](const ipv6_routetype &route, const paths_attributes &) {
        const auto held = held_of(route);
        if (!held)
            fail("the server lists {} without its request", text_of(prefix_of(route)));
        const json told = object_of(route, *held, name);
        if (out.as_json())
            out.object(told);
        else
            out.line("{}", named_values_text(told, ", ").substr(2));
        return true;
    });
    return exit_fine;
}
