/*
 * Requests around protocol identifiers. The delimiter stands behind the last field of each body; the length sent is the
 * body rounded up to its alignment, plus the delimiter.
 */
#pragma once

#include <ipv6_rib/protocol.h>

#include "ip/rib/wire/bind.h"
#include "ip/rib/wire/request.h"

struct RIB_PACKED rib_name_pair_td {
    char np_proto[RIB_PROTO_NAME_FIELD];    //  0
    char np_instance[RIB_PROTO_NAME_FIELD]; // 41
};
static_assert(sizeof(rib_name_pair_td) == RIB_PROTO_NAME_PAIR);

/* Replies that say no more than the result; a list follows. */
struct RIB_PACKED rib_result_reply_td {
    static constexpr size_t room = 260;
    errcode result; // 0
    using net = rib_net_t<&rib_result_reply_td::result>;
};

struct RIB_PACKED rib_protoid_reply_td {
    static constexpr size_t room = 264;
    errcode result;                            // 0
    rib_protoid_td protoid = RIB_PROTOID_NONE; // 4, the list follows at 6
    using net = rib_net_t<&rib_protoid_reply_td::result, &rib_protoid_reply_td::protoid>;
};
static_assert(sizeof(rib_protoid_reply_td) == 6);

struct RIB_PACKED rib_register_protocol_body_td {
    static constexpr auto command = RIB_CMD_REGISTER_PROTOCOL;
    static constexpr size_t align = 8;
    using reply_td = rib_protoid_reply_td;
    rib_name_pair_td rp_names; //   0
    uint8_t rp_unused_82[2];   //  82
    uint32_t rp_words[4];      //  84 reg_word1 to reg_word4
    uint8_t rp_unused_100[4];  // 100
    uint64_t rp_word64;        // 104
    using net = rib_net_t<&rib_register_protocol_body_td::rp_words, &rib_register_protocol_body_td::rp_word64>;
};
static_assert(sizeof(rib_register_protocol_body_td) == 112);

struct RIB_PACKED rib_findpdb_body_td {
    static constexpr auto command = RIB_CMD_FINDPDB;
    static constexpr size_t align = 4;
    using reply_td = rib_protoid_reply_td;
    rib_name_pair_td fp_names; //  0
    uint8_t fp_unused_82[2];   // 82
    uint32_t fp_word1;         // 84
    using net = rib_net_t<&rib_findpdb_body_td::fp_word1>;
};
static_assert(sizeof(rib_findpdb_body_td) == 88);

struct RIB_PACKED rib_modify_protocol_body_td {
    static constexpr auto command = RIB_CMD_MODIFY_PROTOCOL;
    static constexpr size_t align = 4;
    using reply_td = rib_result_reply_td;
    uint32_t mp_word_a;        //  0
    rib_protoid_td mp_protoid; //  4
    uint8_t mp_unused_6[2];    //  6
    uint32_t mp_word_b;        //  8
    uint32_t mp_word_c;        // 12
    uint32_t mp_word_d;        // 16
    using net = rib_net_t<&rib_modify_protocol_body_td::mp_word_a, &rib_modify_protocol_body_td::mp_protoid,
                          &rib_modify_protocol_body_td::mp_word_b, &rib_modify_protocol_body_td::mp_word_c,
                          &rib_modify_protocol_body_td::mp_word_d>;
};
static_assert(sizeof(rib_modify_protocol_body_td) == 20);

struct RIB_PACKED rib_protocol_unregister_body_td {
    static constexpr auto command = RIB_CMD_PROTOCOL_UNREGISTER;
    static constexpr size_t align = 4;
    using reply_td = rib_result_reply_td;
    rib_protoid_td pu_protoid; // 0
    uint8_t pu_unused_2[2];    // 2
    uint32_t pu_value;         // 4
    using net = rib_net_t<&rib_protocol_unregister_body_td::pu_protoid, &rib_protocol_unregister_body_td::pu_value>;
};
static_assert(sizeof(rib_protocol_unregister_body_td) == 8);

struct RIB_PACKED rib_purge_protocol_body_td {
    static constexpr auto command = RIB_CMD_PURGE_PROTOCOL;
    static constexpr size_t align = 4;
    using reply_td = rib_result_reply_td;
    rib_protoid_td pp_protoid; //  0
    uint8_t pp_unused_2[2];    //  2
    uint32_t pp_word_a;        //  4
    uint32_t pp_word_b;        //  8
    uint32_t pp_word_c;        // 12
    using net = rib_net_t<&rib_purge_protocol_body_td::pp_protoid, &rib_purge_protocol_body_td::pp_word_a,
                          &rib_purge_protocol_body_td::pp_word_b, &rib_purge_protocol_body_td::pp_word_c>;
};
static_assert(sizeof(rib_purge_protocol_body_td) == 16);

struct RIB_PACKED rib_purge_client_body_td {
    static constexpr auto command = RIB_CMD_PURGE_CLIENT;
    static constexpr size_t align = 4;
    using reply_td = rib_result_reply_td;
    char pc_client[RIB_PROCESS_NAME]; //  0
    char pc_node[RIB_NODE_NAME];      // 40
    uint32_t pc_zero;                 // 72
    using net = rib_net_t<&rib_purge_client_body_td::pc_zero>;
};
static_assert(sizeof(rib_purge_client_body_td) == 76);

struct RIB_PACKED rib_update_complete_body_td {
    static constexpr auto command = RIB_CMD_UPDATE_COMPLETE;
    static constexpr size_t align = 4;
    using reply_td = rib_result_reply_td;
    uint32_t uc_value;         // 0
    rib_protoid_td uc_protoid; // 4
    uint16_t uc_zero;          // 6
    using net = rib_net_t<&rib_update_complete_body_td::uc_value, &rib_update_complete_body_td::uc_protoid>;
};
static_assert(sizeof(rib_update_complete_body_td) == 8);

struct RIB_PACKED rib_clear_aft_body_td {
    static constexpr auto command = RIB_CMD_CLEAR_AFT;
    static constexpr size_t align = 4;
    using reply_td = rib_result_reply_td;
    rib_protoid_td ca_protoid; // 0
    uint8_t ca_unused_2[2];    // 2
    uint32_t ca_vrf;           // 4
    using net = rib_net_t<&rib_clear_aft_body_td::ca_protoid, &rib_clear_aft_body_td::ca_vrf>;
};
static_assert(sizeof(rib_clear_aft_body_td) == 8);

struct RIB_PACKED rib_table_status_reply_td {
    static constexpr size_t room = 268;
    errcode result;        // 0
    uint32_t ts_status[2]; // 4 RIB_TABLE_* flags, number of prefixes; the list follows at 12
    using net = rib_net_t<&rib_table_status_reply_td::result, &rib_table_status_reply_td::ts_status>;
};
static_assert(sizeof(rib_table_status_reply_td) == 12);

struct RIB_PACKED rib_table_status_body_td {
    static constexpr auto command = RIB_CMD_GET_TABLE_STATUS;
    static constexpr size_t align = 4;
    using reply_td = rib_table_status_reply_td;
    rib_tableid_td ts_table; // 0
    using net = rib_net_t<&rib_table_status_body_td::ts_table>;
};
static_assert(sizeof(rib_table_status_body_td) == 4);

struct RIB_PACKED rib_proto_info_reply_td {
    static constexpr size_t room = 8132;
    errcode result;                               // 0
    rib_name_pair_td pi_names[RIB_PROTOID_COUNT]; // 4, the list follows at 7876
    using net = rib_net_t<&rib_proto_info_reply_td::result>;
};
static_assert(sizeof(rib_proto_info_reply_td) == 7876);

struct RIB_PACKED rib_proto_info_body_td {
    static constexpr auto command = RIB_CMD_PROTOID_TO_INFO;
    static constexpr size_t align = 4;
    using reply_td = rib_proto_info_reply_td;
    uint32_t pi_selector;                          //   0
    rib_protoid_td pi_protoids[RIB_PROTOID_COUNT]; //   4 in the byte order of the client's host
    uint16_t pi_count;                             // 196
    using net = rib_net_t<&rib_proto_info_body_td::pi_selector, &rib_proto_info_body_td::pi_count>;
};
static_assert(sizeof(rib_proto_info_body_td) == 198);

/* A reply that is the result word alone: no list follows. */
struct RIB_PACKED rib_bare_reply_td {
    static constexpr size_t room = 4;
    static constexpr bool own_list = true;
    errcode result; // 0
    using net = rib_net_t<&rib_bare_reply_td::result>;
};

struct rib_notify_fib_ug_body_td {
    static constexpr auto command = RIB_CMD_NOTIFY_FIB_UG;
    static constexpr size_t align = 4;
    using reply_td = rib_bare_reply_td;
};

struct RIB_PACKED rib_free_all_sids_body_td {
    static constexpr auto command = RIB_CMD_FREE_ALL_SIDS;
    static constexpr size_t align = 4;
    using reply_td = rib_result_reply_td;
    uint32_t fs_value;         //  0
    rib_protoid_td fs_protoid; //  4
    uint8_t fs_unused_6[2];    //  6
    uint32_t fs_word_a;        //  8
    uint32_t fs_word_b;        // 12
    using net = rib_net_t<&rib_free_all_sids_body_td::fs_value, &rib_free_all_sids_body_td::fs_protoid,
                          &rib_free_all_sids_body_td::fs_word_a, &rib_free_all_sids_body_td::fs_word_b>;
};
static_assert(sizeof(rib_free_all_sids_body_td) == 16);
