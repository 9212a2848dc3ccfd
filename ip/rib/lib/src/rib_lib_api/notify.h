/*
 * The process-wide registry of notification events: at most four event managers, each with the event that describes the
 * handler through which its connections hear of updates.
 */
#pragma once

#include <platform/event.h>

#include "connection.h"

/* Attaches a handler and registers its event. 0, EINVAL, ENOMEM, RIB_LIB_ERR_SIGEVENT_TABLE, or the platform's code. */
errcode rib_client_add_sigevent(event_manager_t *evm, uint32_t code, event_handler_t handler, void *context);
/* Forgets an event manager. 0, or RIB_LIB_ERR_SIGEVENT_TABLE. */
errcode rib_client_remove_sigevent(event_manager_t *evm);
/* The event of an event manager, or of the first slot for NULL; NULL when there is none. */
struct sigevent *rib_client_find_sigevent(event_manager_t *evm);
/* Makes the record's address the event's pulse value and copies the event into the record. False when it is gone. */
bool rib_client_take_sigevent(event_manager_t *evm, ip_rib_conn_p conn);
