/*
 * Which tracked next hops a change of a prefix of one table touches: the lookups made in the table on the way to them, in
 * the order of the addresses that were looked up.
 */
#pragma once

#include <cstdint>

#include <absl/container/btree_set.h>

#include "server/prefix.h"

struct rib_tracked;

class rib_next_hop_steps
{
public:
    bool empty() const { return steps_.empty(); }
    /* Prefixes shorter than least do not matter to the lookup; but connected subnets do to the first one of a way. */
    void insert(const rib_prefix &addr, rib_tracked *tracked, uint8_t least, bool first);
    void erase(const rib_prefix &addr, rib_tracked *tracked);

    /* A route of the prefix changed; subnet: one of a connected subnet came or went. Does not throw. */
    void touch(const rib_prefix &prefix, bool subnet);
    void touch_all();
    /* Lookups that changes have been compared with. */
    uint64_t visited() const { return visited_; }

private:
    struct step_td {
        uint64_t high = 0;
        uint64_t low = 0;
        rib_tracked *tracked = nullptr;
        uint8_t least = 0;
        bool first = false;
    };
    struct order_td {
        using is_transparent = void;
        bool operator()(const step_td &step, const step_td &other) const;
        bool operator()(const step_td &step, const rib_prefix &prefix) const;
        bool operator()(const rib_prefix &prefix, const step_td &step) const;
    };

    absl::btree_set<step_td, order_td> steps_;
    uint64_t visited_ = 0;
};
