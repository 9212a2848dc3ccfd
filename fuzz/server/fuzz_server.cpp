/*
 * The server, and what must hold of it at any time and in the end.
 */
#include "fuzz/server/fuzz_server.h"

#include <cstdlib>
#include <cstring>

#include <ipv6_rib/batch_send.h>
#include <platform/tev.h>

#include "ip/rib/wire/batch_header.h"
#include "ip/rib/wire/next_hop_batch.h"
#include "ip/rib/wire/redist_batch.h"
#include "ip/rib/wire/update.h"

void tev_errmsg(const tev_msg_rec_t *, int, ...) {}

static void require(bool holds)
{
    if (!holds)
        std::abort();
}

static void store_net(std::vector<uint8_t> &msg, size_t at, uint64_t value, size_t width)
{
    for (size_t byte = 0; byte < width && at + byte < msg.size(); ++byte)
        msg[at + byte] = static_cast<uint8_t>(value >> 8 * (width - 1 - byte));
}

static void store_type(std::vector<uint8_t> &msg, uint32_t type)
{
    if (!msg.empty())
        std::memcpy(msg.data(), &type, std::min(sizeof type, msg.size()));
}

static void frame(std::vector<uint8_t> &msg, fuzz_framing framing)
{
    constexpr size_t command_at = 20, len_at = 20, argument_at = 40, records_len_at = 24, records_at = 28;
    /* In the order in which one that is in place stays. */
    constexpr uint32_t registrations[] = {RIB_MSG_REDIST_ISSU, RIB_MSG_REDIST, RIB_MSG_NEXT_HOPS};
    static_assert(RIB_MSG_NEXT_HOPS % 256 % 3 == 2 && RIB_MSG_REDIST_ISSU % 256 % 3 == 0 && RIB_MSG_REDIST % 256 % 3 == 1);
    switch (framing) {
    case fuzz_framing::bind:
        store_net(msg, command_at, RIB_CMD_BIND_DATA, 4);
        [[fallthrough]];
    case fuzz_framing::request:
        return store_type(msg, RIB_MSG_LWM);
    case fuzz_framing::routes:
    case fuzz_framing::protocols:
        store_type(msg, RIB_MSG_BATCH);
        store_net(msg, len_at, msg.size(), 4);
        if (msg.size() > argument_at + 1)
            store_net(msg, argument_at, framing == fuzz_framing::protocols ? RIB_BATCH_PROTOCOLS : msg[argument_at + 1] & 1, 2);
        return;
    case fuzz_framing::registrations:
        store_type(msg, msg.empty() ? 0 : registrations[msg[0] % std::size(registrations)]);
        return store_net(msg, records_len_at, msg.size() - records_at, 4);
    case fuzz_framing::none:
    case fuzz_framing::count:
        return;
    }
}

fuzz_server::fuzz_server() : server_({.hold_seconds = 1, .max_tables = 6, .max_routes = 8}, [this] { return now_; })
{
    for (rib_session *&session : sessions_)
        session = rib_server_connect(server_, {});
}

size_t fuzz_server::hand_over(rib_session &session, std::vector<uint8_t> msg)
{
    static std::vector<uint8_t> area(RIB_BATCH_REPLY_BYTES);
    size_t granted = 0;
    const size_t len = rib_server_handle(server_, session, msg.data(), msg.size(), [&](size_t room) {
        require(room <= area.size());
        granted = room;
        return area.data() + area.size() - room;
    });
    require(len != 0 && len <= granted);
    rib_wake_consumers(server_);
    require(server_.stirred.empty());
    return len;
}

void fuzz_server::send(size_t client, fuzz_framing framing, fuzz_bytes bytes)
{
    std::vector<uint8_t> msg(bytes.begin(), bytes.end());
    frame(msg, framing);
    hand_over(*sessions_[client % clients], std::move(msg));
}

void fuzz_server::fetch(size_t client)
{
    constexpr size_t fetch_bytes = 280;
    std::vector<uint8_t> msg(fetch_bytes);
    store_type(msg, RIB_MSG_LWM);
    store_net(msg, 20, RIB_CMD_FETCH_UPDATE, 4);
    hand_over(*sessions_[client % clients], std::move(msg));
}

void fuzz_server::come_again(size_t client)
{
    rib_session *&session = sessions_[client % clients];
    rib_server_disconnect(server_, session);
    rib_wake_consumers(server_);
    session = rib_server_connect(server_, {});
}

void fuzz_server::pass(uint64_t ms)
{
    now_ += ms;
    rib_server_expire(server_);
    rib_wake_consumers(server_);
    require(rib_server_deadline(server_) > now_); // else a server would turn in circles
}

/* Fetches end although what is told is told in parts. */
void fuzz_server::fetch_all(size_t client)
{
    const rib_consumer &consumer = sessions_[client]->consumer;
    for (unsigned fetches = 0; consumer.waits(); ++fetches) {
        require(fetches < 1000);
        fetch(client);
    }
}

void fuzz_server::check_counts() const
{
    for (const auto &[id, entry] : server_.tables) {
        const rib_table *const table = entry.get();
        std::array<uint32_t, RIB_PROTOID_COUNT> counts = {};
        size_t routes = 0;
        for (auto at = table->from({}); at != table->end(); ++at)
            for (const rib_route *route = at->second.get(); route; route = route->next.get(), ++routes) {
                ++counts[route->protoid];
                require(!route->paths.empty() && server_.most_path_attrs <= RIB_BATCH_REPLY_BYTES);
                const rib_holding *holding = table->ledger ? table->ledger->at(at->first) : nullptr;
                require(!table->ledger || (holding && holding->claimant.protoid == route->protoid));
            }
        require(routes == table->route_count());
        for (rib_protoid_td protoid = 0; protoid < counts.size(); ++protoid)
            require(counts[protoid] == table->route_count(protoid));
    }
}

/* Only a protocol that is held without end may stay, with its routes. */
void fuzz_server::check_empty()
{
    require(server_.sessions.empty() && server_.stirred.empty());
    require(server_.next_hops.tracked.empty() && server_.next_hops.touched.empty());
    for (const auto &[id, audience] : server_.tables.audiences())
        require(audience->empty());
    for (const rib_protocol &protocol : server_.protocols) {
        require(!protocol.owner && (!protocol.known || protocol.hold_until == RIB_NEVER));
        require(protocol.known || !server_.tables.has_routes_of(protocol.id));
    }
}

void fuzz_server::finish()
{
    constexpr uint64_t longest_hold_ms = uint64_t{UINT32_MAX} * 1000;
    for (size_t client = 0; client != clients; ++client)
        fetch_all(client);
    check_counts();
    for (rib_session *session : sessions_) {
        rib_server_disconnect(server_, session);
        rib_wake_consumers(server_);
    }
    pass(longest_hold_ms);
    check_counts();
    check_empty();
}
