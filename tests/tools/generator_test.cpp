/*
 * The generator against the figures that it follows, measured anew from what it made.
 */
#include "tools/generator.h"

#include "tools/shape.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>

namespace
{

struct measured_shape {
    std::map<unsigned, double> lengths, depths, blocks;
    std::map<std::pair<unsigned, unsigned>, double> nests;
};

/* Counts, scaled to a table of shape_routes routes. Routes are in prefix order: what covers one is on the stack. */
measured_shape measure(const std::vector<route> &routes)
{
    measured_shape shape;
    const double unit = shape_routes / static_cast<double>(routes.size());
    std::vector<ip_prefix> covers;
    for (const route &one : routes) {
        const address_bits addr = bits_of(one.prefix.addr);
        while (!covers.empty() && !contains(covers.back(), addr))
            covers.pop_back();
        shape.lengths[one.prefix.len] += unit;
        shape.depths[static_cast<unsigned>(covers.size())] += unit;
        shape.blocks[static_cast<unsigned>(addr >> 116) << 4] += unit;
        if (!covers.empty())
            shape.nests[{covers.back().len, one.prefix.len}] += unit;
        covers.push_back(one.prefix);
    }
    return shape;
}

/* Within a part of the figure, and what chance may add to it: three standard deviations of a count that was drawn. */
void expect_near(double got, double figure, double part, size_t drawn, const std::string &of)
{
    const double unit = shape_routes / static_cast<double>(drawn);
    EXPECT_NEAR(got, figure, figure * part + 3 * std::sqrt(figure * unit) + unit) << of;
}

} // namespace

TEST(generator, follows_the_figures_at_any_size)
{
    for (const size_t count : {100'000u, 400'000u}) {
        measured_shape shape = measure(generate_table(count, 7));
        for (const length_share &length : shape_lengths())
            expect_near(shape.lengths[length.len], length.routes, 0.01, count, "length " + std::to_string(length.len));
        for (const block_share &block : shape_blocks())
            expect_near(shape.blocks[block.block], block.routes, 0.02, count, "block " + std::to_string(block.block));
        for (unsigned depth = 0; depth < shape_depths().size(); ++depth)
            expect_near(shape.depths[depth], shape_depths()[depth], depth ? 0.15 : 0.02, count, "depth " + std::to_string(depth));
        for (const nest_share &nest : shape_nests())
            expect_near(shape.nests[{nest.parent, nest.child}], nest.routes, 0.1, count,
                        "nest in " + std::to_string(nest.parent));
    }
}

TEST(generator, gives_unique_prefixes_in_order_and_skewed_next_hops)
{
    for (const size_t count : {0u, 1u, 2u, 50'000u}) {
        const std::vector<route> routes = generate_table(count, 1);
        ASSERT_EQ(routes.size(), count);
        std::map<address_bits, size_t> nexthops;
        size_t most = 0;
        for (size_t i = 0; i < count; ++i) {
            const ip_prefix &prefix = routes[i].prefix, &before = routes[i ? i - 1 : 0].prefix;
            EXPECT_TRUE(same_address(prefix.addr, masked(prefix.addr, prefix.len)));
            most = std::max(most, ++nexthops[bits_of(routes[i].nexthop)]);
            ASSERT_TRUE(i == 0 || std::pair(bits_of(before.addr), before.len) < std::pair(bits_of(prefix.addr), prefix.len));
        }
        if (count == 50'000) {
            EXPECT_EQ(nexthops.size(), 80u);
            EXPECT_GT(most, 3 * count / nexthops.size());
        }
    }
}

TEST(generator, the_seed_alone_decides)
{
    const auto bits = [](uint64_t seed) {
        std::vector<address_bits> all;
        for (const route &one : generate_table(2000, seed))
            all.insert(all.end(), {bits_of(one.prefix.addr), one.prefix.len, bits_of(one.nexthop)});
        return all;
    };
    EXPECT_TRUE(bits(3) == bits(3));
    EXPECT_FALSE(bits(3) == bits(4));
}
