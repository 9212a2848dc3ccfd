/*
 * What a client waits to be told: one line, in which each thing stands once. What is told of a prefix is its state when its
 * turn comes, so changes of one prefix need one place in the line.
 */
#pragma once

#include <cstdint>
#include <list>

#include <absl/container/flat_hash_set.h>
#include <absl/functional/function_ref.h>

#include <ipv6_rib/types.h>

#include "server/prefix.h"

struct rib_interest;

enum class rib_update_kind : uint8_t { route, complete, converged, went, came, next_hop, next_hops_told };

inline bool rib_is_of_next_hops(rib_update_kind kind)
{
    return kind == rib_update_kind::next_hop || kind == rib_update_kind::next_hops_told;
}

struct rib_update {
    rib_interest *interest = nullptr; /* NULL: of protocols and next hops */
    rib_prefix prefix;                /* of a route; the address of a next hop */
    rib_tableid_td table = 0;         /* of next hops */
    rib_protoid_td protoid = RIB_PROTOID_NONE;
    rib_update_kind kind = rib_update_kind::route;
    bool fresh = false; /* the client knows of no such route yet */
};

class rib_update_queue
{
public:
    using place_td = std::list<rib_update>::iterator;

    bool empty() const { return line_.empty(); }
    size_t size() const { return line_.size(); }
    place_td begin() { return line_.begin(); }
    place_td end() { return line_.end(); }
    /* Where the same update stands, or end(). */
    place_td find(const rib_update &update);
    /* An update that does not stand in the line yet. */
    void push(const rib_update &update);
    void move_behind(place_td place) { line_.splice(line_.end(), line_, place); }
    void erase(place_td place);
    void erase_if(absl::FunctionRef<bool(const rib_update &)> gone);
    void clear();

private:
    struct hash_td {
        using is_transparent = void;
        size_t operator()(const rib_update &update) const;
        size_t operator()(place_td place) const { return (*this)(*place); }
    };
    struct same_td {
        using is_transparent = void;
        bool operator()(const rib_update &first, const rib_update &second) const;
        bool operator()(place_td first, place_td second) const { return first == second; }
        bool operator()(place_td first, const rib_update &second) const { return (*this)(*first, second); }
    };

    std::list<rib_update> line_;
    absl::flat_hash_set<place_td, hash_td, same_td> index_;
};
