/*
 * Binding, rebinding and unbinding.
 */
#include "bind.h"

#include <cerrno>
#include <cstring>

#include <ipv6_rib/errors.h>

#include "../rib_fatal.h"
#include "event_conn.h"
#include "locks.h"
#include "notify.h"

rib_bind_option rib_client_bind_option(const char *path)
{
    if (std::strstr(path, "standby"))
        return RIB_BIND_STANDBY;
    return std::strstr(path, "active") ? RIB_BIND_ACTIVE : RIB_BIND_PLAIN;
}

/* Undoes a bind that failed with an open channel, or with none. Keeps errno. */
static void rib_client_handle_bind_failure(ip_rib_conn_p conn, bool connected)
{
    const int why = errno;
    if (connected && msg_chan_disconnect(&conn->conn) != 0)
        rib_log_lock("rib_client_handle_bind_failure", "disconnect", errno);
    if (event_pulse_ptr(&conn->event) == conn)
        event_pulse_ptr_set(&conn->event, nullptr, 0); // no pulse finds the freed record
    if (const int error = pthread_mutex_destroy(&conn->lock))
        rib_log_lock("rib_client_handle_bind_failure", "destroy", error);
    rib_client_free_client_struct(&conn);
    errno = why;
}

static int open_channel(ip_rib_conn_p conn, const char *path, const msg_chan_version_t *version)
{
    return version ? msg_chan_connect_xversion(path, 0, 0, &conn->conn, version)
                   : msg_chan_connect(path, MSG_CHAN_NOTIFY_DEATH, 0, &conn->conn);
}

/* Introduces a connected record to the server and gives its connection id, or -1. */
static int32_t introduce(ip_rib_conn_p conn, const struct sigevent *event, rib_bind_option option)
{
    const uint64_t value = event ? reinterpret_cast<uintptr_t>(conn) : 0;
    if (const errcode code = rib_client_bind_data(conn, event, value, option, RIB_CLIENT_VERSION)) {
        if (code < 4096)
            errno = static_cast<int>(code);
        return -1;
    }
    int32_t connid;
    return msg_get_conn_connid(conn->conn, &connid) == 0 ? connid : -1;
}

/* A record with its lock and its event; NULL when it cannot be had. */
static ip_rib_conn_p make_record(event_manager_t *evm, uint32_t afi, uint64_t context, const struct sigevent **event)
{
    const bool with_event = rib_client_find_sigevent(evm) != nullptr;
    if (evm && !with_event)
        return nullptr;
    ip_rib_conn_p conn = rib_client_struct_allocate(afi, context);
    if (!conn)
        return nullptr;
    if (!rib_client_struct_init(conn)) {
        rib_client_free_client_struct(&conn);
        return nullptr;
    }
    *event = with_event && rib_client_take_sigevent(evm, conn) ? &conn->event : nullptr;
    if (evm && !*event) {
        rib_client_handle_bind_failure(conn, false);
        return nullptr;
    }
    return conn;
}

static int32_t bind_record(event_manager_t *evm, ip_rib_conn_p *conn, const char *path, uint32_t afi, uint64_t context,
                           const msg_chan_version_t *version)
{
    if (!conn)
        return -1;
    if (*conn)
        rib_log_connection_leak();
    const struct sigevent *event = nullptr;
    ip_rib_conn_p record = make_record(evm, afi, context, &event);
    if (!record)
        return -1;
    const bool connected = open_channel(record, path, version) == 0;
    const int32_t connid = connected ? introduce(record, event, rib_client_bind_option(path)) : -1;
    if (connid == -1)
        rib_client_handle_bind_failure(record, connected);
    else
        *conn = record;
    return connid;
}

int32_t rib_client_bind_internal(event_manager_t *evm, ip_rib_conn_p *conn, const char *path, uint32_t afi, uint64_t context,
                                 const msg_chan_version_t *version)
{
    if (const int error = rib_rwlock_wrlock(&rib_bind_mutex)) {
        rib_log_lock("rib_client_bind_internal", "lock bind mutex", error);
        return -1;
    }
    const int32_t connid = bind_record(evm, conn, path, afi, context, version);
    if (const int error = rib_rwlock_unlock(&rib_bind_mutex))
        rib_log_lock("rib_client_bind_internal", "unlock bind mutex", error);
    return connid;
}

/* The record moves to the new channel first, so that the server hears of it there; the old one is given up in any case. */
static int32_t rebind_record(ip_rib_conn_p conn, const char *path)
{
    uint32_t channel;
    if (msg_chan_connect(path, MSG_CHAN_NOTIFY_DEATH, 0, &channel) != 0)
        return -1;
    uint32_t old_channel = conn->conn;
    conn->conn = channel;
    msg_chan_disconnect(&old_channel);
    const struct sigevent *event = event_pulse_ptr(&conn->event) == conn ? &conn->event : nullptr;
    const int32_t connid = introduce(conn, event, rib_client_bind_option(path));
    if (connid == -1)
        msg_chan_disconnect(&channel);
    return connid;
}

int32_t rib_client_rebind(ip_rib_conn_p conn, const char *path, [[maybe_unused]] uint32_t afi)
{
    if (const int error = rib_rwlock_wrlock(&rib_bind_mutex)) {
        rib_log_lock("rib_client_rebind", "lock bind mutex", error);
        return -1;
    }
    int32_t connid = -1;
    if (conn) {
        if (const int error = rib_mutex_lock_as(&conn->lock, "rib_client_rebind", __LINE__)) {
            rib_log_lock("rib_client_rebind", "lock", error);
        } else {
            connid = rebind_record(conn, path);
            if (const int unlock_error = rib_mutex_unlock(&conn->lock))
                rib_log_lock("rib_client_rebind", "unlock", unlock_error);
        }
    }
    if (const int error = rib_rwlock_unlock(&rib_bind_mutex))
        rib_log_lock("rib_client_rebind", "unlock bind mutex", error);
    return connid;
}

static void require(int error, const char *operation)
{
    if (error)
        rib_log_lock("rib_client_unbind", operation, error);
    rib_fatal_unless(error == 0, "error == 0");
}

static void unbind_record(ip_rib_conn_p conn)
{
    require(rib_mutex_lock_as(&conn->lock, "rib_client_unbind", __LINE__), "lock");
    if (msg_chan_disconnect(&conn->conn) != 0)
        rib_log_unbind("disconnect", errno);
    conn->conn = 0;
    event_pulse_ptr_set(&conn->event, nullptr, 0);
    require(rib_mutex_unlock(&conn->lock), "unlock");
    require(pthread_mutex_destroy(&conn->lock), "destroy");
    rib_client_free_client_struct(&conn);
}

void rib_client_unbind(ip_rib_conn_p *conn)
{
    if (const int error = rib_rwlock_wrlock(&rib_bind_mutex)) {
        rib_log_lock("rib_client_unbind", "lock bind mutex", error);
        return;
    }
    if (conn && *conn) {
        ip_rib_conn_p record = *conn;
        *conn = nullptr;
        rib_client_forget_connected(record);
        unbind_record(record);
    }
    if (const int error = rib_rwlock_unlock(&rib_bind_mutex))
        rib_log_lock("rib_client_unbind", "unlock bind mutex", error);
}
