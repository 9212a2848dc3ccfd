/*
 * Results in the reply to a batch, in the order of the message: for each table record a table result, for each route a
 * route result with a result for each of its paths. Markers have no result of their own.
 */
#pragma once

#include <ipv6_rib/batch_send.h>

#include "ip/rib/wire/batch_header.h"

enum rib_batch_result_type : uint8_t {
    RIB_BATCH_RES_ROUTE = RIB_BATCH_OUT_ROUTE,
    RIB_BATCH_RES_2 = 2, /* 8 bytes */
    RIB_BATCH_RES_5 = 5, /* 12 bytes */
    RIB_BATCH_RES_TABLE = RIB_BATCH_OUT_TABLE,
};

static_assert(sizeof(rib_batch_route_out) == 336 && offsetof(rib_batch_route_out, ro_version) == 320);
using rib_batch_route_out_net = rib_net_t<&rib_batch_route_out::ro_path_count, &rib_batch_route_out::ro_version,
                                          &rib_batch_route_out::ro_result, &rib_batch_route_out::ro_flags>;
static_assert(sizeof(rib_batch_path_out) == 280 && offsetof(rib_batch_path_out, po_result) == 40);
using rib_batch_path_out_net = rib_net_t<&rib_batch_path_out::po_interface, &rib_batch_path_out::po_result,
                                         &rib_batch_path_out::po_nexthop_table, &rib_batch_path_out::po_u32_48>;
static_assert(sizeof(rib_batch_path_del_out) == 280 && offsetof(rib_batch_path_del_out, pd_result) == 24);
using rib_batch_path_del_out_net = rib_net_t<&rib_batch_path_del_out::pd_interface, &rib_batch_path_del_out::pd_result,
                                             &rib_batch_path_del_out::pd_nexthop_table, &rib_batch_path_del_out::pd_u32_32>;
static_assert(sizeof(rib_batch_table_out) == 12 && offsetof(rib_batch_table_out, to_result) == 8);
using rib_batch_table_out_net =
    rib_net_t<&rib_batch_table_out::to_protoid, &rib_batch_table_out::to_table, &rib_batch_table_out::to_result>;
static_assert(sizeof(rib_proto_result) == 60 && offsetof(rib_proto_result, pr_result) == 48);
using rib_proto_result_net = rib_net_t<&rib_proto_result::pr_operation, &rib_proto_result::pr_result,
                                       &rib_proto_result::pr_protoid, &rib_proto_result::pr_err>;

struct RIB_PACKED rib_batch_res_2_td {
    uint8_t r2_type;        // 0
    uint8_t r2_unused_1[3]; // 1
    uint32_t r2_word;       // 4
    using net = rib_net_t<&rib_batch_res_2_td::r2_word>;
};
static_assert(sizeof(rib_batch_res_2_td) == 8);
struct RIB_PACKED rib_batch_res_5_td {
    uint8_t r5_type;        // 0
    uint8_t r5_unused_1[3]; // 1
    uint32_t r5_words[2];   // 4
    using net = rib_net_t<&rib_batch_res_5_td::r5_words>;
};
static_assert(sizeof(rib_batch_res_5_td) == 12);
