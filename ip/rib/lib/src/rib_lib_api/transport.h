/*
 * One request and its reply on the connection's message channel. Nothing is allocated.
 */
#pragma once

#include "connection.h"
#include "ip/rib/wire/request.h"

/*
 * Stamps the header of req, of whose body body_len bytes are sent, and blocks until reply holds the answer, at most
 * reply_len bytes of it. reply is required (fatal assertion). Its words behind the first stay in network order; on a
 * failure of the channel they are undefined.
 *
 * 0 or the server's code; the channel's errno; RIB_LIB_ERR_NO_CONNECTION: no connection, or it could not be locked.
 */
errcode rib_client_lwm_send(ip_rib_conn_p conn, rib_lwm_command_type cmd, rib_lwm_command_msg *req, size_t body_len,
                            rib_lwm_res_header *reply, size_t reply_len);
/* The same for a caller that holds the bind mutex. */
errcode rib_client_lwm_send_no_lock(ip_rib_conn_p conn, rib_lwm_command_type cmd, rib_lwm_command_msg *req, size_t body_len,
                                    rib_lwm_res_header *reply, size_t reply_len);
