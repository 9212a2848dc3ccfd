/*
 * Listing routes against a plain list: all of them, in order, each once, however small the pieces are.
 */
#include <cerrno>

#include "tests/server/updates.h"
#include "tests/server/world.h"

namespace
{

using found_td = std::vector<std::pair<rib_prefix, rib_protoid_td>>;

struct fetch_td {
    std::string protocol = {};
    rib_prefix start = {}, end = {};
    uint32_t options = 0, flag = 0, count = 0, room = 0x7FFF4;
    rib_tableid_td table = TABLE;
};
bytes_t send(rig_td &rig, rib_session &session, const fetch_td &fetch)
{
    const std::vector<field_td> fields = {{84, fetch.table},  {104, fetch.start.len}, {128, fetch.end.len}, {132, fetch.flag, 1},
                                          {136, fetch.count}, {140, fetch.options},   {144, fetch.room}};
    bytes_t request = request_of(26, fields, {{88, text_of(fetch.start)}, {112, text_of(fetch.end)}});
    std::copy(fetch.protocol.begin(), fetch.protocol.end(), &request[24]);
    return rig.send(session, request);
}

class route_fetch : public testing::TestWithParam<unsigned>
{
protected:
    found_td expected(const fetch_td &fetch) const
    {
        found_td found;
        for (auto at = world_.routes.begin(); at != world_.routes.end(); ++at) {
            const auto &[table, prefix, protoid] = at->first;
            const auto behind_end = rib_prefix_cut(prefix, fetch.end.len) > rib_prefix_cut(fetch.end, fetch.end.len);
            const bool asked = fetch.protocol.empty() || fetch.protocol[1] - '0' == protoid;
            if (table == TABLE && prefix >= rib_prefix_cut(fetch.start, fetch.start.len) && !behind_end && asked &&
                (!fetch.options || world_.best(at)))
                found.emplace_back(prefix, protoid);
        }
        return found;
    }
    /* Takes the routes of a reply apart; what is best is what a lookup finds. */
    void take(const bytes_t &reply, found_td *found)
    {
        const std::vector<bytes_t> routes = routes_of(slice(reply, 9, reply.size()));
        EXPECT_EQ(routes.size(), get32(reply, 4));
        for (const bytes_t &route : routes) {
            const rib_prefix prefix = rib_prefix_load(&route.at(24), route[8]);
            const bytes_t lookup = world_.send(world_.session, lookup_request(text_of(prefix), prefix.len, 1));
            EXPECT_TRUE(!(route[10] & 1) || same_bytes(route, slice(lookup, 8, lookup.size())));
            found->emplace_back(prefix, get32(route, 16) & 0xFFFF);
        }
    }
    /* Fetches in pieces of random size until told that there are no more; whoever is told to go on finds more. */
    template <class between_t> found_td fetch_all(fetch_td fetch, bool any, between_t between)
    {
        found_td all;
        do {
            fetch.count = world_.dice(4);
            fetch.room = 496 + world_.dice(2) * world_.dice(3000); // the largest route just fits
            const bytes_t reply = send(world_, world_.session, fetch);
            EXPECT_EQ(get32(reply, 0), any ? 0 : NOT_FOUND);
            EXPECT_LE(reply.size(), 9 + size_t{fetch.room});
            EXPECT_TRUE(fetch.count == 0 || get32(reply, 4) <= fetch.count);
            take(reply, &all);
            fetch.flag = reply.at(8);
            fetch.start = all.empty() ? fetch.start : all.back().first;
            between();
        } while (fetch.flag != 0 && !HasFailure());
        return all;
    }

    world_td world_{GetParam()};
};

TEST_P(route_fetch, in_pieces)
{
    for (unsigned step = 0; step != 500 && !HasFailure(); ++step) {
        world_.change();
        fetch_td fetch = {world_.dice(2) ? "" : "p" + std::to_string(world_.dice(4))};
        fetch.options = world_.dice(2);
        if (world_.dice(2)) {
            fetch.start = fetch.end = world_.random_addr();
            fetch.start.len = static_cast<uint8_t>(world_.dice(129));
            fetch.end.len = static_cast<uint8_t>(world_.dice(20));
        }
        const found_td routes = expected(fetch);
        EXPECT_TRUE(fetch_all(fetch, !routes.empty(), [] {}) == routes);
    }
}

/* What is there all the time is found, and nothing twice. */
TEST_P(route_fetch, while_routes_change)
{
    for (unsigned step = 0; step != 300; ++step)
        world_.change();
    for (unsigned step = 0; step != 50 && !HasFailure(); ++step) {
        found_td lasting = expected({});
        const rib_prefix last = {~0ull, ~0ull, 128}; // keeps the end from being withdrawn
        world_.send(world_.session, single_batch(TABLE, 0, {record({text_of(last), 128, {{"fe80::a", 1}}})}));
        const found_td found = fetch_all({}, true, [&] {
            world_.change();
            const found_td now = expected({});
            std::erase_if(lasting, [&](const auto &key) { return !std::binary_search(now.begin(), now.end(), key); });
        });
        EXPECT_TRUE(std::is_sorted(found.begin(), found.end(), std::less_equal())); // strictly
        EXPECT_TRUE(std::includes(found.begin(), found.end(), lasting.begin(), lasting.end()));
    }
}

INSTANTIATE_TEST_SUITE_P(seeds, route_fetch, testing::Range(1u, 5u));

TEST(route_fetch_refusals, codes)
{
    rig_td rig;
    rib_session &session = rig.client();
    rig.send(session, single_batch(TABLE, rig.add_protocol(session, "bgp"), {record({.paths = {{"fe80::a", 1}}})}));
    const std::tuple<const char *, fetch_td, errcode> cases[] = {
        {"just enough room", {.room = 8 + 128 + 104 + 8}, 0},
        {"a byte too little", {.room = 8 + 128 + 104 + 7}, EMSGSIZE},
        {"the last flag", {.flag = 97}, 0},
        {"a flag too far", {.flag = 98}, EINVAL},
        {"an option that is not known", {.options = 2}, EINVAL},
        {"a start of 129 bits", {.start = {0, 0, 129}}, EINVAL},
        {"an end of 129 bits", {.end = {0, 0, 129}}, EINVAL},
        {"a protocol that is not known", {.protocol = "p9"}, NOT_FOUND},
        {"a name without an end", {.protocol = std::string(41, 'p')}, EINVAL},
        {"no such table", {.table = 9}, NOT_FOUND},
    };
    for (const auto &[name, fetch, result] : cases) {
        const bytes_t reply = send(rig, session, fetch);
        EXPECT_EQ(get32(reply, 0), result) << name;
        EXPECT_TRUE(result == 0 || same_bytes(slice(reply, 4, 999), "00000000 00")) << name;
    }
}

} // namespace
