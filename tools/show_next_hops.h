/*
 * A next hop that is followed, as people and programs read it: lines as in show_updates.h.
 */
#pragma once

#include "show_updates.h"

#include <ipv6_rib/next_hop_batch.h>

std::string next_hop_line(const rib_next_hop_update &told, const protocol_namer &name);
json next_hop_object(const rib_next_hop_update &told, const protocol_namer &name);
/* All that there was to tell of the next hops of a table has been told. */
shown_update next_hops_told_update(rib_tableid_td table);

/* null where no route names an interface. */
json interface_json(uint32_t interface);
