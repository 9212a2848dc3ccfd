/*
 * An interest: which routes of a table a session is told of, and how far its initial dump has come.
 *
 * A dump remembers the last route that it gave, and goes on behind it in the table as it is then. So only changes at or
 * before that place are put into the line of what waits; those behind it come with the dump.
 */
#pragma once

#include <compare>
#include <list>
#include <string>

#include "server/audience.h"
#include "server/table.h"

struct rib_session;

/* Names of a source; both empty for a table as a whole. */
struct rib_interest_key {
    std::string proto_name;
    std::string instance_name;
    rib_tableid_td table = 0;
    auto operator<=>(const rib_interest_key &) const = default;
};

/* What the client said with it. */
struct rib_interest_words {
    uint64_t flags = 0;
    uint32_t child_arg = 0;
    uint32_t parent = 0; /* client id of the session that was joined; RIB_NO_PARENT for none */
    uint16_t mode = 0;
};

struct rib_interest {
    rib_session *session = nullptr;
    rib_tableid_td table = 0;
    rib_protoid_td source = RIB_PROTOID_NONE; /* RIB_PROTOID_NONE: the table as a whole */
    bool waits = false;                       /* until the source is registered again */
    bool best_only = false;
    bool foreign = false; /* without the session's own routes */
    bool markers = false;
    bool dumping = false;
    rib_prefix dumped;   /* the prefix where the dump stands */
    int dumped_key = -1; /* what it gave of it, up to this key */
    size_t in_line = 0;  /* of its updates */
    rib_interest_words words;
    std::list<rib_interest *>::iterator dump_place; /* among the session's dumps, while dumping */

    bool whole() const { return source == RIB_PROTOID_NONE; }
    /* A route is told by its protocol; the best one of a table as a whole by RIB_PROTOID_NONE, whoever has it. */
    rib_protoid_td key_of(rib_protoid_td protoid) const { return whole() && best_only ? RIB_PROTOID_NONE : protoid; }
};

/* What happened to a prefix. */
struct rib_route_event {
    rib_prefix prefix;
    rib_change change = rib_change::changed;
    rib_protoid_td protoid = RIB_PROTOID_NONE;     /* whose route changed */
    rib_protoid_td best_before = RIB_PROTOID_NONE; /* whose route was best; RIB_PROTOID_NONE: there was none */
    rib_protoid_td best_after = RIB_PROTOID_NONE;
};

/* Puts what a change of a table means to those who watch it into their lines. Does not throw. */
void rib_tell_change(const rib_watchers &watchers, const rib_route_event &event);
/* Whether routes of a protocol are of interest at all. */
bool rib_interest_covers(const rib_interest &interest, rib_protoid_td protoid);
/* The route that stands for a key now, or NULL. The entry may be NULL. */
const rib_route *rib_interest_route(const rib_interest &interest, const rib_table::entry_td *entry, rib_protoid_td key);
/* The route of the lowest key above the given one, or NULL. */
const rib_route *rib_interest_next(const rib_interest &interest, const rib_table::entry_td &entry, int key);
/* The protocol became one of the session's own, or ceased to be. */
void rib_interest_own_changed(rib_interest &interest, const rib_table &table, rib_protoid_td protoid, bool owns);
