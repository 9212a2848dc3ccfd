/*
 * The line and its index.
 */
#include "server/update_queue.h"

#include <tuple>

#include <absl/hash/hash.h>

static auto identity(const rib_update &update)
{
    return std::make_tuple(update.interest, update.prefix.high, update.prefix.low, update.prefix.len, update.table,
                           update.protoid, update.kind);
}

size_t rib_update_queue::hash_td::operator()(const rib_update &update) const
{
    return absl::HashOf(identity(update));
}

bool rib_update_queue::same_td::operator()(const rib_update &first, const rib_update &second) const
{
    return identity(first) == identity(second);
}

rib_update_queue::place_td rib_update_queue::find(const rib_update &update)
{
    const auto found = index_.find(update);
    return found == index_.end() ? line_.end() : *found;
}

void rib_update_queue::push(const rib_update &update)
{
    index_.reserve(line_.size() + 1);
    line_.push_back(update);
    index_.insert(std::prev(line_.end()));
}

void rib_update_queue::erase(place_td place)
{
    index_.erase(place);
    line_.erase(place);
    if (line_.empty())
        index_.clear(); // gives back the room of a long line
}

void rib_update_queue::erase_if(absl::FunctionRef<bool(const rib_update &)> gone)
{
    for (place_td place = line_.begin(); place != line_.end();) {
        const place_td next = std::next(place);
        if (gone(*place))
            erase(place);
        place = next;
    }
}

void rib_update_queue::clear()
{
    index_.clear();
    line_.clear();
}
