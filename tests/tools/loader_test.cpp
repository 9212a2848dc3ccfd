/*
 * The loader against a real server in this process.
 */
#include "tools/loader.h"

#include "server/embed.h"
#include "tools/connection.h"
#include "tools/generator.h"
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
        return {*conn_, IPV6_RIB_TABLE_DEFAULT, proto_, small, [this](const route &what, int route_result, int) {
                    refused_.push_back(text_of(what.prefix) + " " + std::to_string(route_result));
                }};
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
    EXPECT_EQ(refused_.back(), text_of(routes.back().prefix) + " " + std::to_string(RIB_RESULT_ROUTE_LIMIT));
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
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find(text_of(expected[7].prefix) + " by ::1 was expected"), std::string::npos) << told;
    EXPECT_NE(told.find("the server has no route"), std::string::npos) << told;
    verify_target other = target();
    other.proto = static_cast<rib_protoid_td>(proto_ + 1);
    other.alone = false;
    EXPECT_EQ(verify_exact(other, {routes.data(), 90}, shown_).hidden, 90u);
}
