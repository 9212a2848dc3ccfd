/*
 * Between the message channel and the server.
 */
#include "server/service.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <string>
#include <system_error>

#include <platform/identity.h>
#include <platform/msg_chan_server.h>

#include "server/access.h"

/* The active server of a pair has the first two names, the standby server the last. */
static const char *const service_names[] = {"/dev/ip/ipv6_rib", "/dev/ip/ipv6_rib_active", "/dev/ip/ipv6_rib_standby"};

rib_service_names rib_names_of(rib_server_role role)
{
    return {std::begin(service_names) + (role == rib_server_role::standby ? 2 : 0),
            std::begin(service_names) + (role == rib_server_role::active ? 2 : 3)};
}

static uint64_t steady_ms()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

static rib_credentials credentials_of(const msg_peer_t *peer)
{
    msg_peer_info_t info;
    msg_peer_info(peer, &info);
    rib_credentials who = {info.mpi_uid, info.mpi_gid, info.mpi_pid, info.mpi_node_id};
    for (size_t count; (count = msg_peer_groups(peer, who.groups.data(), who.groups.size())) != who.groups.size();)
        who.groups.resize(count);
    return who;
}

static int peer_connected(void *owner, msg_peer_t *peer, unsigned) noexcept
try {
    auto &server = *static_cast<rib_server *>(owner);
    const rib_credentials who = credentials_of(peer);
    if (const errcode refusal = rib_access_bind(server, who))
        return static_cast<int>(refusal);
    rib_session *session = rib_server_connect(server, who);
    session->gone = [peer] { return msg_peer_gone(peer) != 0; };
    session->pulse = [peer, session] {
        const auto event = rib_load<struct sigevent>(session->event.data());
        return msg_peer_pulse(peer, &event, session->pulse_value) == 0;
    };
    msg_peer_set_datum(peer, session);
    return 0;
} catch (const std::bad_alloc &) {
    return ENOMEM;
}

/* A client that cannot be answered for want of memory is disconnected: it must not take silence for an answer. */
static void peer_received(void *owner, msg_peer_t *peer, uint8_t *msg, size_t len) noexcept
try {
    auto &session = *static_cast<rib_session *>(msg_peer_datum(peer));
    const auto area = [&](size_t room) { return msg_peer_reply_area(peer, room); };
    const size_t reply_len = rib_server_handle(*static_cast<rib_server *>(owner), session, msg, len, area);
    if (reply_len == 0 || msg_peer_reply(peer, reply_len) != 0)
        msg_peer_close(peer);
} catch (const std::bad_alloc &) {
    msg_peer_close(peer);
}

static void peer_disconnected(void *owner, msg_peer_t *peer) noexcept
{
    rib_server_disconnect(*static_cast<rib_server *>(owner), static_cast<rib_session *>(msg_peer_datum(peer)));
}

static const msg_server_ops_t channel_ops = {peer_connected, peer_received, peer_disconnected};

[[noreturn]] static void fail(const std::string &what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

void rib_service::closer::operator()(msg_server *channel) const
{
    msg_server_destroy(channel);
}

rib_service::rib_service(const rib_server_options &options) : server_(options, steady_ms)
{
    if (std::string faults = read_policy(); !faults.empty()) {
        faults.pop_back();
        errno = EINVAL;
        fail(faults);
    }
    if (platform_get_my_nodeid(&server_.node_id) != 0)
        fail("node id");
    const msg_server_options_t channel_options = {
        .mso_dir = options.dir.empty() ? nullptr : options.dir.c_str(),
        .mso_max_message = RIB_MESSAGE_MAX,
        .mso_max_reply = RIB_MESSAGE_MAX,
        .mso_max_clients = options.max_clients,
        .mso_socket_mode = options.socket_mode,
    };
    channel_.reset(msg_server_create(&channel_options, &channel_ops, &server_));
    if (!channel_)
        fail("message channel");
    const auto [begin, end] = rib_names_of(options.role);
    std::for_each(begin, end, [&](const char *name) {
        if (msg_server_attach(channel_.get(), name) != 0)
            fail(options.dir.empty() ? name : std::string(name) + " in " + options.dir);
    });
}

/* Empty, or what is wrong with the policy file, which then changes nothing. */
std::string rib_service::read_policy()
{
    std::string faults;
    const std::string &file = server_.options.policy;
    if (file.empty() || !rib_policy_read(file, &server_.policy, &faults))
        return faults;
    for (const auto &[id, session] : server_.sessions)
        session->refusals.clear();
    return "";
}

void rib_service::reload_policy()
{
    if (server_.options.policy.empty())
        return;
    const std::string faults = read_policy();
    const char *outcome = faults.empty() ? "policy read again" : "the policy stays as it was";
    std::fputs((faults + "RIB server: " + outcome + "\n").c_str(), stderr);
}

void rib_service::run()
{
    while (!stopping_) {
        if (reloading_.exchange(false))
            reload_policy();
        const uint64_t deadline = rib_server_deadline(server_);
        const uint64_t now = steady_ms();
        const uint64_t wait = deadline > now ? std::min<uint64_t>(deadline - now, INT_MAX) : 0;
        if (msg_server_dispatch(channel_.get(), deadline == RIB_NEVER ? -1 : static_cast<int>(wait)) != 0)
            fail("message channel");
        rib_server_expire(server_);
        rib_wake_consumers(server_);
    }
}

void rib_service::reload()
{
    reloading_ = true;
    msg_server_wake(channel_.get());
}

void rib_service::stop()
{
    stopping_ = true;
    msg_server_wake(channel_.get());
}
