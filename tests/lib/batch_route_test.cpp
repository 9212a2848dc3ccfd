/*
 * Routes in a batch buffer, written at once and in three steps.
 */
#include "tests/support/batch_fixture.h"

namespace
{

const std::string PREFIX_AND_END = std::string("@48 ") + PREFIX_BYTES + "@336";

struct route_case_t {
    const char *name;
    void (*fill)(rib_batch_buffer *);
    std::string data;
};
const route_case_t route_cases[] = {
    {"a route has no primary path at first", [](rib_batch_buffer *b) { EXPECT_EQ(add_plain_route(b), RIB_BATCH_BUFFER_OK); },
     plain_route("0000", true)},
    {"the caller's flag travels in the lowest bit",
     [](rib_batch_buffer *b) { ipv6_rib_batch_buffer_add_route(b, &PREFIX, 128, 0x0102, 1); },
     "01 80 0e 00 0000 0102 00008000 @20 00100001 00*7 80 @32 01 @41 ffff 0000 01" + PREFIX_AND_END},
    {"only the lowest bit of the flag counts",
     [](rib_batch_buffer *b) { ipv6_rib_batch_buffer_add_route(b, &PREFIX, 0, 0x0102, 0xFFFFFFFE); },
     "01 00 0e 00 0000 0102 00008000 @20 00100001 00*7 80 @32 00 @41 ffff 0000 01" + PREFIX_AND_END},
    {"every caller value in its place",
     [](rib_batch_buffer *b) {
         EXPECT_EQ(ipv6_rib_batch_buffer_add_route2(b, &PREFIX, 64, 0x0102, 0x11121314, 0x21222324, 1, 0x31323334, 0x41),
                   RIB_BATCH_BUFFER_OK);
     },
     "01 40 0e 00 0000 0102 11129314 21222324 31323334 00100001 00*7 80 01 @40 41 ffff 0000 01" + PREFIX_AND_END},
    {"a route in three steps",
     [](rib_batch_buffer *b) {
         EXPECT_EQ(ipv6_rib_batch_buffer_init_route(b, &PREFIX, 48), RIB_BATCH_BUFFER_OK);
         EXPECT_EQ(ipv6_rib_batch_buffer_is_empty(b), 1) << "open records do not count yet";
         EXPECT_EQ(ipv6_rib_batch_buffer_add_route3(b), RIB_BATCH_BUFFER_OK);
     },
     "01 30 0e 00 0000 0000 00008000 @20 00100001 00*7 80 @41 ffff 0000 01" + PREFIX_AND_END},
    {"a route begun again starts afresh",
     [](rib_batch_buffer *b) {
         ipv6_rib_batch_buffer_add_route2(b, &PREFIX, 64, 0x0102, 0x11121314, 0x21222324, 1, 0x31323334, 0x41);
         ipv6_rib_batch_buffer_clear(b);
         ipv6_rib_batch_buffer_init_route(b, &NEXTHOP, 64);
         ipv6_rib_batch_buffer_init_route(b, &PREFIX, 48);
         ipv6_rib_batch_buffer_add_route3(b);
     },
     "01 30 0e 00 0000 0000 00008000 @20 00100001 00*7 80 @41 ffff 0000 01" + PREFIX_AND_END},
    {"routes follow one another at any offset",
     [](rib_batch_buffer *b) {
         ipv6_rib_batch_buffer_complete(b);
         add_plain_route(b);
         ipv6_rib_batch_buffer_add_route(b, &NEXTHOP, 10, 0x0708, 0);
     },
     "03 000000 01 30 0e 00 0000 0506 00008000 @24 00100001 00*7 80 @45 ffff 0000 01 @52 " + std::string(PREFIX_BYTES) +
         "@340 01 0a 0e 00 0000 0708 00008000 @360 00100001 00*7 80 @381 ffff 0000 01 @388 " + NEXTHOP_BYTES + "@676"},
};

TEST(batch_route, data_bytes)
{
    for (const route_case_t &c : route_cases) {
        const batch_buffer_owner buffer = allocate_batch();
        c.fill(buffer.get());
        EXPECT_TRUE(same_bytes(batch_view_t{buffer.get()}.data(), c.data)) << c.name;
    }
}

TEST(batch_route, the_cut_point_is_the_last_route)
{
    const batch_buffer_owner buffer = allocate_batch();
    const batch_view_t view{buffer.get()};
    add_plain_route(buffer.get());
    EXPECT_EQ(view.last_rec_off(), 0u);
    ipv6_rib_batch_buffer_add_path(buffer.get(), 0, 0, &NEXTHOP, &SOURCE, 0, 0, 0);
    EXPECT_EQ(view.last_rec_off(), 0u) << "paths belong to their route";
    ipv6_rib_batch_buffer_init_route(buffer.get(), &PREFIX, 48);
    EXPECT_EQ(view.last_rec_off(), 616u);
    ipv6_rib_batch_buffer_add_route3(buffer.get());
    EXPECT_EQ(view.last_rec_off(), 616u);
    EXPECT_EQ(view.data_len(), 952u);
}

TEST(batch_route, no_buffer_and_nothing_open)
{
    EXPECT_EQ(add_plain_route(nullptr), RIB_BATCH_BUFFER_ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_route2(nullptr, &PREFIX, 1, 0, 0, 0, 0, 0, 0), RIB_BATCH_BUFFER_ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_init_route(nullptr, &PREFIX, 1), RIB_BATCH_BUFFER_ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_route3(nullptr), RIB_BATCH_BUFFER_ERROR);

    const batch_buffer_owner buffer = allocate_batch();
    EXPECT_EQ(ipv6_rib_batch_buffer_add_route3(buffer.get()), RIB_BATCH_BUFFER_ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_is_empty(buffer.get()), 1);
}

TEST(batch_route, a_prefix_is_required)
{
    const batch_buffer_owner owner = allocate_batch();
    rib_batch_buffer *buffer = owner.get();
    const char *text =
        "ip/rib/ipv6/src/rib_ipv6_addr_public_funcs.*rib_copy_addr.*Assertion `src != \\(\\(void\\*\\)0\\)' failed";
    EXPECT_DEATH(ipv6_rib_batch_buffer_add_route(buffer, nullptr, 1, 0, 0), text);
    EXPECT_DEATH(ipv6_rib_batch_buffer_add_route2(buffer, nullptr, 1, 0, 0, 0, 0, 0, 0), text);
    EXPECT_DEATH(ipv6_rib_batch_buffer_init_route(buffer, nullptr, 1), text);
}

} // namespace
