/*
 * Lookups that check what was loaded.
 */
#pragma once

#include "progress.h"
#include "route_model.h"

#include <ipv6_rib/route.h>

#include <cstdint>
#include <span>

/* Looks a route up; the record it fills is this thread's and is overwritten by the next call. NULL when there is none;
 * fails the command when the lookup itself fails. */
const ipv6_routetype *look_up(ipv6_rib_conn_p conn, rib_tableid_td table, const ip_prefix &what, uint32_t flags);

ip_prefix prefix_of(const ipv6_routetype &found);
in6_addr nexthop_of(const ipv6_routetype &found, size_t path);

struct verify_counts {
    uint64_t checked = 0;
    uint64_t right = 0;
    uint64_t hidden = 0; /* the best route is another protocol's, which hides ours */
    uint64_t wrong = 0;  /* missing, or with another next hop or owner */
};

struct verify_target {
    ipv6_rib_conn_p conn;
    rib_tableid_td table;
    rib_protoid_td proto;
    bool alone; /* no other protocol may hide a route: one that does makes it wrong */
};

/* Looks each prefix up exactly; wrong answers are told, the first few in detail. */
verify_counts verify_exact(const verify_target &target, std::span<const route> routes, progress &shown);
/* Looks each prefix up exactly; any answer but that there is no route is wrong. */
verify_counts verify_absent(const verify_target &target, std::span<const route> routes, progress &shown);
/* Looks host addresses up that lie inside routes of the model, and a few anywhere. */
verify_counts verify_longest(const verify_target &target, const route_model &model, size_t lookups, progress &shown);
