/*
 * Lengths are placed from short to long, so that what covers a new prefix is there already and its depth is known. Each
 * length has its share of prefixes that nothing covers, of those that lie in the listed parent lengths, and of those in
 * any other. Depths and blocks are budgets: where most is left, a prefix is most likely to go.
 */
#include "generator.h"

#include "failure.h"
#include "random.h"
#include "shape.h"

#include <absl/container/flat_hash_set.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

namespace
{

constexpr unsigned block_len = 12, longest_len = 48, depth_count = 9, block_count = 12;
constexpr unsigned allocation_len = 32; // what most networks are given
constexpr size_t nexthop_count = 80;

/* A prefix of at most 48 bits: the address in the upper bits, the length in the lowest byte. */
using packed_prefix = uint64_t;

packed_prefix pack(uint64_t addr, unsigned len)
{
    return (addr & ~uint64_t{0} << (64 - len)) | len;
}
unsigned len_of(packed_prefix prefix)
{
    return static_cast<unsigned>(prefix & 0xFF);
}

class table_generator
{
public:
    table_generator(size_t count, uint64_t seed) : count_(count), random_(seed)
    {
        placed_.reserve(count);
        for (size_t i = 0; i < depth_count; ++i)
            depth_left_[i] = share(shape_depths()[i]);
        for (size_t i = 0; i < block_count; ++i)
            block_left_[i] = share(shape_blocks()[i].routes);
    }

    std::vector<packed_prefix> make()
    {
        double wanted = 0;
        for (const length_share &length : shape_lengths()) {
            wanted += share(length.routes);
            const auto until = std::min(static_cast<size_t>(std::llround(wanted)), count_);
            if (until > placed_.size())
                place_length(length, until);
        }
        std::vector<packed_prefix> all(placed_.begin(), placed_.end());
        std::sort(all.begin(), all.end());
        return all;
    }

private:
    using bucket = std::vector<packed_prefix>;

    double share(uint32_t routes) const { return static_cast<double>(routes) * static_cast<double>(count_) / shape_routes; }

    /* Places prefixes of one length until the table holds so many. */
    void place_length(const length_share &length, size_t until)
    {
        uint32_t listed = 0;
        for (const nest_share &nest : shape_nests())
            listed += nest.child == length.len ? nest.routes : 0;
        while (placed_.size() < until) {
            uint64_t drawn = random_.below(length.routes);
            if (drawn < listed ? place_listed(length.len, drawn) : place_other(length.len))
                continue;
            if (!place_anywhere(length.len))
                fail("there is no room for a table of {} routes of this shape", count_);
        }
    }

    bool place_listed(unsigned len, uint64_t drawn)
    {
        for (const nest_share &nest : shape_nests()) {
            if (nest.child != len)
                continue;
            if (drawn < nest.routes)
                return place_inside(nest.parent, len);
            drawn -= nest.routes;
        }
        return false;
    }

    /* On top with the chance that a prefix outside the listed pairs has, else inside any shorter one. Allocations are
     * nearly always on top; inside the few that are shorter they would take all room. */
    bool place_other(unsigned len)
    {
        const bool on_top = len <= allocation_len || random_.part() < on_top_;
        return on_top ? place_on_top(len) : place_inside(some_parent_len(len), len);
    }

    static double chance_on_top()
    {
        uint32_t on_top = shape_depths()[0], others = shape_routes; // both of what is longer than allocations
        for (const length_share &length : shape_lengths()) {
            on_top -= length.len <= allocation_len ? length.routes : 0;
            others -= length.len <= allocation_len ? length.routes : 0;
        }
        for (const nest_share &nest : shape_nests()) {
            on_top += nest.child <= allocation_len ? nest.routes : 0;
            others -= nest.child > allocation_len ? nest.routes : 0;
        }
        return static_cast<double>(on_top) / others;
    }

    bool place_anywhere(unsigned len)
    {
        for (int tries = 0; tries < 64; ++tries)
            if (place_on_top(len) || place_inside(some_parent_len(len), len))
                return true;
        return false;
    }

    /* A shorter length in use that is not listed as parent of this one, by the number of its prefixes; 0 for none. None
     * becomes more frequent than those that are listed. */
    unsigned some_parent_len(unsigned len)
    {
        const auto most = static_cast<uint64_t>(share(1000)) + 1;
        std::array<uint64_t, longest_len> weight = {};
        uint64_t sum = 0;
        for (unsigned parent = block_len; parent < len; ++parent) {
            const bool listed = std::ranges::any_of(
                shape_nests(), [&](const nest_share &nest) { return nest.parent == parent && nest.child == len; });
            weight[parent] = listed ? 0 : std::min(of_len_[parent], most);
            sum += weight[parent];
        }
        uint64_t drawn = sum ? random_.below(sum) : 0;
        for (unsigned parent = block_len; sum && parent < len; ++parent) {
            if (drawn < weight[parent])
                return parent;
            drawn -= weight[parent];
        }
        return 0;
    }

    bool place_on_top(unsigned len)
    {
        for (int tries = 0; tries < 32; ++tries) {
            const size_t block = pick(block_left_);
            const uint64_t start = uint64_t{shape_blocks()[block].block} << 48;
            const packed_prefix made = pack(start | random_.next() >> block_len, len);
            if (!covered(made, block_len) && add(made, 0, block))
                return true;
        }
        return false;
    }

    bool place_inside(unsigned parent_len, unsigned len)
    {
        if (parent_len == 0)
            return false;
        for (int tries = 0; tries < 32; ++tries) {
            size_t depth, block;
            if (!pick_bucket(parent_len, &depth, &block))
                return false;
            const bucket &parents = buckets_[parent_len][depth][block];
            const packed_prefix parent = parents[skewed(parents.size(), tries)];
            const packed_prefix made = pack((parent & ~uint64_t{0xFF}) | random_.next() >> parent_len, len);
            if (!covered(made, parent_len) && add(made, depth + 1, block))
                return true;
        }
        return false;
    }

    /* The k-th of the parents gets about 1/k of what the first gets; when those are full, any will do. */
    size_t skewed(size_t size, int tries)
    {
        constexpr int skewed_tries = 16;
        const uint64_t bits = random_.below(static_cast<uint64_t>(std::bit_width(size))) + 1;
        const size_t among = tries < skewed_tries ? std::min(size, size_t{1} << bits) : size;
        return random_.below(among);
    }

    /* Whether a prefix of more than shorter bits covers this one. */
    bool covered(packed_prefix prefix, unsigned shorter) const
    {
        for (unsigned len = len_of(prefix) - 1; len > shorter; --len)
            if (of_len_[len] && placed_.contains(pack(prefix, len)))
                return true;
        return false;
    }

    bool add(packed_prefix prefix, size_t depth, size_t block)
    {
        if (depth >= depth_count || !placed_.insert(prefix).second)
            return false;
        const unsigned len = len_of(prefix);
        ++of_len_[len];
        buckets_[len][depth][block].push_back(prefix);
        depth_left_[depth] -= 1;
        block_left_[block] -= 1;
        return true;
    }

    /* What is used up keeps a very small chance, for when nothing else can be taken. */
    static double weight_of(double left) { return std::max(left, 1e-3); }

    template <size_t size> size_t pick(const std::array<double, size> &left)
    {
        double sum = 0;
        for (const double one : left)
            sum += weight_of(one);
        double drawn = random_.part() * sum;
        size_t at = 0;
        while (at + 1 < size && (drawn -= weight_of(left[at])) >= 0)
            ++at;
        return at;
    }

    /* Chooses depth and block of a parent among those that there are. */
    bool pick_bucket(unsigned len, size_t *depth, size_t *block)
    {
        std::array<double, depth_count *block_count> weight = {};
        double sum = 0;
        for (size_t i = 0; i < weight.size(); ++i) {
            const size_t d = i / block_count, b = i % block_count;
            if (d + 1 < depth_count && !buckets_[len][d][b].empty())
                weight[i] = weight_of(depth_left_[d + 1]) * weight_of(block_left_[b]);
            sum += weight[i];
        }
        double drawn = random_.part() * sum;
        for (size_t i = 0; i < weight.size(); ++i) {
            if (weight[i] > 0 && (drawn -= weight[i]) < 0) {
                *depth = i / block_count;
                *block = i % block_count;
                return true;
            }
        }
        return false;
    }

    size_t count_;
    random_source random_;
    const double on_top_ = chance_on_top();
    absl::flat_hash_set<packed_prefix> placed_;
    std::array<uint64_t, longest_len + 1> of_len_ = {};
    std::array<std::array<std::array<bucket, block_count>, depth_count>, longest_len + 1> buckets_;
    std::array<double, depth_count> depth_left_;
    std::array<double, block_count> block_left_;
};

/* What belongs to one origin has one next hop; a few next hops have many origins. */
class nexthop_choice
{
public:
    explicit nexthop_choice(uint64_t seed) : seed_(seed)
    {
        for (size_t i = 0; i < nexthop_count; ++i)
            until_[i] = (i ? until_[i - 1] : 0) + 1 / static_cast<double>(i + 6);
    }

    in6_addr of(packed_prefix prefix) const
    {
        const double drawn = static_cast<double>(scattered(seed_ ^ prefix >> 32) >> 11) * 0x1p-53 * until_.back();
        const auto at = std::upper_bound(until_.begin(), until_.end() - 1, drawn) - until_.begin();
        constexpr address_bits documentation = address_bits{0x20010DB8} << 96;
        return address_of(documentation | address_bits{static_cast<uint64_t>(at) + 1} << 64 | 1);
    }

private:
    /* Changes about half of the bits for each bit of the number. */
    static uint64_t scattered(uint64_t number)
    {
        number = (number ^ number >> 30) * 0xBF58476D1CE4E5B9;
        number = (number ^ number >> 27) * 0x94D049BB133111EB;
        return number ^ number >> 31;
    }

    uint64_t seed_;
    std::array<double, nexthop_count> until_;
};

} // namespace

std::vector<route> generate_table(size_t count, uint64_t seed)
{
    if (count > generator_most_routes)
        fail("a table of more than {} routes is not to be had", generator_most_routes);
    const nexthop_choice nexthops(seed);
    std::vector<route> made;
    made.reserve(count);
    for (const packed_prefix prefix : table_generator(count, seed).make()) {
        const address_bits addr = address_bits{prefix & ~uint64_t{0xFF}} << 64;
        made.push_back({{address_of(addr), static_cast<uint8_t>(len_of(prefix))}, nexthops.of(prefix)});
    }
    return made;
}
