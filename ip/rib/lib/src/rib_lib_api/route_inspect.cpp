/*
 * Looking into routes and paths.
 */
#include "route_inspect.h"

#include <cstring>
#include <iterator>

#include "../rib_addr.h"
#include "../rib_fatal.h"

static_assert(sizeof(ip_rib_path) == 128 && offsetof(ip_rib_path, path_cmp_word) == sizeof(rib_pathtype));

static int compare(uint32_t first, uint32_t second)
{
    return (first > second) - (first < second);
}

/* Addresses of paths stand at any place. */
static int compare_addresses(const uint8_t (&first)[16], const uint8_t (&second)[16])
{
    in6_addr_t addr1;
    in6_addr_t addr2;
    std::memcpy(&addr1, first, sizeof addr1);
    std::memcpy(&addr2, second, sizeof addr2);
    return rib_cmp_addr(&addr1, &addr2);
}

static int compare_secondary(const ip_rib_path *path1, const ip_rib_path *path2)
{
    if (path1->sec_addr_count == 0 && path2->sec_addr_count == 0)
        return 0;
    for (unsigned i = 0; i < std::size(path1->sec_addr); i++) {
        if (i > path1->sec_addr_count)
            return -1;
        if (i > path2->sec_addr_count)
            return 1;
        if (const int order = compare_addresses(path1->sec_addr[i], path2->sec_addr[i]))
            return order;
    }
    return 0;
}

int rib_client_route_path_compare(const ip_rib_path *path1, const ip_rib_path *path2)
{
    rib_fatal_unless(path1, "path1");
    rib_fatal_unless(path2, "path2");
    if (const int order = compare(path1->path.path_nexthop_table, path2->path.path_nexthop_table))
        return order;
    if (const int order = compare_addresses(path1->path.path_nexthop, path2->path.path_nexthop))
        return order;
    if (const int order = compare(path1->path.path_interface, path2->path.path_interface))
        return order;
    if (const int order = compare(path1->path_cmp_word, path2->path_cmp_word))
        return order;
    return compare_secondary(path1, path2);
}

/* Runs over the protocols that advertise a route until wanted() answers true; whether one did. */
template <class wanted_t> static bool any_advertiser(const rib_routetype *route, wanted_t wanted)
{
    const rib_advertisers *list = route->rt_advertisers;
    if (!list)
        return false;
    const auto *at = reinterpret_cast<const uint8_t *>(list) + offsetof(rib_advertisers, adv_protoid);
    for (uint32_t left = list->adv_count; left != 0; left--, at += sizeof(rib_protoid_td))
        if (wanted(rib_load<rib_protoid_td>(at)))
            return true;
    return false;
}

bool rib_client_route_advertised_by(const rib_routetype *route, rib_protoid_td protoid)
{
    return route->rt_protoid == protoid || any_advertiser(route, [=](rib_protoid_td id) { return id == protoid; });
}

bool rib_client_route_advertised_by(const rib_routetype *route, const uint8_t *mask)
{
    const auto in_mask = [=](rib_protoid_td id) { return id < RIB_PROTOID_COUNT && (mask[id / 8] >> id % 8 & 1) != 0; };
    return in_mask(route->rt_protoid) || any_advertiser(route, in_mask);
}

void rib_client_route_advertisers(const rib_routetype *route, uint8_t *mask)
{
    std::memset(mask, 0, RIB_PROTOID_MASK_BYTES);
    any_advertiser(route, [=](rib_protoid_td id) {
        if (id < RIB_PROTOID_COUNT)
            mask[id / 8] = static_cast<uint8_t>(mask[id / 8] | 1u << id % 8);
        return false;
    });
}
