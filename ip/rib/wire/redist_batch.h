/*
 * Redistribution registrations of many tables in one message: a header, an opening record, registrations, an end record. The
 * reply is one word, which stays in the byte order of the host.
 */
#pragma once

#include <ipv6_rib/redist_batch.h>

#include "ip/rib/wire/request.h"

constexpr uint32_t RIB_MSG_REDIST_ISSU = 0x8075;
constexpr uint32_t RIB_MSG_REDIST = 0x8076;

struct RIB_PACKED rib_redist_header_td {
    uint32_t rh_type;        //  0 RIB_MSG_REDIST*, in the byte order of the host
    uint8_t rh_unused_4[16]; //  4
    uint16_t rh_mode;        // 20
    uint16_t rh_count;       // 22 registrations
    uint32_t rh_len;         // 24 bytes of the records, which follow
    using net = rib_net_t<&rib_redist_header_td::rh_mode, &rib_redist_header_td::rh_count, &rib_redist_header_td::rh_len>;
};
static_assert(sizeof(rib_redist_header_td) == 28);
constexpr size_t RIB_REDIST_PAYLOAD = 8000;

enum rib_redist_op : uint32_t {
    RIB_REDIST_OPEN = 0,
    RIB_REDIST_ADD = 1, /* behind each operation that adds stands the one that removes */
    RIB_REDIST_REMOVE = 2,
    RIB_REDIST_CLOSE = 3,
    RIB_REDIST_ADD_18 = 4,
    RIB_REDIST_REMOVE_18 = 5,
    RIB_REDIST_ADD_20 = 6,
    RIB_REDIST_REMOVE_20 = 7,
    RIB_REDIST_ADD_21 = 8,
    RIB_REDIST_REMOVE_21 = 9,
};

struct RIB_PACKED rib_redist_rec_td {
    uint32_t rr_op;          // 0
    rib_tableid_td rr_table; // 4
    uint64_t rr_value;       // 8 flags
    using net = rib_net_t<&rib_redist_rec_td::rr_op, &rib_redist_rec_td::rr_table, &rib_redist_rec_td::rr_value>;
};
static_assert(sizeof(rib_redist_rec_td) == 16);
struct RIB_PACKED rib_redist_issu_rec_td {
    uint32_t rr_op;          //  0
    rib_tableid_td rr_table; //  4
    uint16_t rr_value;       //  8 low 16 bits of the flags
    uint8_t rr_unused_10[2]; // 10
    using net = rib_net_t<&rib_redist_issu_rec_td::rr_op, &rib_redist_issu_rec_td::rr_table, &rib_redist_issu_rec_td::rr_value>;
};
static_assert(sizeof(rib_redist_issu_rec_td) == 12);
