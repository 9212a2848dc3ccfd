/*
 * Route lookups.
 */
#include "route.h"

#include "../rib_addr.h"
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

/* Decodes the first route of a list. 1 found, 0 none; *code is set on failure. */
static int take_route(uint8_t *list, const uint8_t *end, rib_routetype *copy, errcode *code)
{
    const auto type = rib_load_net<uint16_t>(list + offsetof(rib_tlv_header_td, tlv_type));
    if (type == RIB_TLV_DELIMITER)
        return 0;
    const uint8_t *behind = rib_route_fits(list, end);
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

int rib_client_route_lookup(ip_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t length, uint32_t flags,
                            rib_routetype *route, errcode *err)
{
    if (!conn)
        return rib_report(err, RIB_LIB_ERR_BAD_ARG), 0;
    rib_reply_area<rib_route_lookup_reply_td> reply;
    if (!reply)
        return rib_report(err, RIB_LIB_ERR_NO_MEMORY), 0;
    rib_route_lookup_body_td body = {.rl_table = table, .rl_length = length, .rl_flags = flags};
    rib_copy_addr(&body.rl_addr, addr);
    errcode code = rib_exchange(conn, body, reply.get());
    int found = 0;
    if (code == RIB_SRV_ERR_NOT_FOUND)
        code = 0;
    else if (code == 0 && route) {
        auto *list = reinterpret_cast<uint8_t *>(reply.get() + 1);
        found = take_route(list, list - sizeof *reply.get() + rib_route_lookup_reply_td::room, route, &code);
    }
    rib_report(err, code);
    return found;
}
