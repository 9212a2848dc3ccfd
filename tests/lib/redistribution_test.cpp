/*
 * What is special about the control of redistribution: the datum of a connection, and names.
 */
#include "tests/lib/request_cases.h"

namespace
{
constexpr const char *AGREED = "00000000 0506 0000 81020304 00*8"; /* the client id with its highest bit set */

class redistribution : public client_test
{
protected:
    void SetUp() override
    {
        client_test::SetUp();
        fake_msg_chan().answer(BIND_REPLY);
        ASSERT_GT(ipv6_rib_bind(&parent), 0);
        bind();
    }
    void TearDown() override
    {
        ipv6_rib_unbind(&parent);
        client_test::TearDown();
    }
    rib_protoid_td join(ipv6_rib_conn_p to, uint32_t flag = 0)
    {
        err = UNTOUCHED;
        return ipv6_rib_child_protocol_redist(conn, "bgp", "1", 1, flag, 2, to, -2, &err);
    }
    static uint32_t chan_of(unsigned number) { return fake_msg_chan_t::FIRST_CHAN + number; }
    static msg_clinfo_datum_h datum(uint64_t value) { return reinterpret_cast<msg_clinfo_datum_h>(value); }

    ipv6_rib_conn_p parent = nullptr; /* on channel 0, conn on channel 1 */
    errcode err = 0;
};

TEST_F(redistribution, the_datum_is_kept_and_joined)
{
    auto &datums = fake_msg_chan().datums;
    datums[chan_of(1)] = datum(0x77);
    for (const char *failure : {"42d29400 0506 0000 81020304 00*8", "00000000 0506 0000 81020304 00*4 0001 ffff"}) {
        fake_msg_chan().answer(failure);
        EXPECT_EQ(ipv6_rib_protocol_redist(parent, "bgp", "1", 1, 0, 2, &err), RIB_PROTOID_NONE);
    }
    fake_msg_chan().fail(ECONNRESET);
    EXPECT_EQ(ipv6_rib_protocol_redist(parent, "bgp", "1", 1, 0, 2, &err), RIB_PROTOID_NONE);
    EXPECT_EQ(datums[chan_of(0)], nullptr) << "a failure leaves it alone";

    fake_msg_chan().answer(AGREED);
    EXPECT_EQ(ipv6_rib_protocol_redist(parent, "bgp", "1", 1, 0, 2, &err), 0x0506);
    EXPECT_EQ(datums[chan_of(0)], datum(0xffffffff81020304)) << "as a signed number";
    EXPECT_EQ(datums[chan_of(1)], datum(0x77)) << "that of another connection stays";

    fake_msg_chan().forget_calls();
    fake_msg_chan().answer("00000000 0507 0000 00000042 00*8");
    EXPECT_EQ(join(parent), 0x0507);
    EXPECT_TRUE(same_bytes(slice(only_sent(), 108, 20), "00000000 00000002 00000001 fffffffe 81020304"));
    EXPECT_EQ(datums[chan_of(1)], datum(0x42));
    EXPECT_EQ(datums[chan_of(0)], datum(0xffffffff81020304));
    EXPECT_EQ(fake_msg_chan().sent[0].chan, chan_of(1));
}

TEST_F(redistribution, parents)
{
    fake_msg_chan().get_datum_error = EBADF;
    EXPECT_EQ(join(parent), RIB_PROTOID_NONE);
    EXPECT_EQ(err, errcode{EINVAL});
    EXPECT_TRUE(fake_msg_chan().sent.empty());
    fake_msg_chan().answer(AGREED);
    EXPECT_EQ(join(nullptr), 0x0506) << "without a parent, no datum is asked for";
    fake_msg_chan_reset();
    fake_msg_chan().answer(AGREED);
    EXPECT_EQ(join(parent, 0x80000000), 0x0506) << "a datum of zero is one, too";
    EXPECT_TRUE(same_bytes(slice(only_sent(), 108, 20), "00000001 00000002 00000001 fffffffe 00000000"));
}

TEST_F(redistribution, a_datum_that_cannot_be_saved_is_fatal)
{
    fake_msg_chan().save_datum_error = EBADF;
    fake_msg_chan().answer("42d29400 00*8");
    EXPECT_EQ(join(nullptr), RIB_PROTOID_NONE) << "nothing is saved of a failure";
    fake_msg_chan().answer(AGREED);
    EXPECT_DEATH(join(nullptr), "ip/rib/lib/src/rib_lib_api.*rib_client_redist_protocol_common.*Assertion "
                                "`0 == msg_conn_save_datum\\(conn->conn, \\(msg_clinfo_datum_h\\)reply->client_id\\)' failed");
}

TEST_F(redistribution, names)
{
    const std::string forty = "abcdefghijklmnopqrstuvwxyz0123456789ABCD", thirty = forty.substr(10), ten = forty.substr(30);
    const struct {
        const char *proto, *instance;
        int redist, markers; /* 1 when they are sent */
        std::string sent;
    } cases[] = {
        {thirty.c_str(), ten.c_str(), 1, 1, "'" + thirty + "' @41 '" + ten + "' @82"},
        {forty.c_str(), "", 1, 1, "'" + forty + "' @82"},
        {"", forty.c_str(), 1, 1, "@41 '" + forty + "' @82"},
        {thirty.c_str(), "12345678901", 0, 0, ""},
        {"", "abcdefghijklmnopqrstuvwxyz0123456789ABCDE", 0, 0, ""},
        {nullptr, "abcdefghijklmnopqrstuvwxyz0123456789ABCDE", 0, 0, ""},
        {nullptr, nullptr, 0, 1, "@82"},
        {"bgp", nullptr, 0, 1, "'bgp' @82"},
        {nullptr, "1", 0, 1, "@82"}, /* an instance is of a protocol */
    };
    for (const auto &c : cases)
        for (const bool markers : {false, true}) {
            SCOPED_TRACE(std::string(c.proto ? c.proto : "NULL") + " " + (c.instance ? c.instance : "NULL"));
            fake_msg_chan_reset();
            fake_msg_chan().answer(AGREED);
            const bool sent = markers ? c.markers : c.redist;
            if (markers)
                err = ipv6_rib_redist_enable_rcmd_markers(conn, c.proto, c.instance, 1);
            else
                EXPECT_EQ(ipv6_rib_protocol_redist(conn, c.proto, c.instance, 1, 0, 0, &err), sent ? 0x0506 : RIB_PROTOID_NONE);
            EXPECT_EQ(err, sent ? 0 : RIB_LIB_ERR_BAD_ARG);
            EXPECT_TRUE(same_bytes(sent ? slice(only_sent(), 24, 82) : bytes_t(), sent ? c.sent : ""));
            EXPECT_EQ(fake_msg_chan().sent.size(), sent);
        }
}
} // namespace
