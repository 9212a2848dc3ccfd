/*
 * Who holds what of the numbers that are given out, such as the functions of SRv6 SIDs under a locator. Each stands for a
 * prefix; no prefix is given out twice, and a claimant holds one. The routes of a table show what is held: the table tells the
 * ledger what has ended.
 *
 * A number that is given back is the last of its field to be chosen again.
 */
#pragma once

#include <compare>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <absl/container/btree_map.h>
#include <absl/container/flat_hash_set.h>

#include "server/prefix.h"

/* Numbers that have a common place in prefixes that are else the same. */
struct rib_number_field {
    rib_prefix base;   /* with the number 0 */
    uint8_t shift = 0; /* bits behind the number in an address */
    uint8_t bits = 0;  /* 0: the base is all that there is */
    auto operator<=>(const rib_number_field &) const = default;
};

struct rib_claimant {
    rib_protoid_td protoid = RIB_PROTOID_NONE;
    std::string request; /* what else names it */
    bool operator==(const rib_claimant &) const = default;
};

struct rib_claim {
    rib_claimant claimant;
    rib_number_field field;
    uint32_t first_choice = 0; /* the lowest number that the ledger chooses; the highest is the last but one of the field */
    uint32_t number = 0;       /* that one; 0 for the ledger's choice */
};

struct rib_holding {
    rib_claimant claimant;
    rib_number_field field;
    uint32_t number = 0;
    rib_prefix prefix;
};

rib_prefix rib_number_prefix(const rib_number_field &field, uint32_t number);

class rib_ledger
{
public:
    /* Chooses among so many numbers of a field at most. */
    explicit rib_ledger(uint32_t max_choices = UINT32_MAX) : max_choices_(max_choices) {}

    /* What a claimant holds, or who holds a prefix; NULL when there is nothing. Valid until it ends. */
    const rib_holding *of(const rib_claimant &claimant) const;
    const rib_holding *at(const rib_prefix &prefix) const;

    /* Gives a claimant, who holds nothing yet, what it claims. 0, EBUSY (another one has it) or ENOSPC. */
    errcode give(const rib_claim &claim, const rib_holding **given);
    /* What stood at the prefix is there no more. Does not throw. */
    void ended(const rib_prefix &prefix);
    /* Makes the number of a holding that has ended the next one to be chosen. */
    void hasten(const rib_number_field &field, uint32_t number);

private:
    /* Numbers of a field, as far as any is held, or waits since it was given back. */
    struct pool_td {
        uint32_t first;
        uint32_t last;
        uint32_t next;
        uint32_t held = 0;
        std::list<uint32_t> waiting;
        absl::btree_map<uint32_t, std::list<uint32_t>::iterator> places; /* among those that wait */

        bool chooses(uint32_t number) const { return number >= first && number <= last; }
    };
    using pools_td = absl::btree_map<rib_number_field, pool_td>;
    using name_td = std::pair<rib_protoid_td, std::string_view>;
    struct by_name_td {
        using is_transparent = void;
        static name_td name(const rib_holding *holding) { return {holding->claimant.protoid, holding->claimant.request}; }
        static name_td name(const rib_claimant &claimant) { return {claimant.protoid, claimant.request}; }
        size_t operator()(const auto &one) const;
        bool operator()(const auto &first, const auto &second) const { return name(first) == name(second); }
    };

    pool_td &pool_of(const rib_claim &claim);
    errcode choose(pool_td &pool, const rib_number_field &field, uint32_t *number) const;
    void stop_waiting(pool_td &pool, uint32_t number);
    void wait(pool_td &pool, uint32_t number);
    void forget_idle(const rib_number_field &field);

    uint32_t max_choices_;
    size_t waiting_ = 0; /* in all pools */
    pools_td pools_;
    absl::btree_map<rib_prefix, std::unique_ptr<rib_holding>> by_prefix_;
    absl::flat_hash_set<const rib_holding *, by_name_td, by_name_td> by_name_;
};
