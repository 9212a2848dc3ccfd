/*
 * A client session against a channel that answers with fuzz bytes. The first byte chooses the operation, the rest is the
 * reply; the message-channel symbols of the platform are defined here.
 */
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include <ipv6_rib/ipv6_rib.h>
#include <platform/msg_chan.h>
#include <platform/tev.h>

static const uint8_t *reply_bytes;
static size_t reply_len;
static msg_clinfo_datum_h datum;

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
int msg_conn_save_datum(uint32_t, msg_clinfo_datum_h saved)
{
    datum = saved;
    return 0;
}
int msg_conn_get_datum(uint32_t, msg_clinfo_datum_h *out)
{
    *out = datum;
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

static void bind_with_this_reply(ipv6_rib_conn_p)
{
    ipv6_rib_conn_p bound = nullptr;
    ipv6_rib_bind(&bound);
    ipv6_rib_unbind(&bound);
}

/* A connection whose updates have the format. */
static ipv6_rib_conn_p connect(uint8_t format)
{
    uint8_t accepted[36] = {}; /* node, client, and a record of type 104 that tells the format */
    accepted[17] = 104;
    accepted[19] = 8;
    accepted[20] = accepted[21] = 1;
    accepted[27] = format;
    reply_bytes = accepted;
    reply_len = sizeof accepted;
    ipv6_rib_conn_p bound = nullptr;
    if (ipv6_rib_bind(&bound) == -1)
        std::abort();
    return bound;
}

constexpr rib_tableid_td TABLE = IPV6_RIB_TABLE_DEFAULT;
static const in6_addr_t address = {};

/* Looks at all that a converted route leads to. */
static void visit(const ipv6_routetype *route)
{
    uint8_t mask[RIB_PROTOID_MASK_BYTES];
    ipv6_rib_route_copy_advertisement_mask(route, mask);
    ipv6_rib_route_check_advertisement_mask(route, mask);
    ipv6_rib_route_check_advertisement(route, RIB_PROTOID_NONE);
    for (int at = 0; at < std::min<int>(route->rt_path_count, IPV6_RIB_ROUTE_PATHS); ++at) {
        const ip_rib_path path = {.path = route->rt_path[at]};
        ipv6_rib_route_path_compare(&path, &path);
    }
}

static void look_up(ipv6_rib_conn_p conn, bool convert_later)
{
    static ipv6_routetype route;
    errcode err = 0;
    if (!convert_later) {
        if (ipv6_rib_route_lookup(conn, TABLE, &address, 128, 0, 0, &route, &err))
            visit(&route);
    } else if (ipv6_rib_route_lookup_longer_internal(conn, TABLE, &address, 0, 0, &route, &err)) {
        ipv6_rib_route_xform(&route);
        visit(&route);
    }
}

static void list_routes(ipv6_rib_conn_p conn)
{
    uint32_t flag = 0, count = 0, walked = 0;
    void *routes;
    if (ipv6_rib_get_routes(conn, TABLE, "", "", address, 0, address, 0, &flag, &count, 0, &routes))
        return;
    rib_get_route_iter iter;
    ipv6_routetype *route;
    for (errcode code = ipv6_rib_get_route_get_first_route(routes, &iter, &route); code == 0 && route;
         code = ipv6_rib_get_route_get_next_route(&iter, &route), ++walked) {
        ipv6_rib_route_xform(route);
        visit(route);
    }
    if (walked != count)
        std::abort();
    ipv6_rib_route_free(routes);
}

static void change_routes(ipv6_rib_conn_p conn)
{
    ipv6_rib_route_add_args args;
    ipv6_rib_route_add_args_init(&args);
    args.conn = conn;
    uint8_t status;
    errcode err;
    const ipv6_rib_route_add_out out = {&status, &err};
    ipv6_rib_route_add(&args, &out);
    ipv6_rib_route_delete(conn, 1, TABLE, &address, 0, &address, 0, 0, &status, &err);
}

static void redistribute(ipv6_rib_conn_p conn)
{
    ipv6_rib_protocol_redist(conn, "bgp", "1", TABLE, 0, 0, nullptr);
    ipv6_rib_child_protocol_redist(conn, "bgp", "1", TABLE, 0, 0, conn, 0, nullptr);
    ipv6_rib_redist_enable_rcmd_markers(conn, nullptr, nullptr, TABLE);
}

static void ask_about_addresses(ipv6_rib_conn_p conn)
{
    in6_addr_t found;
    uint32_t info, flags;
    ipv6_rib_is_local(conn, TABLE, &address, nullptr);
    ipv6_rib_conn_not_local(conn, TABLE, &address, nullptr);
    ipv6_rib_match_connected_subnet(conn, TABLE, &address, &found, &info, nullptr);
    ipv6_rib_best_local_address_and_check(conn, TABLE, &address, 0, &found, &info, nullptr, &flags);
    ipv6_rib_next_hop(conn, TABLE, &address, 0, 0, 0, &found, &flags, nullptr);
}

static void register_next_hop(ipv6_rib_conn_p conn)
{
    rib_nh_info info;
    errcode err;
    ipv6_rib_next_hop_register(conn, TABLE, &address, 0, 0, 0, &info, &err);
    if (err == 0 && std::strlen(info.nh_name) > RIB_NH_NAME_MAX)
        std::abort();
    ipv6_rib_next_hop_unregister(conn, TABLE, &address, 0, 0, 0, &err);
}

static void check(ipv6_rib_conn_p conn)
{
    in6_addr_t found;
    uint32_t value, pair[2];
    uint8_t data[256 - RIB_CHECK_REPLY_MIN];
    if (ipv6_rib_get_check(conn, nullptr, TABLE, 0, 0, 0, 0, address, &found, &value, data, 256, pair) > int{sizeof data})
        std::abort();
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

static volatile uint8_t seen;

/* Reads all bytes of a value. */
static void look_at(const void *bytes, size_t len)
{
    for (size_t at = 0; at < len; ++at)
        seen = static_cast<const uint8_t *>(bytes)[at];
}

/* More than one message of a batch, and a registration that is answered at once. */
static void follow_next_hops(ipv6_rib_conn_p conn)
{
    ipv6_rib_nh_batch_init(conn, 0);
    for (uint32_t number = 0; number < 100; ++number)
        ipv6_rib_nh_batch_register(conn, 1, TABLE, &address, 0, number);
    ipv6_rib_nh_batch_register_converge(conn, TABLE);
    ipv6_rib_nh_batch_finish(conn);
    rib_next_hop_update told = {};
    ipv6_rib_nh_batch_sync_register(conn, TABLE, &address, 0, 0, &told);
    look_at(&told, sizeof told);
    ipv6_rib_nh_batch_free(conn);
}

/* Every pass gets the same reply: three of them, the second and third over what the one before has left. */
static void fetch(ipv6_rib_conn_p conn)
{
    const rib_route_update_cb route = [](uint32_t, ipv6_routetype *told, void *) { visit(told); };
    const rib_word_update_cb word = [](uint32_t, void *) {};
    const rib_bytes_update_cb bytes = [](uint32_t, const void *told, uint32_t len, void *) { look_at(told, len); };
    const rib_value_update_cb value = [](uint32_t, void *told, void *) { look_at(told, 72); };
    const rib_next_hop_update_cb next_hop = [](uint32_t, void *told, void *, uint32_t) { look_at(told, 88); };
    const rib_words_update_cb words = [](uint32_t, uint32_t, uint32_t, void *) {};
    const rib_state_update_cb state = [](uint32_t, void *told, uint8_t, void *) { look_at(told, told ? 264 : 0); };
    const rib_payload_update_cb payload = [](void *told, void *) { look_at(told, 16); };
    const rib_marker_update_cb marker = [](uint32_t, uint16_t, uint32_t, void *) {};
    const rib_list_update_cb list = [](uint32_t, uint32_t, uint32_t, uint32_t count, void *told, void *) {
        look_at(told, size_t{4} * count);
    };
    const rib_proto_update_cb proto = [](uint32_t, uint32_t, uint16_t, uint32_t, const char *name, const char *instance, void *) {
        if (std::strlen(name) > 40 || std::strlen(instance) > 40)
            std::abort();
    };
    const rib_state_record_cb record = [](rib_state_record *told, void *) { look_at(told, sizeof *told); };
    errcode err;
    ipv6_rib_fetch_update(conn, nullptr, &err, RIB_UPDATE_PASS_LIMIT, 3, RIB_UPDATE_ROUTES, route, RIB_UPDATE_CB_3, value,
                          RIB_UPDATE_NEXT_HOP, next_hop, RIB_UPDATE_DUMP_END, words, RIB_UPDATE_DUMPS_COMPLETE, word,
                          RIB_UPDATE_CB_7, state, RIB_UPDATE_ROUTES_8, route, RIB_UPDATE_CB_9, payload, RIB_UPDATE_NEXT_HOPS_TOLD,
                          word, RIB_UPDATE_SOURCE_MARKER, marker, RIB_UPDATE_CB_14, list, RIB_UPDATE_PROTOCOLS, proto,
                          RIB_UPDATE_OPAQUE, bytes, RIB_UPDATE_GRID, bytes, RIB_UPDATE_CB_21, bytes, RIB_UPDATE_CB_24, bytes,
                          RIB_UPDATE_STATE, record, RIB_UPDATE_END);
}

/* What the first byte chooses; seeds count on the order, so a new one goes to the end. */
static void (*const operations[])(ipv6_rib_conn_p) = {
    bind_with_this_reply,
    [](auto conn) {
        errcode err;
        ipv6_rib_register_protocol(conn, "bgp", "1", 0, 0, 0, 0, &err);
    },
    [](auto conn) {
        uint32_t status[2];
        ipv6_rib_get_table_status(conn, 0, status);
    },
    [](auto conn) {
        static char names[RIB_PROTOID_COUNT * RIB_PROTO_NAME_PAIR];
        ipv6_rib_batch_protoid_to_proto_info(conn, 0, nullptr, 0, names);
    },
    [](auto conn) { ipv6_rib_update_complete(conn, 0, 0); },
    [](auto conn) { look_up(conn, false); },
    [](auto conn) { look_up(conn, true); },
    [](auto conn) { send_batch(conn, walk); },
    [](auto conn) { send_batch(conn, walk_tables); },
    send_protocols,
    list_routes,
    change_routes,
    [](auto conn) { ipv6_rib_set_advertising_flag(conn, TABLE, &address, 0, 1, 1); },
    redistribute,
    [](auto conn) { ipv6_rib_redist_reset(conn, 0, nullptr); },
    [](auto conn) { ipv6_rib_default_netsource(conn, TABLE, nullptr); },
    ask_about_addresses,
    register_next_hop,
    check,
    fetch,
    fetch, /* in format 1 */
    follow_next_hops,
};
constexpr size_t FETCH_IN_FORMAT_1 = 20;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    static const ipv6_rib_conn_p conn = connect(0), conn_format_1 = connect(1);
    reply_bytes = data + 1;
    reply_len = size - 1;
    const size_t operation = data[0] % std::size(operations);
    operations[operation](operation == FETCH_IN_FORMAT_1 ? conn_format_1 : conn);
    return 0;
}
