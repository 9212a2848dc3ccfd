/*
 * A consumer in a thread of its own that follows a table: it hears of updates through its event, fetches them, and keeps which of
 * the routes there are.
 */
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <future>
#include <memory>
#include <mutex>
#include <vector>

#include "bench/bench_consumer.h"

struct event_manager;

class follower
{
public:
    /* Of a table with routes 0 to this number less 1. Follows when it returns. */
    explicit follower(uint32_t routes);
    ~follower();
    follower(const follower &) = delete;
    follower &operator=(const follower &) = delete;

    /* Waits until a route came or went. Throws std::runtime_error when nothing comes for a minute. */
    void await(uint32_t route, bool there);
    /* Which routes there are; to be called while nothing changes. */
    const std::vector<uint8_t> &view() const { return there_; }

private:
    void follow();
    static void on_route(uint32_t table, ipv6_routetype *route, void *self);

    std::vector<uint8_t> there_;
    std::mutex lock_;
    std::condition_variable changed_;
    std::atomic<bool> stop_ = false;
    std::unique_ptr<event_manager, void (*)(event_manager *)> manager_;
    bool updates_wait_ = false;
    std::unique_ptr<bench_consumer> consumer_;
    std::future<void> thread_;
};
