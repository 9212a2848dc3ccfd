/*
 * Tables against a model that keeps a plain list and looks at every route for every question.
 */
#include "server/table.h"

#include <map>
#include <optional>
#include <random>

#include <gtest/gtest.h>

namespace
{

constexpr rib_protoid_td PROTOCOLS = 4;

struct model_td {
    std::map<std::pair<rib_prefix, rib_protoid_td>, rib_route_words> routes;

    std::optional<rib_prefix> longest(const rib_prefix &addr, unsigned min_len, unsigned max_len) const
    {
        std::optional<rib_prefix> best; // in prefix order the last one that covers is the longest
        for (const auto &[key, words] : routes)
            if (rib_prefix_covers(key.first, addr) && key.first.len >= min_len && key.first.len <= max_len)
                best = key.first;
        return best;
    }
    std::optional<rib_prefix> first_longer(const rib_prefix &prefix) const
    {
        for (const auto &[key, words] : routes)
            if (key.first.len > prefix.len && rib_prefix_covers(prefix, key.first))
                return key.first;
        return {};
    }
    rib_protoid_td best_of(const rib_prefix &prefix) const
    {
        auto best = std::make_tuple(256, uint32_t{0}, RIB_PROTOID_NONE);
        for (const auto &[key, words] : routes)
            if (key.first == prefix)
                best = std::min(best, std::make_tuple(int{words.distance}, words.metric, key.second));
        return std::get<2>(best);
    }
};

class table_against_model : public testing::TestWithParam<unsigned>
{
protected:
    rib_prefix random_prefix() { return rib_prefix_cut(random_addr(), static_cast<uint8_t>(random_() % 129)); }
    /* Few distinct bits, spread over the whole address, so that prefixes nest and neighbour one another. */
    rib_prefix random_addr()
    {
        const uint64_t mask = 0x8001000180010001;
        return {random_() & mask, random_() & mask, 128};
    }

    rib_route *route_at(rib_table::place_td place, rib_protoid_td protoid)
    {
        return place == table_.end() ? nullptr : rib_table::route_of(*place, protoid);
    }
    void put(const rib_prefix &prefix, rib_protoid_td protoid)
    {
        const auto place = table_.locate(prefix);
        rib_route *there = route_at(place, protoid);
        auto fresh = std::make_unique<rib_route>();
        rib_route &route = there ? *there : *fresh;
        route.protoid = protoid;
        route.distance = static_cast<uint8_t>(1 + random_() % 3);
        route.words = {.metric = static_cast<uint32_t>(random_() % 3), .distance = route.distance};
        EXPECT_EQ(model_.routes.insert_or_assign({prefix, protoid}, route.words).second, !there);
        if (there)
            return table_.changed(place, there);
        route.paths.emplace_back();
        table_.add(prefix, std::move(fresh));
    }
    void remove(const rib_prefix &prefix, rib_protoid_td protoid)
    {
        const auto place = table_.locate(prefix);
        rib_route *there = route_at(place, protoid);
        EXPECT_EQ(model_.routes.erase({prefix, protoid}), there ? 1u : 0u);
        if (there)
            table_.withdraw(place, there);
    }

    void compare_answers()
    {
        const auto of = [](const rib_table::entry_td *entry) { return entry ? std::optional(entry->first) : std::nullopt; };
        const rib_prefix addr = random_addr(), prefix = random_prefix();
        const auto len = static_cast<unsigned>(random_() % 129);
        EXPECT_TRUE(of(table_.longest(addr, 0, 128)) == model_.longest(addr, 0, 128));
        EXPECT_TRUE(of(table_.longest(addr, len, 128)) == model_.longest(addr, len, 128));
        EXPECT_TRUE(of(table_.longest(addr, 0, len)) == model_.longest(addr, 0, len));
        EXPECT_TRUE(of(table_.first_longer(prefix)) == model_.first_longer(prefix));
        const rib_table::entry_td *entry = table_.exact(prefix);
        EXPECT_EQ(entry ? entry->second->protoid : RIB_PROTOID_NONE, model_.best_of(prefix));
        EXPECT_EQ(table_.route_count(), model_.routes.size());
    }

    std::mt19937_64 random_{GetParam()};
    rib_table_common common_;
    rib_table table_{1, common_};
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

INSTANTIATE_TEST_SUITE_P(seeds, table_against_model, testing::Range(1u, 5u));

} // namespace
