/*
 * Registered next hops.
 */
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include <ipv6_rib/errors.h>

#include "server/address_requests.h"

static void tell_name(const rib_protocol &owner, rib_nh_register_reply_td &reply)
{
    const std::string name = owner.proto_name + "/" + owner.instance_name;
    const size_t len = std::min(name.size(), sizeof reply.nr_name);
    std::memcpy(reply.nr_name, name.data(), len);
    reply.nr_name_len = static_cast<uint8_t>(len);
}

static void tell(rib_server &server, const rib_next_hop_way &way, rib_nh_register_reply_td &reply)
{
    reply.nr_answer = way.interface;
    std::memcpy(&reply.nr_addr, way.via.data(), sizeof reply.nr_addr);
    reply.nr_words[0] = way.metric;
    reply.nr_words[1] = way.prefix_len;
    reply.nr_words[2] = way.distance;
    reply.nr_words[3] = way.protoid;
    reply.nr_word = way.flags;
    tell_name(*server.protocols.find(way.protoid), reply);
}

errcode rib_do_nh_register(rib_server &server, rib_session &session, const rib_nh_register_body_td &body,
                           rib_nh_register_reply_td &reply)
{
    rib_next_hop_words words;
    if (const errcode refusal = rib_read_next_hop_words(body.nr_words[0], body.nr_words[1], &words))
        return refusal;
    const rib_next_hop_key key = {body.nr_table, rib_prefix_load(&body.nr_addr, RIB_ADDR_BITS)};
    if (!rib_next_hop_fits(session, key))
        return ENOSPC;
    const rib_next_hop_way &way = rib_next_hop_register(server, session, key, words, rib_next_hop_answer::reply);
    if (way.flags & RIB_NH_REACHED)
        tell(server, way, reply);
    return 0;
}

errcode rib_do_nh_unregister(rib_server &server, rib_session &session, const rib_nh_unregister_body_td &body, rib_bare_reply_td &)
{
    const rib_next_hop_key key = {body.nu_table, rib_prefix_load(&body.nu_addr, RIB_ADDR_BITS)};
    return rib_next_hop_unregister(server, session, key) ? 0 : RIB_SRV_ERR_NOT_FOUND;
}
