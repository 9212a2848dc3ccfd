/*
 * A client session against a channel that answers with fuzz bytes. The first byte chooses the operation, the rest is the
 * reply; the message-channel symbols of the platform are defined here.
 */
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <ipv6_rib/ipv6_rib.h>
#include <platform/msg_chan.h>
#include <platform/tev.h>

static const uint8_t *reply_bytes;
static size_t reply_len;

int msg_chan_connect(const char *, uint32_t, uint32_t, uint32_t *chan)
{
    *chan = 1;
    return 0;
}
int msg_chan_connect_xversion(const char *, uint32_t, uint32_t, uint32_t *chan, const msg_chan_version_t *)
{
    *chan = 1;
    return 0;
}
int msg_chan_disconnect(uint32_t *)
{
    return 0;
}
int msg_get_conn_connid(uint32_t, int32_t *connid)
{
    *connid = 1;
    return 0;
}
int msg_send(uint32_t, const void *, size_t, void *reply, size_t room)
{
    if (reply_len > room)
        return -1;
    if (reply_len)
        std::memcpy(reply, reply_bytes, reply_len);
    return 0;
}
void tev_errmsg(const tev_msg_rec_t *, int, ...) {}

static void bind_with_this_reply()
{
    ipv6_rib_conn_p bound = nullptr;
    ipv6_rib_bind(&bound);
    ipv6_rib_unbind(&bound);
}

static ipv6_rib_conn_p connection()
{
    static ipv6_rib_conn_p conn = [] {
        static const uint8_t accepted[20] = {};
        reply_bytes = accepted;
        reply_len = sizeof accepted;
        ipv6_rib_conn_p bound = nullptr;
        if (ipv6_rib_bind(&bound) == -1)
            std::abort();
        return bound;
    }();
    return conn;
}

static void look_up(ipv6_rib_conn_p conn, bool convert_later)
{
    static ipv6_routetype route;
    const in6_addr_t address = {};
    errcode err = 0;
    if (!convert_later)
        ipv6_rib_route_lookup(conn, IPV6_RIB_TABLE_DEFAULT, &address, 128, 0, 0, &route, &err);
    else if (ipv6_rib_route_lookup_longer_internal(conn, IPV6_RIB_TABLE_DEFAULT, &address, 0, 0, &route, &err))
        ipv6_rib_route_xform(&route);
}

static void walk(void *reply)
{
    for (void *at = ipv6_rib_batch_args_out_first_route(reply); at; at = ipv6_rib_batch_args_out_next_route(reply, at))
        for (void *path = ipv6_rib_batch_route_out_first_path(at); path; path = ipv6_rib_batch_route_out_next_path(at, path)) {
        }
}

static void walk_tables(void *reply)
{
    for (void *table = nullptr; (table = ipv6_rib_batch_args_out_next_table(reply, table));)
        for (void *route = nullptr; (route = ipv6_rib_batch_tbl_out_next_route(reply, table, route));) {
        }
}

static void send_batch(ipv6_rib_conn_p conn, void (*and_walk)(void *))
{
    static rib_batch_buffer *buffer = ipv6_rib_batch_buffer_allocate(1);
    static void *reply = ipv6_rib_batch_args_out_allocate();
    ipv6_rib_batch_buffer_send(conn, buffer, reply);
    and_walk(reply);
}

static void send_protocols(ipv6_rib_conn_p conn)
{
    static rib_batch_buffer *chain = ipv6_rib_batch_proto_buffer_allocate(1);
    rib_proto_result results[3];
    uint32_t count = 0;
    ipv6_rib_batch_proto_buffer_init(chain);
    ipv6_rib_batch_proto_buffer_send(conn, chain, results, 3, &count);
    if (count > 3)
        std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const ipv6_rib_conn_p conn = connection();
    reply_bytes = data + 1;
    reply_len = size - 1;
    errcode err;
    static char names[RIB_PROTOID_COUNT * RIB_PROTO_NAME_PAIR];
    uint32_t status[2];
    switch (data[0] % 10) {
    case 0:
        bind_with_this_reply();
        break;
    case 1:
        ipv6_rib_register_protocol(conn, "bgp", "1", 0, 0, 0, 0, &err);
        break;
    case 2:
        ipv6_rib_get_table_status(conn, 0, status);
        break;
    case 3:
        ipv6_rib_batch_protoid_to_proto_info(conn, 0, nullptr, 0, names);
        break;
    case 4:
        ipv6_rib_update_complete(conn, 0, 0);
        break;
    case 5:
        look_up(conn, false);
        break;
    case 6:
        look_up(conn, true);
        break;
    case 7:
        send_batch(conn, walk);
        break;
    case 8:
        send_batch(conn, walk_tables);
        break;
    default:
        send_protocols(conn);
        break;
    }
    return 0;
}
