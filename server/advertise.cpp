/*
 * Who advertises a route.
 */
#include <cerrno>

#include "server/lifecycle.h"
#include "server/route_requests.h"

errcode rib_do_advertising_flag(rib_server &server, rib_session &session, const rib_advertising_flag_body_td &body,
                                rib_result_reply_td &)
{
    rib_protocol *protocol;
    if (const errcode refusal = rib_protocol_owned(server, session, body.af_protoid, &protocol))
        return refusal;
    if (body.af_prefix_len > RIB_ADDR_BITS || body.af_value > 1 || body.af_count > RIB_ADV_LIST_MAX)
        return EINVAL;
    const rib_prefix prefix = rib_prefix_load(&body.af_prefix, static_cast<uint8_t>(body.af_prefix_len));
    if (rib_prefix_has_host_bits(prefix))
        return EINVAL;
    rib_table *table = server.tables.find(body.af_table);
    if (!table)
        return RIB_SRV_ERR_NOT_FOUND;
    const rib_table::place_td place = table->locate(prefix);
    if (place == table->end())
        return RIB_SRV_ERR_NOT_FOUND;
    return table->advertise(place, protocol->id, body.af_value == 1) ? 0 : RIB_SRV_ERR_ACCEPTED;
}
