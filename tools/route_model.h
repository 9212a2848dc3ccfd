/*
 * A table as it should be, held by the tool itself, to compare the server's answers with.
 */
#pragma once

#include "route_reader.h"

#include <cstdint>
#include <vector>

class route_model
{
public:
    /* Of several routes for one prefix the last one counts, as in the server. */
    explicit route_model(std::vector<route> routes);

    /* In prefix order: by address, then the shorter first. */
    const std::vector<route> &routes() const { return routes_; }
    /* The longest match, or NULL. */
    const route *longest(const in6_addr &addr) const;

private:
    static constexpr uint32_t none = UINT32_MAX;

    void link_covers();

    std::vector<route> routes_;
    std::vector<uint32_t> cover_; /* of each route the longest other one that contains it */
};
