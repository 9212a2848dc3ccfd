#include "demo_follower.h"

#include "address.h"
#include "failure.h"
#include "interrupt.h"
#include "lookup.h"

#include <absl/hash/hash.h>

#include <algorithm>

using namespace std::chrono_literals;

demo_follower::halves demo_follower::halves_of(const in6_addr &addr)
{
    const address_bits bits = bits_of(addr);
    return {static_cast<uint64_t>(bits >> 64), static_cast<uint64_t>(bits)};
}

demo_follower::prefix_key demo_follower::key_of(const ip_prefix &prefix)
{
    const auto [high, low] = halves_of(prefix.addr);
    return {high, low, prefix.len};
}

uint64_t demo_follower::print_of(const prefix_key &key, const halves &nexthop)
{
    return absl::HashOf(key, nexthop);
}

demo_follower::demo_follower(rib_tableid_td table) : thread_([this, table] { follow(table); })
{
    try {
        if (!await_until([this] { return complete_; }))
            fail("the follower was not told the table");
    } catch (...) {
        stop_ = true;
        thread_.join();
        throw;
    }
}

demo_follower::~demo_follower()
{
    stop_ = true;
    thread_.join();
}

void demo_follower::follow(rib_tableid_td table)
{
    constexpr std::chrono::milliseconds patience(20); // how soon the end is noticed
    try {
        follower follows({.table = table, .best = true, .retry = false}, *this);
        while (!stop_) {
            follows.step(patience);
            changed_.notify_one();
        }
    } catch (const std::exception &error) {
        const std::lock_guard lock(mutex_);
        ended_ = error.what();
        changed_.notify_one();
    }
}

void demo_follower::change(const ipv6_routetype &route)
{
    const prefix_key key = key_of(prefix_of(route));
    const std::lock_guard lock(mutex_);
    ++changes_;
    last_ = clock::now();
    const auto [at, is_new] = table_.try_emplace(key);
    if (!is_new)
        print_ -= print_of(key, at->second);
    if (route.rt_state & RIB_ROUTE_WITHDRAWN) {
        table_.erase(at);
        return;
    }
    at->second = halves_of(nexthop_of(route, 0));
    print_ += print_of(key, at->second);
}

void demo_follower::complete(rib_tableid_td, rib_protoid_td)
{
    const std::lock_guard lock(mutex_);
    complete_ = true;
}

/* Whether it was reached; not when nothing came for so long that nothing more will. */
template <class reached_t> bool demo_follower::await_until(reached_t reached)
{
    constexpr std::chrono::seconds in_vain(5);
    const clock::time_point start = clock::now();
    std::unique_lock lock(mutex_);
    while (ended_.empty()) {
        if (reached())
            return true;
        if (clock::now() - std::max(start, last_) > in_vain)
            return false;
        check_interrupt();
        changed_.wait_for(lock, 100ms);
    }
    fail("the follower ended: {}", ended_);
}

uint64_t demo_follower::differences(std::span<const route> expected) const
{
    uint64_t found = 0, right = 0;
    for (const route &one : expected) {
        const auto at = table_.find(key_of(one.prefix));
        found += at != table_.end();
        right += at != table_.end() && at->second == halves_of(one.nexthop);
    }
    return expected.size() - right + table_.size() - found;
}

demo_follower::outcome demo_follower::await(std::span<const route> expected)
{
    uint64_t print = 0;
    for (const route &one : expected)
        print += print_of(key_of(one.prefix), halves_of(one.nexthop));
    await_until([&] { return table_.size() == expected.size() && print_ == print; });
    const std::lock_guard lock(mutex_);
    return {std::exchange(changes_, 0), differences(expected), last_};
}
