/*
 * Random changes, with clients that own protocols and follow those of others, come late, fetch when they like and die. Each
 * replays what it is told, and once nothing waits has exactly what its interests see of the server's own list of routes.
 */
#include <algorithm>
#include <optional>
#include <random>

#include "tests/server/updates.h"

namespace
{

constexpr size_t NAMES = 5, TABLES = 4, CLIENTS = 5;

std::string name_of(size_t number)
{
    return "p" + std::to_string(number) + (number % 2 ? "/i" : "");
}

/* Table, prefix as bytes, protocol: how a client knows a route. */
using key_td = std::tuple<rib_tableid_td, bytes_t, rib_protoid_td>;
using routes_td = std::map<key_td, bytes_t>;

key_td key_of(const bytes_t &route)
{
    const auto id = static_cast<rib_protoid_td>(route.at(18) << 8 | route.at(19));
    return {get32(route, 40), slice(route, 24, 16) + slice(route, 8, 1), id};
}

/* What a client asked for in one table: all of it in a mode, or sources in theirs. */
struct wish_td {
    uint16_t whole = 0;
    std::map<std::string, uint16_t> sources;
    bool whole_best() const { return whole == BEST || whole == BEST_FOREIGN; }
};

struct follower_td {
    explicit follower_td(rig_td &in) : rig(in), session(in.client("client"))
    {
        session.has_event = true;
        session.pulse = [this] {
            EXPECT_FALSE(woken) << "once is enough";
            return woken = true;
        };
    }
    void fetch();
    void forget(rib_tableid_td table)
    {
        std::erase_if(routes, [&](const auto &entry) { return std::get<0>(entry.first) == table; });
    }

    rig_td &rig;
    rib_session &session;
    bool woken = false;
    uint16_t flags = 1;
    std::map<rib_tableid_td, wish_td> wishes;
    routes_td routes;
    std::map<rib_protoid_td, std::string> protocols; /* that came while the client had an interest */

private:
    void take(const bytes_t &route);
    void take_protocol(const bytes_t &entry);
};

/* Stale routes are not told anew; what the route said when it was told counts otherwise, to the byte. */
void follower_td::take(const bytes_t &route)
{
    auto [table, prefix, id] = key_of(route);
    if (route.at(10) & 8) {
        EXPECT_EQ(routes.erase({table, prefix, id}), 1u) << "withdrawn, but never told";
        return;
    }
    bytes_t kept = route;
    kept[10] = static_cast<uint8_t>(kept[10] & ~2);
    routes[{table, prefix, wishes[table].whole_best() ? NONE : id}] = kept;
}

void follower_td::take_protocol(const bytes_t &entry)
{
    const auto id = static_cast<rib_protoid_td>(entry.at(3));
    const std::string name = reinterpret_cast<const char *>(&entry.at(8));
    const bool came = entry.at(1) == 1;
    const bool known = protocols.contains(id);
    EXPECT_FALSE(came && known) << "came twice";
    EXPECT_TRUE(came || !known || protocols[id] == name);
    protocols.erase(id);
    if (came)
        protocols[id] = name;
}

void follower_td::fetch()
{
    const fetched_td got = fetched(rig.send(session, FETCH), rig.server.options.msg_version);
    flags = got.flags;
    woken &= !(flags & 1);
    for (const message_td &message : got.messages) {
        if (message.type == 2)
            for (const bytes_t &route : routes_of(message.payload))
                take(route);
        for (size_t at = 0; message.type == 16 && at != message.payload.size(); at += 92)
            take_protocol(slice(message.payload, at, 92));
    }
}

struct churn_td : rig_td {
    explicit churn_td(unsigned seed)
        : rig_td({.hold_seconds = 3, .max_tables = 3, .msg_version = seed % 2, .fetch_bytes = seed % 3 ? 700u : 1u}),
          random(seed), lister(client("lister")), clients(CLIENTS)
    {
    }
    uint32_t dice(uint32_t sides) { return static_cast<uint32_t>(random() % sides); }
    rib_tableid_td a_table() { return TABLE + dice(TABLES); }
    follower_td &a_client()
    {
        std::optional<follower_td> &one = clients[dice(CLIENTS)];
        if (!one)
            one.emplace(*this);
        return *one;
    }
    /* A protocol that the client owns, or NONE. */
    rib_protoid_td an_own(const follower_td &one)
    {
        std::vector<rib_protoid_td> owned;
        for (const rib_protocol &protocol : server.protocols)
            if (protocol.known && protocol.owner == &one.session)
                owned.push_back(protocol.id);
        return owned.empty() ? NONE : owned[dice(static_cast<uint32_t>(owned.size()))];
    }
    void change(follower_td &one);
    void ask(follower_td &one);
    void step();
    void check();
    routes_td seen_by(const follower_td &one);

    std::mt19937_64 random;
    rib_session &lister;
    std::vector<std::optional<follower_td>> clients;
};

void churn_td::change(follower_td &one)
{
    const rib_protoid_td id = an_own(one);
    const auto run = [&](uint32_t command, uint32_t word) { send(one.session, protoid_request(command, id, word)); };
    switch (id == NONE ? 0 : dice(12)) {
    case 0: {
        const std::string name = name_of(dice(NAMES));
        const size_t slash = name.find('/');
        send(one.session,
             register_request(name.substr(0, slash), slash == name.npos ? "" : name.substr(slash + 1), {0, 1 + dice(3)}));
        break;
    }
    case 1:
        return dice(4) ? run(19, 0) : run(10, dice(2));
    case 2:
        return dice(3) ? run(31, a_table()) : run(7, 0);
    case 3: {
        const bytes_t words = bytes_t(4) + number(id, 2) + bytes_t(2) + number(1 + dice(3)) + bytes_t(8);
        send(one.session, request(11, words));
        break;
    }
    default: {
        std::vector<bytes_t> records;
        for (uint32_t left = 1 + dice(4); left != 0; --left) {
            const path_td path = {
                .nexthop = "fe80::" + std::to_string(1 + dice(2)), .withdraw = dice(3) == 0, .backup = dice(9) == 0};
            records.push_back(record({std::to_string(1 + dice(7)) + "::",
                                      static_cast<uint8_t>(16 + dice(3)),
                                      {dice(2) ? path : path_td{.withdraw = path.withdraw}},
                                      dice(2) == 0,
                                      dice(3)}));
        }
        send(one.session, single_batch(a_table(), id, records));
    }
    }
}

/* A table is asked for as a whole or by sources. What is asked for again begins anew. */
void churn_td::ask(follower_td &one)
{
    const rib_tableid_td table = a_table();
    wish_td &wish = one.wishes[table];
    const uint16_t mode = std::vector<uint16_t>{BEST, ALL, BEST_FOREIGN, ALL_FOREIGN}[dice(4)];
    const std::string name = name_of(dice(NAMES));
    if (dice(3) == 0 || (wish.whole && dice(2)) || wish.sources.contains(name)) {
        send(one.session, request_of(17, {{0, table}}));
        wish = {};
        one.forget(table);
        if (one.session.consumer.interests.empty())
            one.protocols.clear();
    } else if (wish.whole || (wish.sources.empty() && dice(2))) {
        ASSERT_EQ(send(one.session, registrations(mode, {{table}})), bytes_t(4));
        wish.whole = mode;
        one.forget(table);
    } else if (result_of(one.session, redist(name, table, mode)) == 0) {
        wish.sources[name] = mode;
    }
}

void churn_td::step()
{
    follower_td &one = a_client();
    const uint32_t what = dice(40);
    if (what == 0 && dice(3) == 0) {
        rib_server_disconnect(server, &one.session);
        for (std::optional<follower_td> &client : clients)
            if (client && &*client == &one)
                client.reset();
    } else if (what == 1) {
        now += dice(4000);
        rib_server_expire(server);
    } else if (what < 5) {
        ask(one);
    } else if (what < 12) {
        one.fetch();
    } else {
        change(one);
    }
    rib_wake_consumers(server);
    for (const std::optional<follower_td> &client : clients)
        EXPECT_TRUE(!client || client->woken || !client->session.consumer.waits());
}

/* The list of routes as the server gives it, without those that the client did not ask for. */
routes_td churn_td::seen_by(const follower_td &one)
{
    routes_td seen;
    for (const auto &[table, wish] : one.wishes) {
        const bytes_t reply = send(lister, request_of(26, {{84, table}, {144, 0x70000}}));
        if (get32(reply, 0) != 0)
            continue;
        for (bytes_t route : routes_of(slice(reply, 9, reply.size()))) {
            auto [of_table, prefix, id] = key_of(route);
            const rib_protocol &owner = *server.protocols.find(id);
            const std::string name = owner.proto_name + (owner.instance_name.empty() ? "" : "/" + owner.instance_name);
            const auto source = wish.sources.find(name);
            const uint16_t mode = source == wish.sources.end() ? wish.whole : source->second;
            const bool foreign = wish.whole == BEST_FOREIGN || wish.whole == ALL_FOREIGN;
            const bool wants_all = mode == ALL || mode == ALL_FOREIGN;
            if (mode == 0 || (foreign && owner.owner == &one.session) || (!wants_all && !(route.at(10) & 1)))
                continue;
            route[10] = static_cast<uint8_t>(route[10] & ~2);
            seen[{table, prefix, wish.whole_best() ? NONE : id}] = route;
        }
    }
    return seen;
}

void churn_td::check()
{
    for (std::optional<follower_td> &client : clients) {
        if (!client)
            continue;
        do
            client->fetch();
        while (!(client->flags & 1));
        EXPECT_EQ(client->routes, seen_by(*client));
        for (const auto &[id, name] : client->protocols)
            EXPECT_TRUE(server.protocols.find(id) && server.protocols.find(id)->proto_name == name) << id;
    }
}

TEST(update_churn, everyone_ends_with_the_true_table)
{
    for (unsigned seed = 0; seed != 60 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        churn_td churn(seed);
        for (unsigned step = 1; step != 1'500 && !testing::Test::HasFailure(); ++step) {
            churn.step();
            if (step % 250 == 0)
                churn.check();
        }
    }
}

} // namespace
