/*
 * Single requests: the message that carries one, the command codes, and the reply's first word.
 */
#pragma once

#include "ip/rib/wire/rib_wire.h"

enum rib_lwm_command_type : uint16_t {
    RIB_CMD_NEXT_HOP = 0x00,
    RIB_CMD_ROUTE_ADD = 0x01,
    RIB_CMD_ROUTE_DELETE = 0x02,
    RIB_CMD_BEST_LOCAL_ADDRESS = 0x03,
    RIB_CMD_CONNECTED = 0x04,
    RIB_CMD_DEFAULT_NETSOURCE = 0x05,
    RIB_CMD_ROUTE_LOOKUP = 0x06,
    RIB_CMD_PURGE_PROTOCOL = 0x07,
    RIB_CMD_FINDPDB = 0x08,
    RIB_CMD_REGISTER_PROTOCOL = 0x09,
    RIB_CMD_PROTOCOL_UNREGISTER = 0x0A,
    RIB_CMD_MODIFY_PROTOCOL = 0x0B,
    RIB_CMD_REDIST_PROTOCOL = 0x0C,
    RIB_CMD_REDIST_MARKERS = 0x0D,
    RIB_CMD_ADVERTISING_FLAG = 0x0E,
    RIB_CMD_REDIST_RESET = 0x11,
    RIB_CMD_UPDATE_COMPLETE = 0x13,
    RIB_CMD_NEXT_HOP_REGISTER = 0x14,
    RIB_CMD_NEXT_HOP_UNREGISTER = 0x15,
    RIB_CMD_GET_CHECK = 0x16,
    RIB_CMD_GET_TABLE_STATUS = 0x17,
    RIB_CMD_BIND_DATA = 0x18,
    RIB_CMD_FETCH_UPDATE = 0x19,
    RIB_CMD_GET_ROUTES = 0x1A,
    RIB_CMD_NOTIFY_FIB_UG = 0x1B,
    RIB_CMD_PROTOID_TO_INFO = 0x1C,
    RIB_CMD_PURGE_CLIENT = 0x1D,
    RIB_CMD_FREE_ALL_SIDS = 0x1E,
    RIB_CMD_CLEAR_AFT = 0x1F,
};

/* Parent datum of a request that has no parent connection. */
constexpr uint32_t RIB_NO_PARENT = 0x0000FFFF;

/* Component number 0x05A5 over the message number 0x8000; in the byte order of the host, like every message type. */
constexpr uint32_t RIB_MSG_LWM = 0x05A58000;
constexpr uint32_t RIB_MSG_BATCH = 0x8073;
constexpr size_t RIB_LWM_HEADER = 24;
constexpr size_t RIB_LWM_BODY = 256;

/* Largest message of this interface, either way. */
constexpr size_t RIB_MESSAGE_MAX = 0x80000;

struct RIB_PACKED rib_lwm_command_msg {
    uint32_t lcm_type;          //  0 RIB_MSG_LWM
    uint8_t lcm_unused_4[16];   //  4
    uint32_t lcm_command;       // 20 network order
    uint8_t body[RIB_LWM_BODY]; // 24
};
static_assert(sizeof(rib_lwm_command_msg) == 280 && offsetof(rib_lwm_command_msg, body) == RIB_LWM_HEADER);

/* What every reply begins with. */
struct RIB_PACKED rib_lwm_res_header {
    errcode lrh_result; // 0
    using net = rib_net_t<&rib_lwm_res_header::lrh_result>;
};
static_assert(sizeof(rib_lwm_res_header) == 4);
