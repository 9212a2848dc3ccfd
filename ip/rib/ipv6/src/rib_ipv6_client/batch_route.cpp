/*
 * Exported functions: routes and paths of a batch.
 */
#include "ip/rib/lib/src/rib_lib_batch/path.h"
#include "ip/rib/lib/src/rib_lib_batch/route.h"

static ip_rib_qlfd_addr_td qualified(const in6_addr_t *addr)
{
    return {.afi = 2, .addr = {.v6 = addr}};
}

rib_batch_buffer_result ipv6_rib_batch_buffer_add_route(rib_batch_buffer *buffer, const in6_addr_t *prefix, uint8_t prefixlen,
                                                        uint16_t value6, uint32_t flag)
{
    return rib_batch_buffer_add_route(buffer, prefix, prefixlen, value6, 0, 0, flag, 0, 0);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_add_route2(rib_batch_buffer *buffer, const in6_addr_t *prefix, uint8_t prefixlen,
                                                         uint16_t value6, uint32_t flags, uint32_t value12, uint32_t flag,
                                                         uint32_t value16, uint8_t value40)
{
    return rib_batch_buffer_add_route(buffer, prefix, prefixlen, value6, flags, value12, flag, value16, value40);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_init_route(rib_batch_buffer *buffer, const in6_addr_t *prefix, uint8_t prefixlen)
{
    return rib_batch_buffer_init_route(buffer, prefix, prefixlen);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_add_route3(rib_batch_buffer *buffer)
{
    return rib_batch_buffer_add_route3(buffer);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_add_path(rib_batch_buffer *buffer, uint32_t value152, uint64_t value8,
                                                       const in6_addr_t *nexthop, const in6_addr_t *infosource, uint32_t value4,
                                                       uint32_t value20, uint16_t value16)
{
    const ip_rib_qlfd_addr_td source = qualified(infosource);
    const rib_batch_path_values values = {
        .u32_152 = value152, .u32_4 = value4, .u32_20 = value20, .label = RIB_LABEL_NONE, .u64_8 = value8, .u16_16 = value16};
    return rib_batch_buffer_add_path(buffer, values, nexthop, &source, nullptr);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_add_path2(rib_batch_buffer *buffer, uint32_t value152, uint64_t value8,
                                                        const in6_addr_t *nexthop, uint32_t value176,
                                                        const in6_addr_t *infosource, uint32_t value4, uint16_t value16,
                                                        uint32_t value24, uint32_t label, const void *attr_array)
{
    return ipv6_rib_batch_buffer_add_path3(buffer, value152, value8, nexthop, value176, value4, qualified(infosource), 0, value16,
                                           value24, label, attr_array);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_add_path3(rib_batch_buffer *buffer, uint32_t value152, uint64_t value8,
                                                        const in6_addr_t *nexthop, uint32_t value176, uint32_t value4,
                                                        ip_rib_qlfd_addr_td infosource, uint32_t value20, uint16_t value16,
                                                        uint32_t value24, uint32_t label, const void *attr_array)
{
    const rib_batch_path_values values = {.u32_152 = value152,
                                          .u32_176 = value176,
                                          .u32_4 = value4,
                                          .u32_20 = value20,
                                          .u32_24 = value24,
                                          .label = label,
                                          .u64_8 = value8,
                                          .u16_16 = value16};
    return rib_batch_buffer_add_path(buffer, values, nexthop, &infosource, attr_array);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_add_path_init(rib_batch_buffer *buffer, const in6_addr_t *nexthop,
                                                            const rib_batch_path_init_in *in)
{
    return rib_batch_buffer_add_path_init(buffer, nexthop, in);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_add_path_done(rib_batch_buffer *buffer)
{
    return rib_batch_buffer_add_path_done(buffer, rib_path_role::primary);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_add_backup_path_done(rib_batch_buffer *buffer)
{
    return rib_batch_buffer_add_path_done(buffer, rib_path_role::backup);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_delete_path(rib_batch_buffer *buffer, const in6_addr_t *nexthop, uint32_t value112,
                                                          uint32_t value236)
{
    return rib_batch_buffer_delete_path(buffer, nexthop, 0, value112, value236, 0);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_delete_path2(rib_batch_buffer *buffer, const in6_addr_t *nexthop, uint32_t value136,
                                                           uint32_t value112, uint32_t value236)
{
    return rib_batch_buffer_delete_path(buffer, nexthop, value136, value112, value236, 0);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_delete_path3(rib_batch_buffer *buffer, const in6_addr_t *nexthop, uint32_t value136,
                                                           uint32_t value112, uint32_t value236, uint8_t value2)
{
    return rib_batch_buffer_delete_path(buffer, nexthop, value136, value112, value236, value2);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_del_path_init(rib_batch_buffer *buffer, const in6_addr_t *nexthop,
                                                            const rib_batch_path_init_in *in)
{
    return rib_batch_buffer_del_path_init(buffer, nexthop, in);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_del_path_done(rib_batch_buffer *buffer)
{
    return rib_batch_buffer_del_path_done(buffer, rib_path_role::primary);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_del_backup_path_done(rib_batch_buffer *buffer)
{
    return rib_batch_buffer_del_path_done(buffer, rib_path_role::backup);
}
