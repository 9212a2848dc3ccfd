/*
 * What is special about the requests around protocol identifiers: names, missing arguments, numbers.
 */
#include "tests/lib/request_cases.h"

namespace
{
using protocol_test = client_test;

TEST_F(protocol_test, length_of_names)
{
    bind();
    const std::string forty = "abcdefghijklmnopqrstuvwxyz0123456789ABCD", half = forty.substr(20);
    const std::pair<std::string, std::string> cases[] = {
        {half, half}, {half, half + "E"}, {forty, ""}, {"", forty}, {"", forty + "E"}};
    for (const auto &[proto, instance] : cases)
        for (const bool find : {false, true}) {
            SCOPED_TRACE(proto + " " + instance);
            const bool fits = proto.size() + instance.size() <= 40;
            fake_msg_chan().forget_calls();
            if (fits)
                fake_msg_chan().answer("00000000 0506 00*8");
            errcode err = UNTOUCHED;
            const rib_protoid_td id = find ? ipv6_rib_findpdb(conn, proto.c_str(), instance.c_str(), 0, &err)
                                           : ipv6_rib_register_protocol(conn, proto.c_str(), instance.c_str(), 0, 0, 0, 0, &err);
            EXPECT_EQ(id, fits ? 0x0506 : RIB_PROTOID_NONE);
            EXPECT_EQ(err, fits ? 0 : errcode{ENAMETOOLONG});
            EXPECT_EQ(fake_msg_chan().sent.size(), fits ? 1u : 0u);
            const std::string sent = fits ? "'" + proto + "' @41 '" + instance + "' @82" : "";
            EXPECT_TRUE(same_bytes(fits ? slice(only_sent(), 24, 82) : bytes_t(), sent));
        }
}

TEST_F(protocol_test, missing_arguments)
{
    bind();
    errcode err = UNTOUCHED;
    EXPECT_EQ(ipv6_rib_register_protocol_2(conn, nullptr, &err), RIB_PROTOID_NONE);
    EXPECT_EQ(err, RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(ipv6_rib_purge_client(conn, nullptr, "node-7"), RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(ipv6_rib_purge_client(conn, "routed", nullptr), RIB_LIB_ERR_BAD_ARG);
    EXPECT_TRUE(fake_msg_chan().sent.empty());
    fake_msg_chan().answer("00000000"); /* no identifier in the answer */
    EXPECT_EQ(ipv6_rib_register_protocol(conn, "bgp", "1", 0, 0, 0, 0, &err), RIB_PROTOID_NONE);
    EXPECT_EQ(err, 0u);
}

TEST_F(protocol_test, purge_client_cuts_its_names)
{
    bind();
    fake_msg_chan().answer("00*12");
    EXPECT_EQ(ipv6_rib_purge_client(conn, "abcdefghijklmnopqrstuvwxyz0123456789ABCD", "nopqrstuvwxyz0123456789ABCDEFGHIJ"), 0u);
    EXPECT_TRUE(same_bytes(slice(only_sent(), 24, 84), "'abcdefghijklmnopqrstuvwxyz0123456789ABC' 00"
                                                       "'nopqrstuvwxyz0123456789ABCDEFGH' 00 @84"));
}

TEST_F(protocol_test, number_of_identifiers)
{
    bind();
    rib_protoid_td protoids[97];
    for (unsigned at = 0; at < 97; ++at)
        protoids[at] = static_cast<rib_protoid_td>(0x4000 + at);
    bytes_t names(7872, 0xee);
    EXPECT_EQ(ipv6_rib_batch_protoid_to_proto_info(conn, 0, protoids, 97, names.data()), errcode{EINVAL});
    EXPECT_TRUE(fake_msg_chan().sent.empty());
    fake_msg_chan().answer("00*7884");
    EXPECT_EQ(ipv6_rib_batch_protoid_to_proto_info(conn, 0, protoids, 96, names.data()), 0u);
    EXPECT_TRUE(same_bytes(slice(only_sent(), 28, 194), bytes_at(protoids, 192) + hex("0060")));
}
} // namespace
