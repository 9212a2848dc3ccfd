/*
 * Control of redistribution by single requests.
 */
#pragma once

#include <ipv6_rib/redistribution.h>

#include "ip/rib/wire/protocol.h"

struct RIB_PACKED rib_redist_reply_td {
    static constexpr size_t room = 268;
    errcode result;                            // 0
    rib_protoid_td protoid = RIB_PROTOID_NONE; // 4 the source
    uint8_t rr_unused_6[2];                    // 6
    uint32_t rr_client_id;                     // 8, the list follows at 12
    using net = rib_net_t<&rib_redist_reply_td::result, &rib_redist_reply_td::protoid, &rib_redist_reply_td::rr_client_id>;
};
static_assert(sizeof(rib_redist_reply_td) == 12);

/* Both requests that name a source have this body. */
template <rib_lwm_command_type code> struct RIB_PACKED rib_redist_body_td {
    static constexpr auto command = code;
    static constexpr size_t align = 4;
    using reply_td = rib_redist_reply_td;
    rib_name_pair_td rr_names; //   0
    uint8_t rr_unused_82[2];   //  82
    uint32_t rr_flags;         //  84
    uint32_t rr_mode;          //  88 low 16 bits of the update mode
    rib_tableid_td rr_table;   //  92
    uint32_t rr_child_arg;     //  96
    uint32_t rr_parent;        // 100 datum of the parent connection, RIB_NO_PARENT without one
    using net = rib_net_t<&rib_redist_body_td::rr_flags, &rib_redist_body_td::rr_mode, &rib_redist_body_td::rr_table,
                          &rib_redist_body_td::rr_child_arg, &rib_redist_body_td::rr_parent>;
};
using rib_redist_protocol_body_td = rib_redist_body_td<RIB_CMD_REDIST_PROTOCOL>;
using rib_redist_markers_body_td = rib_redist_body_td<RIB_CMD_REDIST_MARKERS>;
static_assert(sizeof(rib_redist_protocol_body_td) == 104);

struct RIB_PACKED rib_redist_reset_body_td {
    static constexpr auto command = RIB_CMD_REDIST_RESET;
    static constexpr size_t align = 4;
    using reply_td = rib_result_reply_td;
    uint32_t rr_value; // 0 table, 0 for all
    using net = rib_net_t<&rib_redist_reset_body_td::rr_value>;
};
static_assert(sizeof(rib_redist_reset_body_td) == 4);

struct RIB_PACKED rib_netsource_reply_td {
    static constexpr size_t room = 264;
    errcode result;     // 0
    uint32_t dn_answer; // 4 outgoing interface, the list follows at 8
    using net = rib_net_t<&rib_netsource_reply_td::result, &rib_netsource_reply_td::dn_answer>;
};
static_assert(sizeof(rib_netsource_reply_td) == 8);

struct RIB_PACKED rib_netsource_body_td {
    static constexpr auto command = RIB_CMD_DEFAULT_NETSOURCE;
    static constexpr size_t align = 4;
    using reply_td = rib_netsource_reply_td;
    uint32_t dn_value; // 0 table
    using net = rib_net_t<&rib_netsource_body_td::dn_value>;
};
static_assert(sizeof(rib_netsource_body_td) == 4);
