/*
 * Updates over the real channel: what consumers are told, replayed, is the table; whatever form they asked in, whenever they
 * came, and however seldom they fetch.
 */
#include "system_test.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <random>
#include <thread>

#include <platform/event.h>

#include "server/embed.h"

namespace
{
constexpr rib_tableid_td TABLE = IPV6_RIB_TABLE_DEFAULT;
using table_td = std::map<std::string, std::string>; /* "prefix/len owner" and the next hops */

std::string hops_of(const ipv6_routetype &route)
{
    std::string hops;
    for (unsigned i = 0; i < route.rt_path_count; i++)
        hops += " " + text_of(route.rt_path[i].path_nexthop);
    return hops;
}

/* What the server lists. */
table_td listed(ipv6_rib_conn_p conn, uint32_t options = 0)
{
    table_td table;
    for_each_listed(conn, options, [&](const ipv6_routetype &route) {
        const std::string prefix = text_of(route.rt_prefix) + "/" + std::to_string(route.rt_prefix_len);
        table[options & RIB_FETCH_BEST_ONLY ? prefix : prefix + " " + std::to_string(route.rt_protoid)] = hops_of(route);
    });
    return table;
}

/* A client that replays what it is told. */
class consumer
{
public:
    ipv6_rib_conn_p conn = nullptr;
    table_td table;
    std::vector<std::string> events; /* "route", "end", "marker", "came", "went", as they come, runs of one kind merged */
    unsigned told = 0;               /* routes and withdrawals */

    explicit consumer(bool best = false) : best_(best) { EXPECT_GT(ipv6_rib_bind(&conn), 0) << std::strerror(errno); }
    ~consumer() { ipv6_rib_unbind(&conn); }
    consumer(const consumer &) = delete;
    consumer &operator=(const consumer &) = delete;

    /* Asks for a table with a batch of one registration. */
    void ask(rib_updatemode mode, uint64_t init_flags = 0)
    {
        uint16_t count = 0;
        EXPECT_EQ(ipv6_rib_redist_batch_init2(conn, mode, init_flags), 0u);
        EXPECT_EQ(ipv6_rib_redist_batch_register(conn, 1, TABLE, mode, 0, 0, &count), 0u);
        EXPECT_EQ(ipv6_rib_redist_batch_finish(conn, &count), 0u);
        EXPECT_EQ(count, 1);
    }
    int32_t fetch(uint32_t limit = 0)
    {
        return ipv6_rib_fetch_update(conn, this, nullptr, RIB_UPDATE_ROUTES, on_route, RIB_UPDATE_DUMP_END, on_dump_end,
                                     RIB_UPDATE_SOURCE_MARKER, on_marker, RIB_UPDATE_PROTOCOLS, on_protocol,
                                     RIB_UPDATE_PASS_LIMIT, limit, RIB_UPDATE_END);
    }

private:
    void note(const char *event)
    {
        if (events.empty() || events.back() != event)
            events.emplace_back(event);
    }
    static void on_route(uint32_t word, ipv6_routetype *route, void *context)
    {
        auto *self = static_cast<consumer *>(context);
        EXPECT_EQ(word, TABLE);
        self->note("route");
        self->told++;
        std::string key = text_of(route->rt_prefix) + "/" + std::to_string(route->rt_prefix_len);
        if (!self->best_)
            key += " " + std::to_string(route->rt_protoid);
        if (route->rt_state & RIB_ROUTE_WITHDRAWN)
            self->table.erase(key);
        else
            self->table[key] = hops_of(*route);
    }
    static void on_dump_end(uint32_t, uint32_t all, uint32_t source, void *context)
    {
        static_cast<consumer *>(context)->note(source == RIB_PROTOID_NONE ? "end" : "source end");
        EXPECT_EQ(all, 1u);
    }
    static void on_marker(uint32_t, uint16_t, uint32_t marker, void *context)
    {
        static_cast<consumer *>(context)->note(marker == RIB_MARKER_COMPLETE ? "complete" : "converged");
    }
    static void on_protocol(uint32_t, uint32_t operation, uint16_t, uint32_t, const char *name, const char *, void *context)
    {
        static_cast<consumer *>(context)->note((std::string(operation == RIB_PROTO_CAME ? "came " : "went ") + name).c_str());
    }

    bool best_;
};

void change(const test_client &producer, uint32_t number, bool withdraw, const char *nexthop)
{
    if (!ipv6_rib_batch_buffer_route_fits(producer.buffer, 1)) {
        EXPECT_EQ(producer.send(), 1);
    }
    if (withdraw)
        producer.withdraw(numbered_prefix(number), 48);
    else
        producer.add(numbered_prefix(number), 48, addr(nexthop));
}

/* In both framings of messages. */
class updates : public ::testing::TestWithParam<uint32_t>
{
protected:
    run_dir dir;
    rib_embedded_server server{{.dir = dir.path(), .msg_version = GetParam()}};
};
INSTANTIATE_TEST_SUITE_P(framings, updates, ::testing::Values(0u, 1u));

TEST_P(updates, begin_with_a_dump_and_go_on_with_changes)
{
    test_client producer;
    for (uint32_t i = 0; i < 20000; i++)
        change(producer, i, false, "fe80::1");
    EXPECT_EQ(producer.send(), 1);
    consumer normal, issu(true);
    normal.ask(RIB_REDIST_ALL);
    issu.ask(RIB_REDIST_BEST, RIB_REDIST_INIT_ISSU);
    EXPECT_EQ(normal.fetch(1), static_cast<int32_t>(0 - RIB_LIB_ERR_PASS_LIMIT));
    EXPECT_LT(normal.table.size(), 20000u);
    change(producer, 1, true, "");
    change(producer, 19999, false, "fe80::2");
    change(producer, 30000, false, "fe80::2");
    EXPECT_EQ(producer.send(), 1);
    EXPECT_EQ(normal.fetch(), 0);
    EXPECT_EQ(issu.fetch(), 0);
    EXPECT_TRUE(normal.table == listed(producer.conn));
    EXPECT_TRUE(issu.table == listed(producer.conn, RIB_FETCH_BEST_ONLY));
    EXPECT_EQ(normal.events, (std::vector<std::string>{"route", "end", "route"})); // what was told before the change comes behind
    EXPECT_EQ(issu.events, (std::vector<std::string>{"route", "end"}));
}

TEST_P(updates, follow_one_source_with_its_markers_through_its_going_and_coming)
{
    consumer follower;
    {
        test_client source("source"), other("other");
        errcode err = 1;
        EXPECT_EQ(ipv6_rib_protocol_redist(follower.conn, "source", "test", TABLE, 0, RIB_REDIST_ALL, &err), source.protoid);
        EXPECT_EQ(ipv6_rib_redist_enable_rcmd_markers(follower.conn, "source", "test", TABLE), 0u);
        EXPECT_EQ(follower.fetch(), 0);
        EXPECT_EQ(follower.events, std::vector<std::string>{"source end"});
        change(source, 1, false, "fe80::1");
        EXPECT_EQ(source.send(), 1);
        change(other, 2, false, "fe80::2");
        EXPECT_EQ(other.send(), 1);
        EXPECT_EQ(ipv6_rib_update_complete(source.conn, source.protoid, 0), 0u);
        follower.events.clear();
        EXPECT_EQ(follower.fetch(), 0);
        EXPECT_EQ(follower.events, (std::vector<std::string>{"route", "complete"}));
        EXPECT_EQ(follower.table.size(), 1u);
        EXPECT_EQ(ipv6_rib_protocol_unregister(source.conn, source.protoid, 0), 0u);
    }
    EXPECT_EQ(follower.fetch(), 0);
    EXPECT_TRUE(follower.table.empty());
    test_client back("source");
    change(back, 3, false, "fe80::3");
    EXPECT_EQ(back.send(), 1);
    EXPECT_EQ(follower.fetch(), 0);
    EXPECT_EQ(follower.table.size(), 1u);
    EXPECT_NE(std::find(follower.events.begin(), follower.events.end(), "went source"), follower.events.end());
    EXPECT_NE(std::find(follower.events.begin(), follower.events.end(), "came source"), follower.events.end());
}

TEST_P(updates, end_with_the_true_table_whatever_happened)
{
    test_client producers[] = {test_client("one"), test_client("two"), test_client("three")};
    consumer eager, lazy, best(true);
    eager.ask(RIB_REDIST_ALL);
    lazy.ask(RIB_REDIST_ALL);
    best.ask(RIB_REDIST_BEST, RIB_REDIST_INIT_ISSU);
    std::unique_ptr<consumer> late;
    std::mt19937 engine(GetParam() + 1);
    const auto random = [&](unsigned below) { return static_cast<unsigned>(engine() % below); };
    for (unsigned round = 0; round < 200; round++) {
        const test_client &producer = producers[random(3)];
        for (unsigned i = random(300); i != 0; i--)
            change(producer, random(4000), random(3) == 0, random(2) ? "fe80::1" : "fe80::2");
        EXPECT_EQ(producer.send(), 1);
        if (round % 3 == 0) {
            EXPECT_EQ(eager.fetch(), 0);
        }
        if (random(40) == 0)
            lazy.fetch(1);
        if (round == 120) {
            late = std::make_unique<consumer>();
            late->ask(RIB_REDIST_ALL);
            late->fetch(1);
        }
    }
    for (consumer *follower : {&eager, &lazy, late.get()}) {
        EXPECT_EQ(follower->fetch(), 0);
        EXPECT_TRUE(follower->table == listed(producers[0].conn));
    }
    EXPECT_EQ(best.fetch(), 0);
    EXPECT_TRUE(best.table == listed(producers[0].conn, RIB_FETCH_BEST_ONLY));
    EXPECT_LT(best.told, 4100u); // coalesced: at most one change a prefix
}

TEST_P(updates, wake_a_consumer_once_until_it_has_fetched)
{
    event_manager_t *manager = event_manager_create();
    unsigned woken = 0;
    EXPECT_EQ(ipv6_rib_notify(
                  manager, 7, [](void *, uint32_t, void *count) { ++*static_cast<unsigned *>(count); }, &woken),
              0u);
    {
        test_client producer;
        consumer follower; // of the manager that is registered
        follower.ask(RIB_REDIST_ALL);
        EXPECT_EQ(event_manager_dispatch(manager, 2000), 1);
        EXPECT_EQ(follower.fetch(), 0);
        for (uint32_t i = 0; i < 3; i++) {
            change(producer, i, false, "fe80::1");
            EXPECT_EQ(producer.send(), 1);
        }
        EXPECT_EQ(event_manager_dispatch(manager, 2000), 1);
        EXPECT_EQ(event_manager_dispatch(manager, 50), 0);
        EXPECT_EQ(woken, 2u);
        EXPECT_EQ(follower.fetch(), 0);
        EXPECT_EQ(follower.table.size(), 3u);
        change(producer, 9, false, "fe80::1");
        EXPECT_EQ(producer.send(), 1);
        EXPECT_EQ(event_manager_dispatch(manager, 2000), 1);
    }
    EXPECT_EQ(ipv6_rib_unnotify(manager), 0u);
    event_manager_destroy(manager);
}

TEST_P(updates, reach_several_fetching_threads_whole)
{
    test_client producer;
    for (uint32_t i = 0; i < 30000; i++)
        change(producer, i, false, "fe80::1");
    EXPECT_EQ(producer.send(), 1);
    std::vector<std::thread> threads;
    const table_td whole = listed(producer.conn);
    for (int i = 0; i < 4; i++)
        threads.emplace_back([&] {
            consumer follower;
            follower.ask(RIB_REDIST_ALL);
            EXPECT_EQ(follower.fetch(), 0);
            EXPECT_TRUE(follower.table == whole);
        });
    for (std::thread &thread : threads)
        thread.join();
}
} // namespace
