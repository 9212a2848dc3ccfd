/*
 * From the command of a single request to the function that serves it.
 */
#include "server/requests.h"

#include <array>
#include <cerrno>
#include <new>

#include <platform/rib_tlv.h>

#include "ip/rib/wire/bind.h"
#include "ip/rib/wire/route_fetch.h"
#include "server/address_requests.h"
#include "server/protocol_requests.h"
#include "server/redistribution_requests.h"
#include "server/route_requests.h"

/* Whether a request ends with its body, and whether its reply ends with the record. */
template <class body_td> static constexpr bool rib_no_list()
{
    return requires
    {
        body_td::no_list;
    };
}
template <class reply_td> static constexpr bool rib_own_list()
{
    return requires
    {
        reply_td::own_list;
    };
}

/* The exchange behind every request whose reply is a fixed record, with an empty list behind it unless it has none. */
template <class body_td, errcode (*work)(rib_server &, rib_session &, const body_td &, typename body_td::reply_td &)>
static size_t serve(rib_request_td &request)
{
    using reply_td = typename body_td::reply_td;
    constexpr bool has_list = !rib_own_list<reply_td>();
    constexpr size_t len = sizeof(reply_td) + (has_list ? RIB_TLV_HEADER : 0);
    uint8_t *cursor = request.area(len);
    if (!cursor)
        return 0;
    auto *reply = new (cursor) reply_td{};
    reply->result = request.refusal;
    if (reply->result == 0)
        reply->result = work(request.server, request.session, rib_body_of<body_td>(request), *reply);
    rib_to_net(reply);
    cursor += sizeof(reply_td);
    if constexpr (has_list)
        rib_tlv_stamp(0, 0, &cursor, nullptr);
    return len;
}

static size_t serve_notify_fib_ug(rib_request_td &request)
{
    return rib_reply_result(request.area, request.refusal);
}

struct command_td {
    size_t body = 0; /* where the list stands */
    size_t sent = 0; /* body bytes of the message */
    bool has_list = true;
    size_t (*serve)(rib_request_td &) = nullptr;
};

template <class body_td> static constexpr void enter(auto &table, size_t (*serve_it)(rib_request_td &))
{
    constexpr bool has_list = !rib_no_list<body_td>();
    constexpr size_t aligned = rib_round_up(sizeof(body_td), body_td::align);
    table[body_td::command] = {sizeof(body_td), aligned + (has_list ? RIB_TLV_HEADER : 0), has_list, serve_it};
}

template <class body_td, errcode (*work)(rib_server &, rib_session &, const body_td &, typename body_td::reply_td &)>
static constexpr void enter(auto &table)
{
    enter<body_td>(table, serve<body_td, work>);
}

/* By command; one without an entry is not served. */
static constexpr auto commands = [] {
    std::array<command_td, RIB_CMD_CLEAR_AFT + 1> table = {};
    enter<rib_register_protocol_body_td, rib_do_register>(table);
    enter<rib_findpdb_body_td, rib_do_findpdb>(table);
    enter<rib_modify_protocol_body_td, rib_do_modify>(table);
    enter<rib_protocol_unregister_body_td, rib_do_unregister>(table);
    enter<rib_purge_protocol_body_td, rib_do_purge_protocol>(table);
    enter<rib_purge_client_body_td, rib_do_purge_client>(table);
    enter<rib_update_complete_body_td, rib_do_update_complete>(table);
    enter<rib_clear_aft_body_td, rib_do_clear_aft>(table);
    enter<rib_table_status_body_td, rib_do_table_status>(table);
    enter<rib_proto_info_body_td, rib_do_proto_info>(table);
    enter<rib_free_all_sids_body_td, rib_do_free_all_sids>(table);
    enter<rib_route_add_body_td, rib_do_route_add>(table);
    enter<rib_route_delete_body_td, rib_do_route_delete>(table);
    enter<rib_advertising_flag_body_td, rib_do_advertising_flag>(table);
    enter<rib_next_hop_body_td, rib_do_next_hop>(table);
    enter<rib_connected_body_td, rib_do_connected>(table);
    enter<rib_best_local_body_td, rib_do_best_local>(table);
    enter<rib_netsource_body_td, rib_do_default_netsource>(table);
    enter<rib_nh_register_body_td, rib_do_nh_register>(table);
    enter<rib_nh_unregister_body_td, rib_do_nh_unregister>(table);
    enter<rib_redist_protocol_body_td, rib_do_redist>(table);
    enter<rib_redist_markers_body_td, rib_do_redist_markers>(table);
    enter<rib_redist_reset_body_td, rib_do_redist_reset>(table);
    enter<rib_route_lookup_body_td>(table, rib_serve_route_lookup);
    enter<rib_get_routes_body_td>(table, rib_serve_get_routes);
    enter<rib_check_body_td>(table, rib_serve_get_check);
    table[RIB_CMD_FETCH_UPDATE] = {0, RIB_LWM_BODY, false, rib_serve_fetch};
    table[RIB_CMD_NOTIFY_FIB_UG] = {0, RIB_TLV_HEADER, true, serve_notify_fib_ug};
    table[RIB_CMD_BIND_DATA] = {sizeof(rib_bind_data_body_td), RIB_BIND_DATA_SENT, true, rib_serve_bind_data};
    return table;
}();

size_t rib_serve_request(rib_server &server, rib_session &session, uint8_t *msg, size_t len, rib_reply_area area)
{
    if (len < RIB_LWM_HEADER)
        return rib_reply_result(area, EBADMSG);
    const auto number = rib_load_net<uint32_t>(msg + offsetof(rib_lwm_command_msg, lcm_command));
    const bool served = number < commands.size() && commands[number].serve;
    const bool allowed = session.bound || number == RIB_CMD_BIND_DATA;
    if (!served)
        return rib_reply_result(area, allowed ? ENOSYS : EPERM);
    const command_td &command = commands[number];
    rib_request_td request = {server, session, msg + RIB_LWM_HEADER, 0, area};
    if (!allowed)
        request.refusal = EPERM;
    else if (len != RIB_LWM_HEADER + command.sent ||
             (command.has_list && !rib_tlv_list_fits(request.body + command.body, msg + len)))
        request.refusal = EBADMSG;
    return command.serve(request);
}
