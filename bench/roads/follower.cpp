/*
 * The thread that follows, and who waits for it.
 */
#include "follower.h"

#include <chrono>
#include <stdexcept>

#include <platform/event.h>

#include "bench/bench_client.h"
#include "machine.h"

using namespace std::chrono_literals;

constexpr int dispatch_ms = 50;
constexpr auto patience = 60s;

follower::follower(uint32_t routes) : there_(routes), manager_(event_manager_create(), event_manager_destroy)
{
    const auto on_event = [](void *, uint32_t, void *self) { static_cast<follower *>(self)->updates_wait_ = true; };
    if (!manager_ || ipv6_rib_notify(manager_.get(), 0, on_event, this) != 0)
        throw std::runtime_error("no event manager");
    client_seat seat(cores::two);
    consumer_ = std::make_unique<bench_consumer>(manager_.get());
    seat.settle();
    consumer_->ask();
    consumer_->fetch(on_route, this);
    thread_ = std::async(std::launch::async, [this] { follow(); });
}

follower::~follower()
{
    stop_ = true;
    thread_.wait();
    consumer_.reset();
    ipv6_rib_unnotify(manager_.get());
}

void follower::on_route(uint32_t, ipv6_routetype *route, void *self)
{
    static_cast<follower *>(self)->there_.at(bench_number(route->rt_prefix)) = !(route->rt_state & RIB_ROUTE_WITHDRAWN);
}

void follower::follow()
{
    while (!stop_) {
        event_manager_dispatch(manager_.get(), dispatch_ms);
        if (!updates_wait_)
            continue;
        updates_wait_ = false;
        {
            const std::lock_guard guard(lock_);
            consumer_->fetch(on_route, this);
        }
        changed_.notify_all();
    }
}

void follower::await(uint32_t route, bool there)
{
    std::unique_lock guard(lock_);
    while (there_.at(route) != there) {
        if (changed_.wait_for(guard, patience) == std::cv_status::timeout)
            throw std::runtime_error("a consumer does not follow");
    }
}
