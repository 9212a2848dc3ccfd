#include "route_model.h"

#include <algorithm>

static bool before(const route &a, const route &b)
{
    return in_prefix_order(a.prefix, b.prefix);
}

route_model::route_model(std::vector<route> routes) : routes_(std::move(routes))
{
    std::stable_sort(routes_.begin(), routes_.end(), before);
    const auto same_prefix = [](const route &a, const route &b) { return a.prefix == b.prefix; };
    /* From the back, so that the last of equals stays. */
    const auto kept = std::unique(routes_.rbegin(), routes_.rend(), same_prefix);
    routes_.erase(routes_.begin(), kept.base());
    link_covers();
}

/* In prefix order what covers a route comes before it: it is the predecessor, or one that covers the predecessor. */
void route_model::link_covers()
{
    cover_.assign(routes_.size(), none);
    for (uint32_t i = 1; i < routes_.size(); ++i) {
        uint32_t at = i - 1;
        while (at != none && !contains(routes_[at].prefix, bits_of(routes_[i].prefix.addr)))
            at = cover_[at];
        cover_[i] = at;
    }
}

const route *route_model::longest(const in6_addr &addr) const
{
    const route wanted = {{addr, 128}, {}};
    const auto after = std::upper_bound(routes_.begin(), routes_.end(), wanted, before);
    if (after == routes_.begin())
        return nullptr;
    auto at = static_cast<uint32_t>(after - routes_.begin()) - 1;
    while (at != none && !contains(routes_[at].prefix, bits_of(addr)))
        at = cover_[at];
    return at == none ? nullptr : &routes_[at];
}
