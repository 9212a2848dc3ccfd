/*
 * What is special about questions about addresses: answers that say no, and addresses that are missing.
 */
#include "tests/lib/request_cases.h"

namespace
{
constexpr const char *NO_DESTINATION =
    "ip/rib/ipv6/src/rib_ipv6_addr_public_funcs.*rib_copy_addr.*Assertion `dest != \\(\\(void\\*\\)0\\)' failed";

class address_test : public client_test
{
protected:
    void SetUp() override
    {
        client_test::SetUp();
        bind();
    }
    const in6_addr_t addr = address("20010db8 11*11 06");
    in6_addr_t found = address("ee*16");
    uint32_t info = 0xeeeeeeee, flags = 0xeeeeeeee;
    errcode err = UNTOUCHED;
};

TEST_F(address_test, answers)
{
    const struct {
        uint32_t answer, info, flags;
        int local, connected, not_local, best;
    } cases[] = {
        {7, 5, 1, 1, 1, 0, 1}, {7, 5, 0, 0, 1, 1, 1},          {7, 0, 0xfffffffe, 0, 1, 1, 0},
        {0, 5, 0, 0, 0, 0, 1}, {0, 5, 0xffffffff, 0, 0, 0, 1}, {0x80000000, 0x80000000, 0x80000001, 1, 1, 0, 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        bytes_t reply = hex("00*8 aa*15 ab 00*16");
        put_net(&reply, 4, c.answer, 4);
        put_net(&reply, 24, c.info, 4);
        put_net(&reply, 28, c.flags, 4);
        const struct {
            std::function<int64_t()> ask;
            int64_t answer;
            bool outputs = false, with_flags = false;
        } questions[] = {
            {[&] { return ipv6_rib_is_local(conn, 1, &addr, &err); }, c.local ? c.answer : 0},
            {[&] { return ipv6_rib_is_connected(conn, 1, &addr, &err); }, c.connected ? c.answer : 0},
            {[&] { return ipv6_rib_conn_not_local(conn, 1, &addr, &err); }, c.not_local},
            {[&] { return ipv6_rib_match_connected_subnet(conn, 1, &addr, &found, &info, &err); }, c.connected, c.connected != 0},
            {[&] { return ipv6_rib_best_local_address(conn, 1, &addr, 2, &found, &info, &err); }, c.best, c.best != 0},
            {[&] { return ipv6_rib_best_local_address_and_check(conn, 1, &addr, 2, &found, &info, &err, &flags); }, c.best,
             c.best != 0, c.best != 0},
            {[&] { return ipv6_rib_best_local_address_and_check(conn, 1, &addr, 2, nullptr, nullptr, &err, nullptr); }, c.best},
        };
        for (const auto &question : questions) {
            SCOPED_TRACE(&question - questions);
            found = address("ee*16");
            info = flags = err = UNTOUCHED;
            fake_msg_chan().answer(reply);
            EXPECT_EQ(question.ask(), question.answer);
            EXPECT_EQ(err, 0u) << "no is an answer";
            EXPECT_TRUE(same_bytes(bytes_at(&found, 16), question.outputs ? "aa*15 ab" : "ee*16"));
            EXPECT_EQ(info, question.outputs ? c.info : UNTOUCHED);
            EXPECT_EQ(flags, question.with_flags ? c.flags : UNTOUCHED);
        }
    }
}

TEST_F(address_test, a_short_answer_says_no)
{
    const bytes_t bare(4);
    for (unsigned n = 0; n < 5; ++n)
        fake_msg_chan().answer(bare);
    EXPECT_EQ(ipv6_rib_is_local(conn, 1, &addr, &err), 0u);
    EXPECT_EQ(ipv6_rib_is_connected(conn, 1, &addr, &err), 0u);
    EXPECT_EQ(ipv6_rib_conn_not_local(conn, 1, &addr, &err), 0);
    EXPECT_EQ(ipv6_rib_match_connected_subnet(conn, 1, &addr, nullptr, nullptr, &err), 0) << "nowhere is needed to put it";
    EXPECT_EQ(ipv6_rib_best_local_address(conn, 1, &addr, 2, &found, &info, &err), 0);
    EXPECT_EQ(err, 0u);
}

TEST_F(address_test, missing_addresses)
{
    const struct {
        const char *name;
        std::function<void()> call;
    } cases[] = {
        {"is_local", [&] { ipv6_rib_is_local(conn, 1, nullptr, &err); }},
        {"is_connected", [&] { ipv6_rib_is_connected(conn, 1, nullptr, &err); }},
        {"conn_not_local", [&] { ipv6_rib_conn_not_local(conn, 1, nullptr, &err); }},
        {"match_connected_subnet", [&] { ipv6_rib_match_connected_subnet(conn, 1, nullptr, &found, &info, &err); }},
        {"best_local_address", [&] { ipv6_rib_best_local_address(conn, 1, nullptr, 2, &found, &info, &err); }},
        {"best_local_address_and_check",
         [&] { ipv6_rib_best_local_address_and_check(conn, 1, nullptr, 2, &found, &info, &err, &flags); }},
        {"next_hop", [&] { ipv6_rib_next_hop(conn, 1, nullptr, 1, 2, 3, &found, &flags, &err); }},
        {"next_hop_register", [&] { ipv6_rib_next_hop_register(conn, 1, nullptr, 1, 2, 3, nullptr, &err); }},
        {"next_hop_unregister", [&] { ipv6_rib_next_hop_unregister(conn, 1, nullptr, 1, 2, 3, &err); }},
    };
    for (const auto &c : cases)
        EXPECT_DEATH(c.call(), NO_ADDRESS) << c.name;
    EXPECT_TRUE(fake_msg_chan().sent.empty());
    fake_msg_chan().answer("00000000 00000007 aa*16 00000005 00000003 00*8");
    EXPECT_DEATH(ipv6_rib_match_connected_subnet(conn, 1, &addr, nullptr, &info, &err), NO_DESTINATION);
    EXPECT_DEATH(ipv6_rib_next_hop(conn, 1, &addr, 1, 2, 3, nullptr, &flags, &err), NO_DESTINATION);
    uint32_t value, pair[2];
    uint8_t data[64];
    EXPECT_DEATH(ipv6_rib_get_check(conn, nullptr, 1, 2, 3, 4, 5, addr, nullptr, &value, data, 104, pair), NO_DESTINATION);
}
} // namespace
