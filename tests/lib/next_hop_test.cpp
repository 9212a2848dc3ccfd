/*
 * What is special about next hops and the check: the length of a name, the parent of a check, and the size of its answer.
 */
#include <cstring>

#include "tests/lib/request_cases.h"

namespace
{
class next_hop : public client_test
{
protected:
    void SetUp() override
    {
        client_test::SetUp();
        bind();
    }
    /* Asks with a reply of that size; the data has a place of exactly what is behind the fixed part. */
    int check(uint32_t reply_size, ipv6_rib_conn_p parent = nullptr)
    {
        std::memset(&found, 0xee, sizeof found);
        value = pair[0] = pair[1] = UNTOUCHED;
        data.assign(reply_size > 40 ? reply_size - 40 : 1, 0xee);
        return ipv6_rib_get_check(conn, parent, 1, 2, 3, 4, 5, addr, &found, &value, data.data(), reply_size, pair);
    }
    bool untouched() const
    {
        return bytes_at(&found, 16) == bytes_t(16, 0xee) && value == UNTOUCHED && pair[0] == UNTOUCHED && pair[1] == UNTOUCHED &&
               data == bytes_t(data.size(), 0xee);
    }

    const in6_addr_t addr = address("20010db8 11*11 06");
    in6_addr_t found = {};
    uint32_t value = 0, pair[2] = {};
    bytes_t data;
    errcode err = 0;
};

TEST_F(next_hop, length_of_a_name)
{
    for (const unsigned len : {0u, 1u, 84u, 255u, 82u, 83u}) {
        SCOPED_TRACE(len);
        bytes_t reply = hex("00000000 00000007 @44 00 61*82 62 @136");
        reply[44] = static_cast<uint8_t>(len);
        fake_msg_chan().answer(reply);
        rib_nh_info info;
        std::memset(&info, 0xee, sizeof info);
        EXPECT_EQ(ipv6_rib_next_hop_register(conn, 1, &addr, 1, 2, 3, &info, &err), len > 83 ? 0u : 7u);
        EXPECT_EQ(err, len > 83 ? errcode{EBADMSG} : 0);
        if (len > 83) {
            EXPECT_EQ(bytes_at(&info, sizeof info), bytes_t(sizeof info, 0xee));
            continue;
        }
        EXPECT_EQ(info.nh_name_len, len);
        EXPECT_STREQ(info.nh_name, (std::string(82, 'a') + "b").substr(0, len).c_str());
    }
    fake_msg_chan().answer("@136");
    EXPECT_EQ(ipv6_rib_next_hop_register(conn, 1, &addr, 1, 2, 3, nullptr, &err), 0u) << "not reached, and no more is asked for";
    EXPECT_EQ(err, 0u);
}

TEST_F(next_hop, missing_arguments_of_a_check)
{
    for (const uint32_t reply_size : {0u, 8u, 39u})
        EXPECT_EQ(check(reply_size), -1) << reply_size;
    EXPECT_EQ(ipv6_rib_get_check(conn, nullptr, 1, 2, 3, 4, 5, addr, &found, nullptr, &value, 44, pair), -1);
    EXPECT_EQ(ipv6_rib_get_check(conn, nullptr, 1, 2, 3, 4, 5, addr, &found, &value, nullptr, 44, pair), -1);
    EXPECT_EQ(ipv6_rib_get_check(conn, nullptr, 1, 2, 3, 4, 5, addr, &found, &value, &err, 44, nullptr), -1);
    EXPECT_TRUE(untouched());
    EXPECT_TRUE(fake_msg_chan().sent.empty());
}

TEST_F(next_hop, parents_of_a_check)
{
    ipv6_rib_conn_p parent = nullptr;
    fake_msg_chan().answer(BIND_REPLY);
    ASSERT_GT(ipv6_rib_bind(&parent), 0);
    fake_msg_chan().forget_calls();
    const uint32_t chan = fake_msg_chan_t::FIRST_CHAN + 1;
    EXPECT_EQ(check(48, parent), -1) << "a datum of zero is none";
    fake_msg_chan().datums[chan] = reinterpret_cast<msg_clinfo_datum_h>(0x42);
    fake_msg_chan().get_datum_error = EBADF;
    EXPECT_EQ(check(48, parent), -1) << "it cannot be read";
    EXPECT_TRUE(fake_msg_chan().sent.empty());
    EXPECT_TRUE(untouched());
    fake_msg_chan().get_datum_error = 0;
    fake_msg_chan().datums[chan] = reinterpret_cast<msg_clinfo_datum_h>(0xffffffff81020304);
    fake_msg_chan().answer("00*48");
    EXPECT_EQ(check(48, parent), 0);
    EXPECT_TRUE(same_bytes(slice(only_sent(), 24, 8), "00000001 81020304"));
    EXPECT_EQ(fake_msg_chan().sent[0].chan, fake_msg_chan_t::FIRST_CHAN);
    ipv6_rib_unbind(&parent);
}

TEST_F(next_hop, data_of_a_check)
{
    const bytes_t list = tlv(3, hex("c1c2c3")) + DELIMITER; /* 19 bytes */
    const struct {
        const char *name;
        uint32_t len; /* as the reply claims */
        bytes_t behind;
        uint32_t reply_size;
        int result;
    } cases[] = {
        {"a list that fills the reply", 19, list, 59, 19},
        {"a part of it", 8, list, 59, 8},
        {"more room than the answer needs", 19, list, 4096, 19},
        {"more data than were sent is zeros", 24, list, 64, 24},
        {"longer than the reply", 20, list, 59, -1},
        {"as long as the reply with its fixed part", 59, list, 59, -1},
        {"longer than a number without sign", 0xffffffff, list, 59, -1},
        {"a length that is negative", 0x80000000, list, 59, -1},
        {"a list that leaves the reply", 18, slice(list, 0, 18), 58, -1},
        {"no list", 8, hex("ff*8"), 48, -1},
        {"no data and no room for any", 0, {}, 40, 0},
        {"no data and no list", 0, hex("ff*8"), 48, 0},
        {"one byte where no room is", 1, {}, 40, -1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        fake_msg_chan().forget_calls();
        fake_msg_chan().fail(ENOMSG); /* leaves a used block behind */
        check(c.reply_size);
        bytes_t reply = hex("00*8 aa*15 ab 11121314 00*4 21222324 31323334") + c.behind;
        put_net(&reply, 28, c.len, 4);
        fake_msg_chan().answer(reply);
        EXPECT_EQ(check(c.reply_size), c.result);
        EXPECT_EQ(fake_msg_chan().sent.back().room, c.reply_size);
        if (c.result == -1) {
            EXPECT_TRUE(untouched());
            continue;
        }
        EXPECT_TRUE(same_bytes(bytes_at(&found, 16), "aa*15 ab"));
        EXPECT_EQ(value, 0x11121314u);
        EXPECT_EQ(pair[0], 0x31323334u);
        EXPECT_EQ(pair[1], 0x21222324u);
        const auto len = static_cast<size_t>(c.result);
        bytes_t expected = slice(tlv(3, hex("c1c2c3"), true) + DELIMITER, 0, len);
        expected.resize(len);
        EXPECT_TRUE(same_bytes(slice(data, 0, len), expected));
        EXPECT_TRUE(std::all_of(data.begin() + c.result, data.end(), [](uint8_t byte) { return byte == 0xee; }));
    }
}
} // namespace
