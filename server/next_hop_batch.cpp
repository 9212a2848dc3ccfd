/*
 * Next hops, many of them registered by one message, or one that is answered at once.
 */
#include "server/next_hop_batch.h"

#include <algorithm>
#include <cerrno>

#include "server/next_hop_told.h"

constexpr size_t SYNC_LEN = sizeof(rib_nh_header_td) + RIB_NH_RECORD;

/* The value of a record of the message. */
static rib_nh_value_td value_at(const uint8_t *msg, size_t number)
{
    const uint8_t *record = msg + sizeof(rib_nh_header_td) + number * RIB_NH_RECORD;
    auto value = rib_load<rib_nh_value_td>(record + RIB_TLV_HEADER_SIZE);
    rib_to_host(&value);
    return value;
}

static bool is_header(const uint8_t *bytes, uint16_t type, size_t len)
{
    auto header = rib_load<rib_tlv_header_td>(bytes);
    rib_to_host(&header);
    return header.tlv_type == type && header.tlv_length == len;
}

/* Whether the records fill the message, each with its delimiter. */
static bool is_framed(const uint8_t *msg, size_t len)
{
    auto header = rib_load<rib_nh_header_td>(msg);
    rib_to_host(&header);
    if (header.nh_len != len - sizeof header || header.nh_len % RIB_NH_RECORD != 0)
        return false;
    for (const uint8_t *record = msg + sizeof header; record != msg + len; record += RIB_NH_RECORD)
        if (!is_header(record, RIB_TLV_NEXT_HOP, sizeof(rib_nh_value_td)) ||
            !is_header(record + RIB_NH_RECORD - RIB_TLV_HEADER_SIZE, RIB_TLV_DELIMITER, 0))
            return false;
    return true;
}

static bool names_next_hop(const rib_nh_value_td &value)
{
    const uint8_t *addr = reinterpret_cast<const uint8_t *>(&value) + offsetof(rib_nh_value_td, nv_addr);
    return value.nv_table != 0 && std::any_of(addr, addr + sizeof value.nv_addr, [](uint8_t byte) { return byte != 0xFF; });
}

static bool registers(const rib_nh_value_td &value)
{
    return names_next_hop(value) && value.nv_prefix_len <= RIB_ADDR_BITS;
}

/* Whether a record may stand where it does. */
static bool is_record(const rib_nh_value_td &value, bool first, bool last)
{
    switch (value.nv_op) {
    case RIB_NH_OPEN:
    case RIB_NH_CONTINUE:
        return first;
    case RIB_NH_FINISH:
        return last;
    case RIB_NH_REGISTER:
        return registers(value);
    case RIB_NH_UNREGISTER:
        return names_next_hop(value);
    case RIB_NH_REGISTER_CONVERGE:
    case RIB_NH_UNREGISTER_CONVERGE:
        return value.nv_table != 0;
    default:
        return false;
    }
}

static size_t count_of(size_t len)
{
    return (len - sizeof(rib_nh_header_td)) / RIB_NH_RECORD;
}

static bool check(const uint8_t *msg, size_t len)
{
    if (len <= sizeof(rib_nh_header_td) || !is_framed(msg, len) || count_of(len) > RIB_NH_RECORDS)
        return false;
    for (size_t number = 0, count = count_of(len); number != count; ++number)
        if (!is_record(value_at(msg, number), number == 0, number + 1 == count))
            return false;
    return true;
}

static rib_next_hop_key key_of(const rib_nh_value_td &value)
{
    const uint8_t *bytes = reinterpret_cast<const uint8_t *>(&value);
    return {value.nv_table, rib_prefix_load(bytes + offsetof(rib_nh_value_td, nv_addr), RIB_ADDR_BITS)};
}

static rib_next_hop_words words_of(const rib_nh_value_td &value)
{
    return {.min_len = static_cast<uint8_t>(value.nv_prefix_len), .value = value.nv_value};
}

/* Whether the session may have all that the batch registers, whatever it ends. */
static bool fits(const rib_session &session, const uint8_t *msg, size_t count)
{
    const rib_next_hops &hops = session.next_hops;
    size_t registered = hops.registered.size();
    size_t converging = hops.converging.size();
    for (size_t number = 0; number != count; ++number) {
        const rib_nh_value_td value = value_at(msg, number);
        registered += value.nv_op == RIB_NH_REGISTER && !hops.registered.contains(key_of(value));
        converging += value.nv_op == RIB_NH_REGISTER_CONVERGE && !hops.converging.contains(value.nv_table);
    }
    return registered <= RIB_SESSION_NEXT_HOPS && converging <= RIB_SESSION_NEXT_HOPS;
}

static void apply(rib_server &server, rib_session &session, const rib_nh_value_td &value)
{
    switch (value.nv_op) {
    case RIB_NH_REGISTER:
        rib_next_hop_register(server, session, key_of(value), words_of(value), rib_next_hop_answer::update);
        break;
    case RIB_NH_UNREGISTER:
        rib_next_hop_unregister(server, session, key_of(value));
        break;
    case RIB_NH_REGISTER_CONVERGE:
        rib_next_hops_register_converge(server, session, value.nv_table);
        break;
    case RIB_NH_UNREGISTER_CONVERGE:
        rib_next_hops_unregister_converge(server, session, value.nv_table);
        break;
    }
}

static errcode serve(rib_server &server, rib_session &session, const uint8_t *msg, size_t len)
{
    if (!session.bound)
        return EPERM;
    if (!check(msg, len))
        return EBADMSG;
    const size_t count = count_of(len);
    if (!fits(session, msg, count))
        return ENOSPC;
    for (size_t number = 0; number != count; ++number)
        apply(server, session, value_at(msg, number));
    return 0;
}

static errcode refusal_of_sync(const rib_session &session, const uint8_t *msg, const rib_nh_value_td &value)
{
    if (!session.bound)
        return EPERM;
    if (!is_framed(msg, SYNC_LEN) || !registers(value))
        return EBADMSG;
    return rib_next_hop_fits(session, key_of(value)) ? 0 : ENOSPC;
}

static size_t serve_sync(rib_server &server, rib_session &session, const uint8_t *msg, rib_reply_area area)
{
    uint8_t *reply = area(sizeof(rib_nh_told_td));
    if (!reply)
        return 0;
    const rib_nh_value_td value = value_at(msg, 0);
    const errcode refusal = refusal_of_sync(session, msg, value);
    rib_next_hop_way way;
    if (refusal == 0)
        way = rib_next_hop_register(server, session, key_of(value), words_of(value), rib_next_hop_answer::reply);
    rib_nh_told_td told = rib_next_hop_told(key_of(value), words_of(value), way);
    told.nu_min_len = value.nv_prefix_len;
    told.nu_result = refusal;
    rib_to_net(&told);
    rib_store(reply, told);
    return sizeof told;
}

/* The reply is one word in the byte order of the host; but that to a lone synchronous registration tells the next hop. */
size_t rib_serve_next_hops(rib_server &server, rib_session &session, const uint8_t *msg, size_t len, rib_reply_area area)
{
    if (len == SYNC_LEN && value_at(msg, 0).nv_op == RIB_NH_REGISTER_SYNC)
        return serve_sync(server, session, msg, area);
    uint8_t *reply = area(sizeof(errcode));
    if (!reply)
        return 0;
    const errcode result = serve(server, session, msg, len);
    rib_store(reply, result);
    return sizeof result;
}
