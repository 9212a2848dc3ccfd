/*
 * Batches of next-hop registrations.
 */
#pragma once

#include "server/server.h"

/* Serves a message of type RIB_MSG_NEXT_HOPS; as rib_server_handle(). */
size_t rib_serve_next_hops(rib_server &server, rib_session &session, const uint8_t *msg, size_t len, rib_reply_area area);
