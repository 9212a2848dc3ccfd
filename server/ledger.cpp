/*
 * Choosing numbers, and remembering in which order they came back.
 */
#include "server/ledger.h"

#include <algorithm>
#include <cerrno>
#include <new>

#include <absl/hash/hash.h>

/* Numbers that wait, of all fields; beyond it the one that waited longest may be chosen again. */
constexpr size_t WAITING_MAX = 65'536;

rib_prefix rib_number_prefix(const rib_number_field &field, uint32_t number)
{
    const uint64_t wide = number;
    rib_prefix prefix = field.base;
    if (field.shift >= 64)
        prefix.high |= wide << (field.shift - 64);
    else
        prefix.low |= wide << field.shift;
    if (field.shift > 0 && field.shift < 64)
        prefix.high |= wide >> (64 - field.shift);
    return prefix;
}

size_t rib_ledger::by_name_td::operator()(const auto &one) const
{
    return absl::HashOf(name(one));
}

const rib_holding *rib_ledger::of(const rib_claimant &claimant) const
{
    const auto place = by_name_.find(claimant);
    return place == by_name_.end() ? nullptr : *place;
}

const rib_holding *rib_ledger::at(const rib_prefix &prefix) const
{
    const auto place = by_prefix_.find(prefix);
    return place == by_prefix_.end() ? nullptr : place->second.get();
}

rib_ledger::pool_td &rib_ledger::pool_of(const rib_claim &claim)
{
    const auto place = pools_.find(claim.field);
    if (place != pools_.end())
        return place->second;
    const uint64_t highest = (uint64_t{1} << claim.field.bits) - 2;
    const uint64_t last = std::min<uint64_t>(highest, uint64_t{claim.first_choice} + max_choices_ - 1);
    pool_td pool = {.first = claim.first_choice, .last = static_cast<uint32_t>(last), .next = claim.first_choice};
    return pools_.emplace(claim.field, std::move(pool)).first->second;
}

/* Fields may overlap, so a number that this one has not given out can be taken all the same. */
errcode rib_ledger::choose(pool_td &pool, const rib_number_field &field, uint32_t *number) const
{
    const auto taken = [&](uint32_t candidate) { return at(rib_number_prefix(field, candidate)) != nullptr; };
    const uint64_t size = uint64_t{pool.last} - pool.first + 1;
    const bool fresh = pool.held + pool.waiting.size() < size;
    for (uint64_t left = fresh ? size : 0; left != 0; --left) {
        *number = pool.next;
        pool.next = pool.next == pool.last ? pool.first : pool.next + 1;
        if (!pool.places.contains(*number) && !taken(*number))
            return 0;
    }
    const auto longest = std::find_if_not(pool.waiting.begin(), pool.waiting.end(), taken);
    if (longest == pool.waiting.end())
        return ENOSPC;
    *number = *longest;
    return 0;
}

errcode rib_ledger::give(const rib_claim &claim, const rib_holding **given)
{
    auto holding = std::make_unique<rib_holding>(rib_holding{claim.claimant, claim.field, claim.number, {}});
    pool_td *pool = claim.field.bits ? &pool_of(claim) : nullptr;
    errcode refusal = 0;
    if (pool && claim.number == 0)
        refusal = choose(*pool, claim.field, &holding->number);
    holding->prefix = rib_number_prefix(claim.field, holding->number);
    if (refusal == 0 && at(holding->prefix))
        refusal = EBUSY;
    if (refusal == 0) {
        by_name_.reserve(by_name_.size() + 1);
        *given = by_prefix_.emplace(holding->prefix, std::move(holding)).first->second.get();
        by_name_.insert(*given);
        if (pool && pool->chooses((*given)->number)) {
            stop_waiting(*pool, (*given)->number);
            ++pool->held;
        }
    }
    forget_idle(claim.field);
    return refusal;
}

void rib_ledger::ended(const rib_prefix &prefix)
{
    const auto place = by_prefix_.find(prefix);
    if (place == by_prefix_.end())
        return;
    const std::unique_ptr<rib_holding> holding = std::move(place->second);
    by_name_.erase(holding.get());
    by_prefix_.erase(place);
    const auto pool = pools_.find(holding->field);
    if (pool == pools_.end() || !pool->second.chooses(holding->number))
        return;
    --pool->second.held;
    wait(pool->second, holding->number);
    forget_idle(holding->field);
}

/* Without memory for it the number does not wait: it can be chosen when its turn comes. */
void rib_ledger::wait(pool_td &pool, uint32_t number)
{
    try {
        pool.waiting.push_back(number);
        pool.places.emplace(number, std::prev(pool.waiting.end()));
        ++waiting_;
    } catch (const std::bad_alloc &) {
        if (pool.waiting.size() != pool.places.size())
            pool.waiting.pop_back();
    }
    if (waiting_ > WAITING_MAX)
        stop_waiting(pool, pool.waiting.front());
}

void rib_ledger::stop_waiting(pool_td &pool, uint32_t number)
{
    const auto place = pool.places.find(number);
    if (place == pool.places.end())
        return;
    pool.waiting.erase(place->second);
    pool.places.erase(place);
    --waiting_;
}

void rib_ledger::hasten(const rib_number_field &field, uint32_t number)
{
    const auto pool = pools_.find(field);
    if (pool == pools_.end() || !pool->second.chooses(number))
        return;
    stop_waiting(pool->second, number);
    pool->second.next = number;
    forget_idle(field);
}

void rib_ledger::forget_idle(const rib_number_field &field)
{
    const auto pool = pools_.find(field);
    if (pool != pools_.end() && pool->second.held == 0 && pool->second.waiting.empty())
        pools_.erase(pool);
}
