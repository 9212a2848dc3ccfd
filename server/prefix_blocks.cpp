/*
 * Finding blocks, and keeping the directory while they come and go.
 */
#include "server/prefix_blocks.h"

#include <algorithm>
#include <iterator>

#include "server/cache.h"

constexpr rib_prefix BEHIND_ALL = {~uint64_t{0}, ~uint64_t{0}, UINT8_MAX};

/* How many of the words, which are in order, are not higher. Branches would be taken or not by chance, so there are none. */
static size_t count_until(const uint64_t *words, size_t count, uint64_t word)
{
    const uint64_t *at = words;
    while (count > 1) {
        const size_t half = count / 2;
        at += (at[half - 1] <= word) * half;
        count -= half;
    }
    return static_cast<size_t>(at - words) + (*at <= word);
}

/* The last of what begins with these high words that does not begin behind the prefix. The first of it begins before all. */
template <class highs_td, class begin_of_td>
static size_t last_until(const highs_td &highs, const rib_prefix &prefix, begin_of_td begin_of)
{
    size_t end = count_until(highs.data(), highs.size(), prefix.high);
    if (highs[end - 1] != prefix.high)
        return end - 1;
    const auto same = std::lower_bound(highs.begin(), highs.begin() + static_cast<ptrdiff_t>(end), prefix.high);
    for (auto low = static_cast<size_t>(same - highs.begin()); low != end;) {
        const size_t middle = (low + end) / 2;
        if (begin_of(middle) <= prefix)
            low = middle + 1;
        else
            end = middle;
    }
    return end - 1;
}

rib_prefix_blocks::rib_prefix_blocks()
{
    auto part = std::make_unique<part_td>();
    part->highs.push_back(0);
    part->blocks.push_back(std::make_unique<rib_prefix_block>());
    part->blocks.front()->until = BEHIND_ALL;
    highs_.push_back(0);
    parts_.push_back(std::move(part));
}

rib_prefix_blocks::spot_td rib_prefix_blocks::find(const rib_prefix &prefix) const
{
    const size_t part = last_until(highs_, prefix, [&](size_t at) { return parts_[at]->blocks.front()->from; });
    const part_td &found = *parts_[part];
    rib_fetch(found.highs);
    return {part, last_until(found.highs, prefix, [&](size_t at) { return found.blocks[at]->from; })};
}

rib_prefix_block *rib_prefix_blocks::covering(const rib_prefix &prefix) const
{
    const spot_td spot = find(prefix);
    rib_prefix_block *block = parts_[spot.part]->blocks[spot.at].get();
    rib_fetch(*block);
    return block;
}

rib_prefix_block *rib_prefix_blocks::before(spot_td spot) const
{
    return spot.at != 0 ? parts_[spot.part]->blocks[spot.at - 1].get() : parts_[spot.part - 1]->blocks.back().get();
}

rib_prefix_block *rib_prefix_blocks::before(const rib_prefix_block &block) const
{
    return before(find(block.from));
}

rib_prefix_block *rib_prefix_blocks::add(rib_prefix_block *block, const rib_prefix &from)
{
    auto fresh = std::make_unique<rib_prefix_block>();
    spot_td spot = find(block->from);
    if (parts_[spot.part]->blocks.size() == part_room) {
        split(spot.part);
        spot = find(block->from);
    }
    rib_prefix_block *added = fresh.get();
    added->from = from;
    added->until = std::exchange(block->until, from);
    added->next = std::exchange(block->next, added);
    part_td &part = *parts_[spot.part];
    const auto behind = static_cast<ptrdiff_t>(spot.at + 1);
    part.highs.insert(part.highs.begin() + behind, from.high);
    part.blocks.insert(part.blocks.begin() + behind, std::move(fresh));
    return added;
}

/* Makes two of a full part. */
void rib_prefix_blocks::split(size_t part)
{
    auto fresh = std::make_unique<part_td>();
    highs_.reserve(parts_.size() + 1);
    parts_.reserve(parts_.size() + 1);
    part_td &full = *parts_[part];
    const auto highs = full.highs.begin() + part_room / 2;
    const auto blocks = full.blocks.begin() + part_room / 2;
    fresh->highs.assign(highs, full.highs.end());
    fresh->blocks.assign(std::make_move_iterator(blocks), std::make_move_iterator(full.blocks.end()));
    full.highs.erase(highs, full.highs.end());
    full.blocks.erase(blocks, full.blocks.end());
    const auto behind = static_cast<ptrdiff_t>(part + 1);
    highs_.insert(highs_.begin() + behind, fresh->highs.front());
    parts_.insert(parts_.begin() + behind, std::move(fresh));
}

rib_prefix_block *rib_prefix_blocks::remove(rib_prefix_block *block)
{
    const spot_td spot = find(block->from);
    rib_prefix_block *previous = before(spot);
    previous->until = block->until;
    previous->next = block->next;
    part_td &part = *parts_[spot.part];
    part.highs.erase(part.highs.begin() + static_cast<ptrdiff_t>(spot.at));
    part.blocks.erase(part.blocks.begin() + static_cast<ptrdiff_t>(spot.at));
    if (!part.blocks.empty()) {
        highs_[spot.part] = part.highs.front();
        return previous;
    }
    highs_.erase(highs_.begin() + static_cast<ptrdiff_t>(spot.part));
    parts_.erase(parts_.begin() + static_cast<ptrdiff_t>(spot.part));
    return previous;
}
