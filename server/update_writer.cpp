/*
 * Encoding of updates. Routes of one table, and protocols, share a message as long as nothing else comes between them.
 */
#include "server/update_writer.h"

#include <cstring>
#include <new>

#include <platform/rib_tlv.h>
#include <platform/update_parsers.h>

#include "ip/rib/wire/batch_records.h"
#include "ip/rib/wire/route_record.h"
#include "ip/rib/wire/update.h"
#include "server/route_reply.h"

constexpr size_t V0_MESSAGE_MAX = UINT16_MAX;
constexpr size_t WITHDRAWN_LEN = RIB_TLV_HEADER_SIZE + RIB_ROUTE_FIXED + RIB_TLV_HEADER_SIZE;
constexpr size_t PATH_LEN = RIB_TLV_HEADER_SIZE + sizeof(rib_pathtype) + RIB_TLV_HEADER_SIZE;
static_assert(RIB_UPDATE_MAX == RIB_ROUTE_ATTRS_MAX + sizeof(rib_update_v1_td) + WITHDRAWN_LEN + RIB_STORED_PATHS * PATH_LEN +
                                    RIB_TLV_HEADER_SIZE + sizeof(uint32_t) + RIB_PROTOID_COUNT * sizeof(rib_protoid_td));

void rib_update_writer::open(uint16_t type, rib_tableid_td word)
{
    close();
    message_ = cursor_;
    type_ = type;
    word_ = word;
    cursor_ += format_ == 0 ? sizeof(rib_update_v0_td) : sizeof(rib_update_v1_td);
}

void rib_update_writer::close()
{
    if (!message_)
        return;
    const auto len = static_cast<uint32_t>(cursor_ - message_);
    if (format_ == 0) {
        auto *header = new (message_) rib_update_v0_td{word_, static_cast<uint16_t>(len), type_};
        rib_to_net(header);
    } else {
        auto *header = new (message_) rib_update_v1_td{.uv_word = word_, .uv_type = type_, .uv_len = len};
        rib_to_net(header);
    }
    message_ = nullptr;
}

/* Makes the open message take len more bytes, or opens another one. Only messages of format 0 fill up. */
void rib_update_writer::go_on(uint16_t type, rib_tableid_td word, size_t len)
{
    const bool same = message_ && type_ == type && word_ == word;
    if (!same || (format_ == 0 && static_cast<size_t>(cursor_ - message_) + len > V0_MESSAGE_MAX))
        open(type, word);
}

void rib_update_writer::route(rib_tableid_td table, const rib_table::entry_td &entry, const rib_route &route,
                              const rib_protocol &owner)
{
    rib_route_detail detail = rib_route_detail::whole;
    size_t len = format_ == 0 ? rib_route_record_len(route, detail) : 0;
    if (sizeof(rib_update_v0_td) + len > V0_MESSAGE_MAX) {
        detail = rib_route_detail::plain;
        len = rib_route_record_len(route, detail);
    }
    go_on(RIB_UPD_ROUTES, table, len);
    rib_write_route(table, entry, route, owner, &cursor_, detail);
}

void rib_update_writer::withdrawn(rib_tableid_td table, const rib_prefix &prefix, rib_protoid_td protoid)
{
    go_on(RIB_UPD_ROUTES, table, WITHDRAWN_LEN);
    rib_tlv_stamp(RIB_TLV_ROUTE, RIB_ROUTE_FIXED, &cursor_, nullptr);
    std::memset(cursor_, 0, RIB_ROUTE_FIXED);
    auto *out = reinterpret_cast<rib_routetype *>(cursor_);
    out->rt_prefix_len = prefix.len;
    out->rt_state = RIB_ROUTE_WITHDRAWN;
    out->rt_protoid = protoid;
    out->rt_table = table;
    rib_prefix_store(prefix, &out->rt_prefix);
    rib_routetype_net::swap(out);
    cursor_ += RIB_ROUTE_FIXED;
    rib_tlv_stamp(0, 0, &cursor_, nullptr);
}

template <class value_td> void rib_update_writer::single(uint16_t type, rib_tableid_td word, value_td value)
{
    open(type, word);
    rib_tlv_stamp(RIB_TLV_UPDATE, sizeof value, &cursor_, nullptr);
    rib_to_net(&value);
    rib_store(cursor_, value);
    cursor_ += sizeof value;
    rib_tlv_stamp(0, 0, &cursor_, nullptr);
}

void rib_update_writer::dump_end(const rib_interest &interest, bool last)
{
    single(RIB_UPD_DUMP_END, interest.table, rib_upd_dump_end_td{.de_all = last, .de_source = interest.source});
}

void rib_update_writer::marker(rib_tableid_td table, rib_protoid_td protoid, uint32_t marker)
{
    single(RIB_UPD_SOURCE_MARKER, table, rib_upd_source_marker_td{.sm_protoid = protoid, .sm_marker = marker});
}

void rib_update_writer::next_hop(const rib_nh_told_td &told)
{
    single(RIB_UPD_NEXT_HOP, told.nu_table, told);
}

void rib_update_writer::next_hops_told(rib_tableid_td table)
{
    open(RIB_UPD_NEXT_HOPS_TOLD, table);
}

void rib_update_writer::protocol(uint16_t operation, rib_protoid_td protoid, const rib_gone_protocol &about)
{
    go_on(RIB_UPD_PROTOCOLS, 0, RIB_PROTO_UPDATE_ENTRY);
    std::memset(cursor_, 0, RIB_PROTO_UPDATE_ENTRY);
    rib_store_net(cursor_, operation);
    rib_store_net(cursor_ + 2, protoid);
    rib_store_net(cursor_ + 4, about.kind);
    std::memcpy(cursor_ + 8, about.proto_name.data(), about.proto_name.size());
    std::memcpy(cursor_ + 49, about.instance_name.data(), about.instance_name.size());
    cursor_ += RIB_PROTO_UPDATE_ENTRY;
}
