/*
 * From the command of a single request to the function that serves it.
 */
#include "server/requests.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <new>

#include <platform/rib_tlv.h>

#include "ip/rib/wire/bind.h"
#include "ip/rib/wire/route_record.h"
#include "server/protocol_requests.h"

/* The exchange behind every request whose reply is a fixed record and an empty list. */
template <class body_td, errcode (*work)(rib_server &, rib_session &, const body_td &, typename body_td::reply_td &)>
static size_t serve(rib_request_td &request)
{
    using reply_td = typename body_td::reply_td;
    uint8_t *cursor = request.area(sizeof(reply_td) + RIB_TLV_HEADER);
    if (!cursor)
        return 0;
    auto *reply = new (cursor) reply_td{};
    if constexpr (requires { reply->protoid; })
        reply->protoid = RIB_PROTOID_NONE;
    reply->result = request.refusal;
    if (reply->result == 0) {
        body_td body;
        std::memcpy(&body, request.body, sizeof body);
        rib_to_host(&body);
        reply->result = work(request.server, request.session, body, *reply);
    }
    rib_to_net(reply);
    cursor += sizeof(reply_td);
    rib_tlv_stamp(0, 0, &cursor, nullptr);
    return sizeof(reply_td) + RIB_TLV_HEADER;
}

static size_t serve_notify_fib_ug(rib_request_td &request)
{
    return rib_reply_result(request.area, request.refusal);
}

struct command_td {
    size_t body = 0; /* where the list stands */
    size_t sent = 0; /* body bytes of the message */
    size_t (*serve)(rib_request_td &) = nullptr;
};

template <class body_td, errcode (*work)(rib_server &, rib_session &, const body_td &, typename body_td::reply_td &)>
static constexpr void enter(auto &table)
{
    table[body_td::command] = {sizeof(body_td), rib_round_up(sizeof(body_td), body_td::align) + RIB_TLV_HEADER,
                               serve<body_td, work>};
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
    table[RIB_CMD_NOTIFY_FIB_UG] = {0, RIB_TLV_HEADER, serve_notify_fib_ug};
    table[RIB_CMD_BIND_DATA] = {sizeof(rib_bind_data_body_td), RIB_BIND_DATA_SENT, rib_serve_bind_data};
    table[RIB_CMD_ROUTE_LOOKUP] = {sizeof(rib_route_lookup_body_td), sizeof(rib_route_lookup_body_td) + RIB_TLV_HEADER,
                                   rib_serve_route_lookup};
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
    else if (len != RIB_LWM_HEADER + command.sent || !rib_tlv_list_fits(request.body + command.body, msg + len))
        request.refusal = EBADMSG;
    return command.serve(request);
}
