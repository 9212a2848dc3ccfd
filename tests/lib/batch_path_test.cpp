/*
 * Paths of a route in a batch buffer: every form of adding and withdrawing one, and what they do to the route.
 */
#include <cstring>

#include "tests/support/batch_fixture.h"

namespace
{

/* An array of caller items: 16-bit count, a word, then items of 8 bytes that tell their place. */
bytes_t attr_array(uint16_t count)
{
    bytes_t array(4);
    std::memcpy(array.data(), &count, 2);
    array[2] = 0xa2;
    array[3] = 0xa3;
    for (uint16_t item = 0; item < count; ++item)
        for (unsigned at = 0; at < 8; ++at)
            array.push_back(static_cast<uint8_t>(item * 16 + at));
    return array;
}

rib_batch_path_init_in path_init()
{
    rib_batch_path_init_in in = {};
    in.pi_u32_0 = 0x51525354;
    in.pi_unused_4[0] = in.pi_unused_4[1] = in.pi_unused_4[2] = 0xe1e2e3e4;
    in.pi_u32_16 = 0x61626364;
    in.pi_u32_20 = 0x71727374;
    in.pi_infosource.afi = 2;
    in.pi_infosource.addr.v6 = &SOURCE;
    return in;
}

rib_batch_buffer_result add_path(rib_batch_buffer *b)
{
    return ipv6_rib_batch_buffer_add_path(b, 0x11121314, 0x0102030405060708, &NEXTHOP, &SOURCE, 0x21222324, 0x31323334, 0x4142);
}
rib_batch_buffer_result add_path2(rib_batch_buffer *b, uint32_t label, const void *array)
{
    return ipv6_rib_batch_buffer_add_path2(b, 0x11121314, 0x0102030405060708, &NEXTHOP, 0x51525354, &SOURCE, 0x21222324, 0x4142,
                                           0x61626364, label, array);
}
rib_batch_buffer_result add_path3(rib_batch_buffer *b, const ip_rib_qlfd_addr_td &source)
{
    return ipv6_rib_batch_buffer_add_path3(b, 0x11121314, 0x0102030405060708, &NEXTHOP, 0x51525354, 0x21222324, source,
                                           0x31323334, 0x4142, 0x61626364, 0x000abcde, nullptr);
}
rib_batch_buffer_result add_path_init(rib_batch_buffer *b)
{
    const rib_batch_path_init_in in = path_init();
    return ipv6_rib_batch_buffer_add_path_init(b, &NEXTHOP, &in);
}
rib_batch_buffer_result del_path_init(rib_batch_buffer *b)
{
    const rib_batch_path_init_in in = path_init();
    return ipv6_rib_batch_buffer_del_path_init(b, &NEXTHOP, &in);
}

const std::string BITMAP = "@80 00000200"; /* of 512 bits */
const std::string NEXTHOP_AT_160 = std::string("@160 ") + NEXTHOP_BYTES;
const std::string SOURCE_AT_184 = std::string("@184 ") + SOURCE_BYTES;
/* A withdrawal that was opened by path_init(). */
const std::string WITHDRAWAL = std::string("02 @40 0002 @112 51525354 @120 ") + NEXTHOP_BYTES + "61626364 @160 71727374 @280";

struct path_case_t {
    const char *name;
    void (*fill)(rib_batch_buffer *); /* behind add_plain_route() */
    bool no_primary;                  /* the route's bits afterwards */
    std::string path;
};
const path_case_t path_cases[] = {
    {"add_path", [](rib_batch_buffer *b) { EXPECT_EQ(add_path(b), RIB_BATCH_BUFFER_OK); }, false,
     "01 00 00 00 21222324 0102030405060708 4142 0000 31323334 00000000 00100001 00*8 00100001" + BITMAP + "@152 11121314" +
         NEXTHOP_AT_160 + SOURCE_AT_184 + "@224 02 @280"},
    {"add_path2 without a label",
     [](rib_batch_buffer *b) { EXPECT_EQ(add_path2(b, RIB_LABEL_NONE, nullptr), RIB_BATCH_BUFFER_OK); }, false,
     "01 00 00 00 21222324 0102030405060708 4142 0000 00000000 61626364 00100001 00*8 00100001" + BITMAP + "@152 11121314" +
         NEXTHOP_AT_160 + "51525354" + SOURCE_AT_184 + "@224 02 @280"},
    {"add_path2 with a label, and with no items",
     [](rib_batch_buffer *b) { EXPECT_EQ(add_path2(b, 0, attr_array(0).data()), RIB_BATCH_BUFFER_OK); }, false,
     "01 00 01 00 21222324 0102030405060708 4142 0000 00000000 61626364 00000000 00*8 00100001" + BITMAP + "@152 11121314" +
         NEXTHOP_AT_160 + "51525354" + SOURCE_AT_184 + "@224 02 @280"},
    {"add_path2 with items, which stay in host order",
     [](rib_batch_buffer *b) { EXPECT_EQ(add_path2(b, 0x000abcde, attr_array(2).data()), RIB_BATCH_BUFFER_OK); }, false,
     "01 00 01 00 21222324 0102030405060708 4142 0000 00000000 61626364 000abcde 00*8 00100001" + BITMAP + "@152 11121314" +
         NEXTHOP_AT_160 + "51525354" + SOURCE_AT_184 +
         "@224 02 @272 0018 0000  01 00 1400  0200 a2a3 0001020304050607 1011121314151617 @304"},
    {"add_path3 with a source of IPv6",
     [](rib_batch_buffer *b) {
         ip_rib_qlfd_addr_td source = {.afi = 2, .addr = {}};
         source.addr.v6 = &SOURCE;
         EXPECT_EQ(add_path3(b, source), RIB_BATCH_BUFFER_OK);
     },
     false,
     "01 00 01 00 21222324 0102030405060708 4142 0000 31323334 61626364 000abcde 00*8 00100001" + BITMAP + "@152 11121314" +
         NEXTHOP_AT_160 + "51525354" + SOURCE_AT_184 + "@224 02 @280"},
    {"add_path3 with a source of IPv4",
     [](rib_batch_buffer *b) {
         const in_addr v4 = {htonl(0xc0000201)};
         ip_rib_qlfd_addr_td source = {.afi = 1, .addr = {}};
         source.addr.v4 = &v4;
         EXPECT_EQ(add_path3(b, source), RIB_BATCH_BUFFER_OK);
     },
     false,
     "01 00 01 00 21222324 0102030405060708 4142 0000 31323334 61626364 000abcde 00*8 00100001" + BITMAP + "@152 11121314" +
         NEXTHOP_AT_160 + "51525354 @184 c0000201 @224 01 @280"},
    {"a path in steps",
     [](rib_batch_buffer *b) {
         EXPECT_EQ(add_path_init(b), RIB_BATCH_BUFFER_OK);
         EXPECT_EQ(ipv6_rib_batch_buffer_add_path_done(b), RIB_BATCH_BUFFER_OK);
     },
     false,
     "01 @28 00100001 00100001 00100001 00100001 @152 51525354" + NEXTHOP_AT_160 + "61626364" + SOURCE_AT_184 +
         "71727374 @224 02 @280"},
    {"a backup path leaves the route without a primary one",
     [](rib_batch_buffer *b) {
         EXPECT_EQ(add_path_init(b), RIB_BATCH_BUFFER_OK);
         EXPECT_EQ(ipv6_rib_batch_buffer_add_backup_path_done(b), RIB_BATCH_BUFFER_OK);
     },
     true,
     "01 @28 00100001 00100001 00100001 00100001 @152 51525354" + NEXTHOP_AT_160 + "61626364" + SOURCE_AT_184 +
         "71727374 @224 02 @280"},
    {"delete_path",
     [](rib_batch_buffer *b) {
         EXPECT_EQ(ipv6_rib_batch_buffer_delete_path(b, &NEXTHOP, 0x11121314, 0x21222324), RIB_BATCH_BUFFER_OK);
     },
     false, std::string("02 @40 0002 @112 11121314 @120 ") + NEXTHOP_BYTES + "@236 21222324 @280"},
    {"delete_path2",
     [](rib_batch_buffer *b) {
         EXPECT_EQ(ipv6_rib_batch_buffer_delete_path2(b, &NEXTHOP, 0x31323334, 0x11121314, 0x21222324), RIB_BATCH_BUFFER_OK);
     },
     false, std::string("02 @40 0002 @112 11121314 @120 ") + NEXTHOP_BYTES + "31323334 @236 21222324 @280"},
    {"delete_path3",
     [](rib_batch_buffer *b) {
         EXPECT_EQ(ipv6_rib_batch_buffer_delete_path3(b, &NEXTHOP, 0x31323334, 0x11121314, 0x21222324, 0x41),
                   RIB_BATCH_BUFFER_OK);
     },
     false, std::string("02 00 41 @40 0002 @112 11121314 @120 ") + NEXTHOP_BYTES + "31323334 @236 21222324 @280"},
    {"a withdrawal in steps",
     [](rib_batch_buffer *b) {
         EXPECT_EQ(del_path_init(b), RIB_BATCH_BUFFER_OK);
         EXPECT_EQ(ipv6_rib_batch_buffer_del_path_done(b), RIB_BATCH_BUFFER_OK);
     },
     false, WITHDRAWAL},
    {"a withdrawal of a backup path",
     [](rib_batch_buffer *b) {
         EXPECT_EQ(del_path_init(b), RIB_BATCH_BUFFER_OK);
         EXPECT_EQ(ipv6_rib_batch_buffer_del_backup_path_done(b), RIB_BATCH_BUFFER_OK);
     },
     true, WITHDRAWAL},
};

TEST(batch_path, data_bytes)
{
    for (const path_case_t &c : path_cases) {
        SCOPED_TRACE(c.name);
        const batch_buffer_owner buffer = allocate_batch();
        const batch_view_t view{buffer.get()};
        ASSERT_EQ(add_plain_route(buffer.get()), RIB_BATCH_BUFFER_OK);
        c.fill(buffer.get());
        EXPECT_TRUE(same_bytes(slice(view.data(), 0, 336), plain_route("0001", c.no_primary)));
        EXPECT_TRUE(same_bytes(slice(view.data(), 336, SIZE_MAX), c.path));
        EXPECT_EQ(view.last_rec_off(), 0u);
    }
}

TEST(batch_path, records_do_not_depend_on_where_they_stand)
{
    for (const path_case_t &c : path_cases) {
        SCOPED_TRACE(c.name);
        const batch_buffer_owner buffer = allocate_batch();
        const batch_view_t view{buffer.get()};
        add_plain_route(buffer.get());
        add_path2(buffer.get(), 1, attr_array(3).data()); /* 312 bytes */
        c.fill(buffer.get());
        EXPECT_TRUE(same_bytes(slice(view.data(), 0, 336), plain_route("0002", false)));
        EXPECT_TRUE(same_bytes(slice(view.data(), 336 + 312, SIZE_MAX), c.path));
    }
}

TEST(batch_path, the_first_primary_path_clears_the_bits_whatever_the_caller_gave)
{
    const batch_buffer_owner buffer = allocate_batch();
    const batch_view_t view{buffer.get()};
    ipv6_rib_batch_buffer_add_route2(buffer.get(), &PREFIX, 64, 0, 0xFFFFFFFF, 0, 0, 0, 0);
    EXPECT_TRUE(same_bytes(slice(view.data(), 8, 4), "ffffffff"));
    add_path(buffer.get());
    EXPECT_TRUE(same_bytes(slice(view.data(), 8, 4), "ffff7fff"));
    EXPECT_TRUE(same_bytes(slice(view.data(), 24, 8), "00*8"));
}

/* Every way to begin a path that another record or a full route refuses. */
using path_call_t = rib_batch_buffer_result (*)(rib_batch_buffer *);
const path_call_t path_calls[] = {
    add_path,
    [](rib_batch_buffer *b) { return add_path2(b, 5, attr_array(8).data()); },
    [](rib_batch_buffer *b) { return ipv6_rib_batch_buffer_delete_path(b, &NEXTHOP, 0, 0); },
    [](rib_batch_buffer *b) { return ipv6_rib_batch_buffer_delete_path2(b, &NEXTHOP, 0, 0, 0); },
    [](rib_batch_buffer *b) { return ipv6_rib_batch_buffer_delete_path3(b, &NEXTHOP, 0, 0, 0, 0); },
    add_path_init,
    del_path_init,
};

struct no_route_case_t {
    const char *name;
    void (*fill)(rib_batch_buffer *);
};
const no_route_case_t no_route_cases[] = {
    {"an empty buffer", [](rib_batch_buffer *) {}},
    {"behind a completion marker",
     [](rib_batch_buffer *b) {
         add_plain_route(b);
         ipv6_rib_batch_buffer_complete(b);
     }},
    {"behind a convergence marker",
     [](rib_batch_buffer *b) {
         add_plain_route(b);
         ipv6_rib_batch_buffer_converge(b, 0x01020304, 0x05060708);
     }},
    {"a buffer that was cleared",
     [](rib_batch_buffer *b) {
         add_plain_route(b);
         ipv6_rib_batch_buffer_clear(b);
     }},
};

TEST(batch_path, paths_need_a_route)
{
    for (const no_route_case_t &c : no_route_cases) {
        SCOPED_TRACE(c.name);
        const batch_buffer_owner buffer = allocate_batch();
        c.fill(buffer.get());
        const bytes_t before = batch_view_t{buffer.get()}.all();
        for (const path_call_t call : path_calls)
            EXPECT_EQ(call(buffer.get()), RIB_BATCH_BUFFER_ERROR);
        for (const auto done : {ipv6_rib_batch_buffer_add_path_done, ipv6_rib_batch_buffer_add_backup_path_done,
                                ipv6_rib_batch_buffer_del_path_done, ipv6_rib_batch_buffer_del_backup_path_done})
            EXPECT_EQ(done(buffer.get()), RIB_BATCH_BUFFER_ERROR);
        EXPECT_TRUE(same_bytes(batch_view_t{buffer.get()}.all(), before));
    }
}

TEST(batch_path, finishing_needs_an_open_path)
{
    const batch_buffer_owner buffer = allocate_batch();
    add_plain_route(buffer.get());
    const bytes_t before = batch_view_t{buffer.get()}.all();
    for (const auto done : {ipv6_rib_batch_buffer_add_path_done, ipv6_rib_batch_buffer_add_backup_path_done,
                            ipv6_rib_batch_buffer_del_path_done, ipv6_rib_batch_buffer_del_backup_path_done})
        EXPECT_EQ(done(buffer.get()), RIB_BATCH_BUFFER_ERROR);
    EXPECT_TRUE(same_bytes(batch_view_t{buffer.get()}.all(), before));
}

TEST(batch_path, a_route_takes_2048_paths)
{
    const batch_buffer_owner buffer = allocate_batch();
    const batch_view_t view{buffer.get()};
    add_plain_route(buffer.get());
    for (unsigned n = 0; n < 2047; ++n)
        ASSERT_GT(ipv6_rib_batch_buffer_delete_path(buffer.get(), &NEXTHOP, n, 0), 0) << n;
    EXPECT_EQ(add_path(buffer.get()), RIB_BATCH_BUFFER_FULL);
    const bytes_t before = view.all();
    EXPECT_TRUE(same_bytes(slice(view.data(), 0, 336), plain_route("0800", false)));
    for (const path_call_t call : path_calls)
        EXPECT_EQ(call(buffer.get()), RIB_BATCH_BUFFER_ERROR);
    EXPECT_TRUE(same_bytes(view.all(), before));
}

TEST(batch_path, items_of_an_array)
{
    struct items_case_t {
        uint16_t items;
        rib_batch_buffer_result result;
        uint32_t len;
    };
    for (const items_case_t &c : {items_case_t{1, RIB_BATCH_BUFFER_OK, 280 + 16},
                                  {8, RIB_BATCH_BUFFER_OK, 280 + 72},
                                  {9, RIB_BATCH_BUFFER_TOO_MANY_ITEMS, 0},
                                  {0xFFFF, RIB_BATCH_BUFFER_TOO_MANY_ITEMS, 0}}) {
        const batch_buffer_owner buffer = allocate_batch();
        const batch_view_t view{buffer.get()};
        add_plain_route(buffer.get());
        bytes_t array = attr_array(std::min<uint16_t>(c.items, 9));
        std::memcpy(array.data(), &c.items, 2);
        EXPECT_EQ(add_path2(buffer.get(), 5, array.data()), c.result) << c.items;
        EXPECT_EQ(view.data_len(), 336 + c.len) << c.items;
        EXPECT_TRUE(same_bytes(slice(view.data(), 0, 336), plain_route(c.len ? "0001" : "0000", c.len == 0)));
    }
}

TEST(batch_path, a_path_may_cross_the_limit)
{
    const batch_buffer_owner buffer = allocate_batch();
    const batch_view_t view{buffer.get()};
    while (view.data_len() + 336 <= 523664)
        add_plain_route(buffer.get());
    while (view.data_len() < 523664)
        ipv6_rib_batch_buffer_complete(buffer.get());
    EXPECT_EQ(add_plain_route(buffer.get()), RIB_BATCH_BUFFER_OK); /* at 524,000 now */
    EXPECT_EQ(add_path(buffer.get()), RIB_BATCH_BUFFER_FULL);
    EXPECT_EQ(view.data_len(), 524280u);
    EXPECT_EQ(view.last_rec_off(), 523664u);
    EXPECT_EQ(add_path_init(buffer.get()), RIB_BATCH_BUFFER_OK);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_path_done(buffer.get()), RIB_BATCH_BUFFER_FULL);
    EXPECT_EQ(del_path_init(buffer.get()), RIB_BATCH_BUFFER_OK);
    EXPECT_EQ(ipv6_rib_batch_buffer_del_backup_path_done(buffer.get()), RIB_BATCH_BUFFER_FULL);
    EXPECT_EQ(view.data_len(), 524840u);
    EXPECT_TRUE(same_bytes(slice(view.data(), 523664, 336), plain_route("0003", false)));
}

struct expected_case_t {
    const char *name;
    rib_batch_buffer_result (*init)(rib_batch_buffer *, const in6_addr *, const rib_batch_path_init_in *);
    void (*set)(rib_batch_path_init_in *);
    bool fits;
};
/* Behind one route, with the 344 bytes of a path, 1,434,004 bytes of the capacity are left. */
const expected_case_t expected_cases[] = {
    {"first array", ipv6_rib_batch_buffer_add_path_init, [](rib_batch_path_init_in *in) { in->pi_count_a = 179250; }, true},
    {"first array, one more", ipv6_rib_batch_buffer_add_path_init, [](rib_batch_path_init_in *in) { in->pi_count_a = 179251; },
     false},
    {"a first array that wraps", ipv6_rib_batch_buffer_add_path_init,
     [](rib_batch_path_init_in *in) { in->pi_count_a = 0x20000000; }, false},
    {"a first array that wraps only with its head", ipv6_rib_batch_buffer_add_path_init,
     [](rib_batch_path_init_in *in) { in->pi_count_a = 0x1FFFFFFF; }, false},
    {"both arrays", ipv6_rib_batch_buffer_add_path_init,
     [](rib_batch_path_init_in *in) { in->pi_count_a = 113714, in->pi_count_b = 65535; }, true},
    {"both arrays, one more", ipv6_rib_batch_buffer_add_path_init,
     [](rib_batch_path_init_in *in) { in->pi_count_a = 113715, in->pi_count_b = 65535; }, false},
    {"32-byte items", ipv6_rib_batch_buffer_add_path_init, [](rib_batch_path_init_in *in) { in->pi_count_c = 44812; }, true},
    {"32-byte items, one more", ipv6_rib_batch_buffer_add_path_init, [](rib_batch_path_init_in *in) { in->pi_count_c = 44813; },
     false},
    {"every single value", ipv6_rib_batch_buffer_add_path_init,
     [](rib_batch_path_init_in *in) { in->pi_count_a = 179238, in->pi_flags = 0x3e; }, true},
    {"every single value, one more", ipv6_rib_batch_buffer_add_path_init,
     [](rib_batch_path_init_in *in) { in->pi_count_a = 179239, in->pi_flags = 0x3e; }, false},
    {"a withdrawal expects no 8-byte items", ipv6_rib_batch_buffer_del_path_init,
     [](rib_batch_path_init_in *in) { in->pi_count_a = 0xFFFFFFFF, in->pi_count_b = 0xFFFF, in->pi_flags = 0x1e; }, true},
    {"a withdrawal with 32-byte items", ipv6_rib_batch_buffer_del_path_init,
     [](rib_batch_path_init_in *in) { in->pi_count_c = 44812; }, true},
    {"a withdrawal with 32-byte items and one of 24", ipv6_rib_batch_buffer_del_path_init,
     [](rib_batch_path_init_in *in) { in->pi_count_c = 44812, in->pi_flags = 0x20; }, false},
};

TEST(batch_path, expected_attributes_have_to_fit_the_capacity)
{
    for (const expected_case_t &c : expected_cases) {
        SCOPED_TRACE(c.name);
        const batch_buffer_owner buffer = allocate_batch();
        add_plain_route(buffer.get());
        rib_batch_path_init_in in = path_init();
        c.set(&in);
        EXPECT_EQ(c.init(buffer.get(), &NEXTHOP, &in), c.fits ? RIB_BATCH_BUFFER_OK : RIB_BATCH_BUFFER_ERROR);
        EXPECT_TRUE(same_bytes(batch_view_t{buffer.get()}.data(), plain_route(c.fits ? "0001" : "0000", true)));
    }
}

ip_rib_qlfd_addr_td source_of(uint32_t afi)
{
    return {.afi = afi, .addr = {}};
}

TEST(batch_path, broken_contracts)
{
    const batch_buffer_owner owner = allocate_batch();
    rib_batch_buffer *buffer = owner.get();
    add_plain_route(buffer);
    const char *no_address =
        "ip/rib/ipv6/src/rib_ipv6_addr_public_funcs.*rib_copy_addr.*Assertion `src != \\(\\(void\\*\\)0\\)' failed";
    rib_batch_path_init_in in = path_init();
    EXPECT_DEATH(ipv6_rib_batch_buffer_add_path(buffer, 0, 0, nullptr, &SOURCE, 0, 0, 0), no_address);
    EXPECT_DEATH(ipv6_rib_batch_buffer_delete_path(buffer, nullptr, 0, 0), no_address);
    EXPECT_DEATH(ipv6_rib_batch_buffer_add_path_init(buffer, nullptr, &in), no_address);
    EXPECT_DEATH(ipv6_rib_batch_buffer_del_path_init(buffer, nullptr, &in), no_address);

    const std::string unit = "ip/rib/lib/src/rib_lib_batch.*rib_batch_buffer_set_path_infosource.*Assertion `";
    EXPECT_DEATH(ipv6_rib_batch_buffer_add_path(buffer, 0, 0, &NEXTHOP, nullptr, 0, 0, 0), unit + "infosource->addr.v6' failed");
    EXPECT_DEATH(ipv6_rib_batch_buffer_add_path2(buffer, 0, 0, &NEXTHOP, 0, nullptr, 0, 0, 0, 0, nullptr),
                 unit + "infosource->addr.v6' failed");
    EXPECT_DEATH(add_path3(buffer, source_of(2)), unit + "infosource->addr.v6' failed");
    EXPECT_DEATH(add_path3(buffer, source_of(1)), unit + "infosource->addr.v4' failed");
    EXPECT_DEATH(add_path3(buffer, source_of(0)), unit + "0' failed");
    EXPECT_DEATH(add_path3(buffer, source_of(3)), unit + "0' failed");
    in.pi_infosource = source_of(7);
    EXPECT_DEATH(ipv6_rib_batch_buffer_add_path_init(buffer, &NEXTHOP, &in), unit + "0' failed");
}

} // namespace
