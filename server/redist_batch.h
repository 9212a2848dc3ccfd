/*
 * Batches of redistribution registrations.
 */
#pragma once

#include "server/server.h"

/* Serves a message of type RIB_MSG_REDIST or RIB_MSG_REDIST_ISSU; as rib_server_handle(). */
size_t rib_serve_redist_batch(rib_server &server, rib_session &session, const uint8_t *msg, size_t len, rib_reply_area area);
