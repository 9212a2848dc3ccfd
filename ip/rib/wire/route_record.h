/*
 * Routes as the server hands them out: a record of type RIB_TLV_ROUTE whose value is the 128 fixed bytes of
 * ipv6_routetype; then one RIB_TLV_ROUTE_PATH record for each path, with a list of path attributes of its own; then the
 * route's attributes and a delimiter.
 */
#pragma once

#include <ipv6_rib/route.h>

#include "ip/rib/wire/request.h"
#include "ip/rib/wire/tlv_types.h"

constexpr size_t RIB_ROUTE_FIXED = 128;
static_assert(sizeof(rib_pathtype) == 88 && offsetof(rib_pathtype, path_u16_80) == 80);
static_assert(offsetof(ipv6_routetype, rt_path) == RIB_ROUTE_FIXED && offsetof(ipv6_routetype, rt_metric) == 44);
static_assert(sizeof(ipv6_routetype) == RIB_ROUTE_FIXED + IPV6_RIB_ROUTE_PATHS * sizeof(rib_pathtype));

/* The record is of either family in the neutral layer. */
using rib_routetype = ipv6_routetype;

using rib_routetype_net =
    rib_net_t<&rib_routetype::rt_type, &rib_routetype::rt_proto_kind, &rib_routetype::rt_protoid, &rib_routetype::rt_table,
              &rib_routetype::rt_flags, &rib_routetype::rt_u16_40, &rib_routetype::rt_metric, &rib_routetype::rt_tag,
              &rib_routetype::rt_local_label, &rib_routetype::rt_u32_56, &rib_routetype::rt_version>;
using rib_pathtype_net = rib_net_t<&rib_pathtype::path_interface, &rib_pathtype::path_nexthop_table, &rib_pathtype::path_metric,
                                   &rib_pathtype::path_u32_48, &rib_pathtype::path_u32_52, &rib_pathtype::path_label,
                                   &rib_pathtype::path_u32_72, &rib_pathtype::path_u16_80, &rib_pathtype::path_u16_82>;

/* Head of a type-6 attribute and one of its entries; of an entry only the last word is a number. */
struct RIB_PACKED rib_route_attr_6_td {
    uint16_t ra_value; // 0
    uint16_t ra_count; // 2
    using net = rib_net_t<&rib_route_attr_6_td::ra_value, &rib_route_attr_6_td::ra_count>;
};
constexpr size_t RIB_ROUTE_ATTR_6_ENTRY = 28;

struct RIB_PACKED rib_route_lookup_reply_td {
    static constexpr size_t room = 221544;
    static constexpr bool own_list = true;
    errcode result;         // 0
    uint8_t rl_unused_4[4]; // 4, the route follows at 8
    using net = rib_net_t<&rib_route_lookup_reply_td::result>;
};
static_assert(sizeof(rib_route_lookup_reply_td) == 8);

struct RIB_PACKED rib_route_lookup_body_td {
    static constexpr auto command = RIB_CMD_ROUTE_LOOKUP;
    static constexpr size_t align = 8;
    using reply_td = rib_route_lookup_reply_td;
    rib_tableid_td rl_table; //  0
    uint8_t rl_unused_4[4];  //  4
    in6_addr_t rl_addr;      //  8
    uint32_t rl_length;      // 24 prefix length; for a range: highest << 16 | lowest
    uint32_t rl_flags;       // 28 RIB_LOOKUP_*
    using net =
        rib_net_t<&rib_route_lookup_body_td::rl_table, &rib_route_lookup_body_td::rl_length, &rib_route_lookup_body_td::rl_flags>;
};
static_assert(sizeof(rib_route_lookup_body_td) == 32);
