/*
 * Route lookup, and the route as it is handed out.
 */
#include <cerrno>
#include <new>

#include <ipv6_rib/errors.h>
#include <platform/rib_tlv.h>

#include "ip/rib/wire/batch_records.h"
#include "ip/rib/wire/route_record.h"
#include "server/requests.h"
#include "server/route_reply.h"

static errcode look_up(const rib_table *table, const rib_route_lookup_body_td &body, const rib_table::entry_td **entry)
{
    const uint32_t len = body.rl_length;
    const bool range = body.rl_flags == RIB_LOOKUP_RANGE;
    const uint32_t max_len = range ? len >> 16 : len;
    const uint32_t min_len = range ? len & 0xFFFF : 0;
    if (max_len > RIB_ADDR_BITS || min_len > max_len)
        return EINVAL;
    const rib_prefix prefix = rib_prefix_load(&body.rl_addr, static_cast<uint8_t>(max_len));
    switch (body.rl_flags) {
    case RIB_LOOKUP_LONGEST:
    case RIB_LOOKUP_RANGE:
        *entry = table ? table->longest(prefix, min_len, max_len) : nullptr;
        break;
    case RIB_LOOKUP_EXACT:
        *entry = table ? table->exact(prefix) : nullptr;
        break;
    case RIB_LOOKUP_LONGER:
        *entry = table ? table->first_longer(prefix) : nullptr;
        break;
    default:
        return EINVAL;
    }
    return *entry ? 0 : RIB_SRV_ERR_NOT_FOUND;
}

size_t rib_serve_route_lookup(rib_request_td &request)
{
    rib_route_lookup_body_td body = {};
    const rib_table::entry_td *entry = nullptr;
    errcode result = request.refusal;
    if (result == 0) {
        body = rib_body_of<rib_route_lookup_body_td>(request);
        result = look_up(request.server.tables.find(body.rl_table), body, &entry);
    }
    const rib_route *route = entry ? entry->second.get() : nullptr;
    const size_t route_len = route ? rib_route_record_len(*route) : RIB_TLV_HEADER;
    uint8_t *cursor = request.area(sizeof(rib_route_lookup_reply_td) + route_len);
    if (!cursor)
        return 0;
    auto *reply = new (cursor) rib_route_lookup_reply_td{};
    reply->result = result;
    rib_to_net(reply);
    cursor += sizeof *reply;
    if (route)
        rib_write_route(body.rl_table, *entry, *route, *request.server.protocols.find(route->protoid), &cursor);
    else
        rib_tlv_stamp(0, 0, &cursor, nullptr);
    return sizeof *reply + route_len;
}
