/*
 * Adding and withdrawing one route, and telling who advertises it. Requests to add and to delete end with their body: they
 * carry no list, and neither do their replies.
 */
#pragma once

#include <ipv6_rib/route_change.h>

#include "ip/rib/wire/protocol.h"

struct RIB_PACKED rib_route_add_reply_td {
    static constexpr size_t room = 12;
    static constexpr bool own_list = true;
    errcode result;         // 0
    int32_t ra_value;       // 4 RIB result
    uint8_t ra_status;      // 8 RIB_ROUTE_*
    uint8_t ra_unused_9[3]; // 9
    using net = rib_net_t<&rib_route_add_reply_td::result, &rib_route_add_reply_td::ra_value>;
};
static_assert(sizeof(rib_route_add_reply_td) == 12);

struct RIB_PACKED rib_route_add_body_td {
    static constexpr auto command = RIB_CMD_ROUTE_ADD;
    static constexpr size_t align = 8;
    static constexpr bool no_list = true;
    using reply_td = rib_route_add_reply_td;
    rib_protoid_td ra_protoid; //   0
    uint8_t ra_unused_2[2];    //   2
    rib_tableid_td ra_table;   //   4
    in6_addr_t ra_prefix;      //   8
    uint8_t ra_prefix_len;     //  24
    uint8_t ra_unused_25[7];   //  25
    in6_addr_t ra_next_hop;    //  32
    uint32_t ra_hop_word1;     //  48 zero
    uint32_t ra_hop_word2;     //  52 outgoing interface
    in6_addr_t ra_address2;    //  56 who told of the path
    uint32_t ra_attr_words[4]; //  72 metric of the route, tag, flags, metric of the path
    uint16_t ra_attr_short;    //  88 route type
    uint8_t ra_unused_90[2];   //  90
    uint32_t ra_ext_words[4];  //  92 table of the next hop, RIB_LABEL_NONE, zero, word
    uint8_t ra_ext_byte;       // 108 administrative distance
    uint8_t ra_unused_109[3];  // 109
    uint32_t ra_ext_word;      // 112 RIB_ROUTE_ADD_*
    uint8_t ra_unused_116[92]; // 116
    uint16_t ra_item_count;    // 208 zero
    uint16_t ra_item_short;    // 210
    using net = rib_net_t<&rib_route_add_body_td::ra_protoid, &rib_route_add_body_td::ra_table,
                          &rib_route_add_body_td::ra_hop_word1, &rib_route_add_body_td::ra_hop_word2,
                          &rib_route_add_body_td::ra_attr_words, &rib_route_add_body_td::ra_attr_short,
                          &rib_route_add_body_td::ra_ext_words, &rib_route_add_body_td::ra_ext_word,
                          &rib_route_add_body_td::ra_item_count, &rib_route_add_body_td::ra_item_short>;
};
static_assert(sizeof(rib_route_add_body_td) == 212 && offsetof(rib_route_add_body_td, ra_ext_words) == 92);

struct RIB_PACKED rib_route_delete_reply_td {
    static constexpr size_t room = 8;
    static constexpr bool own_list = true;
    errcode result;         // 0
    uint8_t rd_status;      // 4 RIB_ROUTE_* of what is left
    uint8_t rd_unused_5[3]; // 5
    using net = rib_net_t<&rib_route_delete_reply_td::result>;
};
static_assert(sizeof(rib_route_delete_reply_td) == 8);

struct RIB_PACKED rib_route_delete_body_td {
    static constexpr auto command = RIB_CMD_ROUTE_DELETE;
    static constexpr size_t align = 8;
    static constexpr bool no_list = true;
    using reply_td = rib_route_delete_reply_td;
    rib_protoid_td rd_protoid; //  0
    uint8_t rd_unused_2[2];    //  2
    rib_tableid_td rd_table;   //  4
    in6_addr_t rd_prefix;      //  8
    uint16_t rd_prefix_len;    // 24
    uint8_t rd_unused_26[6];   // 26
    in6_addr_t rd_next_hop;    // 32
    uint32_t rd_word0;         // 48 zero
    uint32_t rd_word1;         // 52 outgoing interface
    uint32_t rd_word2;         // 56 table of the next hop
    using net = rib_net_t<&rib_route_delete_body_td::rd_protoid, &rib_route_delete_body_td::rd_table,
                          &rib_route_delete_body_td::rd_prefix_len, &rib_route_delete_body_td::rd_word0,
                          &rib_route_delete_body_td::rd_word1, &rib_route_delete_body_td::rd_word2>;
};
static_assert(sizeof(rib_route_delete_body_td) == 60 && offsetof(rib_route_delete_body_td, rd_word0) == 48);

struct RIB_PACKED rib_advertising_flag_body_td {
    static constexpr auto command = RIB_CMD_ADVERTISING_FLAG;
    static constexpr size_t align = 8;
    using reply_td = rib_result_reply_td;
    rib_tableid_td af_table;               //  0
    uint8_t af_unused_4[4];                //  4
    in6_addr_t af_prefix;                  //  8
    uint32_t af_prefix_len;                // 24
    rib_protoid_td af_protoid;             // 28
    uint8_t af_unused_30[2];               // 30
    uint32_t af_value;                     // 32 1 advertises, 0 no longer
    uint8_t af_byte;                       // 36
    uint8_t af_unused_37[3];               // 37
    uint32_t af_word;                      // 40
    uint16_t af_count;                     // 44
    uint16_t af_list_value;                // 46
    uint8_t af_items[RIB_ADV_LIST_MAX][8]; // 48 as they are
    using net = rib_net_t<&rib_advertising_flag_body_td::af_table, &rib_advertising_flag_body_td::af_prefix_len,
                          &rib_advertising_flag_body_td::af_protoid, &rib_advertising_flag_body_td::af_value,
                          &rib_advertising_flag_body_td::af_word, &rib_advertising_flag_body_td::af_count,
                          &rib_advertising_flag_body_td::af_list_value>;
};
static_assert(sizeof(rib_advertising_flag_body_td) == 112 && offsetof(rib_advertising_flag_body_td, af_items) == 48);
