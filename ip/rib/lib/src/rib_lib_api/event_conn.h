/*
 * The connection that the platform opens on the client's behalf: one in a process, bound and unbound by notifications in the
 * thread that dispatches the event manager. Nothing of it is locked.
 */
#pragma once

#include <ipv6_rib/connection.h>
#include <platform/event.h>

#include "connection.h"

ip_rib_conn_p rib_client_connect(event_manager_t *evm, event_handler_t handler, ipv6_rib_connect_callback callback, errcode *err);
void rib_client_destroy(errcode *err);
/* A record was unbound by its owner: it is no longer that of the context. */
void rib_client_forget_connected(const rib_client_struct *conn);
