/*
 * Clients that follow next hops through random changes, fetch when they like and die. What each was told last is what the
 * tables say, and nothing is told twice.
 */
#include <optional>

#include "server/next_hop_told.h"
#include "server/resolve.h"
#include "tests/server/updates.h"
#include "tests/server/world.h"

namespace
{

constexpr size_t CLIENTS = 4;

struct follower_td {
    explicit follower_td(rig_td &in, bool at_once) : rig(in), session(in.client("client")), eager(at_once)
    {
        session.has_event = true;
        session.pulse = [this] {
            EXPECT_FALSE(woken) << "once is enough";
            return woken = true;
        };
    }
    size_t fetch();

    rig_td &rig;
    rib_session &session;
    bool eager; /* fetches whenever it is woken */
    bool woken = false;
    uint16_t flags = 1;
    std::map<rib_next_hop_key, rib_next_hop_words> wants;
    std::map<rib_next_hop_key, bytes_t> told;
};

size_t follower_td::fetch()
{
    const fetched_td got = fetched(rig.send(session, FETCH), rig.server.options.msg_version);
    flags = got.flags;
    woken &= !(flags & 1);
    for (const message_td &message : got.messages) {
        const bytes_t value = slice(message.payload, 8, 88);
        const rib_next_hop_key key = {message.word, rib_prefix_load(&value.at(28), 128)};
        EXPECT_TRUE(wants.contains(key) && message.type == 5);
        EXPECT_NE(told[key], value) << "told as it was told before: " << addr_at(value, 28);
        told[key] = value;
    }
    return got.messages.size();
}

struct churn_td : world_td {
    explicit churn_td(unsigned seed) : world_td(seed), clients(CLIENTS)
    {
        server.options.msg_version = seed % 2;
        server.options.fetch_bytes = seed % 3 ? 300 : 0x70000;
    }
    follower_td &a_client()
    {
        std::optional<follower_td> &one = clients[dice(CLIENTS)];
        if (!one)
            one.emplace(*this, dice(2) == 0);
        return *one;
    }
    bytes_t truth(const rib_next_hop_key &key, const rib_next_hop_words &words)
    {
        const rib_resolution found =
            rib_resolve(server, {.table = key.table, .addr = key.addr, .min_len = words.min_len, .one_step = words.one_step});
        rib_nh_told_td record = rib_next_hop_told(key, words, rib_next_hop_way_of(server, key, found));
        rib_to_net(&record);
        return bytes_at(&record, sizeof record);
    }
    void ask(follower_td &one);
    void step();
    void check();

    std::vector<std::optional<follower_td>> clients;
};

/* Registers a next hop, or one anew, by each of the ways to do so; or ends it. */
void churn_td::ask(follower_td &one)
{
    const auto known = std::next(one.wants.begin(), dice(static_cast<uint32_t>(one.wants.size() + 1)));
    const bool again = known != one.wants.end() && dice(2);
    const rib_next_hop_key key = again ? known->first : rib_next_hop_key{TABLE + dice(2), random_addr()};
    rib_next_hop_words words = {.min_len = static_cast<uint8_t>(dice(2) * dice(129)), .value = dice(3)};
    const uint32_t how = dice(6);
    const std::string addr = text_of(key.addr);
    if (how == 0) {
        words = {.one_step = dice(2) == 0, .min_len = words.min_len};
        send(one.session, request_of(20, {{0, key.table}, {24, words.one_step}, {28, words.min_len}}, {{8, addr}}));
        one.told[key] = truth(key, words);
    } else if (how == 1) {
        one.told[key] = send(one.session, next_hops({{5, addr, words.value, key.table, words.min_len}}));
        EXPECT_EQ(one.told[key], truth(key, words));
    } else {
        EXPECT_EQ(word_of(send(one.session, next_hops({{how == 2 ? 2u : 1u, addr, words.value, key.table, words.min_len}}))), 0u);
        one.told.erase(key);
    }
    one.wants[key] = words;
    if (how == 2)
        one.wants.erase(key);
}

void churn_td::step()
{
    wakes = dice(3) != 0;
    follower_td &one = a_client();
    const uint32_t what = dice(40);
    if (what == 0 && dice(4) == 0) {
        rib_server_disconnect(server, &one.session);
        for (std::optional<follower_td> &client : clients)
            if (client && &*client == &one)
                client.reset();
    } else if (what < 8) {
        ask(one);
    } else if (what < 12) {
        one.fetch();
    } else {
        change();
    }
    if (!wakes)
        return;
    rib_wake_consumers(server);
    for (std::optional<follower_td> &client : clients) {
        EXPECT_TRUE(!client || client->woken || !client->session.consumer.waits());
        const bool fetches = client && client->eager && client->woken;
        EXPECT_TRUE(!fetches || client->fetch() != 0) << "woken for nothing";
    }
}

void churn_td::check()
{
    for (std::optional<follower_td> &client : clients) {
        if (!client)
            continue;
        do
            client->fetch();
        while (!(client->flags & 1));
        EXPECT_EQ(client->told.size(), client->wants.size());
        for (const auto &[key, words] : client->wants)
            EXPECT_TRUE(same_bytes(client->told[key], truth(key, words))) << text_of(key.addr);
    }
}

TEST(next_hop_churn, everyone_knows_the_way)
{
    for (unsigned seed = 1; seed != 31 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        churn_td churn(seed);
        for (unsigned step = 1; step != 1'500 && !HasFailure(); ++step) {
            churn.step();
            if (step % 50 == 0)
                churn.check();
        }
        for (std::optional<follower_td> &client : churn.clients)
            if (client)
                rib_server_disconnect(churn.server, &client->session);
        EXPECT_TRUE(churn.server.next_hops.tracked.empty() && churn.server.tables.audiences().empty());
    }
}

} // namespace
