/*
 * A fetch with a callback of every type, which keep what they are told.
 */
#pragma once

#include <functional>

#include <ipv6_rib/ipv6_rib.h>

#include "tests/support/capture_tev.h"
#include "tests/support/hex.h"

struct update_log_t {
    /* One callback behind the other: its type; its arguments, numbers with their most significant byte first; what its
     * pointers lead to, as it stands in memory. */
    bytes_t told;
    std::function<void()> meanwhile; /* runs in the callback at the end of a pass */
};

constexpr uint32_t update_types(std::initializer_list<unsigned> types)
{
    uint32_t set = 0;
    for (const unsigned type : types)
        set |= 1u << type;
    return set;
}
inline constexpr uint32_t ALL_UPDATES = ~0u;

/* Fetches with the callbacks of these types, the others are NULL. Returns the code, and expects it in both its places. */
errcode fetch_updates(ipv6_rib_conn_p conn, update_log_t *log, uint32_t types = ALL_UPDATES, uint32_t pass_limit = 0);
/* What is raised when something of an update cannot be decoded. */
tev_line_t update_fault(const std::string &text);
