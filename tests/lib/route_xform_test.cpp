/*
 * ipv6_rib_route_xform() on records as a lookup leaves them: record headers in host order, values in network order.
 */
#include <cstring>
#include <memory>

#include "tests/support/client_test.h"

namespace
{
constexpr size_t FIXED = 128;
constexpr bool HOST = true;

bytes_t path(uint8_t n, const bytes_t &attributes = {})
{
    bytes_t value = hex("00000001 00000002 00000003 @16 fe80 @88");
    value[31] = n;
    return tlv(4, value, HOST) + attributes + DELIMITER;
}

class route_xform : public client_test
{
protected:
    /* Converts a record that claims so many paths and holds the given bytes behind its fixed part. */
    void xform(uint8_t paths, const bytes_t &lists)
    {
        std::memset(route.get(), 0, sizeof *route);
        route->rt_path_count = paths;
        ASSERT_LE(FIXED + lists.size(), sizeof *route);
        std::memcpy(reinterpret_cast<char *>(route.get()) + FIXED, lists.data(), lists.size());
        captured_tev();
        ipv6_rib_route_xform(route.get());
    }
    std::unique_ptr<ipv6_routetype> route = std::make_unique<ipv6_routetype>();
};

TEST_F(route_xform, paths_move_to_their_slots_as_far_as_they_are_there)
{
    bytes_t attributes, many;
    for (const int type : {12, 13, 17, 18, 20, 21, 22, 23, 26, 28, 39, 43, 100, 101, 102, 103, 105, 106, 109})
        attributes = attributes + tlv(static_cast<uint16_t>(type), bytes_t(static_cast<size_t>(type), 0xff), HOST);
    for (uint8_t n = 1; n <= 108; ++n)
        many = many + path(n);
    struct {
        const char *name;
        uint8_t claimed;
        bytes_t lists;
        uint8_t paths; /* fewer than claimed: that is logged */
    } const cases[] = {
        {"none claimed, and nothing behind the record is looked at", 0, bytes_t(200, 0xff), 0},
        {"one", 1, path(1) + DELIMITER, 1},
        {"every path attribute is passed over", 2, path(1, attributes) + path(2) + DELIMITER, 2},
        {"an attribute of no length", 2, path(1, tlv(12, {}, HOST)) + path(2) + DELIMITER, 2},
        {"fewer claimed than there are", 1, path(1) + path(2) + DELIMITER, 1},
        {"the list ends", 3, path(1) + path(2) + DELIMITER, 2},
        {"another record in a path's place", 2, path(1) + tlv(7, hex("00000000"), HOST) + path(2) + DELIMITER, 1},
        {"another record in the first place", 2, tlv(6, bytes_t(40), HOST) + path(1), 0},
        {"a path shorter than a path", 2, path(1) + tlv(4, bytes_t(87), HOST) + DELIMITER, 1},
        {"a path that leaves the record", 2, path(1) + hex("00*4 0400 ffff"), 1},
        {"255 claimed where 108 are", 255, many, 108},
        {"no list at all", 255, bytes_t(sizeof(ipv6_routetype) - FIXED, 0xff), 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        xform(c.claimed, c.lists);
        EXPECT_EQ(route->rt_path_count, c.paths);
        for (uint8_t n = 0; n < c.paths; ++n) {
            bytes_t expected = hex("01000000 02000000 03000000 @16 fe80 @88");
            expected[31] = static_cast<uint8_t>(n + 1);
            EXPECT_TRUE(same_bytes(bytes_at(&route->rt_path[n], 88), expected)) << int{n};
        }
        const std::vector<tev_line_t> lines = captured_tev();
        ASSERT_EQ(lines.size(), c.paths < c.claimed ? 1u : 0u);
        for (const tev_line_t &line : lines)
            EXPECT_EQ(line, (tev_line_t{"FETCH_UPDATE", 3, line.text}));
    }
}

TEST_F(route_xform, attributes_of_a_path_that_leave_the_record)
{
    bytes_t filling;
    uint8_t whole = 0;
    for (; filling.size() + 104 <= sizeof(ipv6_routetype) - FIXED - 112; ++whole)
        filling = filling + path(1);
    xform(static_cast<uint8_t>(whole + 1), filling + slice(path(2), 0, 96) + hex("00*4 0c00 ffff"));
    EXPECT_GE(route->rt_path_count, whole);
    EXPECT_LE(route->rt_path_count, whole + 1);
    EXPECT_EQ(captured_tev().size(), 1u);
}

TEST(route_free, takes_what_the_library_allocated_and_nothing)
{
    ipv6_rib_route_free(nullptr);
    ipv6_rib_route_free(std::malloc(64));
}
} // namespace
