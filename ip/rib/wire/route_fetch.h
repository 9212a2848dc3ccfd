/*
 * Listing routes: as many routes as fit stand behind one another in the reply. Each ends with its delimiter; their run has none.
 */
#pragma once

#include <ipv6_rib/route_fetch.h>

#include "ip/rib/wire/protocol.h"
#include "ip/rib/wire/route_record.h"

/* Room for route records that a fetch asks for. */
constexpr uint32_t RIB_ROUTES_ROOM = RIB_MESSAGE_MAX - 12;

struct RIB_PACKED rib_get_routes_reply_td {
    static constexpr size_t room = RIB_MESSAGE_MAX;
    static constexpr bool own_list = true;
    errcode result;    // 0
    uint32_t gr_count; // 4
    uint8_t gr_flag;   // 8 how to go on; 0 when these are the last routes
    using net = rib_net_t<&rib_get_routes_reply_td::result, &rib_get_routes_reply_td::gr_count>;
};
static_assert(sizeof(rib_get_routes_reply_td) == 9);

struct RIB_PACKED rib_get_routes_body_td {
    static constexpr auto command = RIB_CMD_GET_ROUTES;
    static constexpr size_t align = 8;
    using reply_td = rib_get_routes_reply_td;
    rib_name_pair_td gr_names; //   0
    uint8_t gr_unused_82[2];   //  82
    rib_tableid_td gr_table;   //  84
    in6_addr_t gr_start;       //  88
    uint32_t gr_start_len;     // 104
    uint8_t gr_unused_108[4];  // 108
    in6_addr_t gr_end;         // 112
    uint32_t gr_end_len;       // 128
    uint8_t gr_flag;           // 132
    uint8_t gr_unused_133[3];  // 133
    uint32_t gr_count;         // 136 how many routes at most, 0 for as many as fit
    uint32_t gr_options;       // 140 RIB_FETCH_*
    uint32_t gr_room;          // 144
    using net =
        rib_net_t<&rib_get_routes_body_td::gr_table, &rib_get_routes_body_td::gr_start_len, &rib_get_routes_body_td::gr_end_len,
                  &rib_get_routes_body_td::gr_count, &rib_get_routes_body_td::gr_options, &rib_get_routes_body_td::gr_room>;
};
static_assert(sizeof(rib_get_routes_body_td) == 148 && offsetof(rib_get_routes_body_td, gr_flag) == 132);
