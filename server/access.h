/*
 * Asking the policy. What it refuses is told once for each client and reason, so that an operator finds the rule at work.
 */
#pragma once

#include "server/server.h"

/* Whether a client may come in: 0 or EPERM. */
errcode rib_access_bind(rib_server &server, const rib_credentials &who);
/* Whether a session may register a protocol of that name. */
errcode rib_access_register(rib_server &server, rib_session &session, std::string_view proto_name);
/* Whether a session may withdraw what the gone owner of a protocol left; what its own user left it always may. */
errcode rib_access_purge(rib_server &server, rib_session &session, const rib_protocol &protocol);
