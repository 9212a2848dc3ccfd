/*
 * Bind data: how a client introduces itself, and what the server answers.
 */
#pragma once

#include "ip/rib/wire/request.h"
#include "ip/rib/wire/tlv_types.h"

constexpr size_t RIB_NODE_NAME = 32;
constexpr size_t RIB_PROCESS_NAME = 40;
constexpr size_t RIB_SIGEVENT = 64;

/* Value of the option record behind the body. */
struct RIB_PACKED rib_bind_option_td {
    uint8_t bo_version;  // 0 version of the client side, 2
    uint8_t bo_unused_1; // 1
    uint16_t bo_option;  // 2 0 plain, 1 active, 2 standby: in the byte order of the client's host
};
static_assert(sizeof(rib_bind_option_td) == 4);

struct RIB_PACKED rib_bind_data_body_td {
    uint32_t bd_no_event;              //   0 1 when no event is given, else 0
    uint8_t bd_unused_4[4];            //   4
    uint8_t bd_event[RIB_SIGEVENT];    //   8 struct sigevent, byte for byte
    uint64_t bd_pulse_value;           //  72
    char bd_node[RIB_NODE_NAME];       //  80
    char bd_process[RIB_PROCESS_NAME]; // 112, the option record and the delimiter follow
    using net = rib_net_t<&rib_bind_data_body_td::bd_no_event, &rib_bind_data_body_td::bd_pulse_value>;
};
static_assert(sizeof(rib_bind_data_body_td) == 152);
constexpr size_t RIB_BIND_DATA_SENT = 172;

struct RIB_PACKED rib_bind_data_reply_td {
    static constexpr size_t room = 268;
    errcode br_result;     // 0
    uint32_t br_node_id;   // 4
    uint32_t br_client_id; // 8, a list follows: RIB_TLV_BIND_REPLY holds the encoded bind reply
    using net =
        rib_net_t<&rib_bind_data_reply_td::br_result, &rib_bind_data_reply_td::br_node_id, &rib_bind_data_reply_td::br_client_id>;
};
static_assert(sizeof(rib_bind_data_reply_td) == 12);
