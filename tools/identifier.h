/*
 * What SIDs and IIDs have in common: how they are asked for, and what the server answers.
 */
#pragma once

#include "commands.h"
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
