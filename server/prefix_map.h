/*
 * The prefixes of a table in order, each with the first of its routes.
 *
 * Prefixes that are asked for in order cost no search. Whoever knows what will be asked for next in any order can have many
 * searches wait for memory side by side, with expect().
 */
#pragma once

#include "server/cache.h"
#include "server/prefix_blocks.h"

class rib_prefix_map
{
    template <class value_td> class place_td
    {
    public:
        place_td() = default;

        value_td &operator*() const { return block_->entries[at_]; }
        value_td *operator->() const { return &**this; }
        place_td &operator++()
        {
            if (at_ + ahead < block_->entries.size())
                rib_fetch(*block_->entries[at_ + ahead].second);
            return *this = place_td(block_, at_ + 1);
        }
        bool operator==(const place_td &) const = default;

    private:
        friend class rib_prefix_map;
        static constexpr size_t ahead = 4; /* routes that a walk has fetched early */
        /* One behind the last entry of its block is the first one of the next. */
        place_td(rib_prefix_block *block, size_t at) : block_(block), at_(at)
        {
            while (block_ && at_ == block_->entries.size()) {
                block_ = block_->next;
                at_ = 0;
            }
        }

        rib_prefix_block *block_ = nullptr;
        size_t at_ = 0;
    };

public:
    using entry_td = rib_prefix_entry;
    using iterator = place_td<entry_td>;
    using const_iterator = place_td<const entry_td>;

    size_t size() const { return size_; }
    iterator begin() { return {blocks_.first(), 0}; }
    iterator end() { return {}; }
    const_iterator begin() const { return {blocks_.first(), 0}; }
    const_iterator end() const { return {}; }

    /* The first entry that does not stand before the prefix, or that stands behind it. */
    const_iterator lower_bound(const rib_prefix &prefix) const;
    const_iterator upper_bound(const rib_prefix &prefix) const;
    /* The last entry that does not stand behind the prefix, or NULL. */
    const entry_td *last_until(const rib_prefix &prefix) const;

    /* As lower_bound(), and costs next to nothing when asked for in prefix order. */
    iterator locate(const rib_prefix &prefix);
    /* Adds a prefix that is not there yet, without routes. Ends the validity of places. */
    iterator insert(const rib_prefix &prefix);
    /* Returns the place behind it. Ends the validity of places. */
    iterator erase(iterator where);

    /*
     * A search begun early. First expect() has the block fetched from memory, then approach() the route, without waiting for
     * either; recall() makes the outcome known to locate(). Nothing is begun for what locate() finds without a search.
     */
    struct hint_td {
        rib_prefix prefix;
        rib_prefix_block *block = nullptr;
        size_t at = 0;
        size_t removals = 0;
    };
    void expect(const rib_prefix &prefix, hint_td *hint) const;
    void approach(hint_td *hint) const;
    void recall(const hint_td &hint);

private:
    /* Where a prefix stands in its block, or would. */
    struct spot_td {
        rib_prefix_block *block;
        size_t at;
    };
    spot_td find(const rib_prefix &prefix);
    void split(spot_td spot);
    void remove(rib_prefix_block *block);

    rib_prefix_blocks blocks_;
    rib_prefix_block *near_ = blocks_.first(); /* that was searched last */
    size_t next_ = 0;                          /* where in it the next one asked for may stand */
    size_t size_ = 0;
    size_t removals_ = 0; /* blocks that are gone */
};
