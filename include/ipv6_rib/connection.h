/*
 * Connections: bind to the server, rebind after it was lost, unbind, and hear of updates through an event.
 *
 * Binding, rebinding and unbinding wait until every running operation of the process has ended, and hold up new ones.
 */
#ifndef IPV6_RIB_CONNECTION_H
#define IPV6_RIB_CONNECTION_H

#include <ipv6_rib/types.h>

IPV6_RIB_BEGIN

/* An event manager of the platform (<platform/event.h>), and the event that describes a handler (<signal.h>). */
struct event_manager;
struct sigevent;

/* Runs in the thread that dispatches the event manager: the connection that has updates, the code given to
 * ipv6_rib_notify(), the handler's own context. */
typedef void (*ipv6_rib_event_handler)(void *conn, uint32_t code, void *context);

/**
 * Binds to the server: opens a channel, introduces this process, and makes a connection.
 * Blocks until the server has answered, about a second at most when there is none.
 *
 * @param conn  receives the connection, written only on success. A handle that is set already is reported as a possible
 *              leak and replaced; the old connection is neither used nor freed.
 * @return the connection id, positive and unique in the process; or -1 (no server, no memory, the server refused, conn
 *         is NULL). errno of a failed connect is left for the caller.
 *
 * ipv6_rib_bind() and _bind_v2() reach the server itself, _active() and _standby() one of a redundant pair,
 * _primary_active() the active one if its version of the service is 1. When ipv6_rib_notify() has registered an event
 * manager, the connection uses the one registered first; the _mevm() forms name theirs, and fail when it is not registered.
 */
IPV6_RIB_API int32_t ipv6_rib_bind(ipv6_rib_conn_p *conn);
/** @param context  kept in the connection, never interpreted */
IPV6_RIB_API int32_t ipv6_rib_bind_v2(ipv6_rib_conn_p *conn, uint64_t context);
IPV6_RIB_API int32_t ipv6_rib_bind_active(ipv6_rib_conn_p *conn);
IPV6_RIB_API int32_t ipv6_rib_bind_standby(ipv6_rib_conn_p *conn);
IPV6_RIB_API int32_t ipv6_rib_bind_primary_active(ipv6_rib_conn_p *conn);
IPV6_RIB_API int32_t ipv6_rib_bind_mevm(struct event_manager *evm, ipv6_rib_conn_p *conn);
IPV6_RIB_API int32_t ipv6_rib_bind_active_mevm(struct event_manager *evm, ipv6_rib_conn_p *conn);
IPV6_RIB_API int32_t ipv6_rib_bind_standby_mevm(struct event_manager *evm, ipv6_rib_conn_p *conn);

/**
 * Moves a connection to a fresh channel, for use after operations on it began to fail. The handle stays the same; to the
 * server it is a new client, so protocols are registered again, and get their identifiers and held routes back.
 *
 * @return the new connection id, or -1. When no channel could be opened the old one stays in use; when the server refused
 *         the introduction, the connection has no channel and every operation on it fails until a rebind succeeds.
 */
IPV6_RIB_API int32_t ipv6_rib_rebind(ipv6_rib_conn_p conn);
IPV6_RIB_API int32_t ipv6_rib_rebind_active(ipv6_rib_conn_p conn);
IPV6_RIB_API int32_t ipv6_rib_rebind_standby(ipv6_rib_conn_p conn);

/**
 * Closes a connection and frees all that belongs to it. No operation on it may be begun any more. Its event no longer
 * fires; but a handler that another thread has just begun still holds the handle: unbind in the thread that dispatches.
 *
 * @param conn  set to NULL; NULL, or a handle that is NULL, is ignored
 */
IPV6_RIB_API void ipv6_rib_unbind(ipv6_rib_conn_p *conn);

/**
 * Repeats the introduction on a connected channel, as a client of the standby path. Takes no lock: nothing else may use
 * or rebind the connection meanwhile. Every bind and rebind does this by itself.
 *
 * @param event    event to announce, or NULL for none; copied
 * @param value    pulse value to announce
 * @param ignored  any value
 * @param version  version of the client side, 2
 * @return 0, RIB_LIB_ERR_BAD_ARG (conn is NULL), RIB_LIB_ERR_NO_MEMORY, RIB_LIB_ERR_CLIENT_INFO, the channel's errno, or
 *         the server's code
 */
IPV6_RIB_API errcode ipv6_rib_client_bind_data(ipv6_rib_conn_p conn, const struct sigevent *event, uint64_t value,
                                               uint32_t ignored, uint8_t version);

/**
 * Registers the handler through which connections of an event manager hear that updates wait for them. Call it before
 * the bind. At most four event managers; registering one again changes nothing and is no error.
 *
 * @param evm      event manager
 * @param code     any number, handed to the handler
 * @param handler  required
 * @param context  handed to the handler
 * @return 0, EINVAL (no handler, or it cannot be attached), ENOMEM, RIB_LIB_ERR_SIGEVENT_TABLE (four are registered)
 */
IPV6_RIB_API errcode ipv6_rib_notify(struct event_manager *evm, uint32_t code, ipv6_rib_event_handler handler, void *context);
/** Forgets an event manager. Connections that are bound keep their event. 0, or RIB_LIB_ERR_SIGEVENT_TABLE (not registered). */
IPV6_RIB_API errcode ipv6_rib_unnotify(struct event_manager *evm);

/* State of a connection that the platform keeps open. */
#define IPV6_RIB_ESTABLISHED 0x1000u
#define IPV6_RIB_LOST 0x2000u

/* Runs in the thread that dispatches the event manager: IPV6_RIB_ESTABLISHED with the new connection; IPV6_RIB_LOST with the
 * one that was lost, which is unbound when the callback returns. afi is 2. */
typedef void (*ipv6_rib_connect_callback)(uint32_t event, ipv6_rib_conn_p conn, uint32_t afi);

/**
 * Has a connection opened, and opened again whenever it was lost, from the thread that dispatches an event manager. There is
 * one such connection in a process. Do not unbind or rebind it. Until ipv6_rib_destroy_client() further calls do nothing.
 * Takes no lock: call it and ipv6_rib_destroy_client() in that thread, or while nothing dispatches.
 *
 * @param evm       event manager
 * @param handler   hears of updates, as with ipv6_rib_notify(); its code is 128; required
 * @param callback  hears of the state; NULL for nobody
 * @param err       receives 0, EINVAL (no event manager or no handler), ENOMEM, RIB_LIB_ERR_SIGEVENT_TABLE or the platform's
 *                  code, and is left alone when the connection is already looked after; may be NULL
 * @return the connection, NULL while there is none
 */
IPV6_RIB_API ipv6_rib_conn_p ipv6_rib_connect_client(struct event_manager *evm, ipv6_rib_event_handler handler,
                                                     ipv6_rib_connect_callback callback, errcode *err);
/**
 * Ends that. The connection itself stays: unbind it when it is no longer needed.
 *
 * @param ignored  any value
 * @param err      receives the platform's code, 0 on success; left alone when there is nothing to end; may be NULL
 */
IPV6_RIB_API void ipv6_rib_destroy_client(uint32_t ignored, errcode *err);

/** The id of the message channel of a connection; 0 when conn is NULL. No lock, as for the three below. */
IPV6_RIB_API uint32_t ipv6_rib_conn_p_get_msg_conn(ipv6_rib_conn_p conn);
/** The address family of a connection, 2 for IPv6; 0xFFFFFFFF when conn is NULL. */
IPV6_RIB_API uint32_t ipv6_rib_get_conn_afi(ipv6_rib_conn_p conn);
/** 1 when the server runs on the same node, else 0; 0 when conn is NULL. */
IPV6_RIB_API int ipv6_rib_collocated(ipv6_rib_conn_p conn);
/** The client id that the server has assigned; 0xFFFFFFFF when conn is NULL or the server refused the last rebind. */
IPV6_RIB_API uint32_t ipv6_rib_get_my_client_id(ipv6_rib_conn_p conn);

IPV6_RIB_END

#endif
