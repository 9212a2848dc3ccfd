/*
 * The demo's second client: in a thread of its own it follows the best routes of a table, and replays what it is told onto a
 * table that in the end must be the server's.
 */
#pragma once

#include "follower.h"
#include "route_reader.h"

#include <absl/container/flat_hash_map.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

class demo_follower final : private follow_sink
{
public:
    using clock = std::chrono::steady_clock;

    /* Follows, and has been told all that was there, when it returns. Here and in await() whatever ends the thread fails the
     * command. */
    explicit demo_follower(rib_tableid_td table);
    ~demo_follower() override;

    struct outcome {
        uint64_t changes;     /* told since the call before */
        uint64_t differences; /* prefixes that are missing, too many, or have another next hop */
        clock::time_point last;
    };
    /* Waits until the replayed table is the expected one, whose prefixes are all different, or nothing comes any more, and
     * compares the two. */
    outcome await(std::span<const route> expected);

private:
    using halves = std::pair<uint64_t, uint64_t>;
    using prefix_key = std::tuple<uint64_t, uint64_t, uint8_t>;
    using replayed_table = absl::flat_hash_map<prefix_key, halves>;

    void change(const ipv6_routetype &route) override;
    void complete(rib_tableid_td table, rib_protoid_td source) override;
    void follow(rib_tableid_td table);
    template <class reached_t> bool await_until(reached_t reached);
    uint64_t differences(std::span<const route> expected) const;

    static halves halves_of(const in6_addr &addr);
    static prefix_key key_of(const ip_prefix &prefix);
    static uint64_t print_of(const prefix_key &key, const halves &nexthop);

    std::mutex mutex_; /* over all that follows up to the thread */
    std::condition_variable changed_;
    replayed_table table_;
    uint64_t print_ = 0; /* sum of the prints of all entries: the same for equal tables, in whatever order they came to be */
    uint64_t changes_ = 0;
    clock::time_point last_ = {};
    bool complete_ = false;
    std::string ended_; /* why the thread ended */
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};
