/*
 * Opening a connection through the platform's event connections.
 */
#include "event_conn.h"

#include <cerrno>

#include <platform/event_conn.h>

#include "../rib_fatal.h"
#include "bind.h"
#include "notify.h"

struct conn_ctx_td {
    uint32_t afi;
    const char *path;
    ip_rib_conn_p connp; /* NULL until the open notification, and after the connection was lost */
    event_conn_t *handle;
    event_manager_t *evm;
    ipv6_rib_connect_callback callback;
};
static conn_ctx_td context = {2, "/dev/ip/ipv6_rib", nullptr, nullptr, nullptr, nullptr};

constexpr uint32_t RETRY_MAX_SECONDS = 60, RETRY_FIRST_SECONDS = 1;
constexpr uint32_t UPDATE_CODE = 128;

static int32_t rib_lib_connect_client_ecm_open(void *opened)
{
    auto *conn_ctx = static_cast<conn_ctx_td *>(opened);
    rib_fatal_unless(!conn_ctx->connp, "conn_ctx->connp == ((void*)0)");
    return rib_client_bind_internal(conn_ctx->evm, &conn_ctx->connp, conn_ctx->path, conn_ctx->afi, 0, nullptr);
}

static void tell(const conn_ctx_td *conn_ctx, uint32_t event)
{
    if (conn_ctx->callback)
        conn_ctx->callback(event, conn_ctx->connp, conn_ctx->afi);
}

static void rib_lib_connect_client_ecm_state(event_conn_t *handle, uint32_t event, void *changed)
{
    auto *conn_ctx = static_cast<conn_ctx_td *>(changed);
    if (event == IPV6_RIB_LOST) {
        tell(conn_ctx, event);
        rib_client_unbind(&conn_ctx->connp);
    } else if (event == IPV6_RIB_ESTABLISHED) {
        event_conn_setretry(handle, RETRY_MAX_SECONDS, RETRY_FIRST_SECONDS);
        tell(conn_ctx, event);
    }
}

/* Sets up the event connection and begins. What a failing step leaves is ended by rib_client_destroy(). */
static errcode begin(event_handler_t handler, ipv6_rib_connect_callback callback)
{
    if (const errcode failed =
            event_conn_create(&context.handle, context.evm, rib_lib_connect_client_ecm_open, &context, context.afi))
        return failed;
    if (const errcode failed = event_conn_setretry(context.handle, RETRY_MAX_SECONDS, RETRY_FIRST_SECONDS))
        return failed;
    if (const errcode failed =
            event_conn_notify(context.handle, IPV6_RIB_ESTABLISHED | IPV6_RIB_LOST, rib_lib_connect_client_ecm_state))
        return failed;
    context.callback = callback;
    void *handler_context = reinterpret_cast<void *>(static_cast<uintptr_t>(context.afi));
    if (const errcode failed = rib_client_add_sigevent(context.evm, UPDATE_CODE, handler, handler_context))
        return failed;
    const errcode opened = event_conn_open(context.handle);
    return opened == EVENT_CONN_IN_PROGRESS ? 0 : opened;
}

ip_rib_conn_p rib_client_connect(event_manager_t *evm, event_handler_t handler, ipv6_rib_connect_callback callback, errcode *err)
{
    if (context.handle)
        return context.connp;
    errcode code = EINVAL;
    if (evm && handler) {
        context.evm = evm;
        code = begin(handler, callback);
    }
    if (err)
        *err = code;
    return context.connp;
}

void rib_client_destroy(errcode *err)
{
    if (!context.handle)
        return;
    const errcode code = event_conn_destroy(context.handle);
    if (code == 0)
        context.handle = nullptr;
    if (err)
        *err = code;
}

void rib_client_forget_connected(const rib_client_struct *conn)
{
    if (context.connp == conn)
        context.connp = nullptr;
}
