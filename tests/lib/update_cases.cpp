/*
 * The cases: bytes as they travel and as they stand when they are told, written by hand.
 */
#include "tests/lib/update_cases.h"

#include "tests/support/route_bytes.h"

namespace
{
/* full_route() and a route of no path, as told. */
const std::string TOLD_ROUTES[] = {
    " 01020304 40414202 4344 0201 0403 0605 45464748 20010db8 00050006 00*8 010080e0 14131211 1615 4950 24232221 28272625"
    "2c2b2a29 302f2e2d 34333231 51*8 "
    "01 02000000 0700 0900   01 0b0a 0200 aa*24 04030201 bb*24 08070605"
    "01 0808 0001  01 0909 0001  01 1010 0001  01 1111 0001  01 1515 0001"
    "64636261 68676665 6c6b6a69 fe800000 00*11 01 fe800000 00*11 b2 74737271 78777675 22*12 84838281 02 01 03 00 0000"
    "64636261 68676665 6c6b6a69 fe800000 00*11 02 fe800000 00*11 b2 74737271 78777675 22*12 84838281 02 01 03 00 0000",
    " 01020304 40414200 4344 0201 0403 0605 45464748 20010db8 00050006 00*8 010080e0 14131211 1615 4950 24232221 28272625"
    "2c2b2a29 302f2e2d 34333231 51*8 00*7",
};
/* The payload of message 9, from its byte 24 on, as told. */
const std::string TOLD_STATE = "34333231 c1c2c3c4 44434241 d1*220 54535251 e1e2e3e4";
} // namespace

bytes_t update_case_t::told_to(uint32_t types, unsigned format) const
{
    bytes_t all;
    for (const std::string &text : format == 1 && !told_v1.empty() ? told_v1 : told) {
        const bytes_t one = hex(text);
        if (types >> one.at(0) & 1)
            all = all + one;
    }
    return all;
}

const std::vector<update_case_t> &update_cases()
{
    static const std::vector<update_case_t> cases = {
        {"routes", 2, full_route() + route_of(0, {}), {"01" + TOLD_ROUTES[0], "01" + TOLD_ROUTES[1]}},
        {"message 4",
         4,
         tlv(1, hex("a0*16 11121314 b0*20 21222324 31323334 41424344 51525354 61626364 71727374 81828384 91929394")) + DELIMITER,
         {"03 01020304 a0*16 14131211 b0*20 24232221 34333231 44434241 54535251 64636261 74737271 84838281 94939291"}},
        {"next hop",
         5,
         tlv(2, hex("11121314 a0*20 1516 1718 b0*20 21222324 2526 2728 31323334 41424344 51525354 61626364 71727374 81828384"
                    "91929394 9596 9798")),
         {"04 01020304 14131211 a0*20 1615 1817 b0*20 24232221 2625 2827 34333231 44434241 54535251 64636261 74737271 84838281"
          "94939291 9695 9897 91929394"}},
        {"end of a dump, others under way", 6, tlv(3, hex("11121314 00*4 31323334")) + DELIMITER, {"05 01020304 00*4 31323334"}},
        {"end of the last dump",
         6,
         tlv(4, hex("11121314 21222324 31323334 a5")) + DELIMITER,
         {"05 01020304 21222324 31323334", "06 01020304"}},
        {"all dumps complete", 7, {}, {"06 01020304"}},
        {"state without a payload", 8, {}, {"07 01020304 00 00", "1a 00 00 01020304 00*4 00*240"}},
        {"state",
         9,
         hex("a0*16 11121314 21222324 31323334 c1c2c3c4 41424344 d1*220 51525354 e1e2e3e4"),
         {"07 01020304 01 a0*16 14131211 24232221" + TOLD_STATE + "14", "1a 01 14 01020304 24232221" + TOLD_STATE}},
        {"routes, the other kind", 10, route_of(0, {}), {"08" + TOLD_ROUTES[1]}},
        {"message 11", 11, hex("11121314 21222324 31323334 41424344"), {"09 14131211 24232221 34333231 44434241"}},
        {"message 12", 12, {}, {"0a 01020304"}},
        {"message 13", 13, hex("11121314"), {"0c 01020304 11121314"}},
        {"marker of a source", 14, tlv(5, hex("1112 a5a5 21222324")) + DELIMITER, {"0d 01020304 1112 21222324"}},
        {"a list",
         15,
         tlv(6, hex("11121314 21222324 31323334 00000002 41424344 51525354")),
         {"0e 11121314 21222324 31323334 00000002 44434241 54535251"}},
        {"an empty list", 15, tlv(7, hex("11121314 21222324 31323334 00*4")), {"0e 11121314 21222324 31323334 00*4"}},
        {"protocols",
         16,
         hex("1112 2122 31323334 'bgp' @49 'core-1' @92") + hex("4142 5152 61626364 'ospf' @92"),
         {"0f 01020304 00001112 2122 31323334 'bgp' 00 'core-1' 00", "0f 01020304 00004142 5152 61626364 'ospf' 00 00"}},
        {"opaque", 17, tlv(8, hex("a1a2a3")) + tlv(9, hex("b1")) + DELIMITER, {"10 01020304 a1a2a3", "10 01020304 b1"}},
        {"grid", 19, hex("00000003 a1a2a3 b1b2b3"), {"14 01020304 a1a2a3", "14 01020304 b1b2b3"}},
        {"message 20", 20, tlv(0x1011, hex("a1a2a3")), {"15 01020304 a1a2a3"}, {"15 01020304 00*4 1011 0003 a1a2a3"}},
        {"message 21", 21, tlv(11, hex("a1a2a3a4a5")), {"18 01020304 a1a2a3a4a5"}},
        {"types that no callback is for", 1, tlv(12, hex("a1")), {}},
        {"", 18, {}, {}},
        {"", 22, tlv(12, hex("a1")), {}},
        {"", 0xffff, {}, {}},
    };
    return cases;
}
