/*
 * Next hops, connected subnets, source addresses and the check of a route, against a plain list of the routes.
 */
#include <cerrno>
#include <cstring>

#include "tests/server/world.h"

namespace
{

constexpr uint32_t NEXT_HOP = 0, BEST_LOCAL = 3, CONNECTED = 4, NETSOURCE = 5, REGISTER = 20, UNREGISTER = 21, CHECK = 22;

/* What an address reply says; interface 0 stands for none. */
std::string told(uint32_t interface, const rib_prefix &addr, uint32_t info, uint32_t flags)
{
    const uint32_t numbers[] = {interface ? interface : 0xFFFFFFFF, info, flags};
    return text_of(addr) + testing::PrintToString(numbers);
}
std::string told(const bytes_t &reply)
{
    if (const errcode result = get32(reply, 0))
        return result == NOT_FOUND ? "none" : std::to_string(result);
    return told(get32(reply, 4), rib_prefix_load(&reply.at(8), 128), get32(reply, 24), get32(reply, 28));
}
bytes_t next_hop(const std::string &addr, uint32_t how, uint32_t min_len)
{
    return request_of(NEXT_HOP, {{0, TABLE}, {24, how}, {28, min_len}}, {{8, addr}});
}

class resolve_against_list : public testing::TestWithParam<unsigned>
{
protected:
    using place_td = world_td::place_td;

    bool none(place_td at) const { return at == world_.routes.end(); }
    uint32_t flags(const rib_prefix &addr) const
    {
        return (none(world_.longest(TABLE, addr, 128, 2)) ? 0 : 1u) | (none(world_.longest(TABLE, addr, 128, 1)) ? 0 : 2u);
    }
    std::string expected_hop(const rib_prefix &addr, bool one_step, unsigned min_len, unsigned max_len = 128) const
    {
        rib_prefix at = addr;
        rib_tableid_td table = TABLE;
        place_td route = world_.longest(table, at, max_len);
        const place_td first = route;
        for (unsigned step = 0; step != 17 && !none(route) && world_.prefix_of(route).len >= min_len; ++step) {
            const auto &paths = route->second.paths;
            const path_td &path = paths[0].backup && paths.size() == 2 && !paths[1].backup ? paths[1] : paths[0];
            const bool direct = path.nexthop == "::" || (!one_step && (world_.kind_of(route) == 1 || world_.kind_of(route) == 2));
            if (direct || one_step || path.interface != 0)
                return told(path.interface, direct ? at : addr_of(path.nexthop), world_.prefix_of(first).len, flags(addr));
            at = addr_of(path.nexthop);
            table = path.table ? path.table : table;
            route = world_.longest(table, at);
        }
        return "none";
    }
    bool is_source(place_td at, const rib_prefix &addr, uint32_t interface) const
    {
        const auto link = [](const rib_prefix &of) { return of.high >> 54 == 0x3FA || of.high >> 48 == 0xFF02; };
        const auto &paths = at->second.paths;
        const rib_prefix &own = world_.prefix_of(at);
        return std::get<0>(at->first) == TABLE && world_.kind_of(at) == 2 && own.len == 128 && link(own) == link(addr) &&
               own.high >> 56 != 0xFF && (!interface || paths[0].interface == interface || paths.back().interface == interface);
    }
    std::string expected_source(const rib_prefix &addr, uint32_t interface) const
    {
        place_td chosen = world_.routes.end();
        const auto common = [&](place_td of) { return rib_common_bits(world_.prefix_of(of), addr); };
        for (place_td at = world_.routes.begin(); at != world_.routes.end(); ++at)
            if (is_source(at, addr, interface) &&
                (none(chosen) || common(at) > common(chosen) ||
                 (world_.prefix_of(chosen) == world_.prefix_of(at) && world_.better(at, chosen))))
                chosen = at;
        if (none(chosen))
            return told(bytes_t(32 - 1) + number(flags(addr), 1));
        const uint32_t there = interface ? interface : chosen->second.paths[0].interface;
        return told(there, world_.prefix_of(chosen), there ? there : 0xFFFFFFFF, flags(addr));
    }
    bytes_t ask(const bytes_t &message) { return world_.send(world_.session, message); }

    world_td world_{GetParam()};
};

TEST_P(resolve_against_list, random_routes)
{
    for (unsigned step = 0; step != 1500 && !HasFailure(); ++step) {
        world_.change();
        const rib_prefix addr = world_.random_addr();
        const std::string text = text_of(addr);
        SCOPED_TRACE(text);
        const uint32_t min_len = world_.dice(2) * world_.dice(129), how = world_.dice(2), there = world_.dice(2) * 11;
        EXPECT_EQ(told(ask(next_hop(text, how, min_len))), expected_hop(addr, how == 1, min_len)) << how;
        const place_td subnet = world_.longest(TABLE, addr, 128, 1);
        const rib_prefix prefix = none(subnet) ? rib_prefix{} : world_.prefix_of(subnet);
        EXPECT_EQ(told(ask(request_of(CONNECTED, {{0, TABLE}}, {{8, text}}))),
                  none(subnet) ? "none" : told(subnet->second.paths[0].interface, prefix, prefix.len, flags(addr)));
        EXPECT_EQ(told(ask(request_of(BEST_LOCAL, {{0, TABLE}, {24, there}}, {{8, text}}))), expected_source(addr, there));
        const bytes_t netsource = ask(request_of(NETSOURCE, {{0, TABLE}}));
        const std::string via = expected_hop({0, 0, 128}, false, 0, 0), at = "{ " + std::to_string(get32(netsource, 4)) + ",";
        EXPECT_TRUE(get32(netsource, 0) ? via == "none" : via.find(at) != via.npos) << via << " has not " << at;
    }
}

INSTANTIATE_TEST_SUITE_P(seeds, resolve_against_list, testing::Range(1u, 7u));

TEST(resolve, sixteen_next_hops_and_no_more)
{
    rig_td rig;
    rib_session &session = rig.client();
    const rib_protoid_td id = rig.add_protocol(session, "static", {3});
    const auto hop = [](int at) { return "2001:db8::" + std::to_string(at); };
    for (int at = 0; at != 18; ++at)
        rig.send(session, single_batch(TABLE, id, {record({hop(at), 128, {{hop(at + 1), at == 17 ? 7u : 0u}}})}));
    EXPECT_EQ(told(rig.send(session, next_hop(hop(1), 0, 0))), told(7, addr_of(hop(18)), 128, 0));
    EXPECT_EQ(told(rig.send(session, next_hop(hop(0), 0, 0))), "none");
    EXPECT_EQ(told(rig.send(session, next_hop(hop(1), 2, 0))), "22");
    EXPECT_EQ(told(rig.send(session, next_hop(hop(1), 0, 129))), "22");
}

TEST(resolve, registration)
{
    rig_td rig;
    rib_session &session = rig.client();
    const rib_protoid_td bgp = rig.add_protocol(session, "bgp", {0, 20}), direct = rig.add_protocol(session, "direct", {1, 3});
    rig.send(session, single_batch(TABLE, bgp, {record({"2001:db8::", 32, {{"fe80::1:0"}}})}));
    const auto send = [&](uint32_t command, const char *addr, rib_tableid_td table = TABLE) {
        return rig.send(session, request_of(command, {{0, table}}, {{8, addr}}));
    };
    EXPECT_TRUE(same_bytes(send(REGISTER, "2001:db8::9"), "@136")) << "not reached yet";
    rig.send(session, single_batch(TABLE, direct, {record({"fe80::", 64, {{"::", 0x05060708}}, false, 0x01020304})}));
    EXPECT_TRUE(same_bytes(send(REGISTER, "2001:db8::9"), "00000000 05060708 fe80 @21 01 0000 01020304 00000040 00000003 00000001"
                                                          "00000001 07 'direct/' @136"));
    EXPECT_TRUE(same_bytes(slice(send(REGISTER, "fe80::5"), 40, 4), "00000003")) << "on a connected subnet";
    EXPECT_EQ(session.next_hops.registered.size(), 2u) << "the first one was registered twice";
    EXPECT_TRUE(same_bytes(send(UNREGISTER, "fe80::5"), "00000000"));
    EXPECT_TRUE(same_bytes(send(UNREGISTER, "fe80::5"), "42d29400"));
    for (uint32_t table = 1; table != 65'536; ++table)
        send(REGISTER, "::", table);
    EXPECT_EQ(get32(send(REGISTER, "::", 65'536), 0), uint32_t{ENOSPC});
    EXPECT_EQ(get32(send(REGISTER, "::", 65'535), 0), 0u) << "one that is known";
}

TEST(resolve, check)
{
    rig_td rig;
    rib_session &session = rig.client();
    for (const char *name : {"bgp", "isis"})
        rig.send(session, single_batch(TABLE, rig.add_protocol(session, name), {record({.paths = {{"fe80::1", 7}}})}));
    const bytes_t route = slice(rig.send(session, lookup_request("2001:db8::", 32, 1)), 8, 8 + 128); // of version 1
    const bytes_t newer = hex("@8 20010db8 @24 00000001 00000090 00000002 00000020") + route + DELIMITER;
    const bytes_t known = hex("@8 20010db8 @32 00000002 00000020");
    const std::tuple<const char *, uint64_t, uint32_t, uint32_t, uint32_t, bytes_t> cases[] = {
        {"newer", 0, 128, 184, 0xFFFF, newer},
        {"nothing new", 1, 32, 40, 0xFFFF, known},
        {"a version of more than 32 bits", 1ull << 32, 128, 184, 0xFFFF, known},
        {"no room for the route", 0, 128, 183, 0xFFFF, hex("0000005a @40")},
        {"no room for the reply", 1, 128, 39, 0xFFFF, hex("00000016 @40")},
        {"shorter than the prefix", 0, 31, 184, 0xFFFF, hex("42d29400 @40")},
        {"more than 128 bits", 0, 129, 184, 0xFFFF, hex("00000016 @40")},
        {"a parent that redistributes nothing", 0, 128, 184, session.client_id, hex("00000001 @40")},
    };
    for (const auto &[name, version, len, size, parent, reply] : cases) {
        bytes_t message = request_of(CHECK, {{0, TABLE}, {4, parent}, {48, len}, {52, size}}, {{32, "2001:db8::5"}});
        std::memcpy(&message[24 + 8], &version, sizeof version); // in the order of the host
        EXPECT_TRUE(same_bytes(rig.send(session, message), reply)) << name;
    }
}

} // namespace
