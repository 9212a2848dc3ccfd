/*
 * Resolving next hops, and entering the lookups on the way.
 */
#include "server/next_hop_tracker.h"

#include <algorithm>
#include <new>

#include "server/next_hop_told.h"
#include "server/resolve.h"

static rib_tracked_steps steps_of(const rib_tracked_key &key, const rib_resolution &found)
{
    rib_tracked_steps steps;
    for (const rib_resolve_step &made : found.steps) {
        const rib_tracked_step step = {made.table, made.addr, made.matched ? made.match.len : key.min_len};
        if (std::find(steps.begin(), steps.end(), step) == steps.end())
            steps.push_back(step);
    }
    return steps;
}

static void leave_steps(rib_server &server, rib_tracked &tracked)
{
    while (!tracked.steps.empty()) {
        const rib_tracked_step &step = tracked.steps.back();
        server.tables.audience_of(step.table)->steps.erase(step.addr, &tracked);
        server.tables.audience_left(step.table);
        tracked.steps.pop_back();
    }
}

static void take_steps(rib_server &server, rib_tracked &tracked, const rib_tracked_steps &steps)
{
    if (steps == tracked.steps)
        return;
    leave_steps(server, tracked);
    tracked.steps.reserve(steps.size());
    for (const rib_tracked_step &step : steps) {
        server.tables.audience(step.table).steps.insert(step.addr, &tracked, step.least, tracked.steps.empty());
        tracked.steps.push_back(step);
    }
}

static void resolve(rib_server &server, rib_tracked &tracked)
{
    const auto &[hop, min_len, one_step] = tracked.key;
    ++server.next_hops.resolved;
    const rib_resolution found =
        rib_resolve(server, {.table = hop.table, .addr = hop.addr, .min_len = min_len, .one_step = one_step});
    take_steps(server, tracked, steps_of(tracked.key, found));
    tracked.way = rib_next_hop_way_of(server, hop, found);
}

static std::unique_ptr<rib_tracked> make_tracked(rib_next_hop_tracker &tracker, const rib_tracked_key &key)
{
    auto tracked = std::make_unique<rib_tracked>();
    tracked->key = key;
    tracked->touched = &tracker.touched;
    return tracked;
}

rib_tracked &rib_next_hop_follow(rib_server &server, rib_session &session, const rib_tracked_key &key)
{
    rib_next_hop_tracker &tracker = server.next_hops;
    std::unique_ptr<rib_tracked> &tracked = tracker.tracked[key];
    if (tracker.touched.capacity() < tracker.tracked.size())
        tracker.touched.reserve(2 * tracker.tracked.size());
    if (!tracked)
        tracked = make_tracked(tracker, key);
    if (tracked->followers.empty())
        resolve(server, *tracked);
    tracked->followers.push_back(&session);
    return *tracked;
}

void rib_next_hop_unfollow(rib_server &server, rib_session &session, rib_tracked &tracked)
{
    std::erase(tracked.followers, &session);
    if (!tracked.followers.empty())
        return;
    leave_steps(server, tracked);
    if (tracked.is_touched)
        std::erase(server.next_hops.touched, &tracked);
    const rib_tracked_key key = tracked.key;
    server.next_hops.tracked.erase(key);
}

void rib_next_hop_touch(rib_tracked &tracked)
{
    if (tracked.is_touched)
        return;
    tracked.touched->push_back(&tracked); // has room for it
    tracked.is_touched = true;
}

/* Without memory for it the next hop stays touched, and those who follow it must start anew. */
static bool settle(rib_server &server, rib_tracked &tracked)
try {
    resolve(server, tracked);
    tracked.is_touched = false;
    for (rib_session *session : tracked.followers)
        rib_next_hop_changed(*session, tracked.key.hop);
    return true;
} catch (const std::bad_alloc &) {
    for (rib_session *session : tracked.followers)
        rib_consumer_lose(*session);
    return false;
}

void rib_next_hops_settle(rib_server &server)
{
    std::erase_if(server.next_hops.touched, [&](rib_tracked *tracked) { return settle(server, *tracked); });
}
