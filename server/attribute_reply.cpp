/*
 * Encoding of attributes. Headers are in network order; values are as they were set, in the order of the host.
 */
#include "server/attribute_reply.h"

#include <cstring>

#include <absl/functional/function_ref.h>

#include <platform/rib_tlv.h>

#include "ip/rib/wire/route_record.h"
#include "server/attributes.h"

using told_td = absl::FunctionRef<void(uint16_t type, const void *value, size_t len)>;

/* Of entries, by their type, which rises with that of the record. */
static constexpr uint16_t path_record_types[] = {0,
                                                 RIB_PATH_ATTR_ECOMMS,
                                                 RIB_PATH_ATTR_NNH,
                                                 RIB_PATH_ATTR_INTF,
                                                 RIB_PATH_ATTR_SID_LIST,
                                                 0,
                                                 RIB_PATH_ATTR_L2_INFO,
                                                 RIB_PATH_ATTR_VIA_SID,
                                                 0,
                                                 RIB_PATH_ATTR_GROUPING,
                                                 RIB_PATH_ATTR_TUNNEL,
                                                 RIB_PATH_ATTR_VIA_AFT,
                                                 RIB_PATH_ATTR_SL_ID};
static_assert(std::size(path_record_types) == RIB_ATTR_ALGO_LABELS);

/* Of trailing blocks, by their bit. */
static constexpr uint16_t block_record_types[] = {RIB_PATH_ATTR_MVPN,          RIB_PATH_ATTR_PATH_RT,
                                                  RIB_PATH_ATTR_VRF_IMPORT_RT, RIB_PATH_ATTR_SOURCE_AS_RT,
                                                  RIB_PATH_ATTR_SOURCE_RD,     RIB_PATH_ATTR_SEG_NH};

static void tell_blocks(const rib_path_extra &extra, told_td told)
{
    const uint8_t *at = extra.blocks.data();
    for (unsigned bit = 0; bit != std::size(block_record_types); ++bit) {
        if (!(extra.ext_mask >> bit & 1))
            continue;
        const size_t len = rib_batch_trailing_size(1u << bit);
        told(block_record_types[bit], at, len);
        at += len;
    }
}

/* Tells every record of a path that has some, in rising order. */
static void tell_path(const rib_path &path, told_td told)
{
    const rib_path_extra &extra = *path.extra;
    if (path.label_count > 1)
        told(RIB_PATH_ATTR_LABELS, extra.labels.data(), path.label_count * sizeof(uint32_t));
    if (extra.binding_label != RIB_LABEL_NONE)
        told(RIB_PATH_ATTR_BINDING_LABEL, &extra.binding_label, sizeof extra.binding_label);
    const rib_attr_set set(extra.attrs.data(), extra.attrs.size());
    for (uint8_t type = 0; type != RIB_ATTR_ALGO_LABELS; ++type)
        if (set.has(type))
            told(path_record_types[type], set.value(type), set.len(type));
    tell_blocks(extra, told);
    if (extra.has_bitmap())
        told(RIB_PATH_ATTR_BITMAP, extra.bitmap.data(), extra.bitmap.size());
}

uint32_t rib_path_attrs_measure(const rib_path &path)
{
    uint32_t len = 0;
    tell_path(path, [&](uint16_t, const void *, size_t value) { len += static_cast<uint32_t>(RIB_TLV_HEADER + value); });
    return len;
}

static void put(const void *bytes, size_t len, uint8_t **cursor)
{
    std::memcpy(*cursor, bytes, len);
    *cursor += len;
}

void rib_write_path_attrs(const rib_path &path, uint8_t **cursor)
{
    tell_path(path, [&](uint16_t type, const void *value, size_t len) {
        rib_tlv_stamp(type, static_cast<uint16_t>(len), cursor, nullptr);
        put(value, len, cursor);
    });
}

/* What begins the value of a record of a route. The library converts that of type 6, and no other one. */
struct RIB_PACKED head_td {
    uint16_t zero;  // 0
    uint16_t count; // 2
    using net = rib_net_t<&head_td::count>;
};

struct route_record_td {
    rib_attr_type_t entry;
    rib_tlv_type_t record;
};
static constexpr route_record_td route_records[] = {
    {RIB_ATTR_ROUTE_AFT, RIB_TLV_ROUTE_ATTR_6},      {RIB_ATTR_ALGO_LABELS, RIB_TLV_ROUTE_ATTR_8},
    {RIB_ATTR_SID_REQUEST, RIB_TLV_ROUTE_ATTR_9},    {RIB_ATTR_IID_REQUEST, RIB_TLV_ROUTE_ATTR_10},
    {RIB_ATTR_ROUTE_L2_INFO, RIB_TLV_ROUTE_ATTR_11}, {RIB_ATTR_ALGO, RIB_TLV_ROUTE_ATTR_15},
};
static_assert(RIB_ROUTE_ATTRS_MAX == 3 * (RIB_TLV_HEADER + sizeof(head_td)) + RIB_ROUTE_ATTR_6_ENTRY + 1 +
                                         RIB_ALGO_LABELS_MAX * sizeof(ip_rib_algo_label_td));

/* A record's head, and the items behind it. */
struct items_td {
    head_td head;
    const uint8_t *items;
    size_t len;
    size_t padding;
    size_t value_len() const { return sizeof head + len + padding; }
};

static items_td items_of(const rib_attr_set &set, rib_attr_type_t type)
{
    items_td items = {{.zero = 0, .count = 1}, set.value(type), set.len(type), 0};
    if (type == RIB_ATTR_ROUTE_AFT) {
        items.padding = RIB_ROUTE_ATTR_6_ENTRY - items.len;
        rib_to_net(&items.head);
    } else if (type == RIB_ATTR_ALGO_LABELS) {
        items.head.count = static_cast<uint16_t>(rib_attr_shapes[type].count(items.items));
        items.items += sizeof items.head;
        items.len -= sizeof items.head;
    }
    return items;
}

static void tell_route(const rib_route &route, absl::FunctionRef<void(rib_tlv_type_t, const items_td &)> told)
{
    const rib_attr_set set(route.attrs->data(), route.attrs->size());
    for (const auto &[entry, record] : route_records)
        if (set.has(entry))
            told(record, items_of(set, entry));
}

size_t rib_route_attrs_len(const rib_route &route)
{
    size_t len = 0;
    tell_route(route, [&](rib_tlv_type_t, const items_td &items) { len += RIB_TLV_HEADER + items.value_len(); });
    return len;
}

void rib_write_route_attrs(const rib_route &route, uint8_t **cursor)
{
    tell_route(route, [&](rib_tlv_type_t record, const items_td &items) {
        rib_tlv_stamp(record, static_cast<uint16_t>(items.value_len()), cursor, nullptr);
        put(&items.head, sizeof items.head, cursor);
        put(items.items, items.len, cursor);
        std::memset(*cursor, 0, items.padding);
        *cursor += items.padding;
    });
}
