/*
 * The cases: bytes as they travel, written by hand.
 */
#include "tests/lib/request_cases.h"

#include <cstring>

namespace
{
constexpr rib_tableid_td TABLE = 0xe0800001;
const in6_addr_t ADDR = address("20010db8 11*11 06");
const in6_addr_t PREFIX = address("20010db8 00050006 00*8");
const in6_addr_t HOP = address("fe800000 22*11 a1");
const in6_addr_t SOURCE = address("fd000000 33*11 b2");

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
const adv_list TWO_ITEMS = {0x0002, 0x4142, {{0x51, 0x52, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58}, {0x61, 0x62}, {0x71}}};

/* For operations that return the code and have no error argument. */
int64_t tell(errcode *err, errcode code)
{
    if (err)
        *err = code;
    return code;
}

int64_t route_add(ipv6_rib_conn_p conn, errcode *err, uint8_t *out)
{
    ipv6_rib_route_add_args args;
    std::memset(&args, 0xa5, sizeof args); /* also what is sent as a constant */
    args.conn = conn;
    args.protoid = 0x0102;
    args.table = TABLE;
    args.prefix = PREFIX;
    args.prefix_len = 64;
    args.next_hop = HOP;
    args.hop_word2 = 0x11121314;
    args.address2 = SOURCE;
    for (const unsigned at : {0u, 1u, 2u, 3u}) {
        args.attr_words[at] = 0x21222324 + 0x10101010 * at;
        args.ext_words[at] = 0x61626364 + 0x10101010 * at;
    }
    args.attr_short = 0x7172;
    args.ext_byte = 0x81;
    args.ext_word = 0xa1a2a3a4;
    args.item_short = 0xb1b2;
    const ipv6_rib_route_add_out told = {out, err};
    return ipv6_rib_route_add(&args, &told);
}

int64_t next_hop_register(ipv6_rib_conn_p conn, errcode *err, uint8_t *out)
{
    rib_nh_info info;
    std::memset(&info, 0xee, sizeof info);
    const uint32_t answer = ipv6_rib_next_hop_register(conn, TABLE, &ADDR, 0x11121314, 0x21222324, 0x31323334, &info, err);
    EXPECT_LE(strnlen(info.nh_name, sizeof info.nh_name), info.nh_name_len) << "terminated";
    std::memcpy(out, &info, 43); /* with a name of 5 characters and its end */
    return answer;
}

int64_t get_check(ipv6_rib_conn_p conn, errcode *, uint8_t *out)
{
    bytes_t data(200 - 40); /* of its own, so that a sanitizer sees the first byte behind it */
    const int len =
        ipv6_rib_get_check(conn, nullptr, 0x11121314, 0x21222324, 0x3132333435363738, 0x4142434445464748, 0x51525354, ADDR,
                           part<in6_addr_t>(out), part<uint32_t>(out, 16), data.data(), 200, part<uint32_t>(out, 20));
    EXPECT_LE(len, 160);
    return len;
}
} // namespace

void visit_route(const ipv6_routetype *route)
{
    uint8_t mask[RIB_PROTOID_MASK_BYTES];
    ipv6_rib_route_copy_advertisement_mask(route, mask);
    EXPECT_LE(ipv6_rib_route_check_advertisement_mask(route, mask), 1);
    EXPECT_LE(ipv6_rib_route_check_advertisement(route, 0xfffe), 1);
    for (unsigned at = 0; at < std::min<unsigned>(route->rt_path_count, IPV6_RIB_ROUTE_PATHS); ++at) {
        const ip_rib_path path = {.path = route->rt_path[at]};
        EXPECT_EQ(ipv6_rib_route_path_compare(&path, &path), 0);
    }
}

int64_t get_and_walk_routes(ipv6_rib_conn_p conn, errcode *err, uint8_t *out)
{
    uint32_t flag = 0xc1c2c3c4, count = 0x11121314;
    void *routes = &flag;
    const errcode code = ipv6_rib_get_routes(conn, TABLE, "abcdefghijklmnopqrstuvwxyz0123456789ABCDE", "core-1", PREFIX,
                                             0x01020304, SOURCE, 0x05060708, &flag, &count, 0x21222324, &routes);
    if (code) {
        EXPECT_TRUE(flag == 0 && count == 0 && !routes) << "outputs of a failure";
        return tell(err, code);
    }
    std::memcpy(out, &flag, 4);
    std::memcpy(out + 4, &count, 4);
    rib_get_route_iter iter;
    ipv6_routetype *route;
    uint32_t walked = 0;
    for (errcode more = ipv6_rib_get_route_get_first_route(routes, &iter, &route); more == 0 && route;
         more = ipv6_rib_get_route_get_next_route(&iter, &route), ++walked) {
        ipv6_rib_route_xform(route);
        visit_route(route);
    }
    EXPECT_EQ(walked, count);
    ipv6_rib_route_free(routes);
    return tell(err, 0);
}

const std::vector<request_case_t> &single_requests()
{
    static const std::vector<request_case_t> cases = {
        /* Protocols. */
        {"register_protocol",
         [](auto c, auto err, auto) {
             return ipv6_rib_register_protocol(c, "bgp", "core-1", 0x11121314, 0x21222324, 0x31323334, 0x41424344, err);
         },
         "09 'bgp' @65 'core-1' @108 11121314 21222324 31323334 41424344 @144", 264, hex("00000000 0506 00*8"), 0x0506, 0xFFFF, 6,
         "", NEEDS_ERR | PRESET_ID},
        {"register_protocol_2", [](auto c, auto err, auto) { return ipv6_rib_register_protocol_2(c, &REGISTRATION, err); },
         "09 'bgp' @65 'core-1' @108 11121314 21222324 31323334 41424344 @128 5152535455565758 @144", 264,
         hex("00000000 0506 00*4 0101 0003 aabbcc 00*8"), 0x0506, 0xFFFF, 6, "", NEEDS_ERR | PRESET_ID},
        {"findpdb", [](auto c, auto err, auto) { return ipv6_rib_findpdb(c, "ospf", "1", 0x11121314, err); },
         "08 'ospf' @65 '1' @108 11121314 @120", 264, hex("00000000 0506 00*8"), 0x0506, 0xFFFF, 6, "", PRESET_ID},
        {"modify_protocol",
         [](auto c, auto err, auto) {
             return ipv6_rib_modify_protocol(c, 0x0102, 0x11121314, 0x21222324, 0x31323334, 0x41424344, err);
         },
         "0b 11121314 0102 @32 21222324 31323334 41424344 @52", 260, hex("00*12"), 1, 0, 4},
        {"protocol_unregister",
         [](auto c, auto err, auto) { return tell(err, ipv6_rib_protocol_unregister(c, 0x0102, 0x11121314)); },
         "0a 0102 @28 11121314 @40", 260, hex("00*12"), 0, IS_CODE, 4},
        {"purge_protocol",
         [](auto c, auto err, auto) { return ipv6_rib_purge_protocol(c, 0x0102, 0x11121314, 0x21222324, 0x31323334, err); },
         "07 0102 @28 11121314 21222324 31323334 @48", 260, hex("00*12"), 0, -1, 4},
        {"purge_client", [](auto c, auto err, auto) { return tell(err, ipv6_rib_purge_client(c, "routed", "node-7")); },
         "1d 'routed' @64 'node-7' @108", 260, hex("00*12"), 0, IS_CODE, 4},
        {"update_complete", [](auto c, auto err, auto) { return tell(err, ipv6_rib_update_complete(c, 0x0102, 0x11121314)); },
         "13 11121314 0102 @40", 260, hex("00*12"), 0, IS_CODE, 4},
        {"clear_aft_by_vrf", [](auto c, auto err, auto) { return ipv6_rib_clear_aft_by_vrf(c, 0x0102, 0x11121314, err); },
         "1f 0102 @28 11121314 @40", 260, hex("00*12"), 0, -1, 4},
        {"get_table_status", [](auto c, auto err, auto out) { return tell(err, ipv6_rib_get_table_status(c, TABLE, out)); },
         "17 e0800001 00*8", 268, hex("00000000 01020304 05060708 00*8"), 0, IS_CODE, 12, "04030201 08070605" /* host order */},
        {"batch_protoid_to_proto_info", /* identifiers in host order, their count is not */
         [](auto c, auto err, auto out) {
             return tell(err, ipv6_rib_batch_protoid_to_proto_info(c, 0x11121314, PROTOIDS, 2, part<char>(out)));
         },
         "1c 11121314 0201 0403 @220 0002 @232", 8132,
         hex("00000000 'bgp' @45 'core-1' @86 'ospf' @127 '1' @7794 'last' @7835 'x' @7884"), 0, IS_CODE, 7876,
         "'bgp' @41 'core-1' @82 'ospf' @123 '1' @7790 'last' @7831 'x' @7872"},
        {"notify_fib_ug_updates", [](auto c, auto err, auto) { return tell(err, ipv6_rib_notify_fib_ug_updates(c)); }, "1b 00*8",
         4, hex("00000000"), 0, IS_CODE, 0, "", ON_STACK},
        {"free_all_srv6_sid_req",
         [](auto c, auto err, auto) {
             return tell(err, ipv6_rib_free_all_srv6_sid_req(c, 0x11121314, 0x0102, 0x21222324, 0x31323334));
         },
         "1e 11121314 0102 0000 21222324 31323334 @48", 260, hex("00*12"), 0, IS_CODE, 4},

        /* One route. */
        {"route_add", route_add,
         "01 0102 @28 e0800001 20010db8 00050006 00*8 40 @56 fe800000 22*11 a1 00*4 11121314 fd000000 33*11 b2"
         "@96 21222324 31323334 41424344 51525354 7172 @116 61626364 00100001 00000000 91929394 81 @136 a1a2a3a4"
         "@234 b1b2 @240",
         12, hex("00000000 fffffff8 a5 00*3"), -8, RIB_RESULT_RPC_ERROR, 0, "a5", ON_STACK | OWN_REFUSAL},
        {"route_delete",
         [](auto c, auto err, auto out) {
             return ipv6_rib_route_delete(c, 0x0102, TABLE, &PREFIX, 0x0304, &HOP, 0x11121314, 0x21222324, out, err);
         },
         "02 0102 @28 e0800001 20010db8 00050006 00*8 0304 @56 fe800000 22*11 a1 00*4 11121314 21222324 @88", 8,
         hex("00000000 a5 00*3"), 0, IS_CODE, 0, "a5", ON_STACK},
        {"set_advertising_flag",
         [](auto c, auto, auto) { return ipv6_rib_set_advertising_flag(c, TABLE, &PREFIX, 0x01020304, 0x0506, 0x11121314); },
         "0e e0800001 @32 20010db8 00050006 00*8 01020304 0506 @56 11121314 @144", 260, hex("00*12"), 0, -1, 4, "",
         TELLS_NO_CODE},
        {"set_advertising_flag2",
         [](auto c, auto, auto) {
             return ipv6_rib_set_advertising_flag2(c, TABLE, &PREFIX, 0x01020304, 0x0506, 0x11121314, &TWO_ITEMS);
         },
         "0e e0800001 @32 20010db8 00050006 00*8 01020304 0506 @56 11121314 @68 0002 4142 5152535455565758 6162 @144", 260,
         hex("00*12"), 0, -1, 4, "", TELLS_NO_CODE},
        {"set_advertising_flag3",
         [](auto c, auto, auto) {
             return ipv6_rib_set_advertising_flag3(c, TABLE, &PREFIX, 0x01020304, 0x0506, 0x11121314, 0x21, 0x31323334, nullptr);
         },
         "0e e0800001 @32 20010db8 00050006 00*8 01020304 0506 @56 11121314 21 @64 31323334 @144", 260, hex("00*12"), 0, -1, 4,
         "", TELLS_NO_CODE},
        {"get_routes", get_and_walk_routes, /* names are cut */
         "1a 'abcdefghijklmnopqrstuvwxyz0123456789ABCD' @65 'core-1' @108 e0800001 20010db8 00050006 00*8 01020304 @136 fd000000 "
         "33*11 b2 05060708"
         "c4 @160 11121314 21222324 0007fff4 @184",
         524288, hex("00000000 00000000 a5"), 0, IS_CODE, 0, "a5000000 00000000", 0, ENODATA, ENOMEM},

        /* Redistribution. */
        {"protocol_redist",
         [](auto c, auto err, auto) { return ipv6_rib_protocol_redist(c, "bgp", "core-1", TABLE, 0x11121314, 0x00010014, err); },
         "0c 'bgp' @65 'core-1' @108 11121314 00000014 e0800001 00000000 0000ffff @136", 268,
         hex("00000000 0506 0000 01020304 00*8"), 0x0506, 0xFFFF, 12, "", PRESET_ID},
        {"child_protocol_redist",
         [](auto c, auto err, auto) {
             return ipv6_rib_child_protocol_redist(c, "ospf", "1", TABLE, 7, 0xffff1516, nullptr, 0x21222324, err);
         },
         "0c 'ospf' @65 '1' @108 00000001 00001516 e0800001 21222324 0000ffff @136", 268, hex("00000000 0506 0000 01020304 00*8"),
         0x0506, 0xFFFF, 12, "", PRESET_ID},
        {"redist_enable_rcmd_markers",
         [](auto c, auto err, auto) { return tell(err, ipv6_rib_redist_enable_rcmd_markers(c, "bgp", "core-1", TABLE)); },
         "0d 'bgp' @65 'core-1' @116 e0800001 @136", 268, hex("00000000 0506 0000 01020304 00*8"), 0, IS_CODE, 12, "", PRESET_ID},
        {"redist_reset", [](auto c, auto err, auto) { return ipv6_rib_redist_reset(c, 0x11121314, err); }, "11 11121314 @36", 260,
         hex("00*12"), 1, 0, 4},
        {"default_netsource", [](auto c, auto err, auto) { return ipv6_rib_default_netsource(c, 0x11121314, err); },
         "05 11121314 @36", 264, hex("00000000 f1020304 00*8"), 0xf1020304, 0, 8},

        /* Addresses. */
        {"is_local", [](auto c, auto err, auto) { return ipv6_rib_is_local(c, TABLE, &ADDR, err); },
         "00 e0800001 @32 20010db8 11*11 06 @72", 288, hex("00000000 f1020304 aa*16 0b0c0d0e 00000001 00*8"), 0xf1020304, 0, 32,
         "", 0, 0},
        {"is_connected", [](auto c, auto err, auto) { return ipv6_rib_is_connected(c, TABLE, &ADDR, err); },
         "04 e0800001 @32 20010db8 11*11 06 @56", 288, hex("00000000 f1020304 aa*16 0b0c0d0e 00000001 00*8"), 0xf1020304, 0, 32,
         "", ON_STACK, 0},
        {"conn_not_local", [](auto c, auto err, auto) { return ipv6_rib_conn_not_local(c, TABLE, &ADDR, err); },
         "04 e0800001 @32 20010db8 11*11 06 @56", 288, hex("00000000 f1020304 aa*16 0b0c0d0e fffffffe 00*8"), 1, 0, 32, "",
         ON_STACK, 0},
        {"match_connected_subnet",
         [](auto c, auto err, auto out) {
             return ipv6_rib_match_connected_subnet(c, TABLE, &ADDR, part<in6_addr_t>(out), part<uint32_t>(out, 16), err);
         },
         "04 e0800001 @32 20010db8 11*11 06 @56", 288, hex("00000000 f1020304 aa*15 ab 0b0c0d0e 11121314 00*8"), 1, 0, 32,
         "aa*15 ab 0e0d0c0b", ON_STACK, 0},
        {"best_local_address",
         [](auto c, auto err, auto out) {
             return ipv6_rib_best_local_address(c, TABLE, &ADDR, 0x11121314, part<in6_addr_t>(out), part<uint32_t>(out, 16), err);
         },
         "03 e0800001 @32 20010db8 11*11 06 11121314 @64", 288, hex("00*8 aa*15 ab 0b0c0d0e 11121314 00*8"), 1, 0, 32,
         "aa*15 ab 0e0d0c0b"},
        {"best_local_address_and_check",
         [](auto c, auto err, auto out) {
             return ipv6_rib_best_local_address_and_check(c, TABLE, &ADDR, 0x11121314, part<in6_addr_t>(out),
                                                          part<uint32_t>(out, 16), err, part<uint32_t>(out, 20));
         },
         "03 e0800001 @32 20010db8 11*11 06 11121314 @64", 288, hex("00*8 aa*15 ab 0b0c0d0e 11121314 00*8"), 1, 0, 32,
         "aa*15 ab 0e0d0c0b 14131211"},

        /* Next hops and the check. */
        {"next_hop",
         [](auto c, auto err, auto out) {
             return ipv6_rib_next_hop(c, TABLE, &ADDR, 0x11121314, 0x21222324, 0x31323334, part<in6_addr_t>(out),
                                      part<uint32_t>(out, 16), err);
         },
         "00 e0800001 @32 20010db8 11*11 06 11121314 21222324 31323334 @72", 288,
         hex("00000000 f1020304 aa*15 ab 0b0c0d0e 11121314 00*8"), 0xf1020304, 0, 32, "aa*15 ab 14131211"},
        {"next_hop_register", next_hop_register, "14 e0800001 @32 20010db8 11*11 06 11121314 21222324 31323334 @72", 384,
         hex("00000000 f1020304 aa*15 ab 11121314 21222324 31323334 41424344 51525354 05 'bgp/1' @136"), 0xf1020304, 0, 128,
         "aa*15 ab 14131211 24232221 34333231 44434241 54535251 05 'bgp/1' 00"},
        {"next_hop_unregister",
         [](auto c, auto err, auto) {
             return ipv6_rib_next_hop_unregister(c, TABLE, &ADDR, 0x11121314, 0x21222324, 0x31323334, err);
         },
         "15 e0800001 @32 20010db8 11*11 06 11121314 21222324 31323334 @72", 4, hex("00000000"), 0, IS_CODE, 0, "", ON_STACK},
        {"get_check", get_check, /* the two long words in host order */
         "16 11121314 0000ffff 3837363534333231 4847464544434241 51525354 @56 20010db8 11*11 06 21222324 000000c8 @88", 200,
         hex("00000000 00*4 aa*15 ab 11121314 00000013 21222324 31323334 00*4 0007 0003 c1c2c3 00*8"), 19, -1, 40,
         "aa*15 ab 14131211 34333231 24232221", TELLS_NO_CODE},
    };
    return cases;
}
