/*
 * Registered next hops.
 */
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include <ipv6_rib/errors.h>

#include "server/address_requests.h"
#include "server/resolve.h"

static errcode keep(rib_next_hops &hops, const rib_next_hop_key &key, const rib_next_hop_words &words)
{
    const auto known = hops.registered.find(key);
    if (known != hops.registered.end()) {
        known->second = words;
        return 0;
    }
    if (hops.registered.size() == RIB_SESSION_NEXT_HOPS)
        return ENOSPC;
    hops.registered.emplace(key, words);
    return 0;
}

static void tell_name(const rib_protocol &owner, rib_nh_register_reply_td &reply)
{
    const std::string name = owner.proto_name + "/" + owner.instance_name;
    const size_t len = std::min(name.size(), sizeof reply.nr_name);
    std::memcpy(reply.nr_name, name.data(), len);
    reply.nr_name_len = static_cast<uint8_t>(len);
}

static void tell(rib_server &server, const rib_next_hop_key &key, const rib_resolution &found, rib_nh_register_reply_td &reply)
{
    const rib_route &route = *found.route;
    const bool connected = rib_address_flags(server, key.table, key.addr) & RIB_ADDR_CONNECTED;
    reply.nr_answer = found.interface;
    rib_prefix_store(found.next_hop, &reply.nr_addr);
    reply.nr_words[0] = route.words.metric;
    reply.nr_words[1] = found.steps.back().match.len;
    reply.nr_words[2] = route.distance;
    reply.nr_words[3] = route.protoid;
    reply.nr_word = RIB_NH_REACHED | (connected ? RIB_NH_CONNECTED : 0);
    tell_name(*server.protocols.find(route.protoid), reply);
}

errcode rib_do_nh_register(rib_server &server, rib_session &session, const rib_nh_register_body_td &body,
                           rib_nh_register_reply_td &reply)
{
    rib_next_hop_words words;
    if (const errcode refusal = rib_read_next_hop_words(body.nr_words[0], body.nr_words[1], &words))
        return refusal;
    const rib_next_hop_key key = {body.nr_table, rib_prefix_load(&body.nr_addr, RIB_ADDR_BITS)};
    if (const errcode refusal = keep(session.next_hops, key, words))
        return refusal;
    const rib_resolution found =
        rib_resolve(server, {.table = key.table, .addr = key.addr, .min_len = words.min_len, .one_step = words.one_step});
    if (found.reached)
        tell(server, key, found, reply);
    return 0;
}

errcode rib_do_nh_unregister(rib_server &, rib_session &session, const rib_nh_unregister_body_td &body, rib_bare_reply_td &)
{
    const rib_next_hop_key key = {body.nu_table, rib_prefix_load(&body.nu_addr, RIB_ADDR_BITS)};
    return session.next_hops.registered.erase(key) ? 0 : RIB_SRV_ERR_NOT_FOUND;
}
