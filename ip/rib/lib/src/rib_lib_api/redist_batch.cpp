/*
 * Collecting redistribution registrations. The header is in host order while records are added and in network order once it
 * was sent; a length that no open batch can have tells that nothing may be added until the next init.
 */
#include "redist_batch.h"

#include <cstdlib>
#include <new>

#include <ipv6_rib/errors.h>
#include <platform/msg_chan.h>

#include "../rib_fatal.h"
#include "../rib_lib_redist_batch_internal.h"
#include "ip/rib/wire/redist_batch.h"
#include "locks.h"

struct redist_batch_td {
    rib_redist_header_td header;
    uint8_t records[RIB_REDIST_PAYLOAD];
};
static_assert(sizeof(redist_batch_td) == 8028);

/* A registration leaves room for itself and the end record in the larger form. */
constexpr uint32_t ROOM_OF_REGISTRATION = 2 * sizeof(rib_redist_rec_td);

static redist_batch_td *batch_of(ip_rib_conn_p conn)
{
    return static_cast<redist_batch_td *>(conn->redist_buff);
}

/* Appends a record of the connection's form, in network order. */
static void append(ip_rib_conn_p conn, uint32_t op, rib_tableid_td table, uint64_t value)
{
    redist_batch_td *batch = batch_of(conn);
    uint8_t *at = batch->records + batch->header.rh_len;
    if (conn->redist_issu) {
        rib_to_net(new (at) rib_redist_issu_rec_td{.rr_op = op, .rr_table = table, .rr_value = static_cast<uint16_t>(value)});
        batch->header.rh_len += sizeof(rib_redist_issu_rec_td);
    } else {
        rib_to_net(new (at) rib_redist_rec_td{.rr_op = op, .rr_table = table, .rr_value = value});
        batch->header.rh_len += sizeof(rib_redist_rec_td);
    }
}

/* Begun and not yet sent. */
static bool is_open(const redist_batch_td *batch)
{
    return batch && batch->header.rh_len != 0 && batch->header.rh_len <= RIB_REDIST_PAYLOAD;
}

static bool was_sent(const redist_batch_td *batch)
{
    return batch && batch->header.rh_len > RIB_REDIST_PAYLOAD;
}

static errcode open_batch(ip_rib_conn_p conn, uint16_t mode, uint64_t flags)
{
    if (flags & RIB_REDIST_INIT_ISSU)
        conn->redist_issu = 1;
    if (conn->redist_issu)
        ip_rib_validate_issu_updatemode(mode);
    else
        ip_rib_validate_updatemode(mode);
    if (!conn->redist_buff)
        conn->redist_buff = std::calloc(1, sizeof(redist_batch_td));
    if (!conn->redist_buff)
        return RIB_LIB_ERR_NO_MEMORY;
    rib_redist_header_td &header = batch_of(conn)->header;
    header.rh_type = conn->redist_issu ? RIB_MSG_REDIST_ISSU : RIB_MSG_REDIST;
    header.rh_mode = mode;
    header.rh_count = 0;
    header.rh_len = 0;
    append(conn, RIB_REDIST_OPEN, 0, flags);
    return 0;
}

errcode rib_lib_redist_batch_init(ip_rib_conn_p conn, rib_updatemode mode, uint64_t flags)
{
    if (!conn)
        return RIB_LIB_ERR_BAD_ARG;
    return rib_client_locked<errcode>(conn, "rib_lib_redist_batch_init", 0,
                                      [=] { return open_batch(conn, static_cast<uint16_t>(mode), flags); });
}

static rib_redist_op operation_of(uint16_t mode, bool adds)
{
    switch (mode) {
    case RIB_REDIST_ALL:
        return adds ? RIB_REDIST_ADD_18 : RIB_REDIST_REMOVE_18;
    case RIB_REDIST_BEST_FOREIGN:
        return adds ? RIB_REDIST_ADD_20 : RIB_REDIST_REMOVE_20;
    case RIB_REDIST_ALL_FOREIGN:
        return adds ? RIB_REDIST_ADD_21 : RIB_REDIST_REMOVE_21;
    default:
        return adds ? RIB_REDIST_ADD : RIB_REDIST_REMOVE;
    }
}

/* The ISSU form knows no mode 18. */
static void rib_lib_issu_redist_batch_register_no_lock(uint16_t mode)
{
    rib_fatal_unless(mode != RIB_REDIST_ALL, "Invalid update mode");
}

/* A registration as its caller asks for it. */
struct registration_td {
    bool adds;
    rib_tableid_td table;
    uint16_t mode;
    uint32_t proto_flags;
    uint64_t common_flags;
};

static errcode add_registration(ip_rib_conn_p conn, const registration_td &in, uint16_t *count)
{
    redist_batch_td *batch = batch_of(conn);
    if (was_sent(batch)) {
        *count = rib_swap(uint16_t{batch->header.rh_count});
        return RIB_LIB_ERR_BATCH_FULL;
    }
    if (!is_open(batch))
        return RIB_LIB_ERR_BAD_ARG;
    rib_redist_header_td &header = batch->header;
    *count = header.rh_count;
    if (header.rh_len + ROOM_OF_REGISTRATION > RIB_REDIST_PAYLOAD)
        return RIB_LIB_ERR_BATCH_FULL;
    if (conn->redist_issu)
        rib_lib_issu_redist_batch_register_no_lock(in.mode);
    if (in.mode != header.rh_mode)
        return RIB_LIB_ERR_BAD_ARG;
    append(conn, operation_of(in.mode, in.adds), in.table,
           ip_rib_is_special_updatemode(in.mode) ? in.common_flags : uint64_t{in.proto_flags});
    *count = ++header.rh_count;
    return 0;
}

errcode rib_lib_redist_batch_register(ip_rib_conn_p conn, int add, rib_tableid_td table, rib_updatemode mode,
                                      ip_rib_proto_redist_flags proto_flags, ip_rib_redist_common_flags common_flags,
                                      uint16_t *count)
{
    rib_fatal_unless(table != 0, "Client error - no table specified\n");
    if (!conn || !count)
        return RIB_LIB_ERR_BAD_ARG;
    const registration_td in = {add != 0, table, static_cast<uint16_t>(mode), proto_flags, common_flags};
    return rib_client_locked<errcode>(conn, "rib_lib_redist_batch_register", 0,
                                      [&] { return add_registration(conn, in, count); });
}

static errcode send(ip_rib_conn_p conn, redist_batch_td *batch)
{
    const size_t len = sizeof batch->header + batch->header.rh_len;
    rib_to_net(&batch->header);
    errcode answer = 0; // stays in the order in which it comes
    if (msg_send(conn->conn, batch, len, &answer, sizeof answer) == 0)
        return answer;
    batch->header.rh_count = 0;
    batch->header.rh_len = 0;
    return RIB_LIB_ERR_BATCH_SEND;
}

static errcode close_and_send(ip_rib_conn_p conn, uint16_t *count)
{
    redist_batch_td *batch = batch_of(conn);
    if (!is_open(batch))
        return RIB_LIB_ERR_BAD_ARG;
    const uint16_t registrations = batch->header.rh_count;
    append(conn, RIB_REDIST_CLOSE, 0, 0);
    const errcode code = send(conn, batch);
    if (code == 0)
        *count = registrations;
    return code;
}

errcode rib_lib_redist_batch_finish(ip_rib_conn_p conn, uint16_t *count)
{
    if (!conn || !count)
        return RIB_LIB_ERR_BAD_ARG;
    return rib_client_locked<errcode>(conn, "rib_lib_redist_batch_finish", 0, [=] { return close_and_send(conn, count); });
}

void rib_lib_redist_batch_free(ip_rib_conn_p conn)
{
    if (!conn)
        return;
    rib_client_locked<int>(conn, "rib_lib_redist_batch_free", 0, [=] {
        std::free(conn->redist_buff);
        conn->redist_buff = nullptr;
        return 0;
    });
}
