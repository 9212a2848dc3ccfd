/*
 * All tables of the server, up to a limit. A table comes into being when a protocol opens it.
 */
#pragma once

#include <memory>

#include <absl/container/btree_map.h>

#include "server/audience.h"
#include "server/table.h"

class rib_tables
{
public:
    rib_tables(size_t max_tables, size_t max_routes) : max_tables_(max_tables), max_routes_(max_routes) {}

    /* The table, or NULL. */
    rib_table *find(rib_tableid_td id) const;
    /* The same, made when it is missing; NULL when the limit is reached and no table is empty. Empty tables may
     * go, but not the one to keep. */
    rib_table *open(rib_tableid_td id, const rib_table *keep = nullptr);
    bool full(const rib_table &table) const { return table.route_count() >= max_routes_; }
    bool has_routes_of(rib_protoid_td protoid) const;
    /* The protocol is of that kind, RIB_PROTO_KIND_*. */
    void set_kind(rib_protoid_td protoid, uint32_t kind);

    /* Whom the changes of a table that is there, or will be, concern; made when it is missing. */
    rib_audience &audience(rib_tableid_td id);
    /* The same, or NULL. */
    rib_audience *audience_of(rib_tableid_td id) const;
    /* Someone has left the audience of a table. */
    void audience_left(rib_tableid_td id);
    /* By table. */
    const auto &audiences() const { return audiences_; }

    auto begin() const { return tables_.begin(); }
    auto end() const { return tables_.end(); }

private:
    size_t max_tables_;
    size_t max_routes_;
    rib_table_common common_;
    absl::btree_map<rib_tableid_td, std::unique_ptr<rib_table>> tables_;
    absl::btree_map<rib_tableid_td, std::unique_ptr<rib_audience>> audiences_;
};
