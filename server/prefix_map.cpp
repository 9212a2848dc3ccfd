/*
 * Searching, filling and emptying the blocks.
 */
#include "server/prefix_map.h"

#include <algorithm>
#include <iterator>

constexpr size_t ROOM = rib_prefix_block::room;

static size_t lower(const rib_prefix_block &block, const rib_prefix &prefix)
{
    const auto before = [](const rib_prefix_entry &entry, const rib_prefix &wanted) { return entry.first < wanted; };
    const auto at = std::lower_bound(block.entries.begin(), block.entries.end(), prefix, before);
    return static_cast<size_t>(at - block.entries.begin());
}

static size_t upper(const rib_prefix_block &block, const rib_prefix &prefix)
{
    const size_t at = lower(block, prefix);
    return at != block.entries.size() && block.entries[at].first == prefix ? at + 1 : at;
}

rib_prefix_map::const_iterator rib_prefix_map::lower_bound(const rib_prefix &prefix) const
{
    rib_prefix_block *block = blocks_.covering(prefix);
    return {block, lower(*block, prefix)};
}

rib_prefix_map::const_iterator rib_prefix_map::upper_bound(const rib_prefix &prefix) const
{
    rib_prefix_block *block = blocks_.covering(prefix);
    return {block, upper(*block, prefix)};
}

const rib_prefix_map::entry_td *rib_prefix_map::last_until(const rib_prefix &prefix) const
{
    const rib_prefix_block *block = blocks_.covering(prefix);
    if (const size_t at = upper(*block, prefix))
        return &block->entries[at - 1];
    if (block == blocks_.first())
        return nullptr;
    const rib_prefix_block *before = blocks_.before(*block);
    return before->entries.empty() ? nullptr : &before->entries.back();
}

rib_prefix_map::spot_td rib_prefix_map::find(const rib_prefix &prefix)
{
    if (!near_->covers(prefix)) {
        near_ = blocks_.covering(prefix);
        next_ = 0;
    }
    const auto &entries = near_->entries;
    size_t at = std::min(next_, entries.size());
    if ((at != 0 && !(entries[at - 1].first < prefix)) || (at != entries.size() && entries[at].first < prefix))
        at = lower(*near_, prefix);
    next_ = at + 1;
    return {near_, at};
}

rib_prefix_map::iterator rib_prefix_map::locate(const rib_prefix &prefix)
{
    const spot_td spot = find(prefix);
    return {spot.block, spot.at};
}

rib_prefix_map::iterator rib_prefix_map::insert(const rib_prefix &prefix)
{
    spot_td spot = find(prefix);
    if (spot.block->entries.size() == ROOM) {
        split(spot);
        spot = find(prefix);
    }
    spot.block->entries.emplace(spot.block->entries.begin() + static_cast<ptrdiff_t>(spot.at), prefix, nullptr);
    ++size_;
    return {spot.block, spot.at};
}

/* Makes room in a full block. What comes in order leaves full blocks behind. */
void rib_prefix_map::split(spot_td spot)
{
    auto &entries = spot.block->entries;
    const bool appends = spot.at == ROOM && !spot.block->next;
    const auto middle = entries.begin() + (appends ? ROOM - 1 : ROOM / 2);
    rib_prefix_block *added = blocks_.add(spot.block, middle->first);
    added->entries.assign(std::make_move_iterator(middle), std::make_move_iterator(entries.end()));
    entries.erase(middle, entries.end());
}

/* A block of few entries takes in the next one, so that those that are left of a large table are not spread over memory. */
rib_prefix_map::iterator rib_prefix_map::erase(iterator where)
{
    rib_prefix_block *block = where.block_, *next = block->next;
    auto &entries = block->entries;
    entries.erase(entries.begin() + static_cast<ptrdiff_t>(where.at_));
    --size_;
    if (entries.empty() && block != blocks_.first()) {
        remove(block);
        return {next, 0};
    }
    if (next && entries.size() <= ROOM / 4 && entries.size() + next->entries.size() <= ROOM / 2) {
        entries.insert(entries.end(), std::make_move_iterator(next->entries.begin()),
                       std::make_move_iterator(next->entries.end()));
        remove(next);
    }
    return {block, where.at_};
}

void rib_prefix_map::remove(rib_prefix_block *block)
{
    near_ = blocks_.remove(block);
    ++removals_;
}

void rib_prefix_map::expect(const rib_prefix &prefix, hint_td *hint) const
{
    hint->block = near_->covers(prefix) ? nullptr : blocks_.covering(prefix);
    if (!hint->block)
        return;
    hint->prefix = prefix;
    hint->removals = removals_;
}

void rib_prefix_map::approach(hint_td *hint) const
{
    if (!hint->block)
        return;
    const auto &entries = hint->block->entries;
    hint->at = lower(*hint->block, hint->prefix);
    if (hint->at != entries.size() && entries[hint->at].first == hint->prefix)
        rib_fetch(*entries[hint->at].second);
}

void rib_prefix_map::recall(const hint_td &hint)
{
    if (!hint.block || hint.removals != removals_)
        return;
    near_ = hint.block;
    next_ = hint.at;
}
