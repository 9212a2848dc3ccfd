/*
 * A route as it is handed out: its record, a record for each path with an empty list of attributes, and a delimiter.
 */
#pragma once

#include "server/protocols.h"
#include "server/table.h"

/* Bytes that rib_write_route() takes. */
size_t rib_route_record_len(const rib_route &route);
/* Writes the fixed part of the route as a record, in network order, and moves the cursor behind it. */
void rib_write_route_head(rib_tableid_td table, const rib_table::entry_td &entry, const rib_route &route,
                          const rib_protocol &owner, uint8_t **cursor);
/* Writes the whole route, in network order, and moves the cursor behind it. */
void rib_write_route(rib_tableid_td table, const rib_table::entry_td &entry, const rib_route &route, const rib_protocol &owner,
                     uint8_t **cursor);
/* RIB_ROUTE_* of a route. */
uint8_t rib_route_state(const rib_route &route, const rib_route *best, const rib_protocol &owner);
