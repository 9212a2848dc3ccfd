/*
 * Collecting next-hop registrations. Records are in network order as soon as they stand in the buffer, the header only while it
 * is sent. The buffer is never cleared: a record keeps what the buffer held where its kind writes nothing.
 */
#include "nh_batch.h"

#include <cstdlib>
#include <cstring>

#include <ipv6_rib/errors.h>
#include <platform/msg_chan.h>
#include <platform/rib_tlv.h>

#include "../rib_owned.h"
#include "ip/rib/wire/next_hop_batch.h"
#include "locks.h"

struct nh_batch_td {
    rib_nh_header_td header;
    uint8_t records[RIB_NH_RECORDS * RIB_NH_RECORD];
};
static_assert(sizeof(nh_batch_td) == 5628);

static nh_batch_td *batch_of(ip_rib_conn_p conn)
{
    return static_cast<nh_batch_td *>(conn->nh_buff);
}

/* Writes a record of an operation; fill() adds what this kind of record has besides. */
template <class fill_td> static void write_record(uint8_t *at, size_t room, rib_nh_op op, rib_tableid_td table, fill_td fill)
{
    rib_tlv_stamp(RIB_TLV_NEXT_HOP, sizeof(rib_nh_value_td), &at, &room);
    auto *value = reinterpret_cast<rib_nh_value_td *>(at);
    value->nv_op = op;
    value->nv_table = table;
    fill(value);
    at += sizeof *value;
    rib_tlv_stamp(RIB_TLV_DELIMITER, 0, &at, &room);
    rib_to_net(value);
}

static auto registration(const in6_addr_t *nexthop, uint32_t prefixlen, uint32_t number)
{
    return [=](rib_nh_value_td *value) {
        std::memcpy(&value->nv_addr, nexthop, sizeof value->nv_addr);
        value->nv_prefix_len = prefixlen;
        value->nv_value = number;
    };
}

static void nothing_more(rib_nh_value_td *) {}

template <class fill_td> static void append(nh_batch_td *batch, rib_nh_op op, rib_tableid_td table, fill_td fill)
{
    const uint32_t len = batch->header.nh_len;
    write_record(batch->records + len, sizeof *batch - len, op, table, fill);
    batch->header.nh_len = len + RIB_NH_RECORD;
}

/* What was collected is gone afterwards, also when it did not reach the server. */
static errcode send(ip_rib_conn_p conn, nh_batch_td *batch)
{
    const rib_tableid_td table = batch->header.nh_table;
    const size_t len = sizeof batch->header + batch->header.nh_len;
    rib_to_net(&batch->header);
    errcode answer = 0; // stays in the order in which it comes
    const int sent = msg_send(conn->conn, batch, len, &answer, sizeof answer);
    batch->header.nh_len = 0;
    batch->header.nh_table = table;
    return sent < 0 ? RIB_LIB_ERR_BATCH_SEND : answer;
}

/* Sends the batch when it is full; then a first record says that the next message goes on. */
static errcode send_when_full(ip_rib_conn_p conn, nh_batch_td *batch, rib_tableid_td table)
{
    if (batch->header.nh_len < sizeof batch->records)
        return 0;
    const errcode sent = send(conn, batch);
    append(batch, RIB_NH_CONTINUE, table, nothing_more);
    return sent;
}

static errcode open_batch(ip_rib_conn_p conn, int flag)
{
    if (!conn->nh_buff)
        conn->nh_buff = std::calloc(1, sizeof(nh_batch_td));
    nh_batch_td *batch = batch_of(conn);
    if (!batch)
        return RIB_LIB_ERR_NO_MEMORY;
    batch->header.nh_type = RIB_MSG_NEXT_HOPS;
    batch->header.nh_len = 0;
    append(batch, RIB_NH_OPEN, batch->header.nh_table, [=](rib_nh_value_td *value) { value->nv_flag = flag != 0; });
    return send(conn, batch);
}

errcode rib_lib_nh_batch_init(ip_rib_conn_p conn, int flag)
{
    if (!conn)
        return RIB_LIB_ERR_BAD_ARG;
    return rib_client_locked<errcode>(conn, "rib_lib_nh_batch_init", 0, [=] { return open_batch(conn, flag); });
}

/* All ones stand for no address. */
static bool may_register(const in6_addr_t *nexthop, uint32_t prefixlen)
{
    constexpr in6_addr_t none = {
        {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}}};
    return nexthop && prefixlen <= 128 && std::memcmp(nexthop, &none, sizeof none) != 0;
}

errcode rib_lib_nh_batch_register(ip_rib_conn_p conn, int add, rib_tableid_td table, const in6_addr_t *nexthop,
                                  uint32_t prefixlen, uint32_t value)
{
    if (!conn)
        return RIB_LIB_ERR_BAD_ARG;
    return rib_client_locked<errcode>(conn, "rib_lib_nh_batch_register", 0, [=] {
        if (!may_register(nexthop, prefixlen))
            return RIB_LIB_ERR_BAD_ARG;
        nh_batch_td *batch = batch_of(conn);
        if (!batch)
            return RIB_LIB_ERR_BAD_ARG;
        append(batch, add ? RIB_NH_REGISTER : RIB_NH_UNREGISTER, table, registration(nexthop, prefixlen, value));
        batch->header.nh_table = table;
        return send_when_full(conn, batch, table);
    });
}

/* A full batch goes under the table of the record before this one. */
static errcode add_converge(ip_rib_conn_p conn, rib_nh_op op, rib_tableid_td table)
{
    nh_batch_td *batch = batch_of(conn);
    if (!batch)
        return RIB_LIB_ERR_BAD_ARG;
    append(batch, op, table, nothing_more);
    const errcode sent = send_when_full(conn, batch, table);
    batch->header.nh_table = table;
    return sent;
}

errcode rib_lib_nh_batch_register_converge(ip_rib_conn_p conn, rib_tableid_td table)
{
    if (!conn)
        return RIB_LIB_ERR_BAD_ARG;
    return rib_client_locked<errcode>(conn, "rib_lib_nh_batch_register_converge", 0,
                                      [=] { return add_converge(conn, RIB_NH_REGISTER_CONVERGE, table); });
}

errcode rib_lib_nh_batch_unregister_converge(ip_rib_conn_p conn, rib_tableid_td table)
{
    if (!conn)
        return RIB_LIB_ERR_BAD_ARG;
    return rib_client_locked<errcode>(conn, "rib_lib_nh_batch_unregister_converge", 0,
                                      [=] { return add_converge(conn, RIB_NH_UNREGISTER_CONVERGE, table); });
}

static errcode close_and_send(ip_rib_conn_p conn)
{
    nh_batch_td *batch = batch_of(conn);
    if (!batch)
        return RIB_LIB_ERR_BAD_ARG;
    append(batch, RIB_NH_FINISH, batch->header.nh_table, nothing_more);
    return send(conn, batch);
}

errcode rib_lib_nh_batch_finish(ip_rib_conn_p conn)
{
    if (!conn)
        return RIB_LIB_ERR_BAD_ARG;
    return rib_client_locked<errcode>(conn, "rib_lib_nh_batch_finish", 0, [=] { return close_and_send(conn); });
}

void rib_lib_nh_batch_free(ip_rib_conn_p conn)
{
    if (!conn)
        return;
    rib_client_locked<int>(conn, "rib_lib_nh_batch_free", 0, [=] {
        std::free(conn->nh_buff);
        conn->nh_buff = nullptr;
        return 0;
    });
}

/* A synchronous registration, and as much room for its answer as the channel is told of. */
struct sync_exchange_td {
    rib_nh_header_td header;
    uint8_t record[RIB_NH_RECORD];
    uint8_t unused_84[4];
    rib_nh_told_td reply;
    uint8_t more[RIB_MESSAGE_MAX - sizeof(rib_nh_told_td)];
};
constexpr size_t SYNC_MESSAGE = sizeof(rib_nh_header_td) + RIB_NH_RECORD;
static_assert(SYNC_MESSAGE == 84);

/* Begins with the caller's bytes, so that a shorter answer changes no more of them than it holds. */
template <class fill_td> static errcode exchange_sync(ip_rib_conn_p conn, rib_tableid_td table, void *reply, fill_td fill)
{
    const rib_owned_t<sync_exchange_td> exchange = rib_calloc<sync_exchange_td>(sizeof(sync_exchange_td));
    if (!exchange)
        return RIB_LIB_ERR_NO_MEMORY;
    exchange->header.nh_type = RIB_MSG_NEXT_HOPS;
    exchange->header.nh_len = RIB_NH_RECORD;
    rib_to_net(&exchange->header);
    write_record(exchange->record, RIB_NH_RECORD, RIB_NH_REGISTER_SYNC, table, fill);
    std::memcpy(&exchange->reply, reply, sizeof exchange->reply);
    const int sent = msg_send(conn->conn, exchange.get(), SYNC_MESSAGE, &exchange->reply, RIB_MESSAGE_MAX);
    rib_to_host(&exchange->reply);
    std::memcpy(reply, &exchange->reply, sizeof exchange->reply);
    return sent < 0 ? RIB_LIB_ERR_BATCH_SEND : 0;
}

errcode rib_lib_nh_batch_sync_register(ip_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *nexthop, uint32_t prefixlen,
                                       uint32_t value, void *reply)
{
    if (!conn)
        return RIB_LIB_ERR_BAD_ARG;
    return rib_client_locked<errcode>(conn, "rib_lib_nh_batch_sync_register", 0, [=] {
        if (!reply || !may_register(nexthop, prefixlen))
            return RIB_LIB_ERR_BAD_ARG;
        if (table == 0)
            return RIB_LIB_ERR_NO_TABLE;
        return exchange_sync(conn, table, reply, registration(nexthop, prefixlen, value));
    });
}
