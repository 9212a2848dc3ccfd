/*
 * Single requests on the message channel.
 */
#include "transport.h"

#include <cerrno>

#include <ipv6_rib/errors.h>
#include <platform/msg_chan.h>

#include "../rib_fatal.h"
#include "locks.h"

errcode rib_client_lwm_send_no_lock(ip_rib_conn_p conn, rib_lwm_command_type cmd, rib_lwm_command_msg *req, size_t body_len,
                                    rib_lwm_res_header *reply, size_t reply_len)
{
    rib_fatal_unless(reply, "reply != ((void*)0)");
    if (!conn)
        return RIB_LIB_ERR_NO_CONNECTION;
    req->lcm_type = RIB_MSG_LWM;
    req->lcm_command = rib_swap(uint32_t{cmd});
    if (msg_send(conn->conn, req, body_len + RIB_LWM_HEADER, reply, reply_len) != 0)
        return static_cast<errcode>(errno);
    return rib_swap(errcode{reply->lrh_result});
}

errcode rib_client_lwm_send(ip_rib_conn_p conn, rib_lwm_command_type cmd, rib_lwm_command_msg *req, size_t body_len,
                            rib_lwm_res_header *reply, size_t reply_len)
{
    if (!conn)
        return RIB_LIB_ERR_NO_CONNECTION;
    return rib_client_locked<errcode>(conn, "rib_client_lwm_send", RIB_LIB_ERR_NO_CONNECTION,
                                      [=] { return rib_client_lwm_send_no_lock(conn, cmd, req, body_len, reply, reply_len); });
}
