/*
 * The exchange behind every single request. Body and reply records carry all that differs between operations:
 *
 *   body_td::command, align, reply_td    command code, alignment of the body, the reply that belongs to it
 *   body_td::no_list                     there, when the request ends with its body
 *   reply_td::room                       bytes of the reply area; at most rib_reply_small of them are kept on the stack
 *   reply_td::own_list                   there, when no list follows the reply or the operation walks it itself
 */
#pragma once

#include <cerrno>
#include <new>
#include <type_traits>

#include <ipv6_rib/errors.h>
#include <platform/rib_tlv.h>

#include "../rib_owned.h"
#include "ip/rib/wire/tlv_types.h"
#include "transport.h"

constexpr size_t rib_reply_small = 64;

/* The reply area of an operation: zeroed, and its fixed record preset. */
template <class reply_td, bool on_stack = (reply_td::room <= rib_reply_small)> class rib_reply_area
{
public:
    rib_reply_area() : area_(rib_calloc<uint8_t>(reply_td::room))
    {
        if (area_)
            new (area_.get()) reply_td{};
    }
    explicit operator bool() const { return area_ != nullptr; }
    reply_td *get() { return reinterpret_cast<reply_td *>(area_.get()); }

private:
    rib_owned_t<uint8_t> area_;
};
template <class reply_td> class rib_reply_area<reply_td, true>
{
public:
    rib_reply_area() { new (area_) reply_td{}; }
    explicit operator bool() const { return true; }
    reply_td *get() { return reinterpret_cast<reply_td *>(area_); }

private:
    uint8_t area_[reply_td::room] = {};
};

template <class body_td> constexpr size_t rib_body_size = std::is_empty_v<body_td> ? 0 : sizeof(body_td);

template <class body_td> constexpr bool rib_no_list()
{
    return requires
    {
        body_td::no_list;
    };
}
template <class reply_td> constexpr bool rib_own_list()
{
    return requires
    {
        reply_td::own_list;
    };
}

/* Passes over the list behind a reply's fixed record; false when it would leave the reply. */
template <class reply_td> bool rib_pass_list(reply_td *reply)
{
    uint8_t *cursor = reinterpret_cast<uint8_t *>(reply + 1);
    if (!rib_tlv_list_fits(cursor, reinterpret_cast<const uint8_t *>(reply) + reply_td::room))
        return false;
    rib_tlv_handle_delim(&cursor);
    return true;
}

/*
 * Sends a body and decodes its reply, which is in host order afterwards. EBADMSG when its list is malformed. The area of
 * the reply is zero but for what the record presets.
 */
template <class body_td>
errcode rib_exchange(ip_rib_conn_p conn, const body_td &body, typename body_td::reply_td *reply,
                     size_t reply_room = body_td::reply_td::room, decltype(rib_client_lwm_send) *send = rib_client_lwm_send)
{
    using reply_td = typename body_td::reply_td;
    constexpr size_t aligned = rib_round_up(rib_body_size<body_td>, body_td::align);
    rib_lwm_command_msg msg = {};
    if constexpr (rib_body_size<body_td> != 0)
        rib_to_net(new (msg.body) body_td(body));
    size_t sent = aligned;
    if constexpr (!rib_no_list<body_td>()) {
        uint8_t *cursor = msg.body + rib_body_size<body_td>; // behind the last field, not behind the alignment
        size_t room = sizeof msg.body - aligned;
        rib_tlv_stamp(RIB_TLV_DELIMITER, 0, &cursor, &room);
        sent += RIB_TLV_HEADER_SIZE;
    }
    const errcode code = send(conn, body_td::command, &msg, sent, reinterpret_cast<rib_lwm_res_header *>(reply), reply_room);
    rib_to_host(reply);
    if constexpr (!rib_own_list<reply_td>())
        if (code == 0 && !rib_pass_list(reply))
            return EBADMSG;
    return code;
}

/* A whole operation. on_reply sees the decoded reply, only when the server answered 0. */
template <class body_td, class on_reply_t> errcode rib_request(ip_rib_conn_p conn, const body_td &body, on_reply_t on_reply)
{
    if (!conn)
        return RIB_LIB_ERR_BAD_ARG;
    rib_reply_area<typename body_td::reply_td> reply;
    if (!reply)
        return RIB_LIB_ERR_NO_MEMORY;
    const errcode code = rib_exchange(conn, body, reply.get());
    if (code == 0)
        on_reply(*reply.get());
    return code;
}
/* An operation whose reply says no more than its result. */
template <class body_td> errcode rib_request(ip_rib_conn_p conn, const body_td &body)
{
    return rib_request(conn, body, [](const auto &) {});
}

/* Writes a code through an error argument that may be NULL, and returns it. */
inline errcode rib_report(errcode *err, errcode code)
{
    if (err)
        *err = code;
    return code;
}
