/*
 * Lookups and a listing that check what was loaded.
 */
#pragma once

#include "progress.h"
#include "route_model.h"

#include <ipv6_rib/types.h>

#include <cstdint>
#include <span>

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
/* Lists the table and compares them with routes in prefix order; what is listed and was not expected is wrong. */
verify_counts verify_listed(const verify_target &target, std::span<const route> routes, progress &shown);
/* Looks host addresses up that lie inside routes of the model, and a few anywhere. */
verify_counts verify_longest(const verify_target &target, const route_model &model, size_t lookups, progress &shown);
