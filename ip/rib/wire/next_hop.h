/*
 * Registration of next hops, and the check of a route.
 */
#pragma once

#include <ipv6_rib/next_hop.h>

#include "ip/rib/wire/protocol.h"

struct RIB_PACKED rib_nh_register_reply_td {
    static constexpr size_t room = 384;
    errcode result;                //   0
    uint32_t nr_answer;            //   4 outgoing interface, 0 while the next hop is not reached
    in6_addr_t nr_addr;            //   8 next hop that is directly reached
    uint32_t nr_words[4];          //  24 metric, prefix length, distance, protocol identifier of the route that leads there
    uint32_t nr_word;              //  40 RIB_NH_*
    uint8_t nr_name_len;           //  44
    char nr_name[RIB_NH_NAME_MAX]; //  45 not terminated; the list follows at 128
    using net = rib_net_t<&rib_nh_register_reply_td::result, &rib_nh_register_reply_td::nr_answer,
                          &rib_nh_register_reply_td::nr_words, &rib_nh_register_reply_td::nr_word>;
};
static_assert(sizeof(rib_nh_register_reply_td) == 128);

struct RIB_PACKED rib_nh_register_body_td {
    static constexpr auto command = RIB_CMD_NEXT_HOP_REGISTER;
    static constexpr size_t align = 8;
    using reply_td = rib_nh_register_reply_td;
    rib_tableid_td nr_table; //  0
    uint8_t nr_unused_4[4];  //  4
    in6_addr_t nr_addr;      //  8
    uint32_t nr_words[3];    // 24
    uint32_t nr_zero;        // 36
    using net = rib_net_t<&rib_nh_register_body_td::nr_table, &rib_nh_register_body_td::nr_words>;
};
static_assert(sizeof(rib_nh_register_body_td) == 40);

struct RIB_PACKED rib_nh_unregister_body_td {
    static constexpr auto command = RIB_CMD_NEXT_HOP_UNREGISTER;
    static constexpr size_t align = 8;
    using reply_td = rib_bare_reply_td;
    rib_tableid_td nu_table; //  0
    uint8_t nu_unused_4[4];  //  4
    in6_addr_t nu_addr;      //  8
    uint32_t nu_words[3];    // 24
    using net = rib_net_t<&rib_nh_unregister_body_td::nu_table, &rib_nh_unregister_body_td::nu_words>;
};
static_assert(sizeof(rib_nh_unregister_body_td) == 36);

/* The caller of a check chooses the size of its reply. */
struct RIB_PACKED rib_check_reply_td {
    static constexpr bool own_list = true;
    errcode result;         //  0
    uint8_t ck_unused_4[4]; //  4
    in6_addr_t ck_addr;     //  8 prefix of the longest match
    uint32_t ck_value;      // 24 1 when the route is newer than the caller knows
    uint32_t ck_data_len;   // 28 bytes of the list at 40, with its delimiter
    uint32_t ck_pair_1;     // 32 number of routes for the prefix
    uint32_t ck_pair_0;     // 36 length of the prefix
    using net = rib_net_t<&rib_check_reply_td::result, &rib_check_reply_td::ck_value, &rib_check_reply_td::ck_data_len,
                          &rib_check_reply_td::ck_pair_1, &rib_check_reply_td::ck_pair_0>;
};
static_assert(sizeof(rib_check_reply_td) == RIB_CHECK_REPLY_MIN);

struct RIB_PACKED rib_check_body_td {
    static constexpr auto command = RIB_CMD_GET_CHECK;
    static constexpr size_t align = 8;
    using reply_td = rib_check_reply_td;
    uint32_t ck_word1;       //  0 table
    uint32_t ck_parent;      //  4 datum of the parent connection, RIB_NO_PARENT without one
    uint64_t ck_long1;       //  8 version that the caller knows; in the byte order of the client's host
    uint64_t ck_long2;       // 16 in the byte order of the client's host
    uint32_t ck_word3;       // 24
    uint8_t ck_unused_28[4]; // 28
    in6_addr_t ck_addr;      // 32
    uint32_t ck_word2;       // 48 prefix length
    uint32_t ck_reply_size;  // 52
    using net = rib_net_t<&rib_check_body_td::ck_word1, &rib_check_body_td::ck_parent, &rib_check_body_td::ck_word3,
                          &rib_check_body_td::ck_word2, &rib_check_body_td::ck_reply_size>;
};
static_assert(sizeof(rib_check_body_td) == 56 && offsetof(rib_check_body_td, ck_addr) == 32);
