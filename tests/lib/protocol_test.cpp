/*
 * The requests around protocol identifiers: their bytes, what is made of the answers, and every failure.
 */
#include <cstring>

#include "tests/support/client_test.h"

namespace
{

using protocol_test = client_test;

/* What a caller sees of one request; the out-parameters hold 0xee before it. */
struct outcome_t {
    int64_t result;
    errcode err = 0;
    bytes_t out = {};
};

constexpr errcode UNTOUCHED = 0xeeeeeeee;

template <class call_t> outcome_t with_err(call_t call)
{
    errcode err = UNTOUCHED;
    const int64_t result = call(&err);
    return {result, err};
}
/* Functions that return their code. */
template <class call_t> outcome_t with_code(call_t call)
{
    const errcode code = call();
    return {code, code};
}

rib_register_protocol_in registration()
{
    rib_register_protocol_in in = {};
    in.proto_name = "bgp";
    in.instance_name = "core-1";
    in.word_16 = 0xe1e2e3e4;
    in.reg_word1 = 0x11121314;
    in.reg_word2 = 0x21222324;
    in.reg_word3 = 0x31323334;
    in.reg_word4 = 0x41424344;
    in.word_36 = 0xe5e6e7e8;
    in.word_40 = 0xf1f2f3f4f5f6f7f8;
    in.reg_word64 = 0x5152535455565758;
    return in;
}

outcome_t register_protocol(ipv6_rib_conn_p conn)
{
    return with_err([&](errcode *err) {
        return ipv6_rib_register_protocol(conn, "bgp", "core-1", 0x11121314, 0x21222324, 0x31323334, 0x41424344, err);
    });
}
outcome_t register_protocol_2(ipv6_rib_conn_p conn)
{
    const rib_register_protocol_in in = registration();
    return with_err([&](errcode *err) { return ipv6_rib_register_protocol_2(conn, &in, err); });
}
outcome_t findpdb(ipv6_rib_conn_p conn)
{
    return with_err([&](errcode *err) { return ipv6_rib_findpdb(conn, "ospf", "1", 0x11121314, err); });
}
outcome_t modify_protocol(ipv6_rib_conn_p conn)
{
    return with_err([&](errcode *err) {
        return ipv6_rib_modify_protocol(conn, 0x0102, 0x11121314, 0x21222324, 0x31323334, 0x41424344, err);
    });
}
outcome_t protocol_unregister(ipv6_rib_conn_p conn)
{
    return with_code([&] { return ipv6_rib_protocol_unregister(conn, 0x0102, 0x11121314); });
}
outcome_t purge_protocol(ipv6_rib_conn_p conn)
{
    return with_err([&](errcode *err) { return ipv6_rib_purge_protocol(conn, 0x0102, 0x11121314, 0x21222324, 0x31323334, err); });
}
outcome_t purge_client(ipv6_rib_conn_p conn)
{
    return with_code([&] { return ipv6_rib_purge_client(conn, "routed", "node-7"); });
}
outcome_t update_complete(ipv6_rib_conn_p conn)
{
    return with_code([&] { return ipv6_rib_update_complete(conn, 0x0102, 0x11121314); });
}
outcome_t clear_aft(ipv6_rib_conn_p conn)
{
    return with_err([&](errcode *err) { return ipv6_rib_clear_aft_by_vrf(conn, 0x0102, 0x11121314, err); });
}
outcome_t table_status(ipv6_rib_conn_p conn)
{
    bytes_t status(8, 0xee);
    const errcode code = ipv6_rib_get_table_status(conn, 0xe0800001, status.data());
    return {code, code, status};
}
outcome_t proto_info(ipv6_rib_conn_p conn)
{
    const rib_protoid_td protoids[] = {0x0102, 0x0304};
    bytes_t names(7872, 0xee);
    const errcode code = ipv6_rib_batch_protoid_to_proto_info(conn, 0x11121314, protoids, 2, names.data());
    return {code, code, names};
}
outcome_t notify_fib(ipv6_rib_conn_p conn)
{
    return with_code([&] { return ipv6_rib_notify_fib_ug_updates(conn); });
}
outcome_t free_all_sids(ipv6_rib_conn_p conn)
{
    return with_code([&] { return ipv6_rib_free_all_srv6_sid_req(conn, 0x11121314, 0x0102, 0x21222324, 0x31323334); });
}

/* Failure results besides the code: the code itself is the result. */
constexpr int64_t RESULT_IS_CODE = 1'000'000;

struct request_case_t {
    const char *name;
    outcome_t (*call)(ipv6_rib_conn_p);
    const char *sent; /* @ offsets are those of the body plus 24 */
    size_t room;
    const char *reply; /* of a server that agrees */
    int64_t result;
    const char *out;
    int64_t failed;
    const char *untouched; /* out-parameter after a failure */
    size_t list;           /* where the reply's list begins, 0 for none */
};
const request_case_t request_cases[] = {
    {"register_protocol", register_protocol,
     "0080a505 @20 00000009 @24 'bgp' @65 'core-1' @108 11121314 21222324 31323334 41424344 @128 00*8 @136 00*8", 264,
     "00000000 0506 00*8", 0x0506, "", 0xFFFF, "", 6},
    {"register_protocol_2", register_protocol_2,
     "0080a505 @20 00000009 @24 'bgp' @65 'core-1' @108 11121314 21222324 31323334 41424344 @128 5152535455565758 @136 00*8", 264,
     "00000000 0506 00*4 0101 0003 aabbcc 00*8", 0x0506, "", 0xFFFF, "", 6},
    {"findpdb", findpdb, "0080a505 @20 00000008 @24 'ospf' @65 '1' @108 11121314 @112 00*8", 264, "00000000 0506 00*8", 0x0506,
     "", 0xFFFF, "", 6},
    {"modify_protocol", modify_protocol, "0080a505 @20 0000000b @24 11121314 @28 0102 @32 21222324 31323334 41424344 @44 00*8",
     260, "00*12", 1, "", 0, "", 4},
    {"protocol_unregister", protocol_unregister, "0080a505 @20 0000000a @24 0102 @28 11121314 @32 00*8", 260, "00*12", 0, "",
     RESULT_IS_CODE, "", 4},
    {"purge_protocol", purge_protocol, "0080a505 @20 00000007 @24 0102 @28 11121314 21222324 31323334 @40 00*8", 260, "00*12", 0,
     "", -1, "", 4},
    {"purge_client", purge_client, "0080a505 @20 0000001d @24 'routed' @64 'node-7' @96 00000000 @100 00*8", 260, "00*12", 0, "",
     RESULT_IS_CODE, "", 4},
    {"update_complete", update_complete, "0080a505 @20 00000013 @24 11121314 0102 0000 @32 00*8", 260, "00*12", 0, "",
     RESULT_IS_CODE, "", 4},
    {"clear_aft_by_vrf", clear_aft, "0080a505 @20 0000001f @24 0102 @28 11121314 @32 00*8", 260, "00*12", 0, "", -1, "", 4},
    {"get_table_status", table_status, "0080a505 @20 00000017 @24 e0800001 @28 00*8", 268, "00000000 01020304 05060708 00*8", 0,
     "04030201 08070605" /* host order */, RESULT_IS_CODE, "ee*8", 12},
    {"batch_protoid_to_proto_info", proto_info,
     "0080a505 @20 0000001c @24 11121314 0201 0403 @220 0002 00*8 @232", /* identifiers in host order, their count is not */
     8132, "00000000 @4 'bgp' @45 'core-1' @86 'ospf' @127 '1' @7794 'last' @7835 'x' @7876 00*8", 0,
     "'bgp' @41 'core-1' @82 'ospf' @123 '1' @7790 'last' @7831 'x' @7872", RESULT_IS_CODE, "ee*7872", 7876},
    {"notify_fib_ug_updates", notify_fib, "0080a505 @20 0000001b @24 00*8", 4, "00000000", 0, "", RESULT_IS_CODE, "", 0},
    {"free_all_srv6_sid_req", free_all_sids, "0080a505 @20 0000001e @24 11121314 0102 0000 21222324 31323334 @40 00*8", 260,
     "00*12", 0, "", RESULT_IS_CODE, "", 4},
};

void expect_failure(const request_case_t &c, const outcome_t &got, errcode code, const char *how)
{
    EXPECT_EQ(got.result, c.failed == RESULT_IS_CODE ? static_cast<int64_t>(code) : c.failed) << how;
    EXPECT_EQ(got.err, code) << how;
    EXPECT_TRUE(same_bytes(got.out, c.untouched)) << how;
}

TEST_F(protocol_test, requests_and_answers)
{
    bind();
    for (const request_case_t &c : request_cases) {
        SCOPED_TRACE(c.name);
        fake_msg_chan().forget_calls();
        fake_msg_chan().answer(c.reply);
        const outcome_t got = c.call(conn);
        EXPECT_TRUE(same_bytes(only_sent(), c.sent));
        EXPECT_EQ(fake_msg_chan().sent[0].room, c.room);
        EXPECT_EQ(got.result, c.result);
        EXPECT_EQ(got.err, 0u);
        EXPECT_TRUE(same_bytes(got.out, c.out));
    }
}

TEST_F(protocol_test, failed_exchanges)
{
    bind();
    for (const request_case_t &c : request_cases) {
        SCOPED_TRACE(c.name);
        bytes_t refused = hex(c.reply);
        put_net(&refused, 0, RIB_SRV_ERR_NOT_FOUND, 4);
        fake_msg_chan().answer(refused);
        expect_failure(c, c.call(conn), RIB_SRV_ERR_NOT_FOUND, "the server refuses");
        fake_msg_chan().fail(ECONNRESET);
        expect_failure(c, c.call(conn), ECONNRESET, "the channel breaks");
        fake_msg_chan().answer(bytes_t(c.room + 1));
        expect_failure(c, c.call(conn), EMSGSIZE, "the answer is too long");
    }
}

TEST_F(protocol_test, malformed_lists)
{
    bind();
    for (const request_case_t &c : request_cases) {
        if (c.list == 0)
            continue;
        SCOPED_TRACE(c.name);
        const bytes_t fixed = slice(hex(c.reply), 0, c.list);
        const size_t left = c.room - c.list - 8;
        fake_msg_chan().answer(fixed + hex("00*4 0001 ffff"));
        expect_failure(c, c.call(conn), EBADMSG, "a record leaves the reply");

        bytes_t filling = hex("00*4 0001 0000 11*" + std::to_string(left));
        put_net(&filling, 6, left, 2);
        fake_msg_chan().answer(fixed + filling);
        expect_failure(c, c.call(conn), EBADMSG, "no room for the delimiter");

        filling = hex("00*4 0001 0000 11*" + std::to_string(left - 8) + " 00*8");
        put_net(&filling, 6, left - 8, 2);
        fake_msg_chan().answer(fixed + filling);
        EXPECT_EQ(c.call(conn).err, 0u) << "the delimiter ends the reply";
    }
}

TEST_F(protocol_test, nothing_is_sent_without_connection_or_memory)
{
    for (const request_case_t &c : request_cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        expect_failure(c, c.call(nullptr), RIB_LIB_ERR_BAD_ARG, "no connection");
        bind();
        if (c.list != 0) {
            const failing_alloc alloc(1);
            expect_failure(c, c.call(conn), RIB_LIB_ERR_NO_MEMORY, "no memory");
            EXPECT_EQ(alloc.count(), 1u);
        } else {
            const failing_alloc alloc(1);
            fake_msg_chan().answer(c.reply);
            EXPECT_EQ(c.call(conn).result, c.result) << "its reply is not allocated";
            fake_msg_chan().forget_calls();
        }
        EXPECT_TRUE(fake_msg_chan().sent.empty());
    }
}

struct names_case_t {
    const char *name, *proto, *instance;
    bool fits;
};
const names_case_t names_cases[] = {
    {"40 together", "abcdefghijklmnopqrst", "ABCDEFGHIJKLMNOPQRST", true},
    {"41 together", "abcdefghijklmnopqrst", "ABCDEFGHIJKLMNOPQRSTU", false},
    {"40 in the protocol name", "abcdefghijklmnopqrstuvwxyz0123456789ABCD", "", true},
    {"40 in the instance name", "", "abcdefghijklmnopqrstuvwxyz0123456789ABCD", true},
    {"41 in one name", "", "abcdefghijklmnopqrstuvwxyz0123456789ABCDE", false},
};

TEST_F(protocol_test, length_of_names)
{
    bind();
    using call_t = rib_protoid_td (*)(ipv6_rib_conn_p, const names_case_t &, errcode *);
    const call_t calls[] = {
        [](ipv6_rib_conn_p to, const names_case_t &c, errcode *err) {
            return ipv6_rib_register_protocol(to, c.proto, c.instance, 0, 0, 0, 0, err);
        },
        [](ipv6_rib_conn_p to, const names_case_t &c, errcode *err) { return ipv6_rib_findpdb(to, c.proto, c.instance, 0, err); },
    };
    for (const names_case_t &c : names_cases)
        for (const call_t call : calls) {
            SCOPED_TRACE(c.name);
            fake_msg_chan().forget_calls();
            errcode err = UNTOUCHED;
            if (c.fits) {
                fake_msg_chan().answer("00000000 0506 00*8");
                EXPECT_EQ(call(conn, c, &err), 0x0506);
                EXPECT_EQ(err, 0u);
                const std::string pair = std::string("'") + c.proto + "' @41 '" + c.instance + "' @82";
                EXPECT_TRUE(same_bytes(slice(only_sent(), 24, 82), pair));
            } else {
                EXPECT_EQ(call(conn, c, &err), RIB_PROTOID_NONE);
                EXPECT_EQ(err, errcode{ENAMETOOLONG});
                EXPECT_TRUE(fake_msg_chan().sent.empty());
            }
        }
}

TEST_F(protocol_test, an_answer_without_an_identifier_gives_none)
{
    bind();
    errcode err = UNTOUCHED;
    fake_msg_chan().answer("00000000");
    EXPECT_EQ(ipv6_rib_register_protocol(conn, "bgp", "1", 0, 0, 0, 0, &err), RIB_PROTOID_NONE);
    EXPECT_EQ(err, 0u);
}

TEST_F(protocol_test, missing_arguments)
{
    bind();
    const rib_register_protocol_in in = registration();
    errcode err = UNTOUCHED;
    EXPECT_EQ(ipv6_rib_register_protocol_2(conn, nullptr, &err), RIB_PROTOID_NONE);
    EXPECT_EQ(err, RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(ipv6_rib_register_protocol_2(conn, &in, nullptr), RIB_PROTOID_NONE) << "a registration needs err";
    EXPECT_EQ(ipv6_rib_register_protocol(conn, "bgp", "1", 0, 0, 0, 0, nullptr), RIB_PROTOID_NONE);
    EXPECT_EQ(ipv6_rib_purge_client(conn, nullptr, "node-7"), RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(ipv6_rib_purge_client(conn, "routed", nullptr), RIB_LIB_ERR_BAD_ARG);
    EXPECT_TRUE(fake_msg_chan().sent.empty());
}

TEST_F(protocol_test, the_error_may_be_left_out)
{
    bind();
    for (const bool agreed : {true, false}) {
        const bytes_t identifier = hex(agreed ? "00000000 0506 00*8" : "42d29400 0506 00*8");
        const bytes_t bare = hex(agreed ? "00000000 00*8" : "42d29400 00*8");
        fake_msg_chan().answer(identifier);
        EXPECT_EQ(ipv6_rib_findpdb(conn, "bgp", "1", 0, nullptr), agreed ? 0x0506 : RIB_PROTOID_NONE);
        fake_msg_chan().answer(bare);
        EXPECT_EQ(ipv6_rib_modify_protocol(conn, 1, 0, 0, 0, 0, nullptr), agreed ? 1 : 0);
        fake_msg_chan().answer(bare);
        EXPECT_EQ(ipv6_rib_purge_protocol(conn, 1, 0, 0, 0, nullptr), agreed ? 0 : -1);
        fake_msg_chan().answer(bare);
        EXPECT_EQ(ipv6_rib_clear_aft_by_vrf(conn, 1, 0, nullptr), agreed ? 0 : -1);
    }
}

TEST_F(protocol_test, purge_client_cuts_its_names)
{
    bind();
    fake_msg_chan().answer("00*12");
    EXPECT_EQ(ipv6_rib_purge_client(conn, "abcdefghijklmnopqrstuvwxyz0123456789ABCDEFGHIJKLMN",
                                    "nopqrstuvwxyz0123456789ABCDEFGHIJKLMN"),
              0u);
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
    EXPECT_TRUE(same_bytes(slice(only_sent(), 28, 192), bytes_at(protoids, 192)));
    EXPECT_TRUE(same_bytes(slice(only_sent(), 220, 2), "0060"));
    EXPECT_TRUE(same_bytes(names, "00*7872"));
}

} // namespace
