/*
 * The exchange of bind data: the client introduces itself and keeps what the server answers.
 */
#include "bind.h"

#include <cerrno>
#include <cstring>
#include <libgen.h>
#include <unistd.h>

#include <platform/bind_reply.h>
#include <platform/identity.h>

#include "ip/rib/wire/bind.h"
#include "request.h"

static_assert(sizeof(struct sigevent) == RIB_SIGEVENT);

static bool fill_identity(ip_rib_conn_p conn, rib_bind_data_body_td *body)
{
    if (platform_get_node_name(body->bd_node, sizeof body->bd_node) != 0)
        return false;
    if (platform_get_my_nodeid(&conn->my_node_id) != 0) {
        conn->my_node_id = RIB_ID_NONE;
        return false;
    }
    char path[257];
    if (procfs_get_name(getpid(), path, sizeof path) != 0)
        return false;
    const char *name = basename(path); // the one of libgen.h
    std::memcpy(body->bd_process, name, strnlen(name, sizeof body->bd_process - 1));
    return true;
}

static void fill_event(rib_bind_data_body_td *body, const struct sigevent *event, uint64_t value)
{
    body->bd_no_event = event == nullptr;
    if (event)
        std::memcpy(body->bd_event, event, sizeof body->bd_event);
    body->bd_pulse_value = value;
}

static void stamp_option(uint8_t *cursor, size_t room, uint16_t option, uint8_t version)
{
    const rib_bind_option_td value = {.bo_version = version, .bo_option = option};
    rib_tlv_stamp(RIB_TLV_BIND_OPTION, sizeof value, &cursor, &room);
    std::memcpy(cursor, &value, sizeof value);
    cursor += sizeof value;
    rib_tlv_stamp(RIB_TLV_DELIMITER, 0, &cursor, &room);
}

/* Keeps the update-message format that the server tells; 0 when it tells none. */
static void read_bind_reply(ip_rib_conn_p conn, const rib_tlv_t *tlv)
{
    wirc_rib_bind_reply_t decoded = {};
    if (wirc_rib_bind_reply_decode_ext(&decoded, tlv + 1, tlv->length, std::malloc, 0, 0) != 0)
        return;
    if (decoded.wbr_presence & WIRC_BIND_REPLY_HAS_MSG_VERSION)
        conn->msg_version = decoded.wbr_msg_version;
    wirc_rib_bind_reply_free_ext(&decoded, std::free, 0, 0);
}

static errcode read_reply(ip_rib_conn_p conn, rib_bind_data_reply_td *reply)
{
    uint8_t *cursor = reinterpret_cast<uint8_t *>(reply + 1);
    if (!rib_tlv_list_fits(cursor, reinterpret_cast<const uint8_t *>(reply) + rib_bind_data_reply_td::room))
        return EBADMSG;
    while (const rib_tlv_t *tlv = rib_tlv_strip(&cursor))
        if (tlv->type == RIB_TLV_BIND_REPLY && tlv->length > 0)
            read_bind_reply(conn, tlv);
    conn->server_node_id = reply->br_node_id;
    conn->client_id = reply->br_client_id;
    return 0;
}

errcode rib_client_bind_data(ip_rib_conn_p conn, const struct sigevent *event, uint64_t value, uint16_t option, uint8_t version)
{
    if (!conn)
        return RIB_LIB_ERR_BAD_ARG;
    rib_reply_area<rib_bind_data_reply_td> reply;
    if (!reply)
        return RIB_LIB_ERR_NO_MEMORY;
    rib_lwm_command_msg msg = {};
    auto *body = new (msg.body) rib_bind_data_body_td();
    if (!fill_identity(conn, body))
        return RIB_LIB_ERR_CLIENT_INFO;
    fill_event(body, event, value);
    stamp_option(msg.body + sizeof *body, sizeof msg.body - sizeof *body, option, version);
    rib_to_net(body);
    errcode code = rib_client_lwm_send_no_lock(conn, RIB_CMD_BIND_DATA, &msg, RIB_BIND_DATA_SENT,
                                               reinterpret_cast<rib_lwm_res_header *>(reply.get()), rib_bind_data_reply_td::room);
    conn->msg_version = 0;
    rib_to_host(reply.get());
    if (code == 0)
        code = read_reply(conn, reply.get());
    if (code != 0)
        conn->server_node_id = conn->client_id = RIB_ID_NONE;
    return code;
}
