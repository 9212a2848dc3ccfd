/*
 * A server with random routes of several protocols in two tables, and a plain list of the same routes to compare it with.
 * Addresses have few distinct bits, so that prefixes nest and next hops meet routes, one another and themselves.
 */
#pragma once

#include <map>
#include <random>
#include <tuple>

#include "server/prefix.h"
#include "tests/server/rig.h"

constexpr rib_protoid_td WORLD_PROTOCOLS = 4;

struct world_td : rig_td {
    using key_td = std::tuple<rib_tableid_td, rib_prefix, rib_protoid_td>;
    using place_td = std::map<key_td, route_td>::const_iterator;

    explicit world_td(unsigned seed);
    uint32_t dice(uint32_t sides) { return static_cast<uint32_t>(random() % sides); }
    rib_prefix random_addr();
    rib_prefix random_prefix() { return rib_prefix_cut(random_addr(), dice(2) ? 128 : dice(129)); }
    /* A route is put or withdrawn; now and then a protocol becomes one of another kind. */
    void change();

    static const rib_prefix &prefix_of(place_td at) { return std::get<1>(at->first); }
    uint32_t kind_of(place_td at) const { return kinds[std::get<2>(at->first)]; }
    /* Of two routes for one prefix. */
    bool better(place_td first, place_td second) const;
    bool best(place_td at) const;
    /* A route for the longest prefix of at most so many bits that covers an address, the best one there; end() without one. */
    place_td longest(rib_tableid_td table, const rib_prefix &addr, unsigned max_len = 128, int kind = -1) const;

    std::mt19937_64 random;
    std::map<key_td, route_td> routes;
    std::vector<uint32_t> kinds = {0, 1, 2, 3};
    rib_session &session = client();
};

std::string text_of(const rib_prefix &addr);
rib_prefix addr_of(const std::string &text);
