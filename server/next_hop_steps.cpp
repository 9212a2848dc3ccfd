/*
 * The lookups of one table.
 */
#include "server/next_hop_steps.h"

#include <tuple>

#include "server/next_hop_tracker.h"

/* One address is looked up for many next hops where they all lie behind one router. */
bool rib_next_hop_steps::order_td::operator()(const step_td &step, const step_td &other) const
{
    if (step.high != other.high || step.low != other.low)
        return std::tie(step.high, step.low) < std::tie(other.high, other.low);
    return step.tracked->key < other.tracked->key;
}

bool rib_next_hop_steps::order_td::operator()(const step_td &step, const rib_prefix &prefix) const
{
    return std::tie(step.high, step.low) < std::tie(prefix.high, prefix.low);
}

bool rib_next_hop_steps::order_td::operator()(const rib_prefix &prefix, const step_td &step) const
{
    return std::tie(prefix.high, prefix.low) < std::tie(step.high, step.low);
}

void rib_next_hop_steps::insert(const rib_prefix &addr, rib_tracked *tracked, uint8_t least, bool first)
{
    steps_.insert({addr.high, addr.low, tracked, least, first});
}

void rib_next_hop_steps::erase(const rib_prefix &addr, rib_tracked *tracked)
{
    steps_.erase(step_td{addr.high, addr.low, tracked});
}

void rib_next_hop_steps::touch(const rib_prefix &prefix, bool subnet)
{
    for (auto place = steps_.lower_bound(prefix);
         place != steps_.end() && rib_prefix_covers(prefix, {place->high, place->low, RIB_ADDR_BITS}); ++place) {
        ++visited_;
        if (prefix.len >= place->least || (subnet && place->first))
            rib_next_hop_touch(*place->tracked);
    }
}

void rib_next_hop_steps::touch_all()
{
    for (const step_td &step : steps_)
        rib_next_hop_touch(*step.tracked);
}
