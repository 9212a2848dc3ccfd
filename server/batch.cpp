/*
 * From a batch message to its reply.
 */
#include "server/batch.h"

#include <new>

#include "server/batch_apply.h"

static size_t finish(uint8_t *area, size_t len, uint16_t argument, int16_t status, const rib_batch_run &run)
{
    auto *header = new (area) rib_batch_reply_header_td{};
    header->brh_len = static_cast<uint32_t>(len);
    header->brh_refused = run.refused;
    header->brh_count = run.count;
    header->brh_markers = run.markers;
    rib_store_net(&header->brh_status, status);
    header->brh_argument = argument;
    rib_to_net(header);
    rib_batch_reply_header_td::net_walk::swap(header);
    return len;
}

size_t rib_serve_batch(rib_server &server, rib_session &session, const uint8_t *msg, size_t len, rib_reply_area area)
{
    rib_batch_shape shape;
    int16_t status = session.bound ? RIB_BATCH_PROCESSED : int16_t{RIB_RESULT_INVALID_HANDLE};
    if (session.bound && !rib_batch_check(msg, len, &shape))
        status = RIB_RESULT_INVALID_PARAMETER;
    const size_t reply_len = status > 0 ? shape.reply_len : sizeof(rib_batch_reply_header_td);
    uint8_t *reply = area(reply_len);
    if (!reply)
        return 0;
    rib_batch_run run = {server, session, reply + sizeof(rib_batch_reply_header_td)};
    if (status > 0 && shape.argument == RIB_BATCH_PROTOCOLS)
        rib_batch_apply_protocols(run, msg, shape.entries);
    else if (status > 0)
        rib_batch_apply(run, msg, len);
    return finish(reply, reply_len, shape.argument, status, run);
}
