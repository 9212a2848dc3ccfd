/*
 * The introduction of a client.
 */
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include <platform/bind_reply.h>
#include <platform/rib_tlv.h>

#include "ip/rib/wire/bind.h"
#include "server/requests.h"

/* The value of the option record in the list behind the body, or NULL. The list was found to fit. */
static const uint8_t *find_option(uint8_t *list)
{
    while (rib_tlv_t *record = rib_tlv_strip(&list))
        if (record->type == RIB_TLV_BIND_OPTION && record->length == sizeof(rib_bind_option_td))
            return reinterpret_cast<const uint8_t *>(record + 1);
    return nullptr;
}

/* The client may have named another event: whatever woke it before does not count. */
static errcode introduce(rib_session &session, uint8_t *bytes)
{
    rib_bind_data_body_td body;
    std::memcpy(&body, bytes, sizeof body);
    rib_to_host(&body);
    const uint8_t *value = find_option(bytes + sizeof body);
    if (!value)
        return EBADMSG;
    const auto option = rib_load<rib_bind_option_td>(value);
    session.bound = true;
    session.has_event = body.bd_no_event == 0;
    std::copy(std::begin(body.bd_event), std::end(body.bd_event), session.event.begin());
    session.pulse_value = body.bd_pulse_value;
    session.node.assign(body.bd_node, strnlen(body.bd_node, sizeof body.bd_node - 1));
    session.process.assign(body.bd_process, strnlen(body.bd_process, sizeof body.bd_process - 1));
    session.version = option.bo_version;
    session.option = option.bo_option;
    session.consumer.pulsed = false;
    rib_consumer_stir(session);
    return 0;
}

size_t rib_serve_bind_data(rib_request_td &request)
{
    uint8_t *area = request.area(rib_bind_data_reply_td::room);
    if (!area)
        return 0;
    auto *reply = new (area) rib_bind_data_reply_td{};
    uint8_t *cursor = area + sizeof *reply;
    reply->br_result = request.refusal ? request.refusal : introduce(request.session, request.body);
    if (reply->br_result == 0) {
        reply->br_node_id = request.server.node_id;
        reply->br_client_id = request.session.client_id;
        const wirc_rib_bind_reply_t told = {request.server.options.msg_version, WIRC_BIND_REPLY_HAS_MSG_VERSION};
        uint8_t value[WIRC_BIND_REPLY_MAX];
        const size_t len = wirc_rib_bind_reply_encode(&told, value, sizeof value);
        rib_tlv_stamp(RIB_TLV_BIND_REPLY, static_cast<uint16_t>(len), &cursor, nullptr);
        cursor = std::copy_n(value, len, cursor);
    }
    rib_to_net(reply);
    rib_tlv_stamp(0, 0, &cursor, nullptr);
    return static_cast<size_t>(cursor - area);
}
