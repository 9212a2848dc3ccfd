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
    rib_table *table = tables_.emplace(id, std::make_unique<rib_table>(id, common_)).first->second.get();
    if (const auto place = watchers_.find(id); place != watchers_.end())
        table->watchers = place->second.get();
    return table;
}

void rib_tables::watch(rib_tableid_td id, rib_interest *interest)
{
    std::unique_ptr<rib_watchers> &watchers = watchers_[id];
    if (!watchers)
        watchers = std::make_unique<rib_watchers>();
    watchers->push_back(interest);
    if (rib_table *table = find(id))
        table->watchers = watchers.get();
}

void rib_tables::unwatch(rib_tableid_td id, rib_interest *interest)
{
    const auto place = watchers_.find(id);
    std::erase(*place->second, interest);
    if (!place->second->empty())
        return;
    if (rib_table *table = find(id))
        table->watchers = nullptr;
    watchers_.erase(place);
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
