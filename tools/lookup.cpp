#include "lookup.h"

#include "failure.h"
#include "results.h"

static thread_local ipv6_routetype found;

ip_prefix prefix_of(const ipv6_routetype &route)
{
    return {address_at(&route.rt_prefix), route.rt_prefix_len};
}

in6_addr nexthop_of(const ipv6_routetype &route, size_t path)
{
    return path < route.rt_path_count ? address_at(&route.rt_path[path].path_nexthop) : in6addr_any;
}

/* The record that a lookup filled, converted; the attributes of its paths are to be read before. */
static const ipv6_routetype *answer(int known, errcode err, const ip_prefix &what, paths_attributes *attributes)
{
    if (!known && err != 0 && err != RIB_SRV_ERR_NOT_FOUND)
        fail("the lookup of {} failed: {}", text_of(what), error_text(err));
    if (!known)
        return nullptr;
    if (attributes)
        *attributes = attributes_in(found);
    ipv6_rib_route_xform(&found);
    return &found;
}

const ipv6_routetype *look_up(ipv6_rib_conn_p conn, rib_tableid_td table, const ip_prefix &what, uint32_t flags,
                              paths_attributes *attributes)
{
    errcode err = 0;
    const int known = ipv6_rib_route_lookup_internal(conn, table, &what.addr, what.len, flags, 0, &found, &err);
    return answer(known, err, what, attributes);
}

const ipv6_routetype *look_up_longer(ipv6_rib_conn_p conn, rib_tableid_td table, const ip_prefix &what,
                                     paths_attributes *attributes)
{
    errcode err = 0;
    const int known = ipv6_rib_route_lookup_longer_internal(conn, table, &what.addr, what.len, 0, &found, &err);
    return answer(known, err, what, attributes);
}
