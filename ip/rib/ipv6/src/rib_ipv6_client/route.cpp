/*
 * Exported functions: lookups, and the conversion of what they return.
 */
#include "ip/rib/lib/src/rib_lib_api/route.h"

#include <cstdlib>

#include "ip/rib/lib/src/rib_fatal.h"
#include "ip/rib/lib/src/rib_lib_api/route_compact.h"

int ipv6_rib_route_lookup(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t prefix_len, uint32_t flags,
                          [[maybe_unused]] uint32_t unused, ipv6_routetype *route, errcode *err)
{
    static_assert(RIB_LOOKUP_RESERVED == 0x00001000);
    rib_fatal_unless(!(flags & RIB_LOOKUP_RESERVED), "!(flags & 0x00001000)");
    errcode code = 0;
    const int found = rib_client_route_lookup(conn, table, addr, prefix_len, flags, route, &code);
    if (found && code == 0)
        ipv6_rib_route_xform(route);
    if (err)
        *err = code;
    return found;
}

int ipv6_rib_route_lookup_internal(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t prefix_len,
                                   uint32_t flags, [[maybe_unused]] uint32_t unused, ipv6_routetype *route, errcode *err)
{
    return rib_client_route_lookup(conn, table, addr, prefix_len, flags, route, err);
}

int ipv6_rib_route_lookup_longer_internal(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t prefix_len,
                                          [[maybe_unused]] uint32_t unused, ipv6_routetype *route, errcode *err)
{
    return rib_client_route_lookup(conn, table, addr, prefix_len, RIB_LOOKUP_LONGER, route, err);
}

int ipv6_rib_route_lookup_longer_range_internal(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr,
                                                uint32_t min_len, uint32_t max_len, ipv6_routetype *route, errcode *err)
{
    if (min_len > max_len || max_len > 128)
        return 0;
    return rib_client_route_lookup(conn, table, addr, max_len << 16 | min_len, RIB_LOOKUP_RANGE, route, err);
}

static bool is_path_attribute(uint16_t type)
{
    switch (type) {
    case 12:
    case 13:
    case 17:
    case 18:
    case 20:
    case 21:
    case 22:
    case 23:
    case 26:
    case 28:
    case 39:
    case 43:
    case 100:
    case 101:
    case 102:
    case 103:
    case 105:
    case 106:
    case 109:
        return true;
    default:
        return false;
    }
}

struct whole_paths {
    static void move(rib_pathtype *slot, const rib_tlv_t *path)
    {
        rib_move_path_parts<0, 4, 8, 12, 48, 52, 56, 68, 72, 76, 80, 82, 84, 88>(slot, path);
    }
    static bool knows_attribute(uint16_t type) { return is_path_attribute(type); }
};

void ipv6_rib_route_xform(ipv6_routetype *route)
{
    rib_client_compact_paths<whole_paths>(route, reinterpret_cast<const uint8_t *>(route + 1));
}

void ipv6_rib_route_free(void *route)
{
    std::free(route);
}
