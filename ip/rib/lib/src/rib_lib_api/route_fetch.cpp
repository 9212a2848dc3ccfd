/*
 * Listing routes. A reply is checked whole before the caller gets it, so that its walk needs no bounds.
 */
#include "route_fetch.h"

#include <platform/ipv6_addr.h>

#include "../rib_addr.h"
#include "ip/rib/wire/route_fetch.h"
#include "names.h"
#include "request.h"
#include "route_decode.h"

static bool starts_behind(const in6_addr_t &start, const in6_addr_t &end, uint32_t end_len)
{
    static constexpr in6_addr_t none = {};
    in6_addr_t cut = start;
    ipv6_prefix_only(&cut, end_len);
    return rib_cmp_addr(&end, &none) != 0 && rib_cmp_addr(&cut, &end) > 0;
}

/* Whether the reply holds the routes that it claims to hold. */
static bool routes_fit(const rib_get_routes_reply_td *reply)
{
    const uint8_t *at = reinterpret_cast<const uint8_t *>(reply + 1);
    const uint8_t *const end = reinterpret_cast<const uint8_t *>(reply) + rib_get_routes_reply_td::room;
    for (uint32_t left = reply->gr_count; left != 0 && at; left--)
        at = rib_route_fits(at, end);
    return at != nullptr;
}

/* The exchange: the reply, or NULL with the code. */
static rib_owned_t<rib_get_routes_reply_td> fetch(ip_rib_conn_p conn, const rib_get_routes_body_td &body, errcode *code)
{
    auto reply = rib_calloc<rib_get_routes_reply_td>(rib_get_routes_reply_td::room);
    *code = reply ? rib_exchange(conn, body, reply.get()) : ENOMEM;
    if (*code == 0 && !routes_fit(reply.get()))
        *code = EBADMSG;
    if (*code == RIB_SRV_ERR_NOT_FOUND)
        *code = ENODATA;
    if (*code != 0)
        reply.reset();
    return reply;
}

/* What a fetch that brings nothing leaves behind. */
static void reset(uint32_t *fetch_flag, uint32_t *route_count, void **routes)
{
    if (fetch_flag)
        *fetch_flag = 0;
    if (route_count)
        *route_count = 0;
    if (routes)
        *routes = nullptr;
}

errcode rib_client_get_routes(ip_rib_conn_p conn, uint32_t table, const char *proto_name, const char *instance_name,
                              const in6_addr_t &start, uint32_t start_len, const in6_addr_t &end, uint32_t end_len,
                              uint32_t *fetch_flag, uint32_t *route_count, uint32_t options, void **routes)
{
    const bool complete = conn && proto_name && instance_name && fetch_flag && route_count && routes;
    if (!complete || starts_behind(start, end, end_len)) {
        reset(fetch_flag, route_count, routes);
        return complete ? 0 : RIB_LIB_ERR_BAD_ARG;
    }
    rib_get_routes_body_td body = {.gr_table = table,
                                   .gr_start = start,
                                   .gr_start_len = start_len,
                                   .gr_end = end,
                                   .gr_end_len = end_len,
                                   .gr_flag = static_cast<uint8_t>(*fetch_flag),
                                   .gr_count = *route_count,
                                   .gr_options = options,
                                   .gr_room = RIB_ROUTES_ROOM};
    rib_fill_names(&body.gr_names, proto_name, instance_name);
    errcode code;
    rib_owned_t<rib_get_routes_reply_td> reply = fetch(conn, body, &code);
    if (!reply) {
        reset(fetch_flag, route_count, routes);
        return code;
    }
    *fetch_flag = reply->gr_flag;
    *route_count = reply->gr_count;
    *routes = reply.release();
    return 0;
}

errcode rib_client_first_route(void *routes, rib_get_route_iter *iter, rib_routetype **route)
{
    if (!route)
        return RIB_LIB_ERR_BAD_ARG;
    *route = nullptr;
    if (!routes || !iter)
        return RIB_LIB_ERR_BAD_ARG;
    auto *reply = static_cast<rib_get_routes_reply_td *>(routes);
    *iter = {.count = reply->gr_count, .index = 0, .cursor = reinterpret_cast<uint8_t *>(reply + 1)};
    return rib_client_following_route(iter, route);
}

errcode rib_client_following_route(rib_get_route_iter *iter, rib_routetype **route)
{
    if (!route)
        return RIB_LIB_ERR_BAD_ARG;
    *route = nullptr;
    if (!iter)
        return RIB_LIB_ERR_BAD_ARG;
    if (iter->index >= iter->count)
        return RIB_SRV_ERR_NOT_FOUND;
    *route = rib_client_next_route(&iter->cursor);
    if (*route)
        iter->index++;
    else
        iter->count = iter->index; // a block that was walked before: what comes next is not known any more
    return 0;
}
