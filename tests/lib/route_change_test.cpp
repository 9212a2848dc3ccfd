/*
 * What is special about changing one route: what is refused before anything is sent, and the result of the server.
 */
#include <cstring>
#include <functional>

#include "tests/lib/request_cases.h"

namespace
{
class route_change : public client_test
{
protected:
    void SetUp() override
    {
        client_test::SetUp();
        args.conn = bind();
    }
    in6_addr_t prefix = address("20010db8 00050006 00*8");
    ipv6_rib_route_add_args args = {.prefix = prefix, .prefix_len = 64};
    uint8_t status = 0xee;
    errcode err = UNTOUCHED;
    ipv6_rib_route_add_out out = {&status, &err};
};

TEST_F(route_change, args_init)
{
    std::memset(&args, 0xee, sizeof args);
    EXPECT_EQ(ipv6_rib_route_add_args_init(&args), 0);
    const size_t label = offsetof(ipv6_rib_route_add_args, ext_words) + 4;
    bytes_t expected(offsetof(ipv6_rib_route_add_args, items));
    const bytes_t none = hex("01001000");
    std::copy(none.begin(), none.end(), expected.begin() + label);
    EXPECT_TRUE(same_bytes(bytes_at(&args, expected.size()), expected));
    EXPECT_EQ(ipv6_rib_route_add_args_init(nullptr), -3);
}

TEST_F(route_change, prefixes)
{
    const in6_addr_t zero = {}, last_bit = address("00*15 01"), first_bit = address("80 00*15"), ones = address("ff*16"),
                     host = address("20010db8 00*11 01"), odd = address("20010db8 fe 00*11");
    const struct {
        in6_addr_t prefix;
        uint32_t len;
        bool sent;
    } cases[] = {
        {zero, 0, true},       {first_bit, 0, false}, {first_bit, 1, true}, {host, 64, false},
        {host, 128, true},     {odd, 39, true},       {odd, 38, false},     {last_bit, 127, false},
        {last_bit, 128, true}, {ones, 128, true},     {ones, 127, false},   {zero, 129, false},
        {zero, 256, false},    {zero, 320, false},    {ones, 384, false},   {zero, 0xffffffff, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::to_string(c.len));
        fake_msg_chan_reset();
        fake_msg_chan().answer("00000000 00000002 a5 00*3");
        args.prefix = c.prefix;
        args.prefix_len = c.len;
        status = 0xee;
        err = UNTOUCHED;
        EXPECT_EQ(ipv6_rib_route_add(&args, &out), c.sent ? RIB_RESULT_CHANGED : RIB_RESULT_INVALID_PARAMETER);
        EXPECT_EQ(fake_msg_chan().sent.size(), c.sent);
        EXPECT_EQ(err, c.sent ? 0 : UNTOUCHED);
        EXPECT_EQ(status, c.sent ? 0xa5 : 0xee);
    }
}

TEST_F(route_change, missing_arguments)
{
    EXPECT_EQ(ipv6_rib_route_add(nullptr, &out), RIB_RESULT_INVALID_PARAMETER);
    EXPECT_EQ(ipv6_rib_route_add(&args, nullptr), RIB_RESULT_INVALID_PARAMETER);
    args.conn = nullptr;
    EXPECT_EQ(ipv6_rib_route_add(&args, &out), RIB_RESULT_NO_CONNECTION);
    EXPECT_EQ(err, UNTOUCHED);
    EXPECT_TRUE(fake_msg_chan().sent.empty());
    args.conn = conn;
    out = {};
    fake_msg_chan().answer("00000000 00000004 a5 00*3");
    EXPECT_EQ(ipv6_rib_route_add(&args, &out), RIB_RESULT_NO_CHANGE) << "what it tells more may be left out";
    fake_msg_chan().answer("00000000 a5 00*3");
    EXPECT_EQ(ipv6_rib_route_delete(conn, 1, 2, &prefix, 64, &prefix, 0, 0, nullptr, &err), 0u);
    EXPECT_DEATH(ipv6_rib_route_delete(conn, 1, 2, nullptr, 64, &prefix, 0, 0, &status, &err), NO_ADDRESS);
    EXPECT_DEATH(ipv6_rib_route_delete(conn, 1, 2, &prefix, 64, nullptr, 0, 0, &status, &err), NO_ADDRESS);
    EXPECT_DEATH(ipv6_rib_set_advertising_flag(conn, 1, nullptr, 64, 1, 1), NO_ADDRESS);
}

TEST_F(route_change, advertising)
{
    adv_list list = {.adv_count = 8, .adv_value = 0x2122, .adv_items = {}};
    std::memset(list.adv_items, 0x31, sizeof list.adv_items);
    list.adv_items[7][7] = 0x32;
    fake_msg_chan().answer("42d29000 00*8");
    EXPECT_EQ(ipv6_rib_set_advertising_flag3(conn, 1, &prefix, 64, 1, 1, 0xa1, 0xb1b2b3b4, &list), 0) << "accepted is success";
    EXPECT_TRUE(same_bytes(slice(only_sent(), 60, 84), "a1 00*3 b1b2b3b4 0008 2122 31*63 32 00*8"));
    fake_msg_chan().forget_calls();
    for (const int count : {9, 256, 0xffff}) {
        list.adv_count = static_cast<uint16_t>(count);
        EXPECT_EQ(ipv6_rib_set_advertising_flag2(conn, 1, &prefix, 64, 1, 1, &list), -1) << count;
    }
    EXPECT_TRUE(fake_msg_chan().sent.empty());
    list.adv_count = 1; /* items that do not count are not sent */
    fake_msg_chan().answer("00*12");
    EXPECT_EQ(ipv6_rib_set_advertising_flag2(conn, 1, &prefix, 64, 1, 1, &list), 0);
    EXPECT_TRUE(same_bytes(slice(only_sent(), 60, 84), "@8 0001 2122 31*8 @84"));
}
} // namespace
