/*
 * Sending route batches and protocol batches.
 */
#include "send.h"

#include <algorithm>
#include <cstdlib>

#include <ipv6_rib/errors.h>
#include <platform/msg_chan.h>

#include "../rib_lib_api/locks.h"
#include "ip/rib/wire/batch_results.h"
#include "table.h"

int rib_client_batch_send(ip_rib_conn_p conn, void *msg, size_t len, void *reply, size_t reply_len)
{
    return rib_client_locked<int>(conn, "rib_client_batch_send", 0,
                                  [=] { return msg_send(conn->conn, msg, len, reply, reply_len); });
}

/* What the reply says until the server has answered: nothing was processed, and there are no results. */
static void preset_reply(rib_batch_reply_header_td *reply)
{
    *reply = {.brh_len = rib_swap(static_cast<uint32_t>(sizeof *reply)),
              .brh_status = rib_swap(static_cast<int16_t>(RIB_RESULT_RPC_ERROR))};
}

/* The exchange of both sends, for a message whose header is in host order. The header stays in network order. */
static int exchange(ip_rib_conn_p conn, rib_batch_header_td *header, rib_batch_reply_header_td *reply)
{
    const size_t len = header->bah_len;
    header->bah_type = RIB_MSG_BATCH;
    rib_to_net(header);
    preset_reply(reply);
    const bool failed = rib_client_batch_send(conn, header, len, reply, RIB_BATCH_REPLY_BYTES) < 0;
    if (failed)
        preset_reply(reply); // a reply that broke off may have left anything
    rib_to_host(reply);
    reply->brh_status = rib_swap(int16_t{reply->brh_status});
    return reply->brh_status;
}

/* Decides how much of the data a message carries: all, or what stands before the record that crossed the limit. */
static void fill_length(rib_batch_buffer *buffer)
{
    rib_batch_drop_open_path(buffer);
    if (!rib_batch_over_limit(buffer))
        buffer->last_rec_off = buffer->data_len;
    buffer->inarg.bah_len = buffer->last_rec_off + static_cast<uint32_t>(sizeof buffer->inarg);
}

/* Moves what was not sent to the front. */
static void carry_over(rib_batch_buffer *buffer)
{
    const uint32_t sent = buffer->last_rec_off;
    const uint32_t left = buffer->data_len - sent;
    std::memmove(buffer->data, buffer->data + sent, left);
    const bool current_left = buffer->cur_rec && buffer->cur_rec >= buffer->data + sent;
    buffer->cur_rec = current_left ? buffer->cur_rec - sent : nullptr;
    buffer->last_rec_off = left;
    rib_batch_set_data_len(buffer, left);
}

int rib_batch_buffer_send(ip_rib_conn_p conn, rib_batch_buffer *buffer, void *reply)
{
    if (!conn || !buffer || !reply)
        return RIB_RESULT_INVALID_PARAMETER;
    if (rib_batch_is_multi_table(buffer))
        rib_batch_last_table_done(buffer);
    fill_length(buffer);
    const int status = exchange(conn, &buffer->inarg, static_cast<rib_batch_reply_header_td *>(reply));
    rib_to_host(&buffer->inarg);
    if (status > 0 && buffer->data_len > buffer->last_rec_off)
        carry_over(buffer);
    else
        rib_batch_buffer_clear(buffer);
    return status;
}

void *rib_batch_args_out_allocate()
{
    void *reply = std::malloc(RIB_BATCH_REPLY_BYTES);
    if (reply)
        rib_store(reply, static_cast<uint32_t>(sizeof(rib_batch_reply_header_td)));
    return reply;
}

/* Copies so many results out of a reply and converts them. */
static void copy_results(uint8_t *to, const rib_batch_reply_header_td *reply, uint32_t count)
{
    std::memcpy(to, reply + 1, size_t{count} * sizeof(rib_proto_result));
    for (uint32_t i = 0; i < count; i++)
        rib_proto_result_net::swap(reinterpret_cast<rib_proto_result *>(to) + i);
}

int rib_batch_proto_buffer_send(ip_rib_conn_p conn, rib_batch_buffer *first, void *results, uint32_t max_results,
                                uint32_t *num_results)
{
    constexpr uint32_t most = (RIB_BATCH_REPLY_BYTES - sizeof(rib_batch_reply_header_td)) / sizeof(rib_proto_result);
    if (!conn || !first || !results)
        return RIB_RESULT_INVALID_PARAMETER;
    if (!first->reply_buf)
        first->reply_buf = rib_batch_args_out_allocate();
    if (!first->reply_buf)
        return RIB_RESULT_TOO_MANY_PATHS; // no memory, as this operation reports it
    auto *reply = static_cast<rib_batch_reply_header_td *>(first->reply_buf);
    auto *slot = static_cast<uint8_t *>(results);
    int status = RIB_RESULT_INVALID_PARAMETER;
    for (rib_batch_buffer *buffer = first; buffer; buffer = buffer->inarg.bai_opinfo.proto.bpr_next) {
        rib_batch_proto_td *proto = &buffer->inarg.bai_opinfo.proto;
        if (buffer != first && buffer->data_len == 0)
            break;
        if ((buffer != first && max_results == 0) || proto->bpr_count > max_results)
            return RIB_RESULT_INVALID_PARAMETER;
        proto->bpr_count = rib_swap(uint32_t{proto->bpr_count});
        fill_length(buffer);
        status = exchange(conn, &buffer->inarg, reply);
        const uint32_t answered = rib_swap(uint32_t{reply->brh_count});
        const uint32_t copied = std::min({answered, max_results, most});
        copy_results(slot, reply, copied);
        slot += size_t{copied} * sizeof(rib_proto_result);
        max_results -= copied;
        if (num_results)
            *num_results += copied;
        if (copied < answered)
            return RIB_RESULT_INVALID_PARAMETER;
    }
    return status;
}
