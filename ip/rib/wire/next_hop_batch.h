/*
 * Next-hop registrations in one message: a header and records back to back, a delimiter behind each. The reply is one word,
 * which stays in the byte order of the host; that of a synchronous registration is a rib_next_hop_update.
 */
#pragma once

#include <ipv6_rib/next_hop_batch.h>

#include "ip/rib/wire/request.h"
#include "ip/rib/wire/tlv_types.h"

constexpr uint32_t RIB_MSG_NEXT_HOPS = 0x8074;

struct RIB_PACKED rib_nh_header_td {
    uint32_t nh_type;        //  0 RIB_MSG_NEXT_HOPS, in the byte order of the host
    uint8_t nh_unused_4[16]; //  4
    rib_tableid_td nh_table; // 20 of a record that went before
    uint32_t nh_len;         // 24 bytes of the records, which follow
    using net = rib_net_t<&rib_nh_header_td::nh_table, &rib_nh_header_td::nh_len>;
};
static_assert(sizeof(rib_nh_header_td) == 28);

enum rib_nh_op : uint32_t {
    RIB_NH_OPEN = 0,
    RIB_NH_REGISTER = 1,
    RIB_NH_UNREGISTER = 2,
    RIB_NH_REGISTER_CONVERGE = 3,
    RIB_NH_UNREGISTER_CONVERGE = 4,
    RIB_NH_REGISTER_SYNC = 5, /* in a message of its own */
    RIB_NH_FINISH = 6,
    RIB_NH_CONTINUE = 7, /* first record behind a message that was full */
};

/* The value of a record of type RIB_TLV_NEXT_HOP. Address, length and value are those of registrations and their ends; other
 * records hold any bytes there. */
struct RIB_PACKED rib_nh_value_td {
    uint32_t nv_op;          //  0 rib_nh_op
    rib_tableid_td nv_table; //  4
    in6_addr_t nv_addr;      //  8
    uint32_t nv_prefix_len;  // 24
    uint32_t nv_value;       // 28
    uint8_t nv_flag;         // 32 of the opening record
    uint8_t nv_unused_33[7]; // 33
    using net = rib_net_t<&rib_nh_value_td::nv_op, &rib_nh_value_td::nv_table, &rib_nh_value_td::nv_prefix_len,
                          &rib_nh_value_td::nv_value>;
};
static_assert(sizeof(rib_nh_value_td) == 40 && offsetof(rib_nh_value_td, nv_prefix_len) == 24);

constexpr size_t RIB_NH_RECORD = RIB_TLV_HEADER_SIZE + sizeof(rib_nh_value_td) + RIB_TLV_HEADER_SIZE;
constexpr size_t RIB_NH_RECORDS = 100; /* of one message */

/* A next hop as it is told: in updates, and in the reply to a synchronous registration. */
struct rib_nh_told_td : rib_next_hop_update {
    using net = rib_net_t<&rib_next_hop_update::nu_flags, &rib_next_hop_update::nu_prefix_len, &rib_next_hop_update::nu_protoid,
                          &rib_next_hop_update::nu_table, &rib_next_hop_update::nu_distance, &rib_next_hop_update::nu_proto_kind,
                          &rib_next_hop_update::nu_metric, &rib_next_hop_update::nu_interface, &rib_next_hop_update::nu_result,
                          &rib_next_hop_update::nu_unused_68, &rib_next_hop_update::nu_min_len,
                          &rib_next_hop_update::nu_unused_76, &rib_next_hop_update::nu_value, &rib_next_hop_update::nu_unused_84>;
};
static_assert(sizeof(rib_nh_told_td) == RIB_NEXT_HOP_UPDATE_BYTES && alignof(rib_nh_told_td) == 1);
static_assert(offsetof(rib_next_hop_update, nu_addr) == 28 && offsetof(rib_next_hop_update, nu_value) == 80);
