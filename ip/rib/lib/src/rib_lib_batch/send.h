/*
 * Sending batches.
 */
#pragma once

#include "../rib_lib_api/connection.h"
#include "buffer.h"

/*
 * Sends a message under the connection locks and blocks until its reply is there. The result of msg_send(); 0 with
 * nothing sent, and a message, when the connection could not be locked.
 */
int rib_client_batch_send(ip_rib_conn_p conn, void *msg, size_t len, void *reply, size_t reply_len);

int rib_batch_buffer_send(ip_rib_conn_p conn, rib_batch_buffer *buffer, void *reply);
int rib_batch_proto_buffer_send(ip_rib_conn_p conn, rib_batch_buffer *first, void *results, uint32_t max_results,
                                uint32_t *num_results);

void *rib_batch_args_out_allocate();
