/*
 * Route lookups.
 */
#include "route.h"

#include "../rib_addr.h"
#include "locks.h"
#include "request.h"
#include "route_decode.h"

static bool is_all_ones(const void *addr)
{
    static constexpr in6_addr_t all_ones = {
        {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}}};
    return std::memcmp(addr, &all_ones, sizeof all_ones) == 0;
}

/* Copies a parsed route of so many bytes and lets the attribute pointers refer to the copy. */
static void copy_route(rib_routetype *copy, const rib_routetype *route, size_t bytes)
{
    std::memcpy(copy, route, bytes);
    uint8_t *const base = reinterpret_cast<uint8_t *>(copy);
    const uint8_t *const from = reinterpret_cast<const uint8_t *>(route);
    for (size_t at = offsetof(rib_routetype, rt_advertisers); at < RIB_ROUTE_FIXED; at += sizeof(void *))
        if (const auto *attribute = rib_load<const uint8_t *>(base + at))
            rib_store(base + at, base + (attribute - from));
}

/*
 * Decodes the first route of a list; behind is the byte that follows it as it was received. 1 found, 0 none; *code is set on
 * failure.
 */
static int take_route(uint8_t *list, const uint8_t *behind, rib_routetype *copy, errcode *code)
{
    const auto type = rib_load_net<uint16_t>(list + offsetof(rib_tlv_header_td, tlv_type));
    if (type == RIB_TLV_DELIMITER)
        return 0;
    if (!behind && type == RIB_TLV_ROUTE) {
        *code = EBADMSG;
        return 0;
    }
    uint8_t *cursor = list;
    const rib_routetype *route = rib_client_next_route(&cursor); // reports a record that is no route
    if (!route) {
        *code = EBADMSG;
        return 0;
    }
    if (is_all_ones(&route->rt_prefix))
        return 0;
    const size_t bytes = static_cast<size_t>(behind - reinterpret_cast<const uint8_t *>(route));
    if (bytes > sizeof *copy || route->rt_path_count > IPV6_RIB_ROUTE_PATHS) {
        *code = EMSGSIZE;
        return 0;
    }
    copy_route(copy, route, bytes);
    return 1;
}

/*
 * The reply area is far larger than what comes back. It stays with the connection and is all zero between lookups: so its
 * untouched pages are never faulted in, and only the bytes that arrived are cleared; all of it when the reply does not tell
 * how many these are.
 */
static rib_route_lookup_reply_td *reply_of(ip_rib_conn_p conn)
{
    if (!conn->lookup_reply)
        conn->lookup_reply = std::calloc(1, rib_route_lookup_reply_td::room);
    return static_cast<rib_route_lookup_reply_td *>(conn->lookup_reply);
}

static void clear_reply(rib_route_lookup_reply_td *reply, const uint8_t *behind)
{
    uint8_t *begin = reinterpret_cast<uint8_t *>(reply);
    std::memset(begin, 0, behind ? static_cast<size_t>(behind - begin) : rib_route_lookup_reply_td::room);
}

/* One lookup under the connection's locks. */
static errcode exchange(ip_rib_conn_p conn, const rib_route_lookup_body_td &body, rib_routetype *route, int *found)
{
    rib_route_lookup_reply_td *reply = reply_of(conn);
    if (!reply)
        return RIB_LIB_ERR_NO_MEMORY;
    errcode code = rib_exchange(conn, body, reply, rib_route_lookup_reply_td::room, rib_client_lwm_send_no_lock);
    uint8_t *list = reinterpret_cast<uint8_t *>(reply + 1);
    const uint8_t *const end = list - sizeof *reply + rib_route_lookup_reply_td::room;
    const uint8_t *const behind = code == 0                       ? rib_route_fits(list, end)
                                  : code == RIB_SRV_ERR_NOT_FOUND ? rib_tlv_list_fits(list, end)
                                                                  : nullptr;
    if (code == 0 && route)
        *found = take_route(list, behind, route, &code);
    clear_reply(reply, behind);
    return code;
}

int rib_client_route_lookup(ip_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t length, uint32_t flags,
                            rib_routetype *route, errcode *err)
{
    if (!conn)
        return rib_report(err, RIB_LIB_ERR_BAD_ARG), 0;
    rib_route_lookup_body_td body = {.rl_table = table, .rl_length = length, .rl_flags = flags};
    rib_copy_addr(&body.rl_addr, addr);
    int found = 0;
    const errcode code = rib_client_locked<errcode>(conn, "rib_client_lwm_send", RIB_LIB_ERR_NO_CONNECTION,
                                                    [&] { return exchange(conn, body, route, &found); });
    rib_report(err, code == RIB_SRV_ERR_NOT_FOUND ? 0 : code);
    return found;
}
