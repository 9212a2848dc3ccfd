/*
 * Random requests for SIDs of several clients that die and come back, beside a plain model. A field has so few numbers that
 * they run out.
 */
#include <algorithm>
#include <cerrno>
#include <map>
#include <random>

#include "tests/server/sids.h"
#include "tests/server/updates.h"

namespace
{

constexpr uint32_t CHOICES = 5, FIRST = 0xE000;
constexpr size_t CLIENTS = 3;
const char *const LOCATORS[] = {"2001:db8:0:1::", "2001:db8:0:2::", "2001:db8:0:3::"};

struct key_td {
    size_t client;
    size_t locator;
    uint32_t request;
    auto operator<=>(const key_td &) const = default;
};
struct held_td {
    uint32_t number;
    bool stale = false;
};

struct churn_td : rig_td {
    explicit churn_td(unsigned seed) : rig_td({.hold_seconds = 2}), random(seed)
    {
        server.sids = rib_ledger(CHOICES);
        for (size_t id = 0; id != CLIENTS; ++id)
            come(id);
    }
    uint32_t dice(uint32_t sides) { return static_cast<uint32_t>(random() % sides); }
    void come(size_t id);
    void ask(size_t id);
    void step();
    void end(key_td key, bool immediate = false);
    void end_all(size_t id, bool stale_only);
    bool taken(size_t locator, uint32_t number) const;
    void expect_chosen(size_t locator, uint32_t number);
    void check();

    std::mt19937_64 random;
    rib_session *sessions[CLIENTS] = {};
    std::map<key_td, held_td> held;
    std::vector<uint32_t> waiting[std::size(LOCATORS)]; /* chosen numbers that came back, in order */
    uint64_t gone_at[CLIENTS] = {};
    rib_protoid_td ids[CLIENTS] = {};
};

void churn_td::come(size_t id)
{
    sessions[id] = &client("client" + std::to_string(id));
    ids[id] = add_protocol(*sessions[id], "p" + std::to_string(id));
}

bool churn_td::taken(size_t locator, uint32_t number) const
{
    return std::any_of(held.begin(), held.end(),
                       [&](const auto &entry) { return entry.first.locator == locator && entry.second.number == number; });
}

void churn_td::end(key_td key, bool immediate)
{
    const uint32_t number = held.at(key).number;
    held.erase(key);
    if (number >= FIRST && number < FIRST + CHOICES && !immediate)
        waiting[key.locator].push_back(number);
}

/* What ends together ends in the order of prefixes. */
void churn_td::end_all(size_t id, bool stale_only)
{
    std::map<std::pair<size_t, uint32_t>, key_td> ending;
    for (const auto &[key, what] : held)
        if (key.client == id && (what.stale || !stale_only))
            ending[{key.locator, what.number}] = key;
    for (const auto &[place, key] : ending)
        end(key);
}

/* A number that has waited is chosen only when there is no other one, and then the one that waited longest. */
void churn_td::expect_chosen(size_t locator, uint32_t number)
{
    const std::vector<uint32_t> &line = waiting[locator];
    bool fresh = false;
    for (uint32_t other = FIRST; other != FIRST + CHOICES; ++other)
        fresh |= !taken(locator, other) && std::find(line.begin(), line.end(), other) == line.end();
    EXPECT_TRUE(number >= FIRST && number < FIRST + CHOICES);
    EXPECT_FALSE(taken(locator, number));
    if (fresh)
        EXPECT_EQ(std::find(line.begin(), line.end(), number), line.end());
    else
        EXPECT_EQ(line.at(0), number);
}

void churn_td::ask(size_t id)
{
    const key_td key = {id, dice(std::size(LOCATORS)), dice(4)};
    sid_td sid = {.interface = key.request + 1, .locator = LOCATORS[key.locator], .context = random()};
    if (dice(3) == 0)
        sid.opcode = dice(2) ? FIRST + dice(CHOICES) : 1 + dice(3);
    sid.free = dice(3) == 0;
    sid.immediate = sid.free ? dice(2) : 0;
    const answer_td answer = answer_of(send(*sessions[id], asks(sid, ids[id])));
    EXPECT_EQ(answer.context, sid.context);
    auto meant = held.find(key);
    if (sid.free) {
        const auto by_number = std::find_if(held.begin(), held.end(), [&](const auto &entry) {
            return entry.first.client == id && entry.first.locator == key.locator && entry.second.number == sid.opcode;
        });
        meant = by_number != held.end() ? by_number : meant;
        EXPECT_EQ(answer.code, meant == held.end() ? ENOENT : 0u);
        if (meant == held.end())
            return;
        EXPECT_EQ(answer.number, meant->second.number);
        return end(meant->first, sid.immediate);
    }
    if (meant != held.end()) {
        const bool other = sid.opcode != ANY && sid.opcode != meant->second.number;
        EXPECT_EQ(answer.code, other ? EBUSY : 0u);
        EXPECT_TRUE(other || answer.number == meant->second.number);
        meant->second.stale &= other;
        return;
    }
    if (sid.opcode != ANY && taken(key.locator, sid.opcode)) {
        EXPECT_EQ(answer.code, uint32_t{EBUSY});
    } else if (answer.code == ENOSPC) {
        for (uint32_t number = FIRST; number != FIRST + CHOICES; ++number)
            EXPECT_TRUE(sid.opcode == ANY && taken(key.locator, number)) << number;
    } else {
        ASSERT_EQ(answer.code, 0u);
        if (sid.opcode == ANY)
            expect_chosen(key.locator, answer.number);
        else
            EXPECT_EQ(answer.number, sid.opcode);
        std::erase(waiting[key.locator], answer.number);
        held[key] = {answer.number};
    }
}

void churn_td::step()
{
    const size_t id = dice(CLIENTS);
    const uint32_t what = dice(40);
    if (!sessions[id]) {
        if (dice(4) == 0)
            come(id);
    } else if (what == 0) {
        rib_server_disconnect(server, sessions[id]);
        sessions[id] = nullptr;
        gone_at[id] = now;
        for (auto &[key, one] : held)
            one.stale |= key.client == id;
    } else if (what == 1) {
        send(*sessions[id], protoid_request(19, ids[id]));
        end_all(id, true);
    } else if (what == 2) {
        const uint32_t stale_only = dice(2);
        bytes_t purge = protoid_request(7, ids[id], SIDS);
        put_net(&purge, 24 + 8, stale_only, 4);
        send(*sessions[id], purge);
        end_all(id, stale_only);
    } else if (what == 3) {
        send(*sessions[id], protoid_request(30, ids[id]));
        end_all(id, false);
    } else {
        ask(id);
    }
    now += dice(60);
    rib_server_expire(server);
    for (rib_protoid_td protoid = 0; protoid != CLIENTS; ++protoid)
        for (size_t other = 0; other != CLIENTS; ++other)
            if (ids[other] == protoid && !sessions[other] && now >= gone_at[other] + 2000)
                end_all(other, false);
}

void churn_td::check()
{
    std::map<std::string, std::pair<rib_protoid_td, bool>> expected;
    for (const auto &[key, one] : held) {
        bytes_t sid = hex("20010db8 0000 0000 @16");
        put_net(&sid, 6, key.locator + 1, 2);
        put_net(&sid, 8, one.number, 2);
        expected[addr_at(sid, 0)] = {ids[key.client], one.stale};
    }
    std::map<std::string, std::pair<rib_protoid_td, bool>> listed;
    rib_session &lister = client("lister");
    const bytes_t reply = send(lister, request_of(26, {{84, SIDS}, {144, 0x70000}}));
    for (const bytes_t &route : routes_of(get32(reply, 0) ? bytes_t() : slice(reply, 9, reply.size())))
        listed[addr_at(route, 24)] = {route.at(19), route.at(10) & 2};
    EXPECT_EQ(listed, expected);
    rib_server_disconnect(server, &lister);
}

TEST(sid_churn, nothing_is_out_twice_and_nothing_is_lost)
{
    for (unsigned seed = 0; seed != 40 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        churn_td churn(seed);
        rib_session &anchor = churn.client("anchor");
        for (unsigned step = 1; step != 2'000 && !testing::Test::HasFailure(); ++step) {
            churn.step();
            if (step % 50 == 0)
                churn.check();
        }
        for (size_t id = 0; id != CLIENTS; ++id)
            if (churn.sessions[id])
                rib_server_disconnect(churn.server, churn.sessions[id]);
        churn.now += 3000;
        rib_server_expire(churn.server);
        churn.held.clear();
        churn.check();
        churn.add_protocol(anchor, "last");
        for (uint32_t request = 0; request <= CHOICES; ++request)
            EXPECT_EQ(answer_of(churn.send(anchor, asks(sid_td{request}))).code, request == CHOICES ? ENOSPC : 0u);
    }
}

} // namespace
