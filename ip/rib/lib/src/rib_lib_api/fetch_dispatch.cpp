/*
 * The messages of a reply, one by one: framing, conversion, and the callback that is called. A message that is shorter than
 * what is read of it is reported and left out.
 */
#include <cerrno>
#include <cstring>

#include "fetch.h"
#include "ip/rib/wire/next_hop_batch.h"
#include "ip/rib/wire/update.h"
#include "messages.h"
#include "route_decode.h"

/* Converts the header at the cursor and describes its message, whose length is not checked yet. Written where it is read:
 * a copy of what was just written in small pieces would wait for them. */
template <class header_td> static void describe(uint8_t *at, uint32_t format, rib_update_info_t *info)
{
    auto *header = reinterpret_cast<header_td *>(at);
    rib_to_host(header);
    info->ui_word = header->uv_word;
    info->ui_type = header->uv_type;
    info->ui_len = header->uv_len;
    info->ui_format = format;
    info->ui_payload_len = header->uv_len - uint32_t{sizeof *header};
    info->ui_payload = header + 1;
}

/* Takes the header at the cursor; false when the rest does not hold one. */
static bool take_header(uint8_t *at, size_t left, uint32_t format, rib_update_info_t *info)
{
    if (format == 0 && left >= sizeof(rib_update_v0_td)) {
        describe<rib_update_v0_td>(at, format, info);
        return true;
    }
    if (format == 1 && left >= sizeof(rib_update_v1_td)) {
        describe<rib_update_v1_td>(at, format, info);
        info->ui_extra = reinterpret_cast<rib_update_v1_td *>(at)->uv_extra;
        return true;
    }
    return false;
}

/* Why a message cannot be taken; NULL when it can. */
static const char *fault_of(const rib_update_info_t &info, size_t left)
{
    if (info.ui_len > left)
        return info.ui_format == 0 ? "fewer bytes remaining than V0 msg contains" : "fewer bytes remaining than V1 msg contains";
    const size_t header = info.ui_format == 0 ? sizeof(rib_update_v0_td) : sizeof(rib_update_v1_td);
    return info.ui_len < header ? "Invalid message size from server1" : nullptr;
}

void rib_client_take_messages(rib_fetch_pass &pass, uint8_t *begin, uint8_t *end)
{
    uint32_t number = 0;
    for (uint8_t *at = begin; at != end;) {
        const auto left = static_cast<size_t>(end - at);
        rib_update_info_t info = {};
        if (!take_header(at, left, pass.format, &info))
            return;
        if (const char *fault = fault_of(info, left)) {
            rib_log_fetch_update(fault);
            return;
        }
        info.ui_number = ++number;
        rib_client_dispatch_message(pass, info);
        at += info.ui_len;
    }
}

static void report_invalid()
{
    rib_log_fetch_update("Invalid update message");
}

/* Whether so many bytes were there; it is reported when they were not. */
static bool holds(size_t len, size_t least)
{
    if (len < least)
        report_invalid();
    return len >= least;
}

/* The record that a message begins with, its header in host order; NULL, and reported, when its value is not there. */
static rib_tlv_t *record_of(const rib_update_info_t &info, size_t least)
{
    auto *at = static_cast<uint8_t *>(info.ui_payload);
    if (!holds(info.ui_payload_len, RIB_TLV_HEADER_SIZE + least))
        return nullptr;
    const auto len = rib_load_net<uint16_t>(at + offsetof(rib_tlv_header_td, tlv_length));
    if (!holds(len, least) || !holds(info.ui_payload_len, RIB_TLV_HEADER_SIZE + size_t{len}))
        return nullptr;
    rib_tlv_t *record = rib_tlv_strip(&at);
    if (!record)
        report_invalid();
    return record;
}

/* The same, its value as a record of fixed shape in host order. */
template <class value_td> static value_td *value_of(const rib_update_info_t &info)
{
    rib_tlv_t *record = record_of(info, sizeof(value_td));
    if (!record)
        return nullptr;
    auto *value = reinterpret_cast<value_td *>(record + 1);
    rib_to_host(value);
    return value;
}

/* Takes what a parser of the platform says of a payload. */
static void report(errcode parsed)
{
    if (parsed == EBADMSG)
        report_invalid();
}

static void tell_routes(const rib_fetch_pass &pass, const rib_update_info_t &info, int type)
{
    if (const auto callback = pass.list.get<rib_route_update_cb>(type))
        report(rib_lib_pvt_parse_route_update(&info, callback, rib_client_parse_route, rib_strip_tlv_from_path,
                                              pass.list.limited(), pass.context));
}

static void tell_value(const rib_fetch_pass &pass, const rib_update_info_t &info)
{
    if (const auto callback = pass.list.get<rib_value_update_cb>(RIB_UPDATE_CB_3))
        if (auto *value = value_of<rib_upd_4_td>(info))
            callback(info.ui_word, value, pass.context);
}

static void tell_next_hop(const rib_fetch_pass &pass, const rib_update_info_t &info)
{
    if (const auto callback = pass.list.get<rib_next_hop_update_cb>(RIB_UPDATE_NEXT_HOP))
        if (auto *value = value_of<rib_nh_told_td>(info))
            callback(info.ui_word, value, pass.context, value->nu_value);
}

static void tell_dumps_complete(const rib_fetch_pass &pass, const rib_update_info_t &info)
{
    if (const auto callback = pass.list.get<rib_word_update_cb>(RIB_UPDATE_DUMPS_COMPLETE))
        callback(info.ui_word, pass.context);
}

static void tell_dump_end(const rib_fetch_pass &pass, const rib_update_info_t &info)
{
    const auto callback = pass.list.get<rib_words_update_cb>(RIB_UPDATE_DUMP_END);
    if (!callback && !pass.list.get<rib_word_update_cb>(RIB_UPDATE_DUMPS_COMPLETE))
        return;
    const auto *value = value_of<rib_upd_dump_end_td>(info);
    if (!value)
        return;
    if (callback)
        callback(info.ui_word, value->de_all, value->de_source, pass.context);
    if (value->de_all != 0)
        tell_dumps_complete(pass, info);
}

static void tell_state_to_both(rib_fetch_pass &pass, const rib_update_info_t &info, void *payload, uint8_t state)
{
    if (const auto callback = pass.list.get<rib_state_update_cb>(RIB_UPDATE_CB_7))
        callback(info.ui_word, payload, state, pass.context);
    pass.record.payload = payload;
    pass.record.word = info.ui_word;
    if (const auto callback = pass.list.get<rib_state_record_cb>(RIB_UPDATE_STATE))
        callback(&pass.record, pass.context);
}

static bool wants_state(const rib_fetch_pass &pass)
{
    return pass.list.get<rib_state_update_cb>(RIB_UPDATE_CB_7) || pass.list.get<rib_state_record_cb>(RIB_UPDATE_STATE);
}

static void tell_no_state(rib_fetch_pass &pass, const rib_update_info_t &info)
{
    if (wants_state(pass))
        tell_state_to_both(pass, info, nullptr, 0);
}

static void tell_state(rib_fetch_pass &pass, const rib_update_info_t &info)
{
    if (!wants_state(pass) || !holds(info.ui_payload_len, sizeof(rib_upd_9_td)))
        return;
    auto *payload = static_cast<rib_upd_9_td *>(info.ui_payload);
    rib_to_host(payload);
    const auto state = static_cast<uint8_t>(payload->u9_word_16);
    pass.record.state = state;
    pass.record.word_20 = payload->u9_word_20;
    std::memcpy(pass.record.data, reinterpret_cast<uint8_t *>(payload) + offsetof(rib_upd_9_td, u9_word_24),
                sizeof pass.record.data);
    tell_state_to_both(pass, info, payload, state);
}

static void tell_four_words(const rib_fetch_pass &pass, const rib_update_info_t &info)
{
    const auto callback = pass.list.get<rib_payload_update_cb>(RIB_UPDATE_CB_9);
    using words = uint32_t[4];
    if (!callback || !holds(info.ui_payload_len, sizeof(words)))
        return;
    rib_swap_field<words>(info.ui_payload);
    callback(info.ui_payload, pass.context);
}

static void tell_source_marker(const rib_fetch_pass &pass, const rib_update_info_t &info)
{
    if (const auto callback = pass.list.get<rib_marker_update_cb>(RIB_UPDATE_SOURCE_MARKER))
        if (const auto *value = value_of<rib_upd_source_marker_td>(info))
            callback(info.ui_word, value->sm_protoid, value->sm_marker, pass.context);
}

/* Three words, a count, and so many words behind it. */
static void tell_list(const rib_fetch_pass &pass, const rib_update_info_t &info)
{
    const auto callback = pass.list.get<rib_list_update_cb>(RIB_UPDATE_CB_14);
    using head = uint32_t[4];
    rib_tlv_t *record = callback ? record_of(info, sizeof(head)) : nullptr;
    if (!record)
        return;
    auto *at = reinterpret_cast<uint8_t *>(record + 1);
    rib_swap_field<head>(at);
    const auto word = [&](size_t index) { return rib_load<uint32_t>(at + index * sizeof(uint32_t)); };
    const uint32_t count = word(3);
    if (!holds(record->length, sizeof(head) + uint64_t{count} * sizeof(uint32_t)))
        return;
    for (uint32_t i = 0; i != count; i++)
        rib_swap_field<uint32_t>(at + sizeof(head) + i * sizeof(uint32_t));
    callback(word(0), word(1), word(2), count, at + sizeof(head), pass.context);
}

static void tell_record(const rib_fetch_pass &pass, const rib_update_info_t &info, int type)
{
    if (const auto callback = pass.list.get<rib_bytes_update_cb>(type))
        if (const rib_tlv_t *record = record_of(info, 0))
            callback(info.ui_word, record + 1, record->length, pass.context);
}

static void tell_payload(const rib_fetch_pass &pass, const rib_update_info_t &info)
{
    if (info.ui_format == 0)
        return tell_record(pass, info, RIB_UPDATE_CB_21);
    if (const auto callback = pass.list.get<rib_bytes_update_cb>(RIB_UPDATE_CB_21))
        callback(info.ui_word, info.ui_payload, info.ui_payload_len, pass.context);
}

void rib_client_dispatch_message(rib_fetch_pass &pass, const rib_update_info_t &info)
{
    switch (info.ui_type) {
    case RIB_UPD_ROUTES:
        return tell_routes(pass, info, RIB_UPDATE_ROUTES);
    case RIB_UPD_4:
        return tell_value(pass, info);
    case RIB_UPD_NEXT_HOP:
        return tell_next_hop(pass, info);
    case RIB_UPD_DUMP_END:
        return tell_dump_end(pass, info);
    case RIB_UPD_7:
        return tell_dumps_complete(pass, info);
    case RIB_UPD_8:
        return tell_no_state(pass, info);
    case RIB_UPD_9:
        return tell_state(pass, info);
    case RIB_UPD_ROUTES_10:
        return tell_routes(pass, info, RIB_UPDATE_ROUTES_8);
    case RIB_UPD_11:
        return tell_four_words(pass, info);
    case RIB_UPD_NEXT_HOPS_TOLD:
        if (const auto callback = pass.list.get<rib_word_update_cb>(RIB_UPDATE_NEXT_HOPS_TOLD))
            callback(info.ui_word, pass.context);
        return;
    case RIB_UPD_13:
        if (const auto callback = pass.list.get<rib_value_update_cb>(RIB_UPDATE_CB_12))
            callback(info.ui_word, info.ui_payload, pass.context);
        return;
    case RIB_UPD_SOURCE_MARKER:
        return tell_source_marker(pass, info);
    case RIB_UPD_15:
        return tell_list(pass, info);
    case RIB_UPD_PROTOCOLS:
        if (const auto callback = pass.list.get<rib_proto_update_cb>(RIB_UPDATE_PROTOCOLS))
            report(rib_lib_pvt_parse_proto_update(callback, &info, pass.context));
        return;
    case RIB_UPD_OPAQUE:
        if (const auto callback = pass.list.get<rib_bytes_update_cb>(RIB_UPDATE_OPAQUE))
            report(rib_lib_pvt_parse_opaque_update(callback, &info, pass.context));
        return;
    case RIB_UPD_GRID:
        if (const auto callback = pass.list.get<rib_bytes_update_cb>(RIB_UPDATE_GRID))
            report(rib_lib_pvt_parse_grid_update(callback, &info, pass.context));
        return;
    case RIB_UPD_20:
        return tell_payload(pass, info);
    case RIB_UPD_21:
        return tell_record(pass, info, RIB_UPDATE_CB_24);
    default:
        return;
    }
}
