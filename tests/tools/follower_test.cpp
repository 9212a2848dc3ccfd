/*
 * The follower against a real server in this process, which is not there at first and goes away in between.
 */
#include "tools/follower.h"

#include "server/embed.h"
#include "tools/failure.h"
#include "tools/loader.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <vector>

using namespace std::chrono_literals;

namespace
{

const protocol_identity origin = {.name = "static", .instance = "test"};

/* Keeps what it is told as words; of routes the number. */
class log final : public follow_sink
{
public:
    std::vector<std::string> words;
    unsigned routes = 0, gone = 0;

    void change(const ipv6_routetype &route) override { ++(route.rt_state & RIB_ROUTE_WITHDRAWN ? gone : routes); }
    void complete(rib_tableid_td, rib_protoid_td source) override
    {
        words.push_back(source == RIB_PROTOID_NONE ? "complete" : "source complete");
    }
    void marker(rib_protoid_td, uint32_t marker) override
    {
        words.push_back(marker == RIB_MARKER_COMPLETE ? "marker" : "other marker");
    }
    void protocol(bool came, rib_protoid_td id) override
    {
        words.push_back((came ? "came " : "went ") + (of ? of->name_of(id) : ""));
    }
    void next_hop(const rib_next_hop_update &told) override
    {
        words.push_back(text_of(address_at(told.nu_addr)) +
                        (told.nu_flags & RIB_NH_REACHED ? " by " + of->name_of(told.nu_protoid) : " not reached"));
    }
    void next_hops_told(rib_tableid_td) override { words.push_back("told"); }
    void established(uint32_t) override { words.push_back("established"); }
    void lost() override { words.push_back("lost"); }
    void waits_for(const std::string &whom) override { words.push_back("waits for " + whom.substr(0, whom.find(" (run"))); }

    follower *of = nullptr;
};

class following : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(mkdtemp(dir_));
        setenv("MSG_CHAN_DIR", dir_, 1);
    }
    void TearDown() override
    {
        server_.reset();
        std::filesystem::remove_all(dir_);
    }
    void serve() { server_ = std::make_unique<rib_embedded_server>(rib_server_options{.dir = dir_}); }

    /* Until the last word that was told is this one. */
    void until(follower &follows, const std::string &word)
    {
        const auto in_vain = std::chrono::steady_clock::now() + 10s;
        while (told_.words.empty() || told_.words.back() != word) {
            ASSERT_LT(std::chrono::steady_clock::now(), in_vain) << word;
            follows.step(50ms);
        }
    }
    /* Why it fails before it has told this word. */
    std::string failure(follower &follows, const std::string &word)
    {
        try {
            until(follows, word);
        } catch (const command_failure &failed) {
            return failed.what();
        }
        return "none";
    }
    static void add(const rib_connection &conn, rib_protoid_td proto, unsigned count)
    {
        route_loader loader(conn, IPV6_RIB_TABLE_DEFAULT, proto, false, nullptr);
        for (unsigned i = 1; i <= count; ++i)
            loader.add({{address_of(address_bits{0x20010000 + i} << 96), 32}, in6addr_loopback});
        loader.flush();
    }

    char dir_[32] = "/tmp/tools_follower_test.XXXXXX";
    std::unique_ptr<rib_embedded_server> server_;
    log told_;
};

} // namespace

TEST_F(following, a_table_is_told_anew_by_a_server_that_comes_back)
{
    follower follows({}, told_);
    told_.of = &follows;
    until(follows, "waits for the RIB server");
    serve();
    until(follows, "complete");
    EXPECT_EQ(told_.words, (std::vector<std::string>{"waits for the RIB server", "established", "complete"}));
    rib_protoid_td proto;
    {
        const rib_connection conn;
        proto = register_protocol(conn, origin);
        add(conn, proto, 1000);
        until(follows, "came static/test");
    }
    while (told_.routes < 1000)
        follows.step(50ms);
    told_ = {};
    server_.reset();
    until(follows, "waits for the RIB server");
    serve();
    const rib_connection conn;
    EXPECT_EQ(register_protocol(conn, {.name = "static", .instance = "another"}), proto);
    until(follows, "complete");
    EXPECT_EQ(follows.name_of(proto), "static/another");
    EXPECT_EQ(told_.words, (std::vector<std::string>{"lost", "waits for the RIB server", "established", "complete"}));
    EXPECT_EQ(told_.routes, 0u);
}

TEST_F(following, a_protocol_is_waited_for_and_told_with_its_markers)
{
    serve();
    follower follows({.source = origin}, told_);
    told_.of = &follows;
    until(follows, "waits for protocol static/test");
    const rib_connection conn;
    const rib_protoid_td proto = register_protocol(conn, origin);
    add(conn, proto, 10);
    until(follows, "source complete");
    EXPECT_EQ(told_.routes, 10u);
    ASSERT_EQ(ipv6_rib_update_complete(conn, proto, 0), 0u);
    until(follows, "marker");
    ASSERT_EQ(ipv6_rib_protocol_unregister(conn, proto, 0), 0u);
    until(follows, "went static/test");
    EXPECT_EQ(told_.gone, 10u);
}

TEST_F(following, next_hops_are_told_in_order_and_anew_by_a_server_that_comes_back)
{
    constexpr unsigned many = 150; // more than a message holds
    const protocol_identity connected = {.name = "connected", .instance = "test", .kind = RIB_PROTO_KIND_CONNECTED};
    follow_options options;
    for (unsigned i = 1; i <= many; ++i)
        options.next_hops.push_back(address_of((address_bits{0x20010000 + i} << 96) + i));
    serve();
    follower follows(options, told_);
    told_.of = &follows;
    until(follows, "told");
    ASSERT_EQ(told_.words.size(), 1 + many + 1);
    EXPECT_EQ(told_.words[many], "2001:96::96 not reached");
    {
        const rib_connection conn;
        add(conn, register_protocol(conn, connected), 2);
    }
    until(follows, "2001:2::2 by connected/test");
    EXPECT_EQ(told_.words[many + 2], "2001:1::1 by connected/test");
    EXPECT_EQ(told_.words.size(), 1 + many + 1 + 2);
    server_.reset();
    until(follows, "waits for the RIB server");
    serve();
    {
        const rib_connection conn;
        add(conn, register_protocol(conn, {.name = "connected", .instance = "another", .kind = RIB_PROTO_KIND_CONNECTED}), 1);
    }
    told_.words.clear();
    until(follows, "told");
    EXPECT_EQ(told_.words[1], "2001:1::1 by connected/another");
    EXPECT_EQ(told_.words[2], "2001:2::2 not reached");
    EXPECT_EQ(told_.words.size(), 1 + many + 1);
}

TEST_F(following, fails_without_a_server_when_it_shall_not_wait)
{
    const follow_options once = {.retry = false};
    const auto before = std::chrono::steady_clock::now();
    {
        follower follows(once, told_);
        EXPECT_THAT(failure(follows, "complete"), testing::HasSubstr("cannot reach"));
        EXPECT_LT(std::chrono::steady_clock::now() - before, 3s);
    }
    serve();
    follower follows(once, told_);
    until(follows, "complete");
    server_.reset();
    EXPECT_THAT(failure(follows, "never"), testing::HasSubstr("was lost"));
    EXPECT_EQ(told_.words.back(), "lost");
}
