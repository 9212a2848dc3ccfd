/*
 * Next hop of an address, connected subnets, the default route.
 */
#include "server/address_requests.h"

#include <cerrno>

#include <ipv6_rib/errors.h>

#include "server/resolve.h"

errcode rib_read_next_hop_words(uint32_t how, uint32_t min_len, rib_next_hop_words *words)
{
    if (how > RIB_NEXT_HOP_ONE_STEP || min_len > RIB_ADDR_BITS)
        return EINVAL;
    *words = {.one_step = how == RIB_NEXT_HOP_ONE_STEP, .min_len = static_cast<uint8_t>(min_len)};
    return 0;
}

errcode rib_do_next_hop(rib_server &server, rib_session &, const rib_next_hop_body_td &body, rib_address_reply_td &reply)
{
    rib_next_hop_words words;
    if (const errcode refusal = rib_read_next_hop_words(body.nh_words[0], body.nh_words[1], &words))
        return refusal;
    const rib_prefix addr = rib_prefix_load(&body.nh_addr, RIB_ADDR_BITS);
    const rib_resolution found =
        rib_resolve(server, {.table = body.nh_table, .addr = addr, .min_len = words.min_len, .one_step = words.one_step});
    if (!found.reached)
        return RIB_SRV_ERR_NOT_FOUND;
    reply.ar_answer = found.interface;
    rib_prefix_store(found.next_hop, &reply.ar_addr);
    reply.ar_info = found.steps.front().match.len;
    reply.ar_flags = rib_address_flags(server, body.nh_table, addr);
    return 0;
}

errcode rib_do_connected(rib_server &server, rib_session &, const rib_connected_body_td &body, rib_address_reply_td &reply)
{
    const rib_prefix addr = rib_prefix_load(&body.cn_addr, RIB_ADDR_BITS);
    const rib_table *table = server.tables.find(body.cn_table);
    const rib_cover subnet = table ? rib_covering(server, *table, addr, RIB_PROTO_KIND_CONNECTED) : rib_cover{};
    if (!subnet.entry)
        return RIB_SRV_ERR_NOT_FOUND;
    reply.ar_answer = rib_interface_told(subnet.route->paths.front().id.interface);
    rib_prefix_store(subnet.entry->first, &reply.ar_addr);
    reply.ar_info = subnet.entry->first.len;
    reply.ar_flags = rib_address_flags(server, body.cn_table, addr);
    return 0;
}

errcode rib_do_default_netsource(rib_server &server, rib_session &, const rib_netsource_body_td &body,
                                 rib_netsource_reply_td &reply)
{
    const rib_resolution found = rib_resolve(server, {.table = body.dn_value, .addr = {.len = RIB_ADDR_BITS}, .max_len = 0});
    if (!found.reached)
        return RIB_SRV_ERR_NOT_FOUND;
    reply.dn_answer = found.interface;
    return 0;
}
