/*
 * Questions about addresses: local, connected, best source, next hop. All have the same reply.
 */
#pragma once

#include <ipv6_rib/address.h>

#include "ip/rib/wire/request.h"

struct RIB_PACKED rib_address_reply_td {
    static constexpr size_t room = 288;
    errcode result;     //  0
    uint32_t ar_answer; //  4 outgoing interface
    in6_addr_t ar_addr; //  8
    uint32_t ar_info;   // 24
    uint32_t ar_flags;  // 28 RIB_ADDR_* of the address that was asked about, the list follows at 32
    using net = rib_net_t<&rib_address_reply_td::result, &rib_address_reply_td::ar_answer, &rib_address_reply_td::ar_info,
                          &rib_address_reply_td::ar_flags>;
};
static_assert(sizeof(rib_address_reply_td) == 32);

struct RIB_PACKED rib_next_hop_body_td {
    static constexpr auto command = RIB_CMD_NEXT_HOP;
    static constexpr size_t align = 8;
    using reply_td = rib_address_reply_td;
    rib_tableid_td nh_table; //  0
    uint8_t nh_unused_4[4];  //  4
    in6_addr_t nh_addr;      //  8
    uint32_t nh_words[3];    // 24
    using net = rib_net_t<&rib_next_hop_body_td::nh_table, &rib_next_hop_body_td::nh_words>;
};
static_assert(sizeof(rib_next_hop_body_td) == 36);

struct RIB_PACKED rib_best_local_body_td {
    static constexpr auto command = RIB_CMD_BEST_LOCAL_ADDRESS;
    static constexpr size_t align = 8;
    using reply_td = rib_address_reply_td;
    rib_tableid_td bl_table; //  0
    uint8_t bl_unused_4[4];  //  4
    in6_addr_t bl_addr;      //  8
    uint32_t bl_word;        // 24 interface, 0 for any
    using net = rib_net_t<&rib_best_local_body_td::bl_table, &rib_best_local_body_td::bl_word>;
};
static_assert(sizeof(rib_best_local_body_td) == 28);

struct RIB_PACKED rib_connected_body_td {
    static constexpr auto command = RIB_CMD_CONNECTED;
    static constexpr size_t align = 8;
    using reply_td = rib_address_reply_td;
    rib_tableid_td cn_table; //  0
    uint8_t cn_unused_4[4];  //  4
    in6_addr_t cn_addr;      //  8
    using net = rib_net_t<&rib_connected_body_td::cn_table>;
};
static_assert(sizeof(rib_connected_body_td) == 24);
