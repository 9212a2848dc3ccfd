/*
 * Types of the RIB TLV records that travel in lists behind requests, replies, routes and paths.
 */
#pragma once

#include "ip/rib/wire/rib_wire.h"

enum rib_tlv_type_t : uint16_t {
    RIB_TLV_DELIMITER = 0,
    RIB_TLV_UPDATE = 1, /* the one record of an update of a fixed shape */
    RIB_TLV_ROUTE = 3,
    RIB_TLV_ROUTE_PATH = 4,
    RIB_TLV_ROUTE_ATTR_6 = 6,
    RIB_TLV_ROUTE_ADVERTISERS = 7,
    RIB_TLV_ROUTE_ATTR_8 = 8,
    RIB_TLV_ROUTE_ATTR_9 = 9,
    RIB_TLV_ROUTE_ATTR_10 = 10,
    RIB_TLV_ROUTE_ATTR_11 = 11,
    RIB_TLV_ROUTE_ATTR_15 = 15,
    RIB_TLV_NEXT_HOP = 30,
    RIB_TLV_BIND_OPTION = 44,
    RIB_TLV_BIND_REPLY = 104,
};

constexpr size_t RIB_TLV_HEADER_SIZE = 8;

/* A header as the server writes it: in network order. */
struct RIB_PACKED rib_tlv_header_td {
    uint8_t tlv_zero[4]; // 0
    uint16_t tlv_type;   // 4
    uint16_t tlv_length; // 6
    using net = rib_net_t<&rib_tlv_header_td::tlv_type, &rib_tlv_header_td::tlv_length>;
};
static_assert(sizeof(rib_tlv_header_td) == RIB_TLV_HEADER_SIZE);
