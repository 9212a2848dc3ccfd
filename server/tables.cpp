/*
 * Finding, opening and recycling tables.
 */
#include "server/tables.h"

#include <algorithm>

rib_table *rib_tables::find(rib_tableid_td id) const
{
    const auto place = tables_.find(id);
    return place == tables_.end() ? nullptr : place->second.get();
}

rib_table *rib_tables::open(rib_tableid_td id)
{
    if (rib_table *table = find(id))
        return table;
    if (tables_.size() >= max_tables_)
        absl::erase_if(tables_, [](const auto &entry) { return entry.second->route_count() == 0; });
    if (tables_.size() >= max_tables_)
        return nullptr;
    return tables_.emplace(id, std::make_unique<rib_table>(id, common_)).first->second.get();
}

bool rib_tables::has_routes_of(rib_protoid_td protoid) const
{
    return std::any_of(begin(), end(), [&](const auto &entry) { return entry.second->route_count(protoid) != 0; });
}

void rib_tables::set_local(rib_protoid_td protoid, bool local)
{
    if (common_.local.test(protoid) == local)
        return;
    common_.local.set(protoid, local);
    for (const auto &[id, table] : tables_)
        table->local_changed(protoid);
}
