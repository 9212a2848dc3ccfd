/*
 * Registration, holding and sweeping.
 */
#include "server/lifecycle.h"

#include <algorithm>
#include <cerrno>
#include <optional>

#include <ipv6_rib/errors.h>

#include "server/access.h"
#include "server/redistribution.h"

constexpr uint64_t MS_PER_SECOND = 1000;

/* Administrative distance that kind and word 2 ask for; nothing when one of them is out of range. */
static std::optional<uint8_t> distance_of(const std::array<uint32_t, 4> &words)
{
    static constexpr uint8_t defaults[] = {200, 0, 0, 1}; /* by RIB_PROTO_KIND_* */
    const auto [kind, distance, hold, word4] = words;
    if (kind >= std::size(defaults) || distance > UINT8_MAX)
        return std::nullopt;
    return distance ? static_cast<uint8_t>(distance) : defaults[kind];
}

/* The identifier will be another protocol's: nothing may be left that carries it. */
static void forget(rib_server &server, rib_protocol &protocol)
{
    rib_protocol_withdraw(server, protocol, rib_which::all);
    for (const auto &[id, table] : server.tables)
        table->forget_advertiser(protocol.id);
    rib_protocol_went(server, protocol);
    server.protocols.forget(protocol);
}

void rib_protocol_forget_when_idle(rib_server &server, rib_protocol &protocol)
{
    if (!protocol.owner && !server.tables.has_routes_of(protocol.id))
        forget(server, protocol);
}

errcode rib_protocol_set_words(rib_server &server, rib_protocol &protocol, const std::array<uint32_t, 4> &words)
{
    const std::optional<uint8_t> distance = distance_of(words);
    if (!distance)
        return EINVAL;
    protocol.words = words;
    protocol.distance = *distance;
    server.tables.set_kind(protocol.id, words[0]);
    for (const auto &[id, table] : server.tables)
        table->set_distance(protocol.id, *distance);
    return 0;
}

static rib_protocol *find_or_take(rib_server &server, const rib_registration &in)
{
    if (rib_protocol *known = server.protocols.find(in.proto_name, in.instance_name))
        return known;
    rib_protocol *taken = server.protocols.take(in.proto_name, in.instance_name);
    if (taken)
        rib_protocol_came(server, *taken);
    return taken;
}

static bool is_gone(const rib_session *owner)
{
    return owner && owner->gone && owner->gone();
}

errcode rib_protocol_register(rib_server &server, rib_session &session, const rib_registration &in, rib_protoid_td *id)
{
    if ((in.proto_name.empty() && in.instance_name.empty()) || !distance_of(in.words))
        return EINVAL;
    if (const errcode refusal = rib_access_register(server, session, in.proto_name))
        return refusal;
    rib_protocol *protocol = find_or_take(server, in);
    /* A client that moved to a fresh channel may be heard there before the end of its old one. */
    if (protocol && protocol->owner != &session && is_gone(protocol->owner)) {
        rib_hold_protocols_of(server, protocol->owner);
        protocol = find_or_take(server, in);
    }
    if (!protocol)
        return ENOSPC;
    if (protocol->owner && protocol->owner != &session)
        return EBUSY;
    rib_protocol_set_owner(server, *protocol, &session);
    protocol->process = session.process;
    protocol->node = session.node;
    protocol->uid = session.credentials.uid;
    protocol->word64 = in.word64;
    protocol->hold_until = RIB_NEVER;
    if (session.first_proto_name.empty())
        session.first_proto_name = in.proto_name;
    *id = protocol->id;
    return rib_protocol_set_words(server, *protocol, in.words);
}

errcode rib_protocol_owned(rib_server &server, const rib_session &session, rib_protoid_td id, rib_protocol **protocol)
{
    rib_protocol *found = server.protocols.find(id);
    if (!found)
        return RIB_SRV_ERR_NOT_FOUND;
    if (found->owner != &session)
        return EPERM;
    *protocol = found;
    return 0;
}

errcode rib_protocol_purgeable(rib_server &server, rib_session &session, rib_protoid_td id, rib_protocol **protocol)
{
    rib_protocol *found = server.protocols.find(id);
    if (!found || found->owner)
        return rib_protocol_owned(server, session, id, protocol);
    *protocol = found;
    return rib_access_purge(server, session, *found);
}

void rib_protocol_release(rib_server &server, rib_protocol &protocol, rib_farewell farewell)
{
    if (farewell == rib_farewell::withdraw)
        rib_protocol_withdraw(server, protocol, rib_which::all);
    rib_protocol_set_owner(server, protocol, nullptr);
    ++protocol.epoch;
    protocol.may_be_stale = true;
    protocol.complete = false;
    const uint32_t asked = protocol.words[2];
    const uint64_t seconds = asked ? asked : server.options.hold_seconds;
    protocol.hold_until = asked == RIB_PROTO_HOLD_FOREVER ? RIB_NEVER : server.now_ms() + seconds * MS_PER_SECOND;
    rib_protocol_forget_when_idle(server, protocol);
}

void rib_protocol_complete(rib_server &server, rib_protocol &protocol)
{
    if (protocol.may_be_stale)
        rib_protocol_withdraw(server, protocol, rib_which::stale);
    protocol.may_be_stale = false;
    protocol.complete = true;
    rib_tell_complete(server, protocol.id);
}

void rib_protocol_withdraw(rib_table &table, const rib_protocol &protocol, rib_which which)
{
    table.remove_paths(protocol.id,
                       [&](const rib_path &path) { return which == rib_which::all || path.epoch != protocol.epoch; });
}

void rib_protocol_withdraw(rib_server &server, const rib_protocol &protocol, rib_which which)
{
    for (const auto &[id, table] : server.tables)
        rib_protocol_withdraw(*table, protocol, which);
}

void rib_hold_protocols_of(rib_server &server, const rib_session *session)
{
    for (rib_protocol &protocol : server.protocols)
        if (protocol.owner == session)
            rib_protocol_release(server, protocol, rib_farewell::hold);
}

errcode rib_purge_dead_client(rib_server &server, rib_session &session, std::string_view process, std::string_view node)
{
    const auto lives = [&](const auto &entry) {
        return entry.second->bound && entry.second->process == process && entry.second->node == node;
    };
    if (std::any_of(server.sessions.begin(), server.sessions.end(), lives))
        return EBUSY;
    std::vector<rib_protocol *> left;
    for (rib_protocol &protocol : server.protocols) {
        if (!protocol.known || protocol.owner || protocol.process != process || protocol.node != node)
            continue;
        if (const errcode refusal = rib_access_purge(server, session, protocol))
            return refusal;
        left.push_back(&protocol);
    }
    for (rib_protocol *protocol : left)
        forget(server, *protocol);
    return left.empty() ? RIB_SRV_ERR_NOT_FOUND : 0;
}

uint64_t rib_server_deadline(rib_server &server)
{
    uint64_t next = RIB_NEVER;
    for (const rib_protocol &protocol : server.protocols)
        next = std::min(next, protocol.hold_until);
    return next;
}

void rib_server_expire(rib_server &server)
{
    const uint64_t now = server.now_ms();
    for (rib_protocol &protocol : server.protocols) {
        if (protocol.hold_until > now)
            continue;
        forget(server, protocol);
    }
}
