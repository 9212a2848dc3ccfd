/*
 * Tables against a model that keeps a plain list and looks at every route for every question.
 */
#include "server/table.h"

#include <algorithm>
#include <map>
#include <random>

#include <gtest/gtest.h>

namespace
{

constexpr unsigned PROTOCOLS = 4;

struct model_td {
    std::map<std::pair<rib_prefix, rib_protoid_td>, rib_route_words> routes;

    const rib_prefix *longest(const rib_prefix &addr, unsigned min_len, unsigned max_len) const
    {
        const rib_prefix *best = nullptr;
        for (const auto &[key, words] : routes)
            if (rib_prefix_covers(key.first, addr) && key.first.len >= min_len && key.first.len <= max_len &&
                (!best || key.first.len > best->len))
                best = &key.first;
        return best;
    }
    const rib_prefix *first_longer(const rib_prefix &prefix) const
    {
        for (const auto &[key, words] : routes)
            if (key.first.len > prefix.len && rib_prefix_covers(prefix, key.first))
                return &key.first;
        return nullptr;
    }
    rib_protoid_td best_of(const rib_prefix &prefix) const
    {
        rib_protoid_td best = RIB_PROTOID_NONE;
        const auto rank = [&](rib_protoid_td protoid) {
            const rib_route_words &words = routes.at({prefix, protoid});
            return std::make_tuple(words.distance, words.metric, protoid);
        };
        for (rib_protoid_td protoid = 0; protoid != PROTOCOLS; ++protoid)
            if (routes.contains({prefix, protoid}) && (best == RIB_PROTOID_NONE || rank(protoid) < rank(best)))
                best = protoid;
        return best;
    }
};

class table_against_model : public testing::TestWithParam<unsigned>
{
protected:
    rib_prefix random_prefix()
    {
        const auto len = static_cast<uint8_t>(random_() % 129);
        return rib_prefix_cut(random_addr(), len);
    }
    /* Few distinct bits, spread over the whole address, so that prefixes nest and neighbour one another. */
    rib_prefix random_addr()
    {
        const uint64_t mask = 0x8001000180010001;
        return {random_() & mask, random_() & mask, 128};
    }

    void put(const rib_prefix &prefix, rib_protoid_td protoid)
    {
        const rib_route_words words = {.metric = static_cast<uint32_t>(random_() % 3),
                                       .distance = static_cast<uint8_t>(1 + random_() % 3)};
        const auto place = table_.locate(prefix);
        rib_route *route = place == table_.end() ? nullptr : rib_table::route_of(place, protoid);
        ASSERT_EQ(route != nullptr, model_.routes.contains({prefix, protoid}));
        model_.routes[{prefix, protoid}] = words;
        if (route) {
            route->words = words;
            route->distance = words.distance;
            table_.changed(place, route);
            return;
        }
        auto fresh = std::make_unique<rib_route>();
        fresh->protoid = protoid;
        fresh->words = words;
        fresh->distance = words.distance;
        fresh->paths.emplace_back();
        table_.add(prefix, std::move(fresh));
    }

    void remove(const rib_prefix &prefix, rib_protoid_td protoid)
    {
        const auto place = table_.locate(prefix);
        if (place != table_.end())
            if (rib_route *route = rib_table::route_of(place, protoid))
                table_.withdraw(place, route);
        model_.routes.erase({prefix, protoid});
    }

    void compare_answers()
    {
        const auto same = [](const rib_table::entry_td *entry, const rib_prefix *prefix) {
            return entry ? prefix && entry->first == *prefix : !prefix;
        };
        const rib_prefix addr = random_addr();
        const rib_prefix prefix = random_prefix();
        const unsigned min_len = static_cast<unsigned>(random_() % 129);
        EXPECT_TRUE(same(table_.longest(addr, 0, 128), model_.longest(addr, 0, 128)));
        EXPECT_TRUE(same(table_.longest(addr, min_len, 128), model_.longest(addr, min_len, 128)));
        EXPECT_TRUE(same(table_.longest(addr, 0, min_len), model_.longest(addr, 0, min_len)));
        EXPECT_TRUE(same(table_.first_longer(prefix), model_.first_longer(prefix)));
        const rib_table::entry_td *entry = table_.exact(prefix);
        EXPECT_EQ(entry ? entry->second->protoid : RIB_PROTOID_NONE, model_.best_of(prefix));
        EXPECT_EQ(table_.route_count(), model_.routes.size());
    }

    std::mt19937_64 random_{GetParam()};
    uint64_t version_ = 0;
    rib_table table_{1, version_};
    model_td model_;
};

TEST_P(table_against_model, random_changes)
{
    for (unsigned step = 0; step != 3000; ++step) {
        const rib_prefix prefix = random_prefix();
        const auto protoid = static_cast<rib_protoid_td>(random_() % PROTOCOLS);
        const bool shrinks = step / 500 % 2;
        if (random_() % 4 < (shrinks ? 1u : 3u))
            put(prefix, protoid);
        else
            remove(model_.routes.empty() ? prefix : model_.routes.begin()->first.first, protoid);
        compare_answers();
    }
    for (rib_protoid_td protoid = 0; protoid != PROTOCOLS; ++protoid) {
        table_.remove_paths(protoid, [](const rib_path &) { return true; });
        std::erase_if(model_.routes, [&](const auto &entry) { return entry.first.second == protoid; });
        EXPECT_EQ(table_.route_count(protoid), 0u);
        compare_answers();
    }
    EXPECT_EQ(table_.prefix_count(), 0u);
}

TEST_P(table_against_model, in_order_as_out_of_order)
{
    std::vector<rib_prefix> prefixes;
    for (unsigned count = 0; count != 400; ++count)
        prefixes.push_back(random_prefix());
    std::vector<rib_prefix> sorted = prefixes;
    std::sort(sorted.begin(), sorted.end());
    for (const std::vector<rib_prefix> &order : {sorted, prefixes, sorted})
        for (const rib_prefix &prefix : order) {
            put(prefix, 0);
            compare_answers();
        }
}

INSTANTIATE_TEST_SUITE_P(seeds, table_against_model, testing::Range(1u, 5u));

TEST(table, a_primary_path_wins_over_any_backup_route)
{
    uint64_t version = 0;
    rib_table table(1, version);
    for (const rib_protoid_td protoid : {rib_protoid_td{0}, rib_protoid_td{1}}) {
        auto route = std::make_unique<rib_route>();
        route->protoid = protoid;
        route->distance = protoid ? 250 : 1;
        route->backup_only = protoid == 0;
        route->paths.emplace_back();
        table.add({}, std::move(route));
    }
    EXPECT_EQ(table.longest({}, 0, 128)->second->protoid, 1);
}

} // namespace
