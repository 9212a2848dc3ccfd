/*
 * A route as it is handed out: its record, a record for each path with its attributes in a list of their own, those who
 * advertise it, its own attributes, and a delimiter.
 */
#pragma once

#include "server/attribute_reply.h"
#include "server/protocols.h"
#include "server/table.h"

/* How much is told of a route: a plain one has no attributes but those who advertise it. */
enum class rib_route_detail { plain, whole };

/* Bytes that rib_write_route() takes. */
size_t rib_route_record_len(const rib_route &route, rib_route_detail detail = rib_route_detail::whole);
/* Writes the fixed part of the route as a record, in network order, and moves the cursor behind it. */
void rib_write_route_head(rib_tableid_td table, const rib_table::entry_td &entry, const rib_route &route,
                          const rib_protocol &owner, uint8_t **cursor);
/* Writes the whole route, in network order, and moves the cursor behind it. */
void rib_write_route(rib_tableid_td table, const rib_table::entry_td &entry, const rib_route &route, const rib_protocol &owner,
                     uint8_t **cursor, rib_route_detail detail = rib_route_detail::whole);
/* RIB_ROUTE_* of a route. */
uint8_t rib_route_state(const rib_route &route, const rib_route *best, const rib_protocol &owner);
