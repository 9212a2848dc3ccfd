/*
 * Why one of the routes for a prefix forwards and the others do not.
 */
#pragma once

#include "address.h"
#include "output.h"

#include <ipv6_rib/route.h>

#include <span>
#include <string>

/* What the server decides by, in this order: a primary path, then the lowest of each. */
struct route_rank {
    bool backup_only;
    uint8_t distance;
    uint32_t metric;
    rib_protoid_td protoid;
    auto operator<=>(const route_rank &) const = default;
};

struct candidate {
    route_rank rank;
    std::string protocol;
};

/* What decided about one of the candidates, which are given best first. */
std::string reason(std::span<const candidate> ranked, size_t index);

/* Shows every route of a prefix, best first. Fails the command when there is none, or when the server forwards by another than
 * the first. */
void explain(ipv6_rib_conn_p conn, rib_tableid_td table, const ip_prefix &prefix, output &out);
