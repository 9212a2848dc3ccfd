/*
 * The prefix map against a std::map while it grows to many blocks and shrinks again, with searches begun early and without.
 */
#include "server/prefix_map.h"

#include <map>
#include <random>

#include <gtest/gtest.h>

namespace
{

struct map_case {
    const char *name;
    size_t most; /* prefixes */
    rib_prefix (*prefix)(uint64_t random, uint64_t step);
};

constexpr map_case cases[] = {
    {"spread over all addresses", 20'000,
     [](uint64_t random, uint64_t) {
         return rib_prefix_cut({random, random * 7, 128}, static_cast<unsigned>(16 + random % 113));
     }},
    {"hosts of one subnet", 20'000,
     [](uint64_t random, uint64_t) {
         return rib_prefix{1, random % 100'000, 128};
     }},
    {"of all lengths at a few addresses", 2'000,
     [](uint64_t random, uint64_t) {
         return rib_prefix{random % 32, 0, static_cast<uint8_t>((random >> 8) % 129)};
     }},
    {"in rising order", 20'000,
     [](uint64_t, uint64_t step) {
         return rib_prefix{step << 16, 0, 48};
     }},
    {"in falling order", 20'000,
     [](uint64_t, uint64_t step) {
         return rib_prefix{(1'000'000 - step) << 16, 0, 48};
     }},
};

struct world_td {
    const map_case &of_case;
    std::mt19937_64 random{1};
    uint64_t step = 0;
    rib_prefix_map map;
    std::map<rib_prefix, uint64_t> model;

    explicit world_td(const map_case &chosen) : of_case(chosen) {}

    rib_prefix draw() { return of_case.prefix(random(), ++step); }
    /* Up to 16 to be put in, or of those that are there. */
    std::vector<rib_prefix> draw_group(bool of_known)
    {
        std::vector<rib_prefix> group;
        while (group.size() != (of_known ? std::min<size_t>(16, model.size()) : 16)) {
            const auto known = model.lower_bound(group.emplace_back(draw()));
            if (of_known)
                group.back() =
                    (known != model.end() ? known : std::next(model.begin(), static_cast<int>(group.size()) - 1))->first;
        }
        return group;
    }

    void change(const std::vector<rib_prefix> &prefixes, bool add)
    {
        std::vector<rib_prefix_map::hint_td> hints(random() % 4 == 0 ? 0 : prefixes.size());
        for (size_t i = 0; i != hints.size(); ++i)
            map.expect(prefixes[i], &hints[i]);
        for (rib_prefix_map::hint_td &hint : hints)
            map.approach(&hint);
        for (size_t i = 0; i != prefixes.size(); ++i) {
            if (i < hints.size())
                map.recall(hints[i]);
            change(prefixes[i], add);
        }
    }
    void change(const rib_prefix &prefix, bool add)
    {
        const auto place = map.locate(prefix);
        expect_same(place, model.lower_bound(prefix));
        if (!add && model.erase(prefix))
            return expect_same(map.erase(place), model.upper_bound(prefix));
        if (!add || !model.emplace(prefix, ++step).second)
            return;
        auto route = std::make_unique<rib_route>();
        route->version = step;
        map.insert(prefix)->second = std::move(route);
    }

    template <class place_td> void expect_same(place_td place, decltype(model)::const_iterator of_model)
    {
        ASSERT_EQ(place == place_td(), of_model == model.end());
        if (of_model == model.end())
            return;
        EXPECT_TRUE(place->first == of_model->first);
        EXPECT_EQ(place->second->version, of_model->second);
    }
    void compare_searches(const rib_prefix &prefix)
    {
        const rib_prefix_map &read = map;
        expect_same(read.lower_bound(prefix), model.lower_bound(prefix));
        const auto behind = model.upper_bound(prefix);
        expect_same(read.upper_bound(prefix), behind);
        const rib_prefix_map::entry_td *last = read.last_until(prefix);
        ASSERT_EQ(last == nullptr, behind == model.begin());
        EXPECT_TRUE(!last || last->first == std::prev(behind)->first);
    }
    void compare_all()
    {
        ASSERT_EQ(map.size(), model.size());
        auto of_model = model.begin();
        for (const rib_prefix_map::entry_td &entry : map) {
            ASSERT_TRUE(entry.first == of_model->first);
            ASSERT_EQ(entry.second->version, (of_model++)->second);
        }
        EXPECT_TRUE(of_model == model.end());
    }
};

TEST(prefix_map, grows_and_shrinks)
{
    for (const map_case &c : cases) {
        SCOPED_TRACE(c.name);
        world_td world(c);
        for (const bool grows : {true, false, true, false}) {
            for (unsigned group = 0; grows ? world.model.size() < c.most : !world.model.empty(); ++group) {
                world.change(world.draw_group(!grows), grows);
                world.compare_searches(world.draw());
                if (group % 200 == 0)
                    world.compare_all();
            }
            world.compare_all();
        }
    }
}

} // namespace
