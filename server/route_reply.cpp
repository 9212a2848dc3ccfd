/*
 * Encoding of routes.
 */
#include "server/route_reply.h"

#include <cstring>
#include <new>

#include <platform/rib_tlv_inline.h>

#include "ip/rib/wire/batch_records.h"
#include "ip/rib/wire/route_record.h"

constexpr size_t PATH_RECORD = RIB_TLV_HEADER + sizeof(rib_pathtype) + RIB_TLV_HEADER;

static size_t advertisers_len(const rib_route &route)
{
    return sizeof(rib_advertisers) + route.advertisers->count() * sizeof(rib_protoid_td);
}

constexpr size_t PLAIN_MAX = RIB_TLV_HEADER + RIB_ROUTE_FIXED + RIB_STORED_PATHS * PATH_RECORD + RIB_TLV_HEADER +
                             sizeof(rib_advertisers) + RIB_PROTOID_COUNT * sizeof(rib_protoid_td) + RIB_TLV_HEADER;
static_assert(sizeof(rib_route_lookup_reply_td) + PLAIN_MAX + RIB_PATH_ATTRS_MAX + RIB_ROUTE_ATTRS_MAX <=
              rib_route_lookup_reply_td::room);

size_t rib_route_record_len(const rib_route &route, rib_route_detail detail)
{
    const size_t advertisers = route.advertisers ? RIB_TLV_HEADER + advertisers_len(route) : 0;
    const size_t plain = RIB_TLV_HEADER + RIB_ROUTE_FIXED + route.paths.size() * PATH_RECORD + advertisers + RIB_TLV_HEADER;
    if (detail == rib_route_detail::plain)
        return plain;
    return plain + rib_path_attrs_len(route.paths) + (route.attrs ? rib_route_attrs_len(route) : 0);
}

uint8_t rib_route_state(const rib_route &route, const rib_route *best, const rib_protocol &owner)
{
    return static_cast<uint8_t>((&route == best ? RIB_ROUTE_BEST : 0) |
                                (rib_route_stale(route, owner.epoch) ? RIB_ROUTE_STALE : 0) |
                                (route.backup_only ? RIB_ROUTE_BACKUP : 0));
}

static void write_path(const rib_path &path, uint8_t **cursor, rib_route_detail detail)
{
    rib_tlv_stamp_inline(RIB_TLV_ROUTE_PATH, sizeof(rib_pathtype), cursor, nullptr);
    auto *out = new (*cursor) rib_pathtype{};
    out->path_interface = path.id.interface;
    out->path_nexthop_table = path.id.nexthop_table;
    out->path_metric = path.metric;
    std::memcpy(&out->path_nexthop, path.id.nexthop.data(), sizeof out->path_nexthop);
    std::memcpy(&out->path_infosource, path.infosource.data(), sizeof out->path_infosource);
    out->path_u32_48 = path.u32_20;
    out->path_u32_52 = path.u32_24;
    out->path_label = path.label;
    out->path_u32_72 = path.u32_200;
    out->path_infosource_afi = path.infosource_afi;
    out->path_state = path.backup ? RIB_PATH_BACKUP : 0;
    out->path_label_count = path.label_count;
    out->path_u16_80 = path.u16_16;
    out->path_u16_82 = static_cast<uint16_t>(path.flags);
    rib_pathtype_net::swap(out);
    *cursor += sizeof *out;
    if (path.extra && detail == rib_route_detail::whole)
        rib_write_path_attrs(path, cursor);
    rib_tlv_stamp_inline(0, 0, cursor, nullptr);
}

/* Count and identifiers are in the byte order of the host, as clients read them. */
static void write_advertisers(const rib_route &route, uint8_t **cursor)
{
    rib_tlv_stamp_inline(RIB_TLV_ROUTE_ADVERTISERS, static_cast<uint16_t>(advertisers_len(route)), cursor, nullptr);
    rib_store(*cursor, static_cast<uint32_t>(route.advertisers->count()));
    *cursor += sizeof(uint32_t);
    for (rib_protoid_td id = 0; id != RIB_PROTOID_COUNT; ++id) {
        if (!route.advertisers->test(id))
            continue;
        rib_store(*cursor, id);
        *cursor += sizeof id;
    }
}

void rib_write_route_head(rib_tableid_td table, const rib_table::entry_td &entry, const rib_route &route,
                          const rib_protocol &owner, uint8_t **cursor)
{
    rib_tlv_stamp_inline(RIB_TLV_ROUTE, RIB_ROUTE_FIXED, cursor, nullptr);
    std::memset(*cursor, 0, RIB_ROUTE_FIXED);
    /* Only the fixed part of the record is there: its fields are written, the record as a whole is not. */
    auto *out = reinterpret_cast<rib_routetype *>(*cursor);
    out->rt_prefix_len = entry.first.len;
    out->rt_distance = route.distance;
    out->rt_state = rib_route_state(route, entry.second.get(), owner);
    out->rt_path_count = static_cast<uint8_t>(route.paths.size());
    out->rt_type = route.words.type;
    out->rt_proto_kind = static_cast<uint16_t>(owner.words[0]);
    out->rt_protoid = route.protoid;
    rib_prefix_store(entry.first, &out->rt_prefix);
    out->rt_table = table;
    out->rt_flags = route.words.flags | (route.backup_only ? RIB_ROUTE_NO_PRIMARY : 0);
    out->rt_metric = route.words.metric;
    out->rt_tag = route.words.tag;
    out->rt_local_label = route.words.local_label;
    out->rt_u32_56 = route.words.u32_36;
    out->rt_version = static_cast<uint32_t>(route.version);
    rib_routetype_net::swap(out);
    *cursor += RIB_ROUTE_FIXED;
}

void rib_write_route(rib_tableid_td table, const rib_table::entry_td &entry, const rib_route &route, const rib_protocol &owner,
                     uint8_t **cursor, rib_route_detail detail)
{
    rib_write_route_head(table, entry, route, owner, cursor);
    for (const rib_path &path : route.paths)
        write_path(path, cursor, detail);
    if (route.advertisers)
        write_advertisers(route, cursor);
    if (route.attrs && detail == rib_route_detail::whole)
        rib_write_route_attrs(route, cursor);
    rib_tlv_stamp_inline(0, 0, cursor, nullptr);
}
