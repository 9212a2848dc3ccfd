/*
 * A route of one protocol and its paths, as a table keeps them. What most routes do not carry lies outside the record.
 */
#pragma once

#include <algorithm>
#include <array>
#include <bitset>
#include <cstdint>
#include <memory>
#include <vector>

#include <absl/container/inlined_vector.h>

#include "ip/rib/wire/rib_wire.h"

constexpr size_t RIB_STORED_PATHS = 128; /* paths of one route, as many as a route record has room for */
constexpr size_t RIB_MAX_LABELS = 10;

using rib_addr_bytes = std::array<uint8_t, 16>;
using rib_protocol_set = std::bitset<RIB_PROTOID_COUNT>; /* by identifier */

/* A route has one path for each of these. */
struct rib_path_id {
    rib_addr_bytes nexthop = {};
    uint32_t interface = 0;
    uint32_t nexthop_table = 0;
    bool operator==(const rib_path_id &) const = default;
};

/* What a path says besides, which is given back and not interpreted; absent while all of it is empty. */
struct rib_path_extra {
    uint32_t binding_label = RIB_LABEL_NONE;
    uint32_t ext_mask = 0;
    std::array<uint32_t, RIB_MAX_LABELS> labels = {};
    std::array<uint8_t, 64> bitmap = {};
    std::vector<uint8_t> attrs;  /* attribute entries (attributes.h) */
    std::vector<uint8_t> blocks; /* trailing blocks as they came */
    uint32_t records_len = 0;    /* bytes that all of it takes when the path is handed out */

    bool has_bitmap() const
    {
        return std::any_of(bitmap.begin(), bitmap.end(), [](uint8_t byte) { return byte != 0; });
    }
    bool operator==(const rib_path_extra &) const = default;
};

struct rib_path {
    rib_path_id id;
    rib_addr_bytes infosource = {};
    uint64_t flags = 0;
    std::unique_ptr<rib_path_extra> extra;
    uint32_t metric = 0;
    uint32_t u32_20 = 0;
    uint32_t u32_24 = 0;
    uint32_t u32_200 = 0;
    uint32_t label = RIB_LABEL_NONE; /* the first one */
    uint32_t epoch = 0;              /* of the protocol when the path was last sent */
    uint16_t u16_16 = 0;
    uint8_t infosource_afi = 0;
    uint8_t label_count = 0;
    bool backup = false;
};

/* What a route record says of the route itself; a record with the same words changes nothing. */
struct rib_route_words {
    uint32_t flags = 0; /* without RIB_ROUTE_NO_PRIMARY, which follows from the paths */
    uint32_t metric = 0;
    uint32_t tag = 0;
    uint32_t local_label = RIB_LABEL_NONE;
    uint32_t u32_36 = 0;
    uint16_t type = 0;
    uint8_t distance = 0; /* 0 for the protocol's */
    bool operator==(const rib_route_words &) const = default;
};

using rib_attr_bytes = std::unique_ptr<std::vector<uint8_t>>; /* null when there are none */
using rib_path_list = absl::InlinedVector<rib_path, 1>;

struct rib_route {
    std::unique_ptr<rib_route> next;               /* of another protocol, for the same prefix */
    uint64_t version = 0;                          /* of the table when the route last changed */
    rib_attr_bytes attrs;                          /* attribute entries (attributes.h) */
    std::unique_ptr<rib_protocol_set> advertisers; /* null when nobody advertises the route */
    rib_path_list paths;                           /* never empty in a table */
    rib_route_words words;
    rib_protoid_td protoid = 0;
    uint8_t distance = 0; /* that counts: the route's own, or the protocol's */
    bool backup_only = false;
};
using rib_route_ptr = std::unique_ptr<rib_route>;

/* Whether two paths say the same; the epoch is not asked. */
bool rib_path_same(const rib_path &first, const rib_path &second);
/* The path of that identity, or NULL. */
template <class list> auto rib_path_find(list &paths, const rib_path_id &id) -> decltype(paths.data())
{
    const auto found = std::find_if(paths.begin(), paths.end(), [&](const rib_path &path) { return path.id == id; });
    return found == paths.end() ? nullptr : &*found;
}
bool rib_attrs_same(const rib_attr_bytes &first, const rib_attr_bytes &second);

/* Whether every path of the route waits to be sent again. */
bool rib_route_stale(const rib_route &route, uint32_t epoch);
/* Computes backup_only after the paths changed. */
void rib_route_settle(rib_route &route);
/* Whether a route forwards rather than another: a primary path, then distance, then metric, then the lower identifier. */
bool rib_route_better(const rib_route &first, const rib_route &second);
