/*
 * What a client is told of redistribution, as people and programs read it. Lines begin with + for a route that is new or changed,
 * - for one that is gone, = for the state of the connection or a table, and * for protocols.
 */
#pragma once

#include "show_routes.h"

#include <string>

/* A route that is new or changed, or a withdrawal. */
std::string change_line(const ipv6_routetype &route, const protocol_namer &name);
json change_object(const ipv6_routetype &route, const protocol_namer &name);

/* Rarer events, in both forms. */
struct shown_update {
    std::string line;
    json object;
};
shown_update established_update(uint32_t client_id);
shown_update lost_update();
/* All that a table, or one protocol in it, had has been told. */
shown_update complete_update(rib_tableid_td table, rib_protoid_td source, const protocol_namer &name);
shown_update marker_update(rib_protoid_td source, uint32_t marker, const protocol_namer &name);
shown_update protocol_update(bool came, rib_protoid_td id, const protocol_namer &name);
