/*
 * All tables of the server, up to a limit. A table comes into being when a protocol opens it.
 */
#pragma once

#include <memory>

#include <absl/container/btree_map.h>

#include "server/table.h"

class rib_tables
{
public:
    rib_tables(size_t max_tables, size_t max_routes) : max_tables_(max_tables), max_routes_(max_routes) {}

    /* The table, or NULL. */
    rib_table *find(rib_tableid_td id) const;
    /* The same, made when it is missing; NULL when the limit is reached and no table is empty. Empty tables may go. */
    rib_table *open(rib_tableid_td id);
    bool full(const rib_table &table) const { return table.route_count() >= max_routes_; }
    bool has_routes_of(rib_protoid_td protoid) const;
    /* Whether the protocol's routes are this router's own addresses. */
    void set_local(rib_protoid_td protoid, bool local);

    /* An interest is told of the changes of a table that is there, or will be. */
    void watch(rib_tableid_td id, rib_interest *interest);
    void unwatch(rib_tableid_td id, rib_interest *interest);
    /* Who watches, by table. */
    const auto &watchers() const { return watchers_; }

    auto begin() const { return tables_.begin(); }
    auto end() const { return tables_.end(); }

private:
    size_t max_tables_;
    size_t max_routes_;
    rib_table_common common_;
    absl::btree_map<rib_tableid_td, std::unique_ptr<rib_table>> tables_;
    absl::btree_map<rib_tableid_td, std::unique_ptr<rib_watchers>> watchers_; /* none of them empty */
};
