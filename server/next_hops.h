/*
 * The next hops that a session follows. A registration ends with the session.
 */
#pragma once

#include <compare>

#include <absl/container/btree_map.h>

#include <ipv6_rib/types.h>

#include "server/prefix.h"

constexpr size_t RIB_SESSION_NEXT_HOPS = 65'536;

struct rib_next_hop_key {
    rib_tableid_td table = 0;
    rib_prefix addr; /* 128 bits */
    auto operator<=>(const rib_next_hop_key &) const = default;
};

/* How a next hop is to be resolved. */
struct rib_next_hop_words {
    bool one_step = false; /* what the longest match says, and no further */
    uint8_t min_len = 0;   /* shorter prefixes lead nowhere */
};

struct rib_next_hops {
    absl::btree_map<rib_next_hop_key, rib_next_hop_words> registered;
};
