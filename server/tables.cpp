/*
 * Finding, opening and recycling tables.
 */
#include "server/tables.h"

#include <algorithm>
#include <utility>

rib_table *rib_tables::find(rib_tableid_td id) const
{
    const auto place = tables_.find(id);
    return place == tables_.end() ? nullptr : place->second.get();
}

rib_table *rib_tables::open(rib_tableid_td id, const rib_table *keep)
{
    if (rib_table *table = find(id))
        return table;
    if (tables_.size() >= max_tables_)
        absl::erase_if(tables_,
                       [&](const auto &entry) { return entry.second.get() != keep && entry.second->route_count() == 0; });
    if (tables_.size() >= max_tables_)
        return nullptr;
    rib_table *table = tables_.emplace(id, std::make_unique<rib_table>(id, common_)).first->second.get();
    table->audience = audience_of(id);
    return table;
}

rib_audience &rib_tables::audience(rib_tableid_td id)
{
    if (rib_audience *known = audience_of(id))
        return *known;
    rib_audience *made = audiences_.emplace(id, std::make_unique<rib_audience>()).first->second.get();
    if (rib_table *table = find(id))
        table->audience = made;
    return *made;
}

rib_audience *rib_tables::audience_of(rib_tableid_td id) const
{
    const auto place = audiences_.find(id);
    return place == audiences_.end() ? nullptr : place->second.get();
}

void rib_tables::audience_left(rib_tableid_td id)
{
    const auto place = audiences_.find(id);
    if (!place->second->empty())
        return;
    if (rib_table *table = find(id))
        table->audience = nullptr;
    audiences_.erase(place);
}

bool rib_tables::has_routes_of(rib_protoid_td protoid) const
{
    return std::any_of(begin(), end(), [&](const auto &entry) { return entry.second->route_count(protoid) != 0; });
}

void rib_tables::set_kind(rib_protoid_td protoid, uint32_t kind)
{
    const uint32_t before = std::exchange(common_.kinds[protoid], kind);
    for (const auto &[id, table] : tables_)
        if (before != kind)
            table->kind_changed(protoid, before);
}
