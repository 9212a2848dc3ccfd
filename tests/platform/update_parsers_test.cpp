/*
 * Update parsers against payloads written by hand, cut at every byte and with every bit changed. A payload lies at the very
 * end of its block and at any alignment, so that a sanitizer sees a byte too many.
 */
#include "tests/support/hex.h"

#include <platform/update_parsers.h>

#include <algorithm>
#include <cerrno>
#include <gtest/gtest.h>
#include <memory>

/* What was told: a line for each call. */
static std::string told;

static void tell(uint32_t word, const std::string &what, void *context)
{
    EXPECT_EQ(word, 0x0A0B0C0Du);
    EXPECT_EQ(context, &told);
    told += what + "\n";
}

/* A route here is its record's value, which names it; one called '?' is refused. */
static ipv6_routetype *parse_route(rib_tlv_t *record, uint8_t **cursor)
{
    int paths = 0;
    while (const rib_tlv_t *attribute = rib_tlv_strip(cursor))
        if (attribute->type == 4) {
            rib_tlv_handle_delim(cursor);
            paths++;
        }
    const std::string name(reinterpret_cast<const char *>(record + 1), record->length);
    if (record->type != 3 || name.empty() || name == "?")
        return nullptr;
    told += std::to_string(paths) + " ";
    return reinterpret_cast<ipv6_routetype *>(record + 1);
}

using parser_t = errcode (*)(const rib_update_info_t *info);

static errcode routes(const rib_update_info_t *info)
{
    const auto strip = [](ipv6_routetype *) { told += "stripped "; };
    const auto route = [](uint32_t word, ipv6_routetype *record, void *context) {
        tell(word, std::string(reinterpret_cast<const char *>(record), 1), context);
    };
    return rib_lib_pvt_parse_route_update(info, route, parse_route, strip, 1, &told);
}

static errcode protos(const rib_update_info_t *info)
{
    const auto proto = [](uint32_t word, uint32_t operation, uint16_t protoid, uint32_t kind, const char *name,
                          const char *instance, void *context) {
        char numbers[32];
        std::snprintf(numbers, sizeof numbers, "%x %x %x ", operation, protoid, kind);
        tell(word, std::string(numbers) + name + " " + instance, context);
    };
    return rib_lib_pvt_parse_proto_update(proto, info, &told);
}

template <auto parse> static errcode values(const rib_update_info_t *info)
{
    const auto value = [](uint32_t word, const void *bytes, uint32_t len, void *context) {
        tell(word, std::string(static_cast<const char *>(bytes), len), context);
    };
    return parse(value, info, &told);
}
constexpr parser_t opaque = values<rib_lib_pvt_parse_opaque_update>, grid = values<rib_lib_pvt_parse_grid_update>;

static errcode parsed(parser_t parser, const bytes_t &payload, size_t alignment)
{
    const auto block = std::make_unique<uint8_t[]>(alignment + payload.size());
    std::copy(payload.begin(), payload.end(), block.get() + alignment);
    const rib_update_info_t info = {
        .ui_word = 0x0A0B0C0D, .ui_payload_len = static_cast<uint32_t>(payload.size()), .ui_payload = block.get() + alignment};
    told.clear();
    return parser(&info);
}

#define ENDS " 00*8 "
#define ROUTE_A "00*4 0003 0001 'a' 00*4 0004 0002 '##' 00*4 000c 0000" ENDS "00*4 0006 0003 '###' 00*4 0004 0000" ENDS ENDS

static const struct {
    const char *name;
    parser_t parser;
    const char *payload;
    errcode result;
    const char *told;
} cases[] = {
    {"with paths and without", routes, ROUTE_A "00*4 0003 0001 'b'" ENDS, 0, "2 stripped a\n0 stripped b\n"},
    {"a type 0 with a value ends no list", routes, "00*4 0003 0001 'a' 00*4 0000 0001 'x'" ENDS, 0, "0 stripped a\n"},
    {"a route that is refused", routes, ROUTE_A "00*4 0003 0001 '?'" ENDS ROUTE_A, 0, "2 stripped a\n"},
    {"no route", routes, ROUTE_A "00*4 0004 0001 'b'" ENDS ENDS, 0, "2 stripped a\n"},
    {"a path whose list takes the route's delimiter", routes, "00*4 0003 0001 'a' 00*4 0004 0000" ENDS, EBADMSG, ""},
    {"protocols", protos, "0102 0304 05060708 'bgp' 00*38 '65000' 00*38 0001 0002 00000003 00*84", 0,
     "102 304 5060708 bgp 65000\n1 2 3  \n"},
    {"names without an end", protos, "0000 0000 00000000 'x*' 2b*39 'y-' 2d*39 ff*2", 0,
     "0 0 0 x*++++++++++++++++++++++++++++++++++++++ y---------------------------------------\n"},
    {"records to the end", opaque, "00*4 0102 0002 'ab' 00*4 0001 0000 00*4 0000 0001 'c'", 0, "ab\n\nc\n"},
    {"records to a delimiter", opaque, "00*4 0102 0002 'ab'" ENDS "ff*3", 0, "ab\n"},
    {"a record that passes the end", opaque, "00*4 0102 0002 'ab' 00*4 0102 0002 'c'", EBADMSG, "ab\n"},
    {"rows", grid, "00000003 'abcdef'", 0, "abc\ndef\n"},
    {"a cut row", grid, "00000003 'abcd'", EBADMSG, "abc\n"},
    {"rows of nothing", grid, "00000000 'abc'", EBADMSG, ""},
    {"rows longer than can be", grid, "ffffffff 'abc'", EBADMSG, ""},
    {"no length of rows", grid, "", EBADMSG, ""},
};

TEST(update_parsers, tell_what_is_whole)
{
    for (const auto &c : cases) {
        bytes_t payload = hex(c.payload);
        for (size_t alignment = 0; alignment != 4; alignment++) {
            EXPECT_EQ(parsed(c.parser, payload, alignment), c.result) << c.name;
            EXPECT_EQ(told, c.told) << c.name;
        }
        for (size_t bit = 0; bit != payload.size() * 8; bit++) {
            bytes_t changed = payload;
            changed[bit / 8] ^= static_cast<uint8_t>(1u << bit % 8);
            const errcode result = parsed(c.parser, changed, 0);
            EXPECT_TRUE(result == 0 || result == EBADMSG) << c.name << ", bit " << bit;
        }
        for (; !payload.empty(); payload.pop_back()) {
            parsed(c.parser, payload, 1);
            EXPECT_TRUE(std::string(c.told).starts_with(told)) << c.name << " cut to " << payload.size() << ": " << told;
        }
    }
}
