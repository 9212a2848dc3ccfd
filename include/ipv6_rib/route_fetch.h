/*
 * Listing routes: a fetch returns up to 512 KiB of them, and the next one goes on where it ended.
 *
 *   in6_addr_t start = {0}, end = {0};
 *   uint32_t start_len = 0, flag = 0, count;
 *   do {
 *       count = 0;
 *       if (ipv6_rib_get_routes(conn, table, "", "", start, start_len, end, 0, &flag, &count, 0, &routes))
 *           break;
 *       for (errcode e = ipv6_rib_get_route_get_first_route(routes, &iter, &route); e == 0 && route;
 *            e = ipv6_rib_get_route_get_next_route(&iter, &route)) {
 *           ipv6_rib_route_xform(route);
 *           ... use route; memcpy(&start, route->rt_prefix, 16); start_len = route->rt_prefix_len;
 *       }
 *       ipv6_rib_route_free(routes);
 *   } while (flag);
 */
#ifndef IPV6_RIB_ROUTE_FETCH_H
#define IPV6_RIB_ROUTE_FETCH_H

#include <ipv6_rib/route.h>

IPV6_RIB_BEGIN

/* Position in fetched routes. Copy it to keep a place; its inside is the library's. */
typedef struct rib_get_route_iter {
    uint32_t count;  /* routes in the buffer */
    uint32_t index;  /* routes handed out so far */
    uint8_t *cursor; /* the next one */
} rib_get_route_iter;

/* *fetch_flag of the reference server: 0 to begin at start; what a fetch returned to go on behind its last route. */
#define RIB_FETCH_FROM_START 0u
/* options of the reference server */
#define RIB_FETCH_BEST_ONLY 0x1u /* only the routes that forward */

/**
 * Fetches routes in the order of their prefixes, those of one prefix in the order of their protocols. Blocks until the server
 * has answered.
 *
 * @param proto_name, instance_name  whose routes, both "" for everyone's; required; at most 40 characters of each count
 * @param start, start_len  prefix to begin at; when going on, the last prefix that was returned
 * @param end, end_len      prefix whose last more specific route is the end; ::/0 for the end of the table
 * @param fetch_flag   required. In: 0 to begin, or what the fetch before returned. Out: 0 when these were the last routes
 * @param route_count  required. In: how many routes at most, 0 for as many as fit. Out: how many there are
 * @param options      RIB_FETCH_*
 * @param routes       required. Receives the routes in a block of 512 KiB, released with ipv6_rib_route_free(), or NULL
 * @return 0; also for a range that is empty because start lies behind end, with *route_count 0 and *routes NULL.
 *         ENODATA (61: no such route, table or protocol), ENOMEM (12), RIB_LIB_ERR_BAD_ARG (conn or anything required is NULL),
 *         EBADMSG (the reply is malformed), RIB_LIB_ERR_NO_CONNECTION, the channel's errno, EINVAL. On failure *fetch_flag and
 *         *route_count are 0 and *routes is NULL.
 */
IPV6_RIB_API errcode ipv6_rib_get_routes(ipv6_rib_conn_p conn, uint32_t table, const char *proto_name, const char *instance_name,
                                         in6_addr_t start, uint32_t start_len, in6_addr_t end, uint32_t end_len,
                                         uint32_t *fetch_flag, uint32_t *route_count, uint32_t options, void **routes);

/**
 * Begins a walk. The records are decoded where they lie, in network order until ipv6_rib_route_xform() converts them, which a
 * walk allows at any time; so each block is walked once. A record is as long as its paths need: do not copy it as a whole
 * ipv6_routetype. Its last paths are lost in the conversion, with rt_path_count and a message telling so, when it has more
 * than 108 of them.
 *
 * @param routes  what ipv6_rib_get_routes() returned
 * @param iter    receives the position
 * @param route   receives the first route; NULL when there is none, or the block was walked before
 * @return 0; RIB_SRV_ERR_NOT_FOUND (there are no routes); RIB_LIB_ERR_BAD_ARG (an argument is NULL)
 */
IPV6_RIB_API errcode ipv6_rib_get_route_get_first_route(void *routes, rib_get_route_iter *iter, ipv6_routetype **route);
/** The next route; RIB_SRV_ERR_NOT_FOUND, and NULL in *route, behind the last one. */
IPV6_RIB_API errcode ipv6_rib_get_route_get_next_route(rib_get_route_iter *iter, ipv6_routetype **route);

IPV6_RIB_END

#endif
