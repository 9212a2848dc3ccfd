/*
 * Replaying tables, and comparing what they became.
 */
#include "replay.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fstream>
#include <random>
#include <thread>

using namespace std::chrono_literals;
constexpr rib_tableid_td TABLE = IPV6_RIB_TABLE_DEFAULT;

std::vector<table_route> read_table(const std::string &file)
{
    std::vector<table_route> routes;
    std::ifstream lines(file);
    std::string prefix, nexthop, rest;
    while (lines >> prefix >> nexthop && std::getline(lines, rest)) {
        const size_t slash = prefix.find('/');
        const auto len = static_cast<uint8_t>(std::stoul(prefix.substr(slash + 1)));
        routes.push_back({addr(prefix.substr(0, slash).c_str()), len, addr(nexthop.c_str())});
    }
    return routes;
}

std::vector<table_route> generated_table(const run_dir &dir, size_t count)
{
    const std::string file = dir.path() + "/table.txt";
    const finished generated = run({ribctl_program(), "generate", std::to_string(count), "-o", file});
    EXPECT_EQ(generated.status, 0) << generated.output;
    std::vector<table_route> routes = read_table(file);
    EXPECT_EQ(routes.size(), count);
    return routes;
}

void play(uint32_t seed, size_t routes, const std::function<void(size_t route, uint8_t hop)> &change)
{
    std::mt19937 engine(seed);
    for (size_t i = 0; i != routes; i++)
        if (engine() % 8 != 0)
            change(i, 1);
    for (size_t i = 0; i != routes / 2; i++) {
        const size_t route = engine() % routes;
        change(route, static_cast<uint8_t>(1 + engine() % 3));
    }
    for (size_t i = 0; i != routes / 8; i++)
        change(engine() % routes, 0);
}

static in6_addr_t chosen_hop(const table_route &route, uint8_t hop)
{
    in6_addr_t address = route.nexthop;
    address.s6_addr[14] = static_cast<uint8_t>(address.s6_addr[14] ^ (hop - 1));
    return address;
}

static void enter(table_td *table, const uint8_t *prefix, uint8_t len, const uint8_t *nexthop)
{
    table_td::key_type key;
    std::copy_n(prefix, 16, key.begin());
    key[16] = len;
    if (nexthop)
        std::copy_n(nexthop, 16, (*table)[key].begin());
    else
        table->erase(key);
}

static void enter(table_td *table, const ipv6_routetype &route)
{
    const bool withdrawn = route.rt_state & RIB_ROUTE_WITHDRAWN;
    enter(table, route.rt_prefix, static_cast<uint8_t>(route.rt_prefix_len), withdrawn ? nullptr : route.rt_path[0].path_nexthop);
}

table_td table_of(const std::vector<table_route> &routes, const choice_td &choice)
{
    table_td table;
    for (size_t i = 0; i != routes.size(); i++)
        if (choice[i] != 0)
            enter(&table, routes[i].prefix.s6_addr, routes[i].len, chosen_hop(routes[i], choice[i]).s6_addr);
    return table;
}

table_td played(uint32_t seed, const std::vector<table_route> &routes)
{
    choice_td choice(routes.size());
    play(seed, routes.size(), [&](size_t route, uint8_t hop) { choice[route] = hop; });
    return table_of(routes, choice);
}

table_td listed(ipv6_rib_conn_p conn)
{
    table_td table;
    for_each_listed(conn, 0, [&](const ipv6_routetype &route) { enter(&table, route); });
    return table;
}

std::string difference(const table_td &is, const table_td &should)
{
    if (is == should)
        return "";
    size_t missing = 0, wrong = 0, common = 0;
    for (const auto &[prefix, nexthop] : should) {
        const auto found = is.find(prefix);
        missing += found == is.end();
        common += found != is.end();
        wrong += found != is.end() && found->second != nexthop;
    }
    return std::to_string(missing) + " of " + std::to_string(should.size()) + " routes missing, " + std::to_string(wrong) +
           " wrong, " + std::to_string(is.size() - common) + " too many";
}

void producer::send()
{
    if (up_ && !ipv6_rib_batch_buffer_is_empty(client.buffer))
        up_ = client.send() > 0;
}

void producer::put(size_t route)
{
    if (!ipv6_rib_batch_buffer_route_fits(client.buffer, 1))
        send();
    const table_route &at = routes_[route];
    if (!up_)
        return;
    if (choice[route] != 0)
        client.add(at.prefix, at.len, chosen_hop(at, choice[route]));
    else
        client.withdraw(at.prefix, at.len);
}

void producer::change(size_t route, uint8_t hop)
{
    choice[route] = hop;
    put(route);
}

void producer::finish()
{
    send();
    up_ = up_ && ipv6_rib_update_complete(client.conn, client.protoid, 0) == 0;
}

void producer::try_again()
{
    errcode code = 1;
    up_ = rebind_(client.conn) > 0;
    if (up_)
        client.protoid = ipv6_rib_register_protocol(client.conn, "producer", "test", RIB_PROTO_KIND_ROUTING, 0, 0, 0, &code);
    up_ = up_ && code == 0;
    if (!up_)
        return;
    rebinds++;
    ipv6_rib_batch_buffer_init(client.buffer, TABLE, client.protoid);
    for (size_t i = 0; i != choice.size() && up_; i++)
        if (choice[i] != 0)
            put(i);
    finish();
}

void producer::recover()
{
    const auto end = std::chrono::steady_clock::now() + 30s;
    for (try_again(); !up_; try_again()) {
        if (std::chrono::steady_clock::now() > end) {
            std::puts("no recovery");
            std::abort();
        }
        std::this_thread::sleep_for(1ms);
    }
}

replica::replica()
{
    EXPECT_GT(ipv6_rib_bind(&conn), 0) << std::strerror(errno);
    following_ = follow();
}

bool replica::follow()
{
    uint16_t count = 0;
    table.clear();
    return ipv6_rib_redist_batch_init(conn, RIB_REDIST_ALL) == 0 &&
           ipv6_rib_redist_batch_register(conn, 1, TABLE, RIB_REDIST_ALL, 0, 0, &count) == 0 &&
           ipv6_rib_redist_batch_finish(conn, &count) == 0;
}

bool replica::catch_up()
{
    const auto take = [](uint32_t, ipv6_routetype *route, void *context) {
        enter(&static_cast<replica *>(context)->table, *route);
    };
    const auto fetch = [&] {
        following_ = following_ && ipv6_rib_fetch_update(conn, this, nullptr, RIB_UPDATE_ROUTES,
                                                         static_cast<rib_route_update_cb>(take), RIB_UPDATE_END) == 0;
        return following_;
    };
    if (fetch())
        return true;
    following_ = ipv6_rib_rebind(conn) > 0 && follow();
    return fetch();
}
