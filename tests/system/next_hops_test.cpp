/*
 * Next hops that clients follow, over the real channel: each hears each change of the way to its next hops once, and ends with
 * the way that a model finds by looking at every route anew.
 */
#include "system_test.h"

#include <cstring>
#include <map>
#include <optional>
#include <random>
#include <set>

#include "server/embed.h"

namespace
{
constexpr rib_tableid_td TABLE = IPV6_RIB_TABLE_DEFAULT;
using bytes_td = std::array<uint8_t, 16>;

bytes_td bytes_of(const void *address)
{
    bytes_td bytes;
    std::memcpy(bytes.data(), address, bytes.size());
    return bytes;
}

/* What is told of a next hop, but for itself. */
struct way_td {
    uint32_t flags = 0, metric = 0, interface = 0, protoid = RIB_PROTOID_NONE;
    unsigned prefix_len = 0;
    bytes_td via = {};
    bool operator==(const way_td &) const = default;
};

struct model_route {
    bytes_td nexthop = {};
    uint32_t interface = 0, metric = 0, protoid = 0;
    bool connected = false;
};

/* One protocol has a prefix, so the longest match is the way. */
class model
{
public:
    void set(const bytes_td &prefix, unsigned len, const model_route &route) { routes_[len][prefix] = route; }
    void erase(const bytes_td &prefix, unsigned len) { routes_[len].erase(prefix); }
    way_td way_to(const bytes_td &address, unsigned min_len) const
    {
        way_td way;
        bytes_td at = address;
        for (unsigned step = 0; step <= 16; step++) {
            const auto found = longest(at, min_len);
            if (!found)
                return {};
            const model_route &route = *found->second;
            const bool ends = route.connected || route.nexthop == bytes_td{};
            if (ends || route.interface != 0) {
                way = {RIB_NH_REACHED, route.metric, route.interface ? route.interface : RIB_INTERFACE_NONE,
                       route.protoid,  found->first, ends ? at : route.nexthop};
                way.flags |= is_connected(address) ? RIB_NH_CONNECTED : 0;
                return way;
            }
            at = route.nexthop;
        }
        return {};
    }

private:
    static bytes_td cut(bytes_td address, unsigned len)
    {
        for (unsigned bit = len; bit < 128; bit++)
            address[bit / 8] = static_cast<uint8_t>(address[bit / 8] & ~(0x80u >> bit % 8));
        return address;
    }
    std::optional<std::pair<unsigned, const model_route *>> longest(const bytes_td &address, unsigned min_len) const
    {
        for (auto of_len = routes_.rbegin(); of_len != routes_.rend() && of_len->first >= min_len; ++of_len)
            if (const auto found = of_len->second.find(cut(address, of_len->first)); found != of_len->second.end())
                return std::pair{of_len->first, &found->second};
        return {};
    }
    bool is_connected(const bytes_td &address) const
    {
        return std::any_of(routes_.begin(), routes_.end(), [&](const auto &of_len) {
            const auto found = of_len.second.find(cut(address, of_len.first));
            return found != of_len.second.end() && found->second.connected;
        });
    }

    std::map<unsigned, std::map<bytes_td, model_route>> routes_;
};

/* A client that follows next hops and keeps what it is told. */
class follower
{
public:
    ipv6_rib_conn_p conn = nullptr;
    std::map<bytes_td, way_td> known;
    unsigned told = 0, converged = 0;

    follower() { EXPECT_GT(ipv6_rib_bind(&conn), 0) << std::strerror(errno); }
    ~follower() { ipv6_rib_unbind(&conn); }
    follower(const follower &) = delete;
    follower &operator=(const follower &) = delete;

    void follow(const std::vector<in6_addr_t> &next_hops, bool add, uint32_t min_len)
    {
        EXPECT_EQ(ipv6_rib_nh_batch_init(conn, 0), 0u);
        for (const in6_addr_t &next_hop : next_hops)
            EXPECT_EQ(ipv6_rib_nh_batch_register(conn, add, TABLE, &next_hop, min_len, next_hop.s6_addr[15]), 0u);
        EXPECT_EQ(ipv6_rib_nh_batch_finish(conn), 0u);
    }
    /* Each next hop is told at most once in a fetch, and differs from what was known. */
    unsigned fetch()
    {
        told = converged = 0;
        in_this_fetch_.clear();
        EXPECT_EQ(ipv6_rib_fetch_update(conn, this, nullptr, RIB_UPDATE_NEXT_HOP, on_next_hop, RIB_UPDATE_NEXT_HOPS_TOLD,
                                        on_converged, RIB_UPDATE_END),
                  0);
        return told;
    }

private:
    static void on_next_hop(uint32_t word, void *value, void *context, uint32_t number)
    {
        auto *self = static_cast<follower *>(context);
        const auto *update = static_cast<const rib_next_hop_update *>(value);
        const bytes_td address = bytes_of(update->nu_addr);
        const way_td way = {update->nu_flags,   update->nu_metric,     update->nu_interface,
                            update->nu_protoid, update->nu_prefix_len, bytes_of(update->nu_via)};
        EXPECT_EQ(word, TABLE);
        EXPECT_EQ(number, address[15]);
        EXPECT_TRUE(self->in_this_fetch_.insert(address).second) << text_of(address.data());
        const auto known = self->known.find(address);
        EXPECT_TRUE(known == self->known.end() || known->second != way) << text_of(address.data());
        self->known[address] = way;
        self->told++;
    }
    static void on_converged(uint32_t word, void *context)
    {
        EXPECT_EQ(word, TABLE);
        static_cast<follower *>(context)->converged++;
    }

    std::set<bytes_td> in_this_fetch_;
};

/* Routes of which some cover others, lead through others, or in a circle; all below 2001:db8::/32. */
class network
{
public:
    model truth;
    test_client routing{"routing"}, connected{"connected", ipv6_rib_bind, RIB_PROTO_KIND_CONNECTED};

    void change()
    {
        const unsigned len = LENGTHS[random_(8)];
        in6_addr_t prefix = next_hop(random_(0x10000));
        for (unsigned byte = len / 8; byte < 16; byte++)
            prefix.s6_addr[byte] = 0;
        const bool is_connected = len == 64;
        const test_client &owner = is_connected ? connected : routing;
        if (random_(3) == 0) {
            owner.withdraw(prefix, static_cast<uint8_t>(len));
            truth.erase(bytes_of(&prefix), len);
            return;
        }
        const in6_addr_t none = {}, nexthop = next_hop(random_(0x10000));
        const uint32_t interface = is_connected || random_(3) == 0 ? 1 + random_(4) : 0;
        const model_route route = {bytes_of(is_connected ? &none : &nexthop), interface, random_(3), owner.protoid, is_connected};
        EXPECT_EQ(ipv6_rib_batch_buffer_add_route2(owner.buffer, &prefix, static_cast<uint8_t>(len), 0, 0, route.metric, 1, 0, 0),
                  RIB_BATCH_BUFFER_OK);
        EXPECT_EQ(ipv6_rib_batch_buffer_add_path(owner.buffer, interface, 0, is_connected ? &none : &nexthop, &nexthop, 0, 0, 0),
                  RIB_BATCH_BUFFER_OK);
        truth.set(bytes_of(&prefix), len, route);
    }
    void send() const
    {
        EXPECT_EQ(connected.send(), 1);
        EXPECT_EQ(routing.send(), 1);
    }
    /* Number 0 to 65535; neighbours share prefixes. */
    static in6_addr_t next_hop(uint32_t number)
    {
        in6_addr_t address = addr("2001:db8::");
        address.s6_addr[5] = static_cast<uint8_t>(number >> 12);
        address.s6_addr[7] = static_cast<uint8_t>(number >> 8 & 0xF);
        address.s6_addr[15] = static_cast<uint8_t>(number);
        return address;
    }

private:
    static constexpr unsigned LENGTHS[] = {0, 32, 48, 48, 64, 64, 128, 128};
    uint32_t random_(uint32_t below) { return static_cast<uint32_t>(engine_() % below); }
    std::mt19937 engine_{20260101};
};

class next_hops : public ::testing::TestWithParam<uint32_t>
{
protected:
    run_dir dir;
    rib_embedded_server server{{.dir = dir.path(), .msg_version = GetParam()}};
};
INSTANTIATE_TEST_SUITE_P(framings, next_hops, ::testing::Values(0u, 1u));

TEST_P(next_hops, each_change_is_heard_once_and_the_last_way_is_right)
{
    network net;
    follower clients[2];
    const uint32_t min_len[] = {0, 48};
    std::vector<in6_addr_t> followed[2];
    for (uint32_t number = 0; number < 60000; number += 6)
        followed[number / 6 % 2].push_back(network::next_hop(number));
    for (int i = 0; i < 40; i++)
        net.change();
    net.send();
    for (unsigned c = 0; c < 2; c++) {
        clients[c].follow(followed[c], true, min_len[c]);
        EXPECT_EQ(clients[c].fetch(), followed[c].size()) << "each once for its registration";
    }
    for (int round = 0; round < 10; round++) {
        for (int i = 0; i < 1 + round % 7; i++)
            net.change();
        net.send();
        for (unsigned c = 0; c < 2; c++) {
            const auto before = clients[c].known;
            clients[c].fetch();
            unsigned changed = 0;
            for (const auto &[address, way] : before) {
                const way_td now = net.truth.way_to(address, min_len[c]);
                changed += now != way;
                EXPECT_EQ(clients[c].known.at(address) == now, true) << round << " " << text_of(address.data());
            }
            EXPECT_EQ(clients[c].told, changed) << round;
        }
    }
    clients[0].follow(followed[0], false, 0);
    for (int i = 0; i < 40; i++)
        net.change();
    net.send();
    EXPECT_EQ(clients[0].fetch(), 0u) << "nothing is followed any more";
}

TEST_P(next_hops, convergence_is_told_behind_what_was_registered_before)
{
    network net;
    follower client;
    const std::vector<in6_addr_t> one = {network::next_hop(1)};
    client.follow(one, true, 0);
    EXPECT_EQ(ipv6_rib_nh_batch_register_converge(client.conn, TABLE), 0u);
    EXPECT_EQ(ipv6_rib_nh_batch_finish(client.conn), 0u);
    EXPECT_EQ(client.fetch(), 1u);
    EXPECT_EQ(client.converged, 1u);
    EXPECT_EQ(client.fetch() + client.converged, 0u);
    EXPECT_EQ(ipv6_rib_batch_buffer_converge(net.routing.buffer, TABLE, 0), RIB_BATCH_BUFFER_OK);
    net.routing.add(addr("2001:db8::"), 32, addr("fe80::1"));
    EXPECT_EQ(net.routing.send(), 1);
    client.fetch();
    EXPECT_EQ(client.converged, 1u);
    EXPECT_EQ(ipv6_rib_nh_batch_unregister_converge(client.conn, TABLE), 0u);
    EXPECT_EQ(ipv6_rib_nh_batch_finish(client.conn), 0u);
    EXPECT_EQ(ipv6_rib_batch_buffer_converge(net.routing.buffer, TABLE, 0), RIB_BATCH_BUFFER_OK);
    EXPECT_EQ(net.routing.send(), 1);
    client.fetch();
    EXPECT_EQ(client.converged, 0u);
}

TEST_P(next_hops, one_is_registered_and_answered_at_once)
{
    network net;
    follower client;
    const in6_addr_t subnet = addr("2001:db8:1::"), next_hop = addr("2001:db8:1::7"), none = {};
    EXPECT_EQ(ipv6_rib_batch_buffer_add_route(net.connected.buffer, &subnet, 64, 0, 0), RIB_BATCH_BUFFER_OK);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_path(net.connected.buffer, 3, 0, &none, &next_hop, 0, 0, 0), RIB_BATCH_BUFFER_OK);
    EXPECT_EQ(net.connected.send(), 1);
    rib_next_hop_update way;
    EXPECT_EQ(ipv6_rib_nh_batch_sync_register(client.conn, TABLE, &next_hop, 0, 7, &way), 0u);
    EXPECT_EQ(way.nu_flags, RIB_NH_REACHED | RIB_NH_CONNECTED);
    EXPECT_EQ(way.nu_result, 0u);
    EXPECT_EQ(way.nu_interface, 3u);
    EXPECT_EQ(way.nu_prefix_len, 64);
    EXPECT_EQ(way.nu_value, 7u);
    EXPECT_EQ(text_of(way.nu_via), "2001:db8:1::7");
    EXPECT_EQ(client.fetch(), 0u) << "the answer was the first telling";
    net.connected.withdraw(subnet, 64);
    EXPECT_EQ(net.connected.send(), 1);
    EXPECT_EQ(client.fetch(), 1u);
    EXPECT_EQ(client.known.at(bytes_of(&next_hop)).flags, 0u);
}
} // namespace
