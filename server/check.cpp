/*
 * The check whether the route for an address is newer than the client knows.
 */
#include <cerrno>
#include <new>

#include <platform/rib_tlv.h>

#include "ip/rib/wire/next_hop.h"
#include "ip/rib/wire/route_record.h"
#include "server/redistribution.h"
#include "server/requests.h"
#include "server/route_reply.h"

constexpr uint32_t ROUTE_LIST = RIB_TLV_HEADER + RIB_ROUTE_FIXED + RIB_TLV_HEADER;

struct finding_td {
    const rib_table::entry_td *entry = nullptr;
    bool newer = false;
};

static errcode check(rib_request_td &request, const rib_check_body_td &body, finding_td *finding)
{
    if (body.ck_word2 > RIB_ADDR_BITS || body.ck_reply_size < RIB_CHECK_REPLY_MIN)
        return EINVAL;
    if (const errcode refusal = rib_check_parent(request.server, request.session, body.ck_parent))
        return refusal;
    const rib_table *table = request.server.tables.find(body.ck_word1);
    const auto *entry = table ? table->longest(rib_prefix_load(&body.ck_addr, RIB_ADDR_BITS), 0, body.ck_word2) : nullptr;
    if (!entry)
        return RIB_SRV_ERR_NOT_FOUND;
    const bool newer = static_cast<uint32_t>(entry->second->version) > body.ck_long1;
    if (newer && body.ck_reply_size - RIB_CHECK_REPLY_MIN < ROUTE_LIST)
        return EMSGSIZE;
    *finding = {entry, newer};
    return 0;
}

static uint32_t count_routes(const rib_table::entry_td &entry)
{
    uint32_t count = 0;
    for (const rib_route *route = entry.second.get(); route; route = route->next.get())
        ++count;
    return count;
}

static void tell(const finding_td &finding, rib_check_reply_td *reply)
{
    rib_prefix_store(finding.entry->first, &reply->ck_addr);
    reply->ck_value = finding.newer;
    reply->ck_data_len = finding.newer ? ROUTE_LIST : 0;
    reply->ck_pair_1 = count_routes(*finding.entry);
    reply->ck_pair_0 = finding.entry->first.len;
}

size_t rib_serve_get_check(rib_request_td &request)
{
    rib_check_body_td body = {};
    finding_td finding;
    errcode result = request.refusal;
    if (result == 0) {
        body = rib_body_of<rib_check_body_td>(request);
        result = check(request, body, &finding);
    }
    const size_t len = sizeof(rib_check_reply_td) + (finding.newer ? ROUTE_LIST : 0);
    uint8_t *cursor = request.area(len);
    if (!cursor)
        return 0;
    auto *reply = new (cursor) rib_check_reply_td{};
    reply->result = result;
    if (finding.entry)
        tell(finding, reply);
    rib_to_net(reply);
    if (finding.newer) {
        const rib_route &route = *finding.entry->second;
        cursor += sizeof *reply;
        rib_write_route_head(body.ck_word1, *finding.entry, route, *request.server.protocols.find(route.protoid), &cursor);
        rib_tlv_stamp(0, 0, &cursor, nullptr);
    }
    return len;
}
