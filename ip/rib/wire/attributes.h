/*
 * Attributes of routes and paths in a batch: an array header (batch_records.h), then entries back to back. Values are in the
 * byte order of the host.
 */
#pragma once

#include <ipv6_rib/srv6.h>

#include "ip/rib/wire/batch_records.h"

enum rib_attr_type_t : uint8_t {
    RIB_ATTR_ECOMMS = 1,
    RIB_ATTR_NNH = 2,
    RIB_ATTR_INTF = 3,
    RIB_ATTR_SID_LIST = 4,
    RIB_ATTR_5 = 5, /* is set by no function */
    RIB_ATTR_L2_INFO = 6,
    RIB_ATTR_VIA_SID = 7,
    RIB_ATTR_GROUPING = 9,
    RIB_ATTR_TUNNEL = 10,
    RIB_ATTR_VIA_AFT = 11,
    RIB_ATTR_SL_ID = 12,
    RIB_ATTR_ALGO_LABELS = 13, /* from here on of a route */
    RIB_ATTR_SID_REQUEST = 14,
    RIB_ATTR_IID_REQUEST = 15,
    RIB_ATTR_ROUTE_L2_INFO = 16,
    RIB_ATTR_ALGO = 17,
    RIB_ATTR_ROUTE_AFT = 18,
    RIB_ATTR_TYPES,
};

/* How a value travels: a head of fixed length, and for some types items, whose number stands in the head. */
struct rib_attr_shape {
    uint16_t head = 0; /* bytes; 0 for a type that does not exist */
    uint16_t item = 0; /* bytes of an item; 0 without items */
    uint16_t max_items = 0;
    uint8_t count_at = 0; /* place of the number in the head */
    uint8_t count_size = 0;

    unsigned count(const void *value) const
    {
        const char *at = static_cast<const char *>(value) + count_at;
        return count_size == 0 ? 0 : count_size == 1 ? rib_load<uint8_t>(at) : rib_load<uint16_t>(at);
    }
};
constexpr rib_attr_shape rib_attr_shapes[RIB_ATTR_TYPES] = {
    {},                                 // 0
    {4, 8, RIB_ECOMMS_MAX, 0, 2},       // ecomms
    {4, 8, RIB_NNH_MAX, 0, 2},          // next-next-hops
    {4},                                // interface
    {16, 32, 24, 0, 1},                 // SID list
    {40},                               // 5
    {16},                               // layer-2 information
    {24},                               // via SID
    {},                                 // 8
    {4},                                // grouping
    {24},                               // tunnel
    {24},                               // via forwarding table
    {8},                                // segment list
    {4, 12, RIB_ALGO_LABELS_MAX, 2, 2}, // labels by algorithm
    {sizeof(rib_held_sid)},             // SID request
    {sizeof(rib_held_iid)},             // IID request
    {1},                                // layer-2 information of a route
    {4},                                // algorithm
    {24},                               // forwarding table of a route
};
static_assert(sizeof(rib_held_sid) == 256 && offsetof(rib_held_sid, hs_context) == 240);
static_assert(sizeof(srv6_sid_req_t) == 240 && offsetof(srv6_sid_req_t, sr_opcode) == 232);
static_assert(sizeof(rib_held_iid) == 168 && offsetof(rib_held_iid, hi_context) == 160);
static_assert(sizeof(ip_rib_iid_req_t) == 152 && sizeof(ip_rib_iid_ctx_td) == 64);
static_assert(sizeof(rib_batch_request_answer) == 48);
