/*
 * Redistribution: how interests begin and end, and what becomes of them when their sources come and go.
 *
 * An interest in a source outlives it: it waits until a protocol of the same names is registered, whatever its identifier.
 */
#pragma once

#include <ipv6_rib/errors.h>

#include "server/server.h"

/* Whether a request may name that parent: 0, or EPERM when it is no session of the same process that has an interest. */
errcode rib_check_parent(const rib_server &server, const rib_session &session, uint32_t parent);

/*
 * Begins an interest, with a dump of all that it sees; one that the session has under the key ends. The source is NULL for a
 * table as a whole. The session has fewer interests than it may, or one under the key.
 */
void rib_interest_begin(rib_server &server, rib_session &session, const rib_interest_key &key, const rib_protocol *source,
                        const rib_interest_words &words);
/* Ends the interest of a key, if there is one; of all interests of a table, or with table 0 of all: returns whether any. */
void rib_interest_end(rib_server &server, rib_session &session, const rib_interest_key &key);
bool rib_interests_end(rib_server &server, rib_session &session, rib_tableid_td table);
/* Forgets what waits of interests that ended, and all but next hops when none is left. Follows every begin and end, or a run of
 * them, before anything else is done. */
void rib_forget_ended(rib_session &session);

/* Gives a protocol an owner, or takes it away with NULL. */
void rib_protocol_set_owner(rib_server &server, rib_protocol &protocol, rib_session *owner);
/* The protocol has got its identifier; or loses it, and its routes are withdrawn already. */
void rib_protocol_came(rib_server &server, const rib_protocol &protocol);
void rib_protocol_went(rib_server &server, const rib_protocol &protocol);

/* A marker of a source: the protocol has completed its update; it says that a table has converged. */
void rib_tell_complete(rib_server &server, rib_protoid_td protoid);
void rib_tell_converged(rib_server &server, rib_tableid_td table, rib_protoid_td protoid);
