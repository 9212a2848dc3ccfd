/*
 * The order of paths, and who advertises a route.
 */
#include <cstring>
#include <memory>

#include "tests/support/client_test.h"

namespace
{
/* Bytes of a path that differ from the usual one, in which all are 0x55 and two secondary addresses count. */
using changes_t = std::vector<std::pair<size_t, uint8_t>>;
ip_rib_path path_with(const changes_t &changes)
{
    bytes_t bytes(sizeof(ip_rib_path), 0x55);
    bytes[92] = 2;
    for (const auto &[offset, byte] : changes)
        bytes[offset] = byte;
    ip_rib_path path;
    std::memcpy(&path, bytes.data(), sizeof path);
    return path;
}

TEST(route_path_compare, order)
{
    /* Offsets: 0 interface, 4 next-hop table, 16 next hop, 88 word, 92 count, 96 and 112 secondary addresses. Numbers are in
     * the byte order of the host; what decides is set against what would, came it first. */
    const struct {
        const char *name;
        changes_t first, second;
        int order;
    } cases[] = {
        {"the same", {}, {}, 0},
        {"what is not compared", {{8, 1}, {12, 1}, {32, 1}, {48, 1}, {68, 1}, {87, 1}, {93, 1}}, {}, 0},
        {"a next-hop table, as a number without sign", {}, {{7, 0x80}}, -1},
        {"a number, not its bytes", {{4, 0xff}}, {{7, 0x56}}, -1},
        {"the table before the next hop", {{7, 1}, {16, 0xff}}, {}, -1},
        {"the last byte of the next hop, without sign", {}, {{31, 0x80}}, -1},
        {"the next hop before the interface", {{16, 1}, {3, 0xff}}, {}, -1},
        {"an interface, without sign", {}, {{3, 0x80}}, -1},
        {"the interface before the word", {{3, 1}, {91, 0xff}}, {}, -1},
        {"the word, without sign", {}, {{91, 0x80}}, -1},
        {"the word before secondary addresses", {{91, 1}, {96, 0xff}}, {}, -1},
        {"the first secondary address", {{112, 0xff}}, {{96, 0x80}}, -1},
        {"the second secondary address", {}, {{127, 0x80}}, -1},
        {"a longer list", {{92, 0}}, {}, -1},
        {"addresses of two empty lists", {{92, 0}, {96, 0}}, {{92, 0}}, 0},
        {"the first address before the length of the list", {{92, 0}, {96, 0xff}}, {}, 1},
        {"the address behind a list of one, too", {{92, 1}}, {{92, 1}, {112, 0x80}}, -1},
        {"no third address is looked at", {{92, 255}}, {}, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const ip_rib_path first = path_with(c.first), second = path_with(c.second);
        EXPECT_EQ(ipv6_rib_route_path_compare(&first, &second), c.order);
        EXPECT_EQ(ipv6_rib_route_path_compare(&second, &first), -c.order);
    }
    const ip_rib_path path = path_with({});
    constexpr const char *where = "ip/rib/lib/src/rib_lib_api.*rib_client_route_path_compare.*Assertion `path";
    EXPECT_DEATH(ipv6_rib_route_path_compare(nullptr, &path), std::string(where) + "1' failed");
    EXPECT_DEATH(ipv6_rib_route_path_compare(&path, nullptr), std::string(where) + "2' failed");
}

TEST(advertisement, owner_and_advertisers)
{
    struct {
        uint32_t count;
        uint16_t protoid[6];
    } list = {6, {0, 7, 95, 96, 0x8007, 0xffff}};
    const auto route = std::make_unique<ipv6_routetype>();
    const struct {
        const char *name;
        uint16_t owner;
        bool with_list;
        const char *asked; /* mask in which only these are looked for */
        int found;
        const char *copied; /* mask of the advertisers */
    } cases[] = {
        {"the owner alone", 5, false, "20 00*11", 1, "00*12"},
        {"another one", 5, false, "df ff*11", 0, "00*12"},
        {"an owner that no mask can name", 96, false, "ff*12", 0, "00*12"},
        {"the greatest owner", 95, false, "00*11 80", 1, "00*12"},
        {"no owner", 0xffff, false, "ff*12", 0, "00*12"},
        {"the first advertiser", 5, true, "01 00*11", 1, "81 00*10 80"},
        {"the second", 5, true, "80 00*11", 1, "81 00*10 80"},
        {"the last that a mask can name", 5, true, "00*11 80", 1, "81 00*10 80"},
        {"none of them", 5, true, "5e ff*10 7f", 0, "81 00*10 80"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        route->rt_protoid = c.owner;
        route->rt_advertisers = c.with_list ? reinterpret_cast<rib_advertisers *>(&list) : nullptr;
        const bytes_t asked = hex(c.asked);
        EXPECT_EQ(ipv6_rib_route_check_advertisement_mask(route.get(), asked.data()), c.found);
        bytes_t copied(12, 0xee); /* a sanitizer sees the byte behind it */
        ipv6_rib_route_copy_advertisement_mask(route.get(), copied.data());
        EXPECT_TRUE(same_bytes(copied, c.copied));
        EXPECT_EQ(ipv6_rib_route_check_advertisement(route.get(), c.owner), 1);
        for (const uint16_t advertiser : list.protoid)
            EXPECT_EQ(ipv6_rib_route_check_advertisement(route.get(), advertiser), c.with_list || advertiser == c.owner);
        EXPECT_EQ(ipv6_rib_route_check_advertisement(route.get(), 0x8005), 0);
    }
    list.count = 0;
    EXPECT_EQ(ipv6_rib_route_check_advertisement(route.get(), 7), 0) << "an empty list";
    bytes_t mask(12, 0xff);
    EXPECT_EQ(ipv6_rib_route_check_advertisement(nullptr, 5), 0);
    EXPECT_EQ(ipv6_rib_route_check_advertisement_mask(nullptr, mask.data()), 0);
    EXPECT_EQ(ipv6_rib_route_check_advertisement_mask(route.get(), nullptr), 0);
    ipv6_rib_route_copy_advertisement_mask(nullptr, mask.data());
    ipv6_rib_route_copy_advertisement_mask(route.get(), nullptr);
    EXPECT_TRUE(same_bytes(mask, "ff*12"));
}
} // namespace
