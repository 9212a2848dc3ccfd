/*
 * The loader, and the listing of what was loaded, against a real server in this process.
 */
#include "tools/loader.h"

#include "server/embed.h"
#include "tools/connection.h"
#include "tools/generator.h"
#include "tools/lookup.h"
#include "tools/route_fetch.h"
#include "tools/route_words.h"
#include "tools/show_routes.h"
#include "tools/verify.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>

namespace
{

constexpr size_t room = 3000;

class loader : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(mkdtemp(dir_));
        setenv("MSG_CHAN_DIR", dir_, 1);
        server_ = std::make_unique<rib_embedded_server>(rib_server_options{.dir = dir_, .max_routes = room});
        conn_.emplace();
        proto_ = register_protocol(*conn_, {.name = "static", .instance = "test"});
    }
    void TearDown() override
    {
        conn_.reset();
        server_.reset();
        std::filesystem::remove_all(dir_);
    }

    verify_target target() const { return {*conn_, IPV6_RIB_TABLE_DEFAULT, proto_, true}; }
    route_loader make(bool small)
    {
        return {*conn_, IPV6_RIB_TABLE_DEFAULT, proto_, small,
                [this](const route &what, const std::string &why) { refused_.push_back(text_of(what.prefix) + " " + why); }};
    }
    static void add_all(route_loader &into, const std::vector<route> &routes)
    {
        for (const route &one : routes)
            into.add(one);
        into.flush();
    }

    char dir_[32] = "/tmp/tools_loader_test.XXXXXX";
    std::unique_ptr<rib_embedded_server> server_;
    std::optional<rib_connection> conn_;
    rib_protoid_td proto_ = RIB_PROTOID_NONE;
    std::vector<std::string> refused_;
    progress shown_{"test", true};
};

} // namespace

TEST_F(loader, every_route_arrives_in_messages_of_either_size)
{
    const std::vector<route> routes = generate_table(room, 5);
    for (const bool small : {true, false}) {
        std::vector<route> earlier = routes; // whose path is replaced
        earlier[3].nexthop = in6addr_loopback;
        route_loader before = make(small), into = make(small);
        add_all(before, earlier);
        add_all(into, routes);
        EXPECT_TRUE(into.counts().all_well());
        EXPECT_EQ(into.counts().sent, room);
        EXPECT_EQ(into.counts().paths.total(), room);
        EXPECT_EQ(into.counts().messages, small ? 30u : 4u); // 102 or 851 routes each
        EXPECT_EQ(verify_exact(target(), routes, shown_).right, room);
        for (const route &one : routes)
            into.withdraw(one.prefix);
        into.flush();
        EXPECT_TRUE(into.counts().all_well());
        EXPECT_EQ(verify_absent(target(), routes, shown_).right, room);
    }
}

TEST_F(loader, refusals_are_told_one_by_one)
{
    const std::vector<route> routes = generate_table(room + 50, 5);
    route_loader into = make(false);
    add_all(into, routes);
    EXPECT_EQ(into.counts().refused, 50u);
    ASSERT_EQ(refused_.size(), 50u);
    EXPECT_EQ(refused_.back(), text_of(routes.back().prefix) + " " + ribresulttype_to_string(RIB_RESULT_ROUTE_LIMIT));
}

TEST_F(loader, verification_finds_what_differs)
{
    const std::vector<route> routes = generate_table(100, 5);
    route_loader into = make(false);
    add_all(into, {routes.begin(), routes.begin() + 90});
    std::vector<route> expected = routes;
    expected[7].nexthop = in6addr_loopback;
    testing::internal::CaptureStderr();
    EXPECT_EQ(verify_exact(target(), expected, shown_).wrong, 11u);
    EXPECT_EQ(verify_listed(target(), expected, shown_).wrong, 11u);
    EXPECT_EQ(verify_listed(target(), {expected.data() + 10, 75}, shown_).wrong, 15u) << "more than was expected";
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find(text_of(expected[7].prefix) + " by ::1 was expected"), std::string::npos) << told;
    EXPECT_NE(told.find("the server has no route"), std::string::npos) << told;
    verify_target other = target();
    other.proto = static_cast<rib_protoid_td>(proto_ + 1);
    other.alone = false;
    EXPECT_EQ(verify_exact(other, {routes.data(), 90}, shown_).hidden, 90u);
    EXPECT_EQ(verify_listed(other, {}, shown_).checked, 0u);
}

TEST_F(loader, a_listing_finds_what_matches_in_passes_of_any_size)
{
    const std::vector<route> routes = generate_table(600, 7);
    route_loader into = make(false);
    add_all(into, routes);
    const rib_protoid_td worse = register_protocol(*conn_, {.name = "static", .instance = "worse"});
    route_loader third(*conn_, IPV6_RIB_TABLE_DEFAULT, worse, false, nullptr);
    for (size_t i = 0; i < routes.size(); i += 3)
        third.add(routes[i], 200);
    third.flush();
    const auto line = [](const ip_prefix &prefix, rib_protoid_td proto) { return fmt::format("{} {}", text_of(prefix), proto); };
    const ip_prefix inside = {masked(routes[300].prefix.addr, 16), 16};
    const std::pair<route_filter, std::function<bool(const route &, bool)>> cases[] = {
        {{}, [](const route &, bool) { return true; }},
        {{.best_only = true}, [](const route &, bool is_worse) { return !is_worse; }},
        {{.protocol = "static", .instance = "worse"}, [](const route &, bool is_worse) { return is_worse; }},
        {{.range = {inside, inside}}, [&](const route &one, bool) { return contains(inside, bits_of(one.prefix.addr)); }},
        {{.range = {routes[5].prefix, {}}},
         [&](const route &one, bool) { return !in_prefix_order(one.prefix, routes[5].prefix); }},
    };
    for (auto [filter, matches] : cases) {
        std::vector<std::string> expected;
        for (size_t i = 0; i < routes.size(); ++i)
            for (const bool is_worse : {false, true})
                if ((!is_worse || i % 3 == 0) && matches(routes[i], is_worse))
                    expected.push_back(line(routes[i].prefix, is_worse ? worse : proto_));
        for (const uint32_t in_a_pass : {1u, 7u, 0u}) {
            filter.in_a_pass = in_a_pass;
            std::vector<std::string> got;
            for_each_route(*conn_, filter, [&](const ipv6_routetype &one, const paths_attributes &) {
                got.push_back(line(prefix_of(one), one.rt_protoid));
                return true;
            });
            EXPECT_EQ(got, expected) << in_a_pass;
        }
    }
}

TEST_F(loader, a_listing_ends_when_it_is_told_to_or_the_rest_goes)
{
    const std::vector<route> routes = generate_table(100, 7);
    route_loader into = make(false);
    add_all(into, routes);
    const route_filter by_ten = {.in_a_pass = 10};
    unsigned told = 0;
    EXPECT_EQ(for_each_route(*conn_, by_ten, [&](const ipv6_routetype &, const paths_attributes &) { return ++told < 15; }), 15u);
    EXPECT_EQ(for_each_route(*conn_, by_ten,
                             [&](const ipv6_routetype &, const paths_attributes &) {
                                 for (const route &one : routes)
                                     into.withdraw(one.prefix);
                                 into.flush();
                                 return true;
                             }),
              10u);
    EXPECT_EQ(for_each_route(*conn_, by_ten, [](const ipv6_routetype &, const paths_attributes &) { return true; }), 0u);
}

/* What is read from a printed object, in the form of a file. */
static std::string loaded_again(const json &printed)
{
    route read = {};
    EXPECT_STREQ(parse_route_object(json::parse(printed.dump()), &read), nullptr);
    return route_file_object(read).dump();
}

/* What a listing, and a lookup, tell of a route can be loaded, and makes the same route. */
TEST_F(loader, attributes_go_through_the_server_and_back)
{
    static const char *const objects[] = {
        R"({"prefix":"2001:db8::/32","metric":10,"tag":3,"distance":7,"paths":[)"
        R"({"nexthop":"fe80::1","backup":false,"interface":4,"nexthop_table":5,"labels":[16,17],"binding_label":18,)"
        R"("ecomms":["rt:65000:1","0102030405060708"],"nnh":["2:3","1:2"],"intf":9,"encap":"h.encaps.red",)"
        R"("sids":["2001:db8::1/csid-48-16@end.x","::2"],"l2_info":"000102030405060708090a0b0c0d0e0f","via_sid":"::1/64",)"
        R"("group":8,"tunnel":"5:7:7","via_aft":"000102030405060708090a0b0c0d0e0f1011121314151617","segment_list":"2:9",)"
        R"("mvpn":"000102030405060708090a0b0c0d0e0f1011121314151617","path_rt":"0102030405060708",)"
        R"("vrf_import_rt":"0202030405060708","source_as_rt":"0302030405060708","source_rd":"0402030405060708",)"
        R"("seg_nh":"0502030405060708"},)"
        R"({"nexthop":"fe80::2","backup":false,"metric":6,"labels":[16],"ecomms":["soo:1:2"]},)"
        R"({"nexthop":"fe80::3","backup":false,"metric":7}]})",
        R"({"prefix":"2001:db9::/32","distance":7,"paths":[{"nexthop":"fe80::1","backup":true},)"
        R"({"nexthop":"fe80::2","backup":true,"group":1}]})",
    };
    const protocol_namer name = cached_names(*conn_);
    for (const bool small : {true, false}) {
        route_loader into = make(small);
        for (const char *text : objects) {
            route sent;
            ASSERT_EQ(parse_route_object(json::parse(text), &sent), nullptr);
            into.add(sent);
            into.flush();
            paths_attributes attributes;
            const ipv6_routetype *found = look_up(*conn_, IPV6_RIB_TABLE_DEFAULT, sent.prefix, RIB_LOOKUP_EXACT, &attributes);
            ASSERT_TRUE(found);
            EXPECT_EQ(loaded_again(route_object(*found, name, attributes)), text);
        }
        EXPECT_TRUE(into.counts().all_well());
        size_t index = 0;
        for_each_route(*conn_, {}, [&](const ipv6_routetype &found, const paths_attributes &attributes) {
            EXPECT_EQ(loaded_again(route_object(found, name, attributes)), objects[index++]);
            return true;
        });
        EXPECT_EQ(index, std::size(objects));
    }
}

TEST_F(loader, a_route_that_cannot_be_sent_is_refused_and_the_others_go)
{
    route differing, large, good;
    ASSERT_EQ(parse_route_object({{"prefix", "::/0"}, {"nexthop", "::1"}, {"tunnel", "1:2:3"}}, &differing), nullptr);
    json paths = json::array();
    const std::vector<std::string> many(512, "1:2");
    for (int i = 1; i <= 128; ++i)
        paths.push_back({{"nexthop", fmt::format("::{:x}", i)}, {"nnh", many}});
    ASSERT_EQ(parse_route_object({{"prefix", "::/1"}, {"paths", paths}}, &large), nullptr);
    ASSERT_EQ(parse_route_object({{"prefix", "::/2"}, {"nexthop", "::1"}, {"labels", "16"}}, &good), nullptr);
    route_loader into = make(false);
    add_all(into, {good, differing, large, good});
    EXPECT_EQ(refused_,
              (std::vector<std::string>{"::/0 tunnel: its two network identifiers differ", "::/1 it fits into no message"}));
    EXPECT_EQ(into.counts().refused, 2u);
    EXPECT_EQ(into.counts().sent, 2u);
    EXPECT_EQ(into.counts().unanswered + into.counts().strayed, 0u);
}
