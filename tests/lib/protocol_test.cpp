/*
 * The requests around protocol identifiers: their bytes, what is made of the answers, and every failure.
 */
#include <cstring>

#include "tests/support/client_test.h"

namespace
{
using protocol_test = client_test;

constexpr errcode UNTOUCHED = 0xeeeeeeee;
const rib_register_protocol_in REGISTRATION = {.proto_name = "bgp",
                                               .instance_name = "core-1",
                                               .word_16 = 0xe1e2e3e4,
                                               .reg_word1 = 0x11121314,
                                               .reg_word2 = 0x21222324,
                                               .reg_word3 = 0x31323334,
                                               .reg_word4 = 0x41424344,
                                               .word_36 = 0xe5e6e7e8,
                                               .word_40 = 0xf1f2f3f4f5f6f7f8,
                                               .reg_word64 = 0x5152535455565758};
const rib_protoid_td PROTOIDS[] = {0x0102, 0x0304};

constexpr int64_t IS_CODE = 1'000'000;
struct request_case_t {
    const char *name;
    int64_t (*call)(ipv6_rib_conn_p, errcode *, void *out);
    const char *sent; /* behind "0080a505 @20 000000"; @ offsets are those of the body plus 24 */
    size_t room;
    const char *reply; /* of a server that agrees */
    int64_t result;
    int64_t failed;       /* IS_CODE: the code is the result, too */
    size_t list;          /* where the reply's list begins, 0 for none */
    const char *out = ""; /* the out-parameter */
};
const request_case_t request_cases[] = {
    {"register_protocol",
     [](auto c, auto err, auto) -> int64_t {
         return ipv6_rib_register_protocol(c, "bgp", "core-1", 0x11121314, 0x21222324, 0x31323334, 0x41424344, err);
     },
     "09 'bgp' @65 'core-1' @108 11121314 21222324 31323334 41424344 @144", 264, "00000000 0506 00*8", 0x0506, 0xFFFF, 6},
    {"register_protocol_2", [](auto c, auto err, auto) -> int64_t { return ipv6_rib_register_protocol_2(c, &REGISTRATION, err); },
     "09 'bgp' @65 'core-1' @108 11121314 21222324 31323334 41424344 @128 5152535455565758 @144", 264,
     "00000000 0506 00*4 0101 0003 aabbcc 00*8", 0x0506, 0xFFFF, 6},
    {"findpdb", [](auto c, auto err, auto) -> int64_t { return ipv6_rib_findpdb(c, "ospf", "1", 0x11121314, err); },
     "08 'ospf' @65 '1' @108 11121314 @120", 264, "00000000 0506 00*8", 0x0506, 0xFFFF, 6},
    {"modify_protocol",
     [](auto c, auto err, auto) -> int64_t {
         return ipv6_rib_modify_protocol(c, 0x0102, 0x11121314, 0x21222324, 0x31323334, 0x41424344, err);
     },
     "0b 11121314 0102 @32 21222324 31323334 41424344 @52", 260, "00*12", 1, 0, 4},
    {"protocol_unregister",
     [](auto c, auto err, auto) -> int64_t { return *err = ipv6_rib_protocol_unregister(c, 0x0102, 0x11121314); },
     "0a 0102 @28 11121314 @40", 260, "00*12", 0, IS_CODE, 4},
    {"purge_protocol",
     [](auto c, auto err, auto) -> int64_t {
         return ipv6_rib_purge_protocol(c, 0x0102, 0x11121314, 0x21222324, 0x31323334, err);
     },
     "07 0102 @28 11121314 21222324 31323334 @48", 260, "00*12", 0, -1, 4},
    {"purge_client", [](auto c, auto err, auto) -> int64_t { return *err = ipv6_rib_purge_client(c, "routed", "node-7"); },
     "1d 'routed' @64 'node-7' @108", 260, "00*12", 0, IS_CODE, 4},
    {"update_complete", [](auto c, auto err, auto) -> int64_t { return *err = ipv6_rib_update_complete(c, 0x0102, 0x11121314); },
     "13 11121314 0102 @40", 260, "00*12", 0, IS_CODE, 4},
    {"clear_aft_by_vrf", [](auto c, auto err, auto) -> int64_t { return ipv6_rib_clear_aft_by_vrf(c, 0x0102, 0x11121314, err); },
     "1f 0102 @28 11121314 @40", 260, "00*12", 0, -1, 4},
    {"get_table_status",
     [](auto c, auto err, auto out) -> int64_t { return *err = ipv6_rib_get_table_status(c, 0xe0800001, out); },
     "17 e0800001 00*8", 268, "00000000 01020304 05060708 00*8", 0, IS_CODE, 12, "04030201 08070605" /* host order */},
    {"batch_protoid_to_proto_info", /* identifiers in host order, their count is not */
     [](auto c, auto err, auto out) -> int64_t {
         return *err = ipv6_rib_batch_protoid_to_proto_info(c, 0x11121314, PROTOIDS, 2, static_cast<char *>(out));
     },
     "1c 11121314 0201 0403 @220 0002 @232", 8132, "00000000 'bgp' @45 'core-1' @86 'ospf' @127 '1' @7794 'last' @7835 'x' @7884",
     0, IS_CODE, 7876, "'bgp' @41 'core-1' @82 'ospf' @123 '1' @7790 'last' @7831 'x' @7872"},
    {"notify_fib_ug_updates", [](auto c, auto err, auto) -> int64_t { return *err = ipv6_rib_notify_fib_ug_updates(c); },
     "1b 00*8", 4, "00000000", 0, IS_CODE, 0},
    {"free_all_srv6_sid_req",
     [](auto c, auto err, auto) -> int64_t {
         return *err = ipv6_rib_free_all_srv6_sid_req(c, 0x11121314, 0x0102, 0x21222324, 0x31323334);
     },
     "1e 11121314 0102 0000 21222324 31323334 @48", 260, "00*12", 0, IS_CODE, 4},
};

/* Calls with everything set to 0xee before, and expects the code, its result, and the out-parameter only on success. */
void expect(const request_case_t &c, ipv6_rib_conn_p conn, errcode code, const char *how)
{
    const bytes_t good = hex(c.out);
    bytes_t out(good.size(), 0xee);
    errcode err = UNTOUCHED;
    const int64_t failed = c.failed == IS_CODE ? static_cast<int64_t>(code) : c.failed;
    EXPECT_EQ(c.call(conn, &err, out.data()), code ? failed : c.result) << how;
    EXPECT_EQ(err, code) << how;
    EXPECT_TRUE(same_bytes(out, code ? bytes_t(good.size(), 0xee) : good)) << how;
}

TEST_F(protocol_test, exchanges)
{
    bind();
    for (const request_case_t &c : request_cases) {
        SCOPED_TRACE(c.name);
        fake_msg_chan().forget_calls();
        fake_msg_chan().answer(c.reply);
        expect(c, conn, 0, "the server agrees");
        EXPECT_TRUE(same_bytes(only_sent(), std::string("0080a505 @20 000000") + c.sent));
        EXPECT_EQ(fake_msg_chan().sent[0].room, c.room);
        bytes_t refused = hex(c.reply);
        put_net(&refused, 0, RIB_SRV_ERR_NOT_FOUND, 4);
        fake_msg_chan().answer(refused);
        expect(c, conn, RIB_SRV_ERR_NOT_FOUND, "the server refuses");
        fake_msg_chan().fail(ECONNRESET);
        expect(c, conn, ECONNRESET, "the channel breaks");
        fake_msg_chan().answer(bytes_t(c.room + 1));
        expect(c, conn, EMSGSIZE, "the answer is too long");
    }
}

TEST_F(protocol_test, malformed_lists)
{
    bind();
    for (const request_case_t &c : request_cases) {
        if (c.list == 0)
            continue;
        SCOPED_TRACE(c.name);
        bytes_t reply(c.room); /* one record that leaves the reply, fills it, or leaves room for the delimiter */
        const bytes_t good = hex(c.reply);
        std::copy_n(good.begin(), c.list, reply.begin());
        put_net(&reply, c.list + 4, 0x0001ffff, 4);
        fake_msg_chan().answer(reply);
        expect(c, conn, EBADMSG, "a record leaves the reply");
        put_net(&reply, c.list + 6, c.room - c.list - 8, 2);
        fake_msg_chan().answer(reply);
        expect(c, conn, EBADMSG, "no room for the delimiter");
        put_net(&reply, c.list + 6, c.room - c.list - 16, 2);
        fake_msg_chan().answer(reply);
        expect(c, conn, 0, "the delimiter ends the reply");
    }
}

TEST_F(protocol_test, nothing_is_sent_without_connection_or_memory)
{
    for (const request_case_t &c : request_cases) {
        SCOPED_TRACE(c.name);
        expect(c, nullptr, RIB_LIB_ERR_BAD_ARG, "no connection");
        SetUp();
        bind();
        fake_msg_chan().answer(c.reply);
        int64_t result;
        errcode err = UNTOUCHED;
        bytes_t out(8000);
        {
            const failing_alloc alloc(1);
            result = c.call(conn, &err, out.data());
        }
        EXPECT_EQ(err, c.list ? RIB_LIB_ERR_NO_MEMORY : 0);
        EXPECT_EQ(result, c.failed == IS_CODE ? static_cast<int64_t>(err) : c.failed);
        EXPECT_EQ(fake_msg_chan().sent.size(), c.list ? 0u : 1u) << "a reply without list is not allocated";
    }
}

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
    EXPECT_EQ(ipv6_rib_register_protocol_2(conn, &REGISTRATION, nullptr), RIB_PROTOID_NONE) << "a registration needs err";
    EXPECT_EQ(ipv6_rib_register_protocol(conn, "bgp", "1", 0, 0, 0, 0, nullptr), RIB_PROTOID_NONE);
    EXPECT_EQ(ipv6_rib_purge_client(conn, nullptr, "node-7"), RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(ipv6_rib_purge_client(conn, "routed", nullptr), RIB_LIB_ERR_BAD_ARG);
    EXPECT_TRUE(fake_msg_chan().sent.empty());
    for (const bool agreed : {true, false}) { /* elsewhere the error may be left out */
        const bytes_t bare = hex(agreed ? "00*12" : "42d29400 00*8");
        fake_msg_chan().answer(hex(agreed ? "00000000 0506 00*8" : "42d29400 0506 00*8"));
        EXPECT_EQ(ipv6_rib_findpdb(conn, "bgp", "1", 0, nullptr), agreed ? 0x0506 : RIB_PROTOID_NONE);
        fake_msg_chan().answer(bare);
        EXPECT_EQ(ipv6_rib_modify_protocol(conn, 1, 0, 0, 0, 0, nullptr), agreed ? 1 : 0);
        fake_msg_chan().answer(bare);
        EXPECT_EQ(ipv6_rib_purge_protocol(conn, 1, 0, 0, 0, nullptr), agreed ? 0 : -1);
        fake_msg_chan().answer(bare);
        EXPECT_EQ(ipv6_rib_clear_aft_by_vrf(conn, 1, 0, nullptr), agreed ? 0 : -1);
    }
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
