/*
 * The next hops that a session follows, and the tables of which it wants to hear that all of them are told. What is
 * registered ends with the session.
 */
#pragma once

#include <compare>
#include <optional>

#include <absl/container/btree_map.h>
#include <absl/container/btree_set.h>

#include <ipv6_rib/types.h>

#include "server/prefix.h"
#include "server/route.h"

struct rib_server;
struct rib_session;
struct rib_tracked;

constexpr size_t RIB_SESSION_NEXT_HOPS = 65'536; /* and as many tables */

struct rib_next_hop_key {
    rib_tableid_td table = 0;
    rib_prefix addr; /* 128 bits */
    auto operator<=>(const rib_next_hop_key &) const = default;
};

/* How a next hop is to be resolved, and what the client calls it. */
struct rib_next_hop_words {
    bool one_step = false; /* what the longest match says, and no further */
    uint8_t min_len = 0;   /* shorter prefixes lead nowhere */
    uint32_t value = 0;
};

/* The way to a next hop as far as it is told. It is as here while the next hop is not reached. */
struct rib_next_hop_way {
    rib_addr_bytes via = {};
    uint32_t metric = 0;
    uint32_t interface = 0;
    rib_protoid_td protoid = RIB_PROTOID_NONE;
    uint8_t flags = 0;
    uint8_t prefix_len = 0;
    uint8_t distance = 0;
    uint8_t kind = 0;
    bool operator==(const rib_next_hop_way &) const = default;
};

struct rib_next_hop {
    rib_next_hop_words words;
    rib_tracked *tracked = nullptr;
    std::optional<rib_next_hop_way> told; /* nothing yet: it waits to be told, whatever it is */
};

struct rib_next_hops {
    absl::btree_map<rib_next_hop_key, rib_next_hop> registered;
    absl::btree_set<rib_tableid_td> converging;
};

/* How a registration is answered: by the first update, or at once in a reply; updates then tell of changes only. */
enum class rib_next_hop_answer { update, reply };

/* Whether there is room for a registration of that key. */
bool rib_next_hop_fits(const rib_session &session, const rib_next_hop_key &key);
/* Registers a next hop, for which there is room, or registers it anew; returns the way to it. */
const rib_next_hop_way &rib_next_hop_register(rib_server &server, rib_session &session, const rib_next_hop_key &key,
                                              const rib_next_hop_words &words, rib_next_hop_answer answer);
/* False: there is none. */
bool rib_next_hop_unregister(rib_server &server, rib_session &session, const rib_next_hop_key &key);
/* Lets the session hear that all of a table are told, now and whenever the table has converged; or no longer. */
void rib_next_hops_register_converge(rib_server &server, rib_session &session, rib_tableid_td table);
void rib_next_hops_unregister_converge(rib_server &server, rib_session &session, rib_tableid_td table);
/* The session ends. */
void rib_next_hops_end(rib_server &server, rib_session &session);

/* A protocol says that the table has converged. */
void rib_next_hops_converged(rib_server &server, rib_tableid_td table);
/* The way to a next hop of the session may be another one. Does not throw. */
void rib_next_hop_changed(rib_session &session, const rib_next_hop_key &key);
