/*
 * Whom the changes of a table concern: those who want to be told of its routes, the next hops whose way leads through it,
 * and those who want to hear that all of its next hops are told.
 */
#pragma once

#include <vector>

#include "server/next_hop_steps.h"

struct rib_interest;
struct rib_session;

using rib_watchers = std::vector<rib_interest *>;

struct rib_audience {
    rib_watchers watchers;
    rib_next_hop_steps steps;
    std::vector<rib_session *> converging;

    bool empty() const { return watchers.empty() && steps.empty() && converging.empty(); }
};
