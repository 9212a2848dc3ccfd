/*
 * ipv6_rib_route_xform() on records as a lookup leaves them: record headers in host order, values in network order.
 */
#include <cstring>
#include <memory>

#include "tests/support/client_test.h"

namespace
{

constexpr size_t FIXED = 128;

/* One record with its header in the byte order of the host. */
bytes_t host_tlv(uint16_t type, const bytes_t &value)
{
    bytes_t record(8);
    const auto length = static_cast<uint16_t>(value.size());
    std::memcpy(&record[4], &type, 2);
    std::memcpy(&record[6], &length, 2);
    return record + value;
}
const bytes_t DELIMITER(8);

bytes_t path_value(uint8_t n)
{
    bytes_t path = hex("00000001 00000002 00000003 @16 fe80 @31 00 @88");
    path[31] = n;
    return path;
}
bytes_t path(uint8_t n, const bytes_t &attributes = {})
{
    return host_tlv(4, path_value(n)) + attributes + DELIMITER;
}

class route_xform : public client_test
{
protected:
    /* A record that claims so many paths and holds the given bytes behind its fixed part. */
    void fill(uint8_t paths, const bytes_t &lists)
    {
        std::memset(route.get(), 0, sizeof *route);
        route->rt_path_count = paths;
        ASSERT_LE(FIXED + lists.size(), sizeof *route);
        std::memcpy(reinterpret_cast<char *>(route.get()) + FIXED, lists.data(), lists.size());
    }
    std::unique_ptr<ipv6_routetype> route = std::make_unique<ipv6_routetype>();
};

struct xform_case_t {
    const char *name;
    uint8_t claimed;
    bytes_t lists;
    uint8_t paths;
};

TEST_F(route_xform, paths_move_to_their_slots)
{
    bytes_t attributes;
    for (const int type : {12, 13, 17, 18, 20, 21, 22, 23, 26, 28, 39, 43, 100, 101, 102, 103, 105, 106, 109})
        attributes = attributes + host_tlv(static_cast<uint16_t>(type), bytes_t(static_cast<size_t>(type), 0xff));
    const xform_case_t cases[] = {
        {"none claimed, and nothing behind the record is looked at", 0, bytes_t(200, 0xff), 0},
        {"one", 1, path(1) + DELIMITER, 1},
        {"every path attribute is passed over", 2, path(1, attributes) + path(2) + DELIMITER, 2},
        {"an attribute of no length", 2, path(1, host_tlv(12, {})) + path(2) + DELIMITER, 2},
        {"fewer claimed than there are", 1, path(1) + path(2) + DELIMITER, 1},
    };
    for (const xform_case_t &c : cases) {
        SCOPED_TRACE(c.name);
        fill(c.claimed, c.lists);
        ipv6_rib_route_xform(route.get());
        EXPECT_EQ(route->rt_path_count, c.paths);
        for (uint8_t n = 0; n < c.paths; ++n) {
            bytes_t expected = hex("01000000 02000000 03000000 @16 fe80 @88");
            expected[31] = static_cast<uint8_t>(n + 1);
            EXPECT_TRUE(same_bytes(bytes_at(&route->rt_path[n], 88), expected)) << int{n};
        }
        EXPECT_EQ(captured_tev(), tev_lines({}));
    }
}

TEST_F(route_xform, paths_that_are_not_there_are_taken_off_the_count)
{
    bytes_t many;
    for (unsigned n = 0; n < 108; ++n)
        many = many + path(static_cast<uint8_t>(n));
    const bytes_t endless = bytes_t(sizeof(ipv6_routetype) - FIXED, 0xff);
    const xform_case_t cases[] = {
        {"the list ends", 3, path(1) + path(2) + DELIMITER, 2},
        {"another record in a path's place", 2, path(1) + host_tlv(7, hex("00000000")) + path(2) + DELIMITER, 1},
        {"another record in the first place", 2, host_tlv(6, bytes_t(40)) + path(1), 0},
        {"a path shorter than a path", 2, path(1) + host_tlv(4, bytes_t(87)) + DELIMITER, 1},
        {"a path that leaves the record", 2, path(1) + hex("00*4 0400 ffff"), 1},
        {"255 claimed where 108 are", 255, many, 108},
        {"no list at all", 255, endless, 0},
    };
    for (const xform_case_t &c : cases) {
        SCOPED_TRACE(c.name);
        fill(c.claimed, c.lists);
        captured_tev();
        ipv6_rib_route_xform(route.get());
        EXPECT_EQ(route->rt_path_count, c.paths);
        for (uint8_t n = 0; n < c.paths; ++n)
            EXPECT_EQ(route->rt_path[n].path_interface, 1u) << int{n};
        const std::vector<tev_line_t> lines = captured_tev();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].mnemonic, "FETCH_UPDATE");
        EXPECT_EQ(lines[0].level, 3);
    }
}

TEST_F(route_xform, attributes_of_a_path_that_leave_the_record)
{
    bytes_t filling;
    while (filling.size() + 104 <= sizeof(ipv6_routetype) - FIXED - 112)
        filling = filling + path(1);
    const auto whole = static_cast<uint8_t>(filling.size() / 104);
    fill(static_cast<uint8_t>(whole + 1), filling + host_tlv(4, path_value(2)) + hex("00*4 0c00 ffff"));
    ipv6_rib_route_xform(route.get());
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
