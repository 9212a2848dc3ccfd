/*
 * Runs of neighbouring prefixes, each with the first of its routes, and the directory that leads to those of a table.
 *
 * A search waits for memory wherever it goes outside the processor's cache. So the directory is dense: what is searched of it
 * is one word of each block, in two levels.
 */
#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include <absl/container/inlined_vector.h>

#include "server/prefix.h"
#include "server/route.h"

using rib_prefix_entry = std::pair<rib_prefix, rib_route_ptr>;

/* Its entries are not before from and are before until. */
struct rib_prefix_block {
    static constexpr size_t room = 30;

    rib_prefix from;
    rib_prefix until;
    rib_prefix_block *next = nullptr;
    absl::InlinedVector<rib_prefix_entry, room> entries;

    bool covers(const rib_prefix &prefix) const { return from <= prefix && prefix < until; }
};

/* All blocks of a table. Each prefix is covered by one of them, and the first one stays. */
class rib_prefix_blocks
{
public:
    rib_prefix_blocks();

    rib_prefix_block *first() const { return parts_.front()->blocks.front().get(); }
    /* The block is still on its way from memory. */
    rib_prefix_block *covering(const rib_prefix &prefix) const;
    /* The one right before a block that is not the first. */
    rib_prefix_block *before(const rib_prefix_block &block) const;
    /* A new block behind another one, which covers from now on what begins at the prefix. */
    rib_prefix_block *add(rib_prefix_block *block, const rib_prefix &from);
    /* Takes a block away that is not the first. The one before, which is returned, covers what it covered. */
    rib_prefix_block *remove(rib_prefix_block *block);

private:
    static constexpr size_t part_room = 128;
    /* Blocks in order, and the high words of where they begin. */
    struct part_td {
        absl::InlinedVector<uint64_t, part_room> highs;
        absl::InlinedVector<std::unique_ptr<rib_prefix_block>, part_room> blocks;
    };
    struct spot_td {
        size_t part;
        size_t at;
    };
    spot_td find(const rib_prefix &prefix) const;
    rib_prefix_block *before(spot_td spot) const;
    void split(size_t part);

    std::vector<uint64_t> highs_; /* those that stand first in the parts */
    std::vector<std::unique_ptr<part_td>> parts_;
};
