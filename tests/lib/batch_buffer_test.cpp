/*
 * Batch buffers: what a fresh, initialised and cleared buffer is, tables and markers in it, and the room checks.
 */
#include "tests/support/batch_fixture.h"

namespace
{

constexpr uint32_t NORMAL_LIMIT = 524240;
constexpr uint32_t SMALL_LIMIT = 63440;

/* Adds routes until no further one is within the limit, then markers: leaves the buffer filled to exactly len bytes. */
void fill_to(rib_batch_buffer *buffer, uint32_t len)
{
    const batch_view_t view{buffer};
    while (len - view.data_len() >= 336 + 336)
        ASSERT_EQ(add_plain_route(buffer), RIB_BATCH_BUFFER_OK);
    while (view.data_len() < len)
        ASSERT_EQ(ipv6_rib_batch_buffer_complete(buffer), RIB_BATCH_BUFFER_OK);
    ASSERT_EQ(view.data_len(), len);
}

TEST(batch_buffer, fresh)
{
    for (const int small : {0, 1, -1}) {
        const batch_buffer_owner buffer = allocate_batch(small);
        ASSERT_NE(buffer, nullptr);
        const batch_view_t view{buffer.get()};
        EXPECT_EQ(view.send_limit(), small ? SMALL_LIMIT : NORMAL_LIMIT);
        EXPECT_EQ(view.capacity(), small ? 973884u : 1434684u);
        EXPECT_EQ(view.data_len(), 0u);
        EXPECT_EQ(view.last_rec_off(), 0u);
        EXPECT_TRUE(same_bytes(view.header(), "00*48"));
        EXPECT_TRUE(same_bytes(view.data(0, view.capacity()), bytes_t(view.capacity())));
        EXPECT_EQ(ipv6_rib_batch_buffer_is_empty(buffer.get()), 1);
    }
}

TEST(batch_buffer, no_memory)
{
    {
        const failing_alloc alloc(1);
        EXPECT_EQ(ipv6_rib_batch_buffer_allocate(0), nullptr);
    }
    for (size_t nth = 1; nth <= 3; ++nth) {
        const failing_alloc alloc(nth);
        EXPECT_EQ(ipv6_rib_batch_proto_buffer_allocate(3 * 7281), nullptr) << nth;
    }
    const failing_alloc alloc(1);
    EXPECT_EQ(ipv6_rib_batch_args_out_allocate(), nullptr);
}

TEST(batch_buffer, headers)
{
    const batch_buffer_owner buffer = allocate_batch();
    const batch_view_t view{buffer.get()};
    ipv6_rib_batch_buffer_init(buffer.get(), 0x01020304, 0x0506);
    EXPECT_TRUE(same_bytes(view.header(), "@24 01020304 0506 @48"));
    ipv6_rib_batch_buffer_complete(buffer.get());
    ipv6_rib_batch_buffer_init(buffer.get(), 0x11121314, 0x1516);
    EXPECT_TRUE(same_bytes(view.header(), "@24 11121314 1516 @48"));
    EXPECT_EQ(view.data_len(), 4u) << "records stay";
    EXPECT_EQ(ipv6_rib_batch_buffer_is_empty(buffer.get()), 0);
    ipv6_rib_batch_buffer_init2(buffer.get());
    EXPECT_TRUE(same_bytes(view.header(), "@40 0100 @48")); /* host order until it is sent */
    EXPECT_EQ(view.data_len(), 0u);
    EXPECT_EQ(view.last_rec_off(), 0u);
}

TEST(batch_buffer, nothing_is_done_without_a_buffer)
{
    EXPECT_EQ(ipv6_rib_batch_buffer_is_empty(nullptr), 1);
    EXPECT_EQ(ipv6_rib_batch_table_init(nullptr, 1, 2), RIB_BATCH_BUFFER_ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_route_fits(nullptr, 0), 0);
    EXPECT_EQ(ipv6_rib_batch_buffer_table_fits(nullptr, 0, 0), 0);
    ipv6_rib_batch_buffer_clear(nullptr);
    ipv6_rib_batch_buffer_free(nullptr);
    ipv6_rib_batch_proto_buffer_free(nullptr);
    ipv6_rib_batch_proto_buffer_init(nullptr);
    ipv6_rib_batch_args_out_free(nullptr);
}

TEST(batch_buffer, argument_type_of_a_record)
{
    bytes_t record = hex("ee*4");
    EXPECT_EQ(ipv6_rib_batch_set_argument_type(record.data(), 7), 1);
    EXPECT_TRUE(same_bytes(record, "07 ee*3"));
}

struct record_case_t {
    const char *name;
    void (*fill)(rib_batch_buffer *);
    const char *data;
    uint32_t last_rec_off;
};
const record_case_t record_cases[] = {
    {"a table that is open keeps its place in host order",
     [](rib_batch_buffer *b) { EXPECT_EQ(ipv6_rib_batch_table_init(b, 0x01020304, 0x0506), RIB_BATCH_BUFFER_OK); },
     "06 00 0605 0c000000 04030201", 0},
    {"the next table closes it: nothing followed",
     [](rib_batch_buffer *b) {
         ipv6_rib_batch_table_init(b, 0x01020304, 0x0506);
         ipv6_rib_batch_table_init(b, 0x11121314, 0x1516);
     },
     "06 00 0506 00000000 01020304  06 00 1615 18000000 14131211", 12},
    {"a table counts the bytes that follow it",
     [](rib_batch_buffer *b) {
         ipv6_rib_batch_buffer_complete(b);
         ipv6_rib_batch_table_init(b, 0x01020304, 0x0506);
         ipv6_rib_batch_buffer_converge(b, 0x21222324, 0x31323334);
         ipv6_rib_batch_buffer_complete(b);
         ipv6_rib_batch_table_init(b, 0x11121314, 0x1516);
     },
     "03 000000  06 00 0506 00000010 01020304  04 000000 21222324 31323334  03 000000  06 00 1615 2c000000 14131211", 32},
    {"a table opened before the buffer was cleared is forgotten",
     [](rib_batch_buffer *b) {
         ipv6_rib_batch_buffer_complete(b);
         ipv6_rib_batch_table_init(b, 0x01020304, 0x0506);
         ipv6_rib_batch_buffer_clear(b);
         ipv6_rib_batch_table_init(b, 0x11121314, 0x1516);
     },
     "06 00 1615 0c000000 14131211", 0},
    {"markers",
     [](rib_batch_buffer *b) {
         EXPECT_EQ(ipv6_rib_batch_buffer_converge(b, 0x21222324, 0x31323334), RIB_BATCH_BUFFER_OK);
         EXPECT_EQ(ipv6_rib_batch_buffer_complete(b), RIB_BATCH_BUFFER_OK);
     },
     "04 000000 21222324 31323334  03 000000", 16}, /* within the limit a marker is no cut point */
};

TEST(batch_buffer, tables_and_markers)
{
    for (const record_case_t &c : record_cases) {
        const batch_buffer_owner buffer = allocate_batch();
        ipv6_rib_batch_buffer_init2(buffer.get());
        c.fill(buffer.get());
        const batch_view_t view{buffer.get()};
        EXPECT_TRUE(same_bytes(view.data(), c.data)) << c.name;
        EXPECT_EQ(view.last_rec_off(), c.last_rec_off) << c.name;
    }
}

TEST(batch_buffer, a_table_in_a_buffer_for_one_table_is_converted_at_once)
{
    const batch_buffer_owner buffer = allocate_batch();
    EXPECT_EQ(ipv6_rib_batch_table_init(buffer.get(), 0x01020304, 0x0506), RIB_BATCH_BUFFER_OK);
    EXPECT_TRUE(same_bytes(batch_view_t{buffer.get()}.data(), "06 00 0506 0000000c 01020304"));
}

struct limit_case_t {
    const char *name;
    rib_batch_buffer_result (*add)(rib_batch_buffer *);
    uint32_t len;  /* bytes that it adds */
    uint32_t room; /* bytes that have to be left for RIB_BATCH_BUFFER_OK */
};
const limit_case_t limit_cases[] = {
    {"completion marker", ipv6_rib_batch_buffer_complete, 4, 4},
    {"convergence marker", [](rib_batch_buffer *b) { return ipv6_rib_batch_buffer_converge(b, 1, 2); }, 12, 12},
    {"route", add_plain_route, 336, 336},
    {"table, with a route", [](rib_batch_buffer *b) { return ipv6_rib_batch_table_init(b, 1, 2); }, 12, 348},
};

TEST(batch_buffer, the_send_limit)
{
    for (const limit_case_t &c : limit_cases) {
        SCOPED_TRACE(c.name);
        const batch_buffer_owner buffer = allocate_batch(1);
        const batch_view_t view{buffer.get()};
        ipv6_rib_batch_buffer_init2(buffer.get());
        fill_to(buffer.get(), SMALL_LIMIT - c.room);
        EXPECT_EQ(c.add(buffer.get()), RIB_BATCH_BUFFER_OK);
        EXPECT_EQ(view.data_len(), SMALL_LIMIT - c.room + c.len);

        ipv6_rib_batch_buffer_init2(buffer.get());
        fill_to(buffer.get(), SMALL_LIMIT - c.room + 4);
        EXPECT_EQ(c.add(buffer.get()), RIB_BATCH_BUFFER_FULL);
        EXPECT_EQ(view.data_len(), SMALL_LIMIT - c.room + 4 + c.len);
        EXPECT_EQ(view.last_rec_off(), SMALL_LIMIT - c.room + 4);
    }
}

TEST(batch_buffer, nothing_is_added_over_the_limit)
{
    const batch_buffer_owner buffer = allocate_batch(1);
    ipv6_rib_batch_buffer_init2(buffer.get());
    fill_to(buffer.get(), SMALL_LIMIT);
    ASSERT_EQ(ipv6_rib_batch_buffer_complete(buffer.get()), RIB_BATCH_BUFFER_FULL);
    const bytes_t before = batch_view_t{buffer.get()}.all();
    for (const limit_case_t &c : limit_cases)
        EXPECT_EQ(c.add(buffer.get()), RIB_BATCH_BUFFER_ERROR) << c.name;
    EXPECT_EQ(ipv6_rib_batch_buffer_init_route(buffer.get(), &PREFIX, 128), RIB_BATCH_BUFFER_ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_route3(buffer.get()), RIB_BATCH_BUFFER_ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_route2(buffer.get(), &PREFIX, 128, 0, 0, 0, 0, 0, 0), RIB_BATCH_BUFFER_ERROR);
    EXPECT_TRUE(same_bytes(batch_view_t{buffer.get()}.all(), before));
}

TEST(batch_buffer, room_for_routes_and_tables)
{
    const batch_buffer_owner buffer = allocate_batch();
    struct fits_case_t {
        uint64_t paths;
        uint16_t routes;
        bool fits;
    };
    /* 280 bytes for each path, 344 for each route of a table, 340 or 352 beside them. */
    for (const fits_case_t &c : {fits_case_t{0, 0, true},
                                 {1871, 0, true},
                                 {1872, 0, false},
                                 {0, 1522, true},
                                 {0, 1523, false},
                                 {1000, 708, true},
                                 {1000, 709, false},
                                 {65535, 65535, false}})
        EXPECT_EQ(ipv6_rib_batch_buffer_table_fits(buffer.get(), static_cast<uint16_t>(c.paths), c.routes), c.fits)
            << c.paths << " " << c.routes;
    /* The last three would wrap 32 bits to something small. */
    for (const fits_case_t &c : {fits_case_t{0, 0, true},
                                 {1871, 0, true},
                                 {1872, 0, false},
                                 {15339169, 0, false},
                                 {0x80000000, 0, false},
                                 {0xFFFFFFFF, 0, false}})
        EXPECT_EQ(ipv6_rib_batch_buffer_route_fits(buffer.get(), static_cast<uint32_t>(c.paths)), c.fits) << c.paths;
    fill_to(buffer.get(), NORMAL_LIMIT - 340);
    EXPECT_EQ(ipv6_rib_batch_buffer_route_fits(buffer.get(), 0), 1);
    EXPECT_EQ(ipv6_rib_batch_buffer_table_fits(buffer.get(), 0, 0), 0);
    ipv6_rib_batch_buffer_complete(buffer.get());
    EXPECT_EQ(ipv6_rib_batch_buffer_route_fits(buffer.get(), 0), 0);
}

/* 1870 paths and the fixed 352 bytes leave 288. */
rib_batch_sizes sizes()
{
    rib_batch_sizes size = {};
    size.paths = 1870;
    return size;
}

struct sizes_case_t {
    const char *name;
    void (*set)(rib_batch_sizes *, uint16_t);
    uint16_t route; /* the most that fits beside 1870 paths */
    uint16_t table; /* behind a table record of 12 bytes */
};
const sizes_case_t sizes_cases[] = {
    {"64", [](rib_batch_sizes *s, uint16_t n) { s->items_64 = n; }, 4, 4},
    {"32 and a head of 16", [](rib_batch_sizes *s, uint16_t n) { s->items_32 = n; }, 8, 8},
    {"8", [](rib_batch_sizes *s, uint16_t n) { s->items_8 = n; }, 36, 34},
    {"12", [](rib_batch_sizes *s, uint16_t n) { s->items_12 = n; }, 24, 23},
    {"16", [](rib_batch_sizes *s, uint16_t n) { s->items_16 = n; }, 18, 17},
    {"4", [](rib_batch_sizes *s, uint16_t n) { s->items_4 = n; }, 72, 69},
    {"24, first", [](rib_batch_sizes *s, uint16_t n) { s->items_24[0] = n; }, 12, 11},
    {"24, second", [](rib_batch_sizes *s, uint16_t n) { s->items_24[1] = n; }, 12, 11},
    {"24, third", [](rib_batch_sizes *s, uint16_t n) { s->items_24[2] = n; }, 12, 11},
    {"168 beside 8s", [](rib_batch_sizes *s, uint16_t n) { s->items_8 = n, s->has_168 = 0x80000000; }, 15, 13},
    {"256 beside 4s", [](rib_batch_sizes *s, uint16_t n) { s->items_4 = n, s->has_256 = 2; }, 8, 5},
    {"first 4 beside 4s", [](rib_batch_sizes *s, uint16_t n) { s->items_4 = n, s->has_4[0] = 1; }, 71, 68},
    {"second 4 beside 4s", [](rib_batch_sizes *s, uint16_t n) { s->items_4 = n, s->has_4[1] = 1; }, 71, 68},
    {"both share 4", [](rib_batch_sizes *s, uint16_t n) { s->items_4 = n, s->has_4[0] = 1, s->has_4[1] = 1; }, 71, 68},
    {"1 beside 4s", [](rib_batch_sizes *s, uint16_t n) { s->items_4 = n, s->has_1 = 0x100; }, 71, 68},
    {"24 beside 8s", [](rib_batch_sizes *s, uint16_t n) { s->items_8 = n, s->has_24 = 1; }, 33, 31},
    {"everything at its largest", [](rib_batch_sizes *s, uint16_t n) { s->paths = n ? 0xFFFF : 1870, s->items_64 = n; }, 0, 0},
};

TEST(batch_buffer, room_for_a_description)
{
    const batch_buffer_owner buffer = allocate_batch();
    for (const sizes_case_t &c : sizes_cases) {
        SCOPED_TRACE(c.name);
        rib_batch_sizes size = sizes();
        c.set(&size, c.route);
        EXPECT_EQ(ipv6_rib_batch_buffer_route_fits2(buffer.get(), &size), 1);
        EXPECT_EQ(ipv6_rib_batch_buffer_route_fits2(nullptr, &size), 0);
        c.set(&size, static_cast<uint16_t>(c.route + 1));
        EXPECT_EQ(ipv6_rib_batch_buffer_route_fits2(buffer.get(), &size), 0);
        size = sizes();
        c.set(&size, c.table);
        EXPECT_EQ(ipv6_rib_batch_buffer_table_fits2(buffer.get(), &size), 1);
        EXPECT_EQ(ipv6_rib_batch_buffer_table_fits2(nullptr, &size), 0);
        c.set(&size, static_cast<uint16_t>(c.table + 1));
        EXPECT_EQ(ipv6_rib_batch_buffer_table_fits2(buffer.get(), &size), 0);
    }
    EXPECT_EQ(ipv6_rib_batch_buffer_route_fits2(buffer.get(), nullptr), 0);
    EXPECT_EQ(ipv6_rib_batch_buffer_table_fits2(buffer.get(), nullptr), 0);
    rib_batch_sizes size = sizes();
    size.items_8 = 36;
    ipv6_rib_batch_buffer_complete(buffer.get());
    EXPECT_EQ(ipv6_rib_batch_buffer_route_fits2(buffer.get(), &size), 0) << "what is in the buffer counts";
}

} // namespace
