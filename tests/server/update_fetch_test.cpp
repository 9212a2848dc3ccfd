/*
 * What a fetch brings: bytes, order, what coalesces, and how much may wait.
 */
#include <arpa/inet.h>

#include <cstdio>

#include "tests/server/updates.h"

namespace
{

const char *const P = "2001:db8::", *const Q = "2001:db8:1::";
const std::string WHOLE_END = "end of 65535, all";

/* Protocol 0 belongs to the owner, protocol 1 to the session, whose updates the tests read. */
struct update_fetch : testing::Test {
    update_fetch()
    {
        rig.add_protocol(owner, "bgp", {0, 20});
        rig.add_protocol(session, "isis", {0, 115});
    }
    void put(rib_protoid_td protoid, const char *prefix, uint32_t metric = 0, uint8_t len = 48, rib_tableid_td table = TABLE)
    {
        const route_td route = {prefix, len, {{"fe80::a", 1}}, true, metric};
        rig.send(protoid == 1 ? session : owner, single_batch(table, protoid, {record(route)}));
    }
    void take(rib_protoid_td protoid, const char *prefix, rib_tableid_td table = TABLE)
    {
        const path_td all = {.withdraw = true};
        rig.send(protoid == 1 ? session : owner, single_batch(table, protoid, {record({prefix, 48, {all}})}));
    }
    void want(const bytes_t &message) { rig.send(session, message); }
    std::string fetch() { return told(rig.send(session, FETCH), rig.server.options.msg_version); }

    rig_td rig;
    rib_session &owner = rig.client("bgp"), &session = rig.client("watcher");
};

TEST_F(update_fetch, refused)
{
    const char *const nothing = "0000000c 00000008 0001 0000";
    EXPECT_TRUE(same_bytes(rig.send(*rib_server_connect(rig.server, {}), FETCH), nothing)) << "not introduced";
    EXPECT_TRUE(same_bytes(rig.send(session, FETCH), nothing)) << "nothing was asked for";
    for (const size_t len : {24u, 279u, 281u})
        EXPECT_TRUE(same_bytes(rig.send(session, slice(FETCH + bytes_t(1), 0, len)), "0000004a")) << len;
}

/* A reply of each type, byte by byte, in both formats. */
TEST(update_fetch_bytes, of_each_type)
{
    const bytes_t converged_and_complete = hex("04 @12 03 @16");
    const path_td every = {.withdraw = true};
    const bytes_t registration = register_request("ospf", "one", {3});
    const bytes_t list_end(8);
    struct part_td {
        const char *heads[2]; /* by format: word, length and type */
        bytes_t payload;
    };
    const part_td route = {{"e0800000 0100 0002", "e0800000 0002 0000 00000000 00000108"},
                           hex("@4 0003 0080 30 14 01 01 @24 20010db8 @40 e0800000 00000000 00000000 "
                               "00000007 00000000 00100001 00000000 00000001 @136") +
                               hex("@4 0004 0058 00000001 @24 fe80 @39 0a @76 00100001 @84 02 @96") + list_end + list_end};
    const part_td dump_end = {{"e0800000 0024 0006", "e0800000 0006 0000 00000000 0000002c"},
                              hex("@4 0001 000c 00000000 00000001 0000ffff @28")};
    const auto marker = [](const char *which) -> part_td {
        return {{"e0800000 0020 000e", "e0800000 000e 0000 00000000 00000028"},
                hex("@4 0001 0008 0000 0000") + hex(which) + bytes_t(8)};
    };
    const part_td withdrawn = {{"e0800000 0098 0002", "e0800000 0002 0000 00000000 000000a0"},
                               hex("@4 0003 0080 30 00 08 @18 ffff @24 20010db8 @40 e0800000 @144")};
    const auto protocol = [](const char *operation) -> part_td {
        return {{"00000000 0064 0010", "00000000 0010 0000 00000000 0000006c"},
                hex(operation) + hex("0001 00000003 'ospf' @47 'one' @90")};
    };
    const std::tuple<const char *, bytes_t, const char *, std::vector<part_td>> steps[] = {
        {"a dump", {}, "0003", {route, dump_end}},
        {"markers", single_batch(TABLE, 0, {converged_and_complete}), "0001", {marker("00000002"), marker("00000001")}},
        {"withdrawn", single_batch(TABLE, 0, {record({P, 48, {every}})}), "0001", {withdrawn}},
        {"came", registration, "0001", {protocol("0001")}},
        {"went", protoid_request(10, 1), "0001", {protocol("0002")}},
        {"nothing", registration + bytes_t(1), "0001", {}},
    };
    for (const uint32_t format : {0u, 1u}) {
        rig_td rig({.msg_version = format});
        rib_session &producer = rig.client("bgp"), &consumer = rig.client("watcher");
        rig.add_protocol(producer, "bgp", {0, 20});
        rig.send(producer, single_batch(TABLE, 0, {record({P, 48, {{"fe80::a", 1}}, true, 7})}));
        rig.send(consumer, registrations(BEST, {{TABLE}}));
        rig.send(consumer, redist("", TABLE, 0, 0, 13));
        for (const auto &[name, message, flags, parts] : steps) {
            bytes_t all;
            for (const part_td &part : parts)
                all = all + hex(part.heads[format]) + part.payload;
            if (!message.empty())
                rig.send(producer, message);
            EXPECT_TRUE(same_bytes(rig.send(consumer, FETCH),
                                   number(all.size() + 12) + number(all.size() + 8) + hex(flags) + bytes_t(2) + all))
                << name << ", format " << format;
        }
    }
}

/* A step is a change or a request, and what the next fetch tells; no text: nothing is fetched. */
TEST_F(update_fetch, what_is_told)
{
    const bytes_t best = registrations(BEST, {{TABLE}}), all = registrations(ALL, {{TABLE}});
    const bytes_t foreign = registrations(BEST_FOREIGN, {{TABLE}}), all_foreign = registrations(ALL_FOREIGN, {{TABLE}});
    const bytes_t isis = redist("isis", TABLE, ALL), best_isis = redist("isis", TABLE, BEST);
    const bytes_t reset = request_of(17, {});
    const auto distance = [](uint32_t of_isis) {
        return request(11, bytes_t(4) + number(1, 2) + bytes_t(2) + number(of_isis) + bytes_t(8));
    };
    const auto asks = [this](const bytes_t &message) { return [this, message] { want(message); }; };
    const auto puts = [this](rib_protoid_td id, const char *prefix, uint32_t metric = 0) {
        return [=, this] { put(id, prefix, metric); };
    };
    const auto takes = [this](rib_protoid_td id, const char *prefix) { return [=, this] { take(id, prefix); }; };
    const struct {
        const char *name;
        std::function<void()> change;
        const char *told;
    } steps[] = {
        {"a table that is not there", asks(all), "end of 65535, all #3"},
        {"a new route", puts(0, P), "2001:db8::/48 of 0 #1"},
        {"a second one beside it", puts(1, P), "2001:db8::/48 of 1 #1"},
        {"nothing new", puts(1, P), " #1"},
        {"the second one becomes the best, both are told", asks(distance(1)), "2001:db8::/48 of 1; 2001:db8::/48 of 0 #1"},
        {"the worse of two changes: of the best nothing is told", asks(best), "2001:db8::/48 of 1; end of 65535, all #3"},
        {"", puts(0, P, 5), " #1"},
        {"the best goes, the other one follows", takes(1, P), "2001:db8::/48 of 0 #1"},
        {"the last one goes", takes(0, P), "- 2001:db8::/48 of 65535 #1"},
        {"twice there, gone and back", puts(1, P), nullptr},
        {"is told once", puts(0, Q), nullptr},
        {"in its first place", puts(1, P, 3), "2001:db8::/48 of 1; 2001:db8:1::/48 of 0 #1"},
        {"gone and back again", takes(1, P), nullptr},
        {"is a change", puts(0, P), "2001:db8::/48 of 0 #1"},
        {"come and gone untold", puts(1, "2001:db8:2::"), nullptr},
        {"is nothing", takes(1, "2001:db8:2::"), " #1"},
        {"one's own best route is out of sight", asks(foreign), "2001:db8::/48 of 0; 2001:db8:1::/48 of 0; end of 65535, all #3"},
        {"", puts(1, P), "- 2001:db8::/48 of 65535 #1"},
        {"of all foreign routes none is", asks(all_foreign), "2001:db8::/48 of 0; 2001:db8:1::/48 of 0; end of 65535, all #3"},
        {"", puts(1, Q), "2001:db8:1::/48 of 0 #1"},
        {"ended", asks(reset), " #1"},
        {"of a source", asks(isis), "2001:db8::/48 of 1; 2001:db8:1::/48 of 1; end of 1, all #3"},
        {"of a source while it is best", asks(best_isis), "2001:db8::/48 of 1; 2001:db8:1::/48 of 1; end of 1, all #3"},
        {"another protocol's become best", asks(distance(115)), "- 2001:db8::/48 of 1; - 2001:db8:1::/48 of 1 #1"},
        {"and goes", takes(0, Q), "2001:db8:1::/48 of 1 #1"},
    };
    for (const auto &[name, change, told] : steps) {
        change();
        const std::string got = told ? fetch() : "";
        EXPECT_EQ(got, told ? told : "") << name;
    }
}

/* Two routes a reply: what changes ahead of a dump waits for its end, what changes behind it comes with it. */
TEST_F(update_fetch, changes_during_a_dump)
{
    rig.server.options.fetch_bytes = 300;
    for (const char *prefix : {"1::", "2::", "3::", "4::", "5::"})
        put(0, prefix);
    want(registrations(ALL, {{TABLE}}));
    EXPECT_EQ(fetch(), "1::/48 of 0; 2::/48 of 0");
    take(0, "1::");
    put(0, "2::", 5);
    put(1, "2::");
    put(1, "1:1::");
    take(0, "3::");
    put(0, "4::", 6);
    put(1, "4::", 7);
    put(0, "9::");
    want(redist("isis", TABLE + 1));
    EXPECT_EQ(fetch(), "4::/48 of 0; 4::/48 of 1");
    take(0, "4::");
    put(0, "4::");
    EXPECT_EQ(fetch(), "5::/48 of 0; 9::/48 of 0");
    EXPECT_EQ(fetch(), "end of 65535; end of 1, all; - 1::/48 of 0; 2::/48 of 0 #2");
    EXPECT_EQ(fetch(), "2::/48 of 1; 1:1::/48 of 1");
    EXPECT_EQ(fetch(), "4::/48 of 0; 4::/48 of 1 #1");
}

TEST_F(update_fetch, markers)
{
    const auto says = [this](const char *marker) { rig.send(owner, single_batch(TABLE, 0, {hex(marker)})); };
    const char *const complete = "03 @4", *const converged = "04 @12";
    want(redist("bgp"));
    EXPECT_EQ(fetch(), "end of 0, all #3");
    says(complete);
    EXPECT_EQ(fetch(), " #1") << "not asked for";
    want(redist("bgp", TABLE, 0, 0, 13));
    put(0, P);
    says(complete);
    put(0, Q);
    says(converged);
    says(complete);
    rig.send(owner, single_batch(TABLE + 1, 0, {hex(converged)}));
    put(0, P, 9);
    rig.send(session, protoid_request(19, 1));
    EXPECT_EQ(fetch(), "2001:db8::/48 of 0; 2001:db8:1::/48 of 0; marker 2 of 0; marker 1 of 0 #1")
        << "a marker that waits moves behind; of other sources and tables there are none";
    want(registrations(ALL_FOREIGN, {{TABLE}}));
    want(redist("", TABLE, 0, 0, 13));
    rig.send(session, protoid_request(19, 1));
    says(converged);
    EXPECT_EQ(fetch(), "2001:db8::/48 of 0; 2001:db8:1::/48 of 0; end of 65535, all; marker 2 of 0; marker 2 of 0 #3");
}

/* The interest follows the names, whatever identifier they get. */
TEST_F(update_fetch, a_source_that_goes_and_comes_back)
{
    const auto farewell = [this] { rig.send(owner, protoid_request(10, 0)); };
    want(redist("bgp"));
    put(0, P);
    EXPECT_EQ(fetch(), "2001:db8::/48 of 0; end of 0, all #3");
    farewell();
    EXPECT_EQ(fetch(), "- 2001:db8::/48 of 0; went 0 bgp #1");
    rig.add_protocol(owner, "ospf");
    put(0, P);
    EXPECT_EQ(fetch(), "came 0 ospf #1") << "the identifier is another's";
    rig.add_protocol(owner, "bgp");
    put(2, Q);
    EXPECT_EQ(fetch(), "came 2 bgp; 2001:db8:1::/48 of 2 #1");
    farewell();
    rig.add_protocol(owner, "rip");
    farewell();
    rig.add_protocol(owner, "rip");
    EXPECT_EQ(fetch(), "went 0 ospf; came 0 rip #1") << "one that came and went untold is not told";
    const rib_protoid_td id = rig.add_protocol(owner, "egp");
    want(request_of(17, {}));
    rig.send(owner, protoid_request(10, id));
    EXPECT_EQ(fetch(), " #1") << "it goes when the session has no interests any more";
}

/* As many places as prefixes that the client knows and prefixes that there are now. */
TEST_F(update_fetch, what_waits_is_bounded)
{
    const rib_update_queue &line = session.consumer.line;
    const auto changes = [](const std::function<std::string(unsigned)> &prefix, unsigned from, bool withdraws) {
        std::vector<bytes_t> records;
        for (unsigned n = from; n != from + 500; ++n) {
            records.push_back(record({prefix(n), 48, {{.nexthop = "fe80::a"}}, true, n}));
            if (withdraws)
                records.push_back(record({prefix(n), 48, {{.withdraw = true}}}));
        }
        return single_batch(TABLE, 0, records);
    };
    const auto few = [](unsigned n) { return std::to_string(n % 8 + 1) + "::"; };
    want(registrations(ALL, {{TABLE}}));
    rig.send(owner, changes(few, 0, false));
    EXPECT_EQ(fetched(rig.send(session, FETCH)).messages.size(), 2u);
    const bytes_t twice[] = {changes(few, 0, false), changes(few, 3, false)};
    for (unsigned round = 0; round != 1'000; ++round) {
        rig.send(owner, twice[round % 2]);
        ASSERT_EQ(line.size(), 8u) << "few prefixes";
    }
    const auto fresh = [](unsigned n) {
        char text[INET6_ADDRSTRLEN];
        snprintf(text, sizeof text, "2002:%x:%x::", n >> 16, n & 0xFFFF);
        return std::string(text);
    };
    for (unsigned from = 0; from != 100'000; from += 500) {
        rig.send(owner, changes(fresh, from, true));
        ASSERT_EQ(line.size(), 8u) << "ever new ones, gone again";
    }
    rig.send(owner, changes(fresh, 0, false));
    EXPECT_EQ(line.size(), 508u) << "new ones";
    rig.send(owner, protoid_request(7, 0));
    EXPECT_EQ(line.size(), 8u) << "what the client knows must be told to be gone";
    want(request_of(17, {}));
    EXPECT_EQ(line.size(), 0u);
}

/* Messages of the first format hold at most 65,535 bytes, replies 512 KiB in both. */
TEST_F(update_fetch, large_dumps)
{
    std::vector<bytes_t> records;
    for (unsigned n = 0; n != 5'000; ++n)
        records.push_back(record({"2001:" + std::to_string(n) + "::", 48, {{.nexthop = "fe80::a"}, {.nexthop = "fe80::b"}}}));
    for (unsigned part = 0; part != 5'000; part += 500)
        rig.send(owner, single_batch(TABLE, 0, {records.begin() + part, records.begin() + part + 500}));
    for (const uint32_t format : {0u, 1u}) {
        rig.server.options.msg_version = format;
        want(registrations(BEST, {{TABLE}}));
        size_t routes = 0, passes = 0;
        for (uint16_t flags = 0; flags == 0; ++passes) {
            const fetched_td got = fetched(rig.send(session, FETCH), format);
            flags = got.flags;
            EXPECT_TRUE(flags != 0 || got.messages.size() == (format ? 1 : 8));
            for (const message_td &message : got.messages)
                routes += message.type == 2 ? routes_of(message.payload).size() : 0;
        }
        EXPECT_EQ(routes, 5'000u);
        EXPECT_EQ(passes, 4u);
    }
}

/* Once, until all was fetched; again when it did not get there, or when the client names another event. */
TEST_F(update_fetch, wakes_the_client)
{
    unsigned pulses = 0;
    bool arrives = false;
    session.has_event = true;
    session.pulse = [&] { return ++pulses, arrives; };
    const auto expect = [&](unsigned count, const char *when) {
        EXPECT_EQ(pulses, count) << when;
        pulses = 0;
    };
    put(0, P);
    expect(0, "nothing is asked for");
    want(registrations(BEST, {{TABLE}, {TABLE + 1}}));
    expect(1, "a dump waits; the pulse is lost");
    arrives = true;
    put(0, Q);
    expect(1, "the next change tries again");
    rig.server.options.fetch_bytes = 1;
    EXPECT_EQ(fetch(), "2001:db8::/48 of 0");
    put(0, P, 2);
    expect(0, "not all is fetched");
    rig.server.options.fetch_bytes = 0x80000;
    fetch();
    put(0, Q, 3);
    put(0, P, 3);
    expect(1, "all was fetched");
    bytes_t with_event = bind_request("watcher", "node1");
    with_event[27] = 0;
    want(with_event);
    expect(1, "the client may have named another event");
    fetch();
    want(bind_request("watcher", "node1"));
    put(0, Q, 4);
    expect(0, "there is no event");
}

} // namespace
