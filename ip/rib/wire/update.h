/*
 * Updates: the request for them is a bare request of RIB_UPDATE_SENT bytes; its reply holds a block of messages back to
 * back, framed in the format that the server told at bind.
 */
#pragma once

#include <ipv6_rib/update.h>

#include "ip/rib/wire/request.h"

constexpr size_t RIB_UPDATE_SENT = sizeof(rib_lwm_command_msg);

enum rib_fetch_flag : uint16_t {
    RIB_FETCH_DONE = 0x0001,       /* nothing more waits */
    RIB_FETCH_DUMP_ENDED = 0x0002, /* an initial dump ended in this reply */
    RIB_FETCH_DONE_2 = 0x0008,     /* as RIB_FETCH_DONE to a client */
    RIB_FETCH_STOP = 0x0010,       /* the last pass, for clients that ask to be told */
};

struct RIB_PACKED rib_fetch_reply_td {
    static constexpr size_t room = RIB_MESSAGE_MAX;
    uint32_t fr_len;         //  0 bytes of the reply
    uint32_t fr_block;       //  4 bytes from here on: 8, and the messages
    uint16_t fr_flags;       //  8 RIB_FETCH_*
    uint8_t fr_unused_10[2]; // 10, the messages follow at 12
    using net = rib_net_t<&rib_fetch_reply_td::fr_len, &rib_fetch_reply_td::fr_block, &rib_fetch_reply_td::fr_flags>;
};
static_assert(sizeof(rib_fetch_reply_td) == 12);
constexpr size_t RIB_FETCH_BLOCK_HEAD = 8;

/* Headers of a message, by format; its length includes them. */
struct RIB_PACKED rib_update_v0_td {
    uint32_t uv_word; // 0
    uint16_t uv_len;  // 4
    uint16_t uv_type; // 6
    using net = rib_net_t<&rib_update_v0_td::uv_word, &rib_update_v0_td::uv_len, &rib_update_v0_td::uv_type>;
};
static_assert(sizeof(rib_update_v0_td) == 8);
struct RIB_PACKED rib_update_v1_td {
    uint32_t uv_word;       //  0
    uint16_t uv_type;       //  4
    uint8_t uv_unused_6[2]; //  6
    uint32_t uv_extra;      //  8
    uint32_t uv_len;        // 12
    using net =
        rib_net_t<&rib_update_v1_td::uv_word, &rib_update_v1_td::uv_type, &rib_update_v1_td::uv_extra, &rib_update_v1_td::uv_len>;
};
static_assert(sizeof(rib_update_v1_td) == 16);

enum rib_update_type : uint16_t {
    RIB_UPD_ROUTES = 2,
    RIB_UPD_4 = 4,
    RIB_UPD_NEXT_HOP = 5,
    RIB_UPD_DUMP_END = 6,
    RIB_UPD_7 = 7,
    RIB_UPD_8 = 8,
    RIB_UPD_9 = 9,
    RIB_UPD_ROUTES_10 = 10,
    RIB_UPD_11 = 11,
    RIB_UPD_NEXT_HOPS_TOLD = 12,
    RIB_UPD_13 = 13,
    RIB_UPD_SOURCE_MARKER = 14,
    RIB_UPD_15 = 15,
    RIB_UPD_PROTOCOLS = 16,
    RIB_UPD_OPAQUE = 17,
    RIB_UPD_GRID = 19,
    RIB_UPD_20 = 20,
    RIB_UPD_21 = 21,
};

/* Values of the single record in messages of a fixed shape. */
struct RIB_PACKED rib_upd_dump_end_td {
    uint32_t de_word_0; // 0 zero
    uint32_t de_all;    // 4 1 when no other dump of the client is under way
    uint32_t de_source; // 8 identifier of the source, RIB_PROTOID_NONE for the whole table
    using net = rib_net_t<&rib_upd_dump_end_td::de_word_0, &rib_upd_dump_end_td::de_all, &rib_upd_dump_end_td::de_source>;
};
static_assert(sizeof(rib_upd_dump_end_td) == 12);
struct RIB_PACKED rib_upd_source_marker_td {
    uint16_t sm_protoid;    // 0
    uint8_t sm_unused_2[2]; // 2
    uint32_t sm_marker;     // 4 RIB_MARKER_*
    using net = rib_net_t<&rib_upd_source_marker_td::sm_protoid, &rib_upd_source_marker_td::sm_marker>;
};
static_assert(sizeof(rib_upd_source_marker_td) == 8);
struct RIB_PACKED rib_upd_4_td {
    uint8_t u4_bytes_0[16];  //  0
    uint32_t u4_word_16;     // 16
    uint8_t u4_bytes_20[20]; // 20
    uint32_t u4_words_40[8]; // 40
    using net = rib_net_t<&rib_upd_4_td::u4_word_16, &rib_upd_4_td::u4_words_40>;
};
static_assert(sizeof(rib_upd_4_td) == 72);
struct RIB_PACKED rib_upd_9_td {
    uint8_t u9_bytes_0[16];   //   0
    uint32_t u9_word_16;      //  16
    uint32_t u9_word_20;      //  20
    uint32_t u9_word_24;      //  24
    uint8_t u9_bytes_28[4];   //  28
    uint32_t u9_word_32;      //  32
    uint8_t u9_bytes_36[220]; //  36
    uint32_t u9_word_256;     // 256
    uint8_t u9_bytes_260[4];  // 260
    using net = rib_net_t<&rib_upd_9_td::u9_word_16, &rib_upd_9_td::u9_word_20, &rib_upd_9_td::u9_word_24,
                          &rib_upd_9_td::u9_word_32, &rib_upd_9_td::u9_word_256>;
};
static_assert(sizeof(rib_upd_9_td) == 264 && offsetof(rib_upd_9_td, u9_word_256) == 256);
