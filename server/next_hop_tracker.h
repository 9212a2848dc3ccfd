/*
 * Tracked next hops: all that sessions have registered, resolved once for those who ask for the same.
 *
 * A change of a table only marks those whose way it may alter. They are resolved anew before anyone hears of them, so many
 * changes cost one resolution; where that finds the way as it was, nobody is told.
 */
#pragma once

#include <memory>
#include <vector>

#include <absl/container/btree_map.h>
#include <absl/container/inlined_vector.h>

#include "server/next_hops.h"

struct rib_tracked_key {
    rib_next_hop_key hop;
    uint8_t min_len = 0;
    bool one_step = false;
    auto operator<=>(const rib_tracked_key &) const = default;
};

/* A lookup on the way, entered in the steps of its table. */
struct rib_tracked_step {
    rib_tableid_td table = 0;
    rib_prefix addr;
    uint8_t least = 0; /* of the prefixes that matter: as long as the match, or as a match must be */
    bool operator==(const rib_tracked_step &) const = default;
};
using rib_tracked_steps = absl::InlinedVector<rib_tracked_step, 2>;

struct rib_tracked {
    rib_tracked_key key;
    rib_next_hop_way way;
    rib_tracked_steps steps; /* each address of a table once */
    std::vector<rib_session *> followers;
    std::vector<rib_tracked *> *touched = nullptr; /* of the tracker */
    bool is_touched = false;
};

struct rib_next_hop_tracker {
    absl::btree_map<rib_tracked_key, std::unique_ptr<rib_tracked>> tracked;
    std::vector<rib_tracked *> touched; /* to be resolved anew; has room for all */
    uint64_t resolved = 0;              /* how often a way was looked for */
};

/* Tracks for the session; it follows none of that key yet. */
rib_tracked &rib_next_hop_follow(rib_server &server, rib_session &session, const rib_tracked_key &key);
/* The tracked next hop goes with the last one who follows it. */
void rib_next_hop_unfollow(rib_server &server, rib_session &session, rib_tracked &tracked);
/* The way may be another one. Does not throw. */
void rib_next_hop_touch(rib_tracked &tracked);
/* Resolves what was touched; what it tells waits afterwards. Precedes all that depends on it. Does not throw. */
void rib_next_hops_settle(rib_server &server);
