/*
 * Binding a connection to the server, moving it to a fresh channel, and closing it. All of it runs under the bind mutex
 * held for writing, so it never overlaps with an operation on any connection.
 */
#pragma once

#include <platform/event.h>
#include <platform/msg_chan.h>

#include "connection.h"

/* Which server a service path means, as bind data tell it. */
enum rib_bind_option : uint16_t { RIB_BIND_PLAIN = 0, RIB_BIND_ACTIVE = 1, RIB_BIND_STANDBY = 2 };
rib_bind_option rib_client_bind_option(const char *path);

constexpr uint8_t RIB_CLIENT_VERSION = 2;

/*
 * Binds: the connection id, or -1 with *conn as it was. version asks for a range of versions of the service; NULL for any.
 * errno tells why no channel could be opened, or holds the server's refusal when that is a system error number.
 */
int32_t rib_client_bind_internal(event_manager_t *evm, ip_rib_conn_p *conn, const char *path, uint32_t afi, uint64_t context,
                                 const msg_chan_version_t *version);
/* Moves a connection to a fresh channel: its connection id, or -1. */
int32_t rib_client_rebind(ip_rib_conn_p conn, const char *path, uint32_t afi);
/* Closes and frees a connection. */
void rib_client_unbind(ip_rib_conn_p *conn);
/* The exchange of bind data alone, without a lock. 0, BAD_ARG, NO_MEMORY, CLIENT_INFO, EBADMSG, the channel's or server's code.
 */
errcode rib_client_bind_data(ip_rib_conn_p conn, const struct sigevent *event, uint64_t value, uint16_t option, uint8_t version);
