/*
 * What a client may do, by the family of replies that it decodes; and looks at all that the library hands out.
 */
#pragma once

#include <span>

#include "fuzz/client/channel.h"

using client_operation = void (*)(ipv6_rib_conn_p conn);
using client_operations = std::span<const client_operation>;

/* Seeds count on the order within each, so a new operation goes to the end. */
extern const client_operations bind_operations;
extern const client_operations request_operations;
extern const client_operations route_operations;
extern const client_operations update_operations;
extern const client_operations batch_operations;
extern const client_operations protocol_operations;
extern const client_operations registration_operations;

inline constexpr rib_tableid_td FUZZ_TABLE = IPV6_RIB_TABLE_DEFAULT;
inline constexpr in6_addr_t FUZZ_ADDRESS = {};

/* Reads all bytes of a value. */
void look_at(const void *bytes, size_t len);
/* Reads all that a converted route leads to. */
void visit(const ipv6_routetype *route);
