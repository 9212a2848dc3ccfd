/*
 * Routes changed one at a time: as a batch of one would, and with the marks of those who advertise them.
 */
#include <array>
#include <cerrno>
#include <random>

#include "tests/server/rig.h"

namespace
{

constexpr uint32_t ADD = 1, DELETE = 2, ADVERTISE = 14, UNREGISTER = 10;
const std::vector<path_td> VIA = {{"fe80::a", 1}};

/* The first path of a route alone. Tag, type, label, a word, and who told of it are the same in all. */
bytes_t add(const route_td &route, rib_protoid_td protoid = 0, rib_tableid_td table = TABLE, uint32_t bits = 0)
{
    const path_td &path = route.paths[0];
    const std::vector<field_td> fields = {{0, uint64_t{protoid} << 48 | table, 8},
                                          {24, route.len, 1},
                                          {52, path.interface},
                                          {72, route.metric},
                                          {76, 0x01020304},
                                          {80, path.backup ? 0x8000u : 0u},
                                          {84, path.metric},
                                          {88, 0x0506, 2},
                                          {92, path.table},
                                          {96, 0x0708090a},
                                          {104, 0x0b0c0d0e},
                                          {108, route.distance, 1},
                                          {112, bits | route.replace}};
    return request_of(ADD, fields, {{8, route.prefix}, {32, path.nexthop}, {56, "2001:db8::99"}});
}
bytes_t del(const route_td &route, rib_protoid_td protoid = 0, rib_tableid_td table = TABLE)
{
    const path_td &path = route.paths[0];
    return request_of(DELETE,
                      {{0, uint64_t{protoid} << 48 | table, 8}, {24, route.len, 2}, {52, path.interface}, {56, path.table}},
                      {{8, route.prefix}, {32, path.nexthop}});
}
bytes_t advertise(rib_protoid_td protoid, uint32_t value, const char *prefix = "2001:db8::", uint32_t len = 32,
                  uint16_t items = 0)
{
    return request_of(ADVERTISE, {{0, TABLE}, {24, len}, {28, protoid, 2}, {32, value}, {44, items, 2}}, {{8, prefix}});
}

/* One server is changed by single requests, the other by batches of one: same results, same table at every step. */
TEST(route_change, as_a_batch_does)
{
    rig_td single({.max_routes = 6}), batch({.max_routes = 6});
    rib_session &first = single.client(), &second = batch.client();
    for (const char *name : {"bgp", "isis"})
        EXPECT_EQ(single.add_protocol(first, name, {0, 20}), batch.add_protocol(second, name, {0, 20}));
    std::mt19937 random(1);
    const auto any_of = [&](auto... values) { return std::array{values...}[random() % sizeof...(values)]; };
    for (unsigned step = 0; step != 3000 && !testing::Test::HasFailure(); ++step) {
        const auto protoid = any_of(rib_protoid_td{0}, rib_protoid_td{1});
        const bool withdraw = random() % 3 == 0;
        route_td route = {any_of("2001:db8::", "2001:db9::", "2001:db8::1"), any_of(uint8_t{32}, uint8_t{48}, uint8_t{128})};
        route.paths = {{any_of("fe80::a", "fe80::b", "::"), any_of(0u, 1u), any_of(0u, 5u), any_of(0u, 1u), withdraw}};
        route.replace = !withdraw && random() % 2;
        route.metric = any_of(0u, 7u);
        route.distance = any_of(uint8_t{0}, uint8_t{10});
        bytes_t sent = record(route);
        route.paths[0].backup = !withdraw && random() % 4 == 0;
        sent[10] = route.paths[0].backup ? 0x80 : 0; // a single request says it by the flags of the route
        for (const field_td &field : {field_td{6, 0x0506, 2}, {16, 0x01020304}, {20, 0x0708090a}, {36, 0x0b0c0d0e}})
            put_net(&sent, field.at, field.value, field.width);
        if (!withdraw) {
            put_net(&sent, 336 + 184, 0x20010db800000000, 8);
            put_net(&sent, 336 + 192, 0x99, 8);
        }
        const bytes_t results = batch.send(second, single_batch(TABLE, protoid, {sent}));
        const bytes_t reply = single.send(first, withdraw ? del(route, protoid) : add(route, protoid));
        const uint32_t result = get32(results, 48 + 328);
        const errcode refusal = !withdraw || result < 4 ? 0 : result == 4 ? NOT_FOUND : EINVAL;
        const bytes_t state = {refusal ? uint8_t{0} : results[48 + 335], 0, 0, 0};
        EXPECT_TRUE(same_bytes(reply, number(refusal) + (withdraw ? bytes_t() : number(result)) + state));
        const bytes_t all = request_of(26, {{84, TABLE}, {144, 100'000}});
        EXPECT_TRUE(same_bytes(single.send(first, all), batch.send(second, all)));
    }
}

TEST(route_change, refusals)
{
    rig_td rig({.max_tables = 1});
    rib_session &session = rig.client();
    rig.add_protocol(session, "bgp");
    rig.add_protocol(rig.client("other"), "isis");
    const route_td P = {.paths = VIA}, too_long = {.len = 129, .paths = VIA};
    bytes_t longer_still = del(P);
    put_net(&longer_still, 24 + 24, 0x0120, 2); // of which the low byte would do
    const std::tuple<const char *, bytes_t, const char *> cases[] = {
        {"withdrawn from a table that is not there", del(P), "42d29400 @8"},
        {"an unknown protocol", add(P, 9), "42d29400 @12"},
        {"another client's protocol", add(P, 1), "00000001 @12"},
        {"more than 128 bits", add(too_long), "00000016 @12"},
        {"bits that mean nothing", add(P, 0, TABLE, 2), "00000016 @12"},
        {"added", add(P), "00000000 00000000 01 000000"},
        {"a table too many", add(P, 0, 9), "00000000 00000008 @12"},
        {"withdrawn from another client's protocol", del(P, 1), "00000001 @8"},
        {"withdrawn with 288 bits", longer_still, "00000016 @8"},
    };
    for (const auto &[name, message, reply] : cases)
        EXPECT_TRUE(same_bytes(rig.send(session, message), reply)) << name;
}

struct advertising : testing::Test {
    advertising()
    {
        for (const char *name : {"a", "b", "c"})
            rig.add_protocol(session, name, {0, 20});
        rig.add_protocol(other, "d");
        rig.send(session, add({.paths = VIA}, 1));
    }
    bytes_t lookup() { return rig.send(session, lookup_request("2001:db8::", 32, 1)); }
    /* Behind the paths of the route: the record of those who advertise it, then the delimiter. */
    bytes_t marks() { return slice(lookup(), 8 + 8 + 128 + 104, 999); }

    rig_td rig;
    rib_session &session = rig.client(), &other = rig.client("other");
};
/* Count and identifiers are in host order. */
const bytes_t BY_0_AND_2 = tlv(7, hex("02000000 0000 0200")) + DELIMITER, BY_2 = tlv(7, hex("01000000 0200")) + DELIMITER;

TEST_F(advertising, of_the_best_route)
{
    const bytes_t before = lookup();
    const std::tuple<const char *, bytes_t, errcode> cases[] = {
        {"a protocol advertises", advertise(2, 1), 0},
        {"it does already", advertise(2, 1), 0x42D29000},
        {"another one", advertise(0, 1), 0},
        {"one that does not", advertise(1, 0), 0x42D29000},
        {"a value that means nothing", advertise(1, 2), EINVAL},
        {"nine items", advertise(1, 1, "2001:db8::", 32, 9), EINVAL},
        {"more than 128 bits", advertise(1, 1, "2001:db8::", 129), EINVAL},
        {"bits behind the length", advertise(1, 1, "2001:db8::1"), EINVAL},
        {"no such prefix", advertise(1, 1, "2001:db8::", 33), NOT_FOUND},
        {"another client's protocol", advertise(3, 1), EPERM},
        {"an unknown protocol", advertise(9, 1), NOT_FOUND},
    };
    for (const auto &[name, message, result] : cases)
        EXPECT_EQ(rig.result_of(session, message), result) << name;
    EXPECT_TRUE(same_bytes(lookup(), slice(before, 0, before.size() - 8) + BY_0_AND_2)) << "and the same version";

    rig.send(session, add({.paths = VIA}, 0)); // the best one now
    EXPECT_TRUE(same_bytes(marks(), DELIMITER));
    EXPECT_EQ(rig.result_of(session, advertise(0, 0)), 0u) << "nor the other one any more";
    EXPECT_EQ(rig.result_of(session, advertise(2, 1)), 0u) << "this one instead of the other";
    EXPECT_TRUE(same_bytes(marks(), BY_2));
    rig.send(session, del({.paths = VIA}, 0));
    EXPECT_TRUE(same_bytes(marks(), DELIMITER)) << "gone with the route";
}

TEST_F(advertising, is_forgotten_with_the_protocol)
{
    rig.send(session, add({.prefix = "2001:db9::", .paths = VIA}, 1));
    for (const char *prefix : {"2001:db8::", "2001:db9::"})
        EXPECT_EQ(rig.result_of(session, advertise(2, 1, prefix)), 0u);
    rig.send(session, del({.prefix = "2001:db9::", .paths = VIA}, 1)); // one mark is left to be found
    EXPECT_EQ(rig.result_of(session, protoid_request(UNREGISTER, 2)), 0u);
    EXPECT_EQ(rig.add_protocol(other, "newcomer"), 2);
    EXPECT_TRUE(same_bytes(marks(), DELIMITER));
    EXPECT_EQ(rig.result_of(other, advertise(2, 1)), 0u);
    EXPECT_TRUE(same_bytes(marks(), BY_2));
}

} // namespace
