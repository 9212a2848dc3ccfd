/*
 * Exported functions: binding, notification, accessors.
 */
#include <ipv6_rib/connection.h>

#include "ip/rib/lib/src/rib_lib_api/bind.h"
#include "ip/rib/lib/src/rib_lib_api/event_conn.h"
#include "ip/rib/lib/src/rib_lib_api/notify.h"

static constexpr uint32_t afi_ipv6 = 2;
static constexpr char plain_path[] = "/dev/ip/ipv6_rib";
static constexpr char active_path[] = "/dev/ip/ipv6_rib_active";
static constexpr char standby_path[] = "/dev/ip/ipv6_rib_standby";

static int32_t bind(struct event_manager *evm, ipv6_rib_conn_p *conn, const char *path)
{
    return rib_client_bind_internal(evm, conn, path, afi_ipv6, 0, nullptr);
}

int32_t ipv6_rib_bind(ipv6_rib_conn_p *conn)
{
    return bind(nullptr, conn, plain_path);
}

int32_t ipv6_rib_bind_v2(ipv6_rib_conn_p *conn, uint64_t context)
{
    return rib_client_bind_internal(nullptr, conn, plain_path, afi_ipv6, context, nullptr);
}

int32_t ipv6_rib_bind_active(ipv6_rib_conn_p *conn)
{
    return bind(nullptr, conn, active_path);
}

int32_t ipv6_rib_bind_standby(ipv6_rib_conn_p *conn)
{
    return bind(nullptr, conn, standby_path);
}

int32_t ipv6_rib_bind_primary_active(ipv6_rib_conn_p *conn)
{
    static constexpr msg_chan_version_t version_1 = {.mcv_min = 1, .mcv_max = 1, .mcv_format = 2};
    static_assert(sizeof version_1 == 56);
    return rib_client_bind_internal(nullptr, conn, active_path, afi_ipv6, 0, &version_1);
}

int32_t ipv6_rib_bind_mevm(struct event_manager *evm, ipv6_rib_conn_p *conn)
{
    return bind(evm, conn, plain_path);
}

int32_t ipv6_rib_bind_active_mevm(struct event_manager *evm, ipv6_rib_conn_p *conn)
{
    return bind(evm, conn, active_path);
}

int32_t ipv6_rib_bind_standby_mevm(struct event_manager *evm, ipv6_rib_conn_p *conn)
{
    return bind(evm, conn, standby_path);
}

int32_t ipv6_rib_rebind(ipv6_rib_conn_p conn)
{
    return rib_client_rebind(conn, plain_path, afi_ipv6);
}

int32_t ipv6_rib_rebind_active(ipv6_rib_conn_p conn)
{
    return rib_client_rebind(conn, active_path, afi_ipv6);
}

int32_t ipv6_rib_rebind_standby(ipv6_rib_conn_p conn)
{
    return rib_client_rebind(conn, standby_path, afi_ipv6);
}

void ipv6_rib_unbind(ipv6_rib_conn_p *conn)
{
    rib_client_unbind(conn);
}

errcode ipv6_rib_client_bind_data(ipv6_rib_conn_p conn, const struct sigevent *event, uint64_t value,
                                  [[maybe_unused]] uint32_t ignored, uint8_t version)
{
    return rib_client_bind_data(conn, event, value, RIB_BIND_STANDBY, version);
}

errcode ipv6_rib_notify(struct event_manager *evm, uint32_t code, ipv6_rib_event_handler handler, void *context)
{
    return rib_client_add_sigevent(evm, code, handler, context);
}

errcode ipv6_rib_unnotify(struct event_manager *evm)
{
    return rib_client_remove_sigevent(evm);
}

ipv6_rib_conn_p ipv6_rib_connect_client(struct event_manager *evm, ipv6_rib_event_handler handler,
                                        ipv6_rib_connect_callback callback, errcode *err)
{
    return rib_client_connect(evm, handler, callback, err);
}

void ipv6_rib_destroy_client([[maybe_unused]] uint32_t ignored, errcode *err)
{
    rib_client_destroy(err);
}

uint32_t ipv6_rib_conn_p_get_msg_conn(ipv6_rib_conn_p conn)
{
    return conn ? conn->conn : 0;
}

uint32_t ipv6_rib_get_conn_afi(ipv6_rib_conn_p conn)
{
    return conn ? conn->afi : RIB_ID_NONE;
}

int ipv6_rib_collocated(ipv6_rib_conn_p conn)
{
    return conn && conn->my_node_id == conn->server_node_id;
}

uint32_t ipv6_rib_get_my_client_id(ipv6_rib_conn_p conn)
{
    return conn ? conn->client_id : RIB_ID_NONE;
}
