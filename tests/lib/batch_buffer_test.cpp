/*
 * Batch buffers: what a fresh, initialised and cleared buffer is, tables and markers in it, and the room checks.
 */
#include "tests/support/batch_fixture.h"

namespace
{
constexpr uint32_t NORMAL_LIMIT = 524240;
constexpr uint32_t SMALL_LIMIT = 63440;
constexpr auto OK = RIB_BATCH_BUFFER_OK, FULL = RIB_BATCH_BUFFER_FULL, ERROR = RIB_BATCH_BUFFER_ERROR;
using step_t = rib_batch_buffer_result (*)(rib_batch_buffer *);

TEST(batch_buffer, fresh)
{
    for (const bool small : {false, true}) {
        const batch_buffer_owner buffer = allocate_batch(small);
        ASSERT_NE(buffer, nullptr);
        const batch_view_t view{buffer.get()};
        EXPECT_EQ(view.send_limit(), small ? SMALL_LIMIT : NORMAL_LIMIT);
        EXPECT_EQ(view.capacity(), small ? 973884u : 1434684u);
        EXPECT_EQ(view.data_len() + view.last_rec_off(), 0u);
        EXPECT_TRUE(same_bytes(view.header(), "00*48"));
        EXPECT_TRUE(same_bytes(view.data(0, view.capacity()), bytes_t(view.capacity())));
        EXPECT_EQ(ipv6_rib_batch_buffer_is_empty(buffer.get()), 1);
    }
}

TEST(batch_buffer, no_memory)
{
    for (size_t nth = 1; nth <= 3; ++nth) {
        const failing_alloc alloc(nth);
        EXPECT_EQ(ipv6_rib_batch_proto_buffer_allocate(3 * 7281), nullptr) << nth;
    }
    {
        const failing_alloc alloc(1);
        EXPECT_EQ(ipv6_rib_batch_buffer_allocate(0), nullptr);
    }
    const failing_alloc alloc(1);
    EXPECT_EQ(ipv6_rib_batch_args_out_allocate(), nullptr);
}

TEST(batch_buffer, headers)
{
    const batch_buffer_owner buffer = allocate_batch();
    const batch_view_t view{buffer.get()};
    ipv6_rib_batch_buffer_complete(buffer.get());
    ipv6_rib_batch_buffer_init(buffer.get(), 0x01020304, 0x0506);
    ipv6_rib_batch_buffer_init(buffer.get(), 0x11121314, 0x1516);
    EXPECT_TRUE(same_bytes(view.header(), "@24 11121314 1516 @48"));
    EXPECT_EQ(view.data_len(), 4u) << "records stay";
    EXPECT_EQ(ipv6_rib_batch_buffer_is_empty(buffer.get()), 0);
    ipv6_rib_batch_buffer_init2(buffer.get());
    EXPECT_TRUE(same_bytes(view.header(), "@40 0100 @48")); /* host order until it is sent */
    EXPECT_EQ(view.data_len() + view.last_rec_off(), 0u);

    bytes_t record = hex("ee*4");
    EXPECT_EQ(ipv6_rib_batch_set_argument_type(record.data(), 7), 1);
    EXPECT_TRUE(same_bytes(record, "07 ee*3"));
}

TEST(batch_buffer, nothing_is_done_without_a_buffer)
{
    const rib_batch_sizes size = {};
    EXPECT_EQ(ipv6_rib_batch_buffer_is_empty(nullptr), 1);
    EXPECT_EQ(ipv6_rib_batch_table_init(nullptr, 1, 2), ERROR);
    EXPECT_EQ(add_plain_route(nullptr), ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_route2(nullptr, &PREFIX, 1, 0, 0, 0, 0, 0, 0), ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_init_route(nullptr, &PREFIX, 1), ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_route3(nullptr), ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_path(nullptr, 0, 0, &NEXTHOP, &SOURCE, 0, 0, 0), ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_path_init(nullptr, &NEXTHOP, nullptr), ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_del_path_init(nullptr, &NEXTHOP, nullptr), ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_path_done(nullptr), ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_del_backup_path_done(nullptr), ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_delete_path(nullptr, &NEXTHOP, 0, 0), ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_complete(nullptr), ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_converge(nullptr, 0, 0), ERROR);
    ipv6_rib_batch_buffer_init(nullptr, 1, 2);
    ipv6_rib_batch_buffer_init2(nullptr);
    EXPECT_EQ(ipv6_rib_batch_buffer_route_fits(nullptr, 0), 0);
    EXPECT_EQ(ipv6_rib_batch_buffer_table_fits(nullptr, 0, 0), 0);
    EXPECT_EQ(ipv6_rib_batch_buffer_route_fits2(nullptr, &size), 0);
    EXPECT_EQ(ipv6_rib_batch_buffer_table_fits2(nullptr, &size), 0);
    ipv6_rib_batch_buffer_clear(nullptr);
    ipv6_rib_batch_buffer_free(nullptr);
    ipv6_rib_batch_proto_buffer_free(nullptr);
    ipv6_rib_batch_proto_buffer_init(nullptr);
    ipv6_rib_batch_args_out_free(nullptr);
}

rib_batch_buffer_result first_table(rib_batch_buffer *b)
{
    return ipv6_rib_batch_table_init(b, 0x01020304, 0x0506);
}
rib_batch_buffer_result next_table(rib_batch_buffer *b)
{
    return ipv6_rib_batch_table_init(b, 0x11121314, 0x1516);
}
rib_batch_buffer_result converge(rib_batch_buffer *b)
{
    return ipv6_rib_batch_buffer_converge(b, 0x21222324, 0x31323334);
}
rib_batch_buffer_result clear(rib_batch_buffer *b)
{
    ipv6_rib_batch_buffer_clear(b);
    return OK;
}
constexpr step_t complete = ipv6_rib_batch_buffer_complete;

TEST(batch_buffer, tables_and_markers)
{
    struct {
        const char *name;
        std::vector<step_t> steps;
        const char *data;
        uint32_t last_rec_off;
    } const cases[] = {
        {"an open table keeps its place in host order", {first_table}, "06 00 0605 0c000000 04030201", 0},
        {"the next table closes it, which counts what followed",
         {complete, first_table, converge, complete, next_table},
         "03 000000  06 00 0506 00000010 01020304  04 000000 21222324 31323334  03 000000  06 00 1615 2c000000 14131211",
         32},
        {"a table that nothing followed, and an open one",
         {first_table, next_table},
         "06 00 0506 00000000 01020304  06 00 1615 18000000 14131211",
         12},
        {"a table opened before a clear is forgotten",
         {complete, first_table, clear, next_table},
         "06 00 1615 0c000000 14131211",
         0},
        {"markers are no cut points within the limit", {converge, complete}, "04 000000 21222324 31323334  03 000000", 16},
    };
    for (const auto &c : cases) {
        const batch_buffer_owner buffer = allocate_batch();
        ipv6_rib_batch_buffer_init2(buffer.get());
        for (const step_t step : c.steps)
            EXPECT_EQ(step(buffer.get()), OK) << c.name;
        EXPECT_TRUE(same_bytes(batch_view_t{buffer.get()}.data(), c.data)) << c.name;
        EXPECT_EQ(batch_view_t{buffer.get()}.last_rec_off(), c.last_rec_off) << c.name;
    }
    const batch_buffer_owner buffer = allocate_batch();
    EXPECT_EQ(first_table(buffer.get()), OK) << "converted at once in a buffer for one table";
    EXPECT_TRUE(same_bytes(batch_view_t{buffer.get()}.data(), "06 00 0506 0000000c 01020304"));
}

TEST(batch_buffer, the_send_limit)
{
    struct {
        const char *name;
        step_t add;
        uint32_t len;  /* bytes that it adds */
        uint32_t room; /* bytes that have to be left for RIB_BATCH_BUFFER_OK */
    } const cases[] = {
        {"completion marker", complete, 4, 4},
        {"convergence marker", converge, 12, 12},
        {"route", add_plain_route, 336, 336},
        {"table, with a route", first_table, 12, 348},
    };
    const batch_buffer_owner buffer = allocate_batch(1);
    const batch_view_t view{buffer.get()};
    for (const auto &c : cases)
        for (const uint32_t over : {0u, 4u}) {
            SCOPED_TRACE(c.name);
            ipv6_rib_batch_buffer_init2(buffer.get());
            fill_to(buffer.get(), SMALL_LIMIT - c.room + over);
            EXPECT_EQ(c.add(buffer.get()), over ? FULL : OK);
            EXPECT_EQ(view.data_len(), SMALL_LIMIT - c.room + over + c.len);
            if (over) {
                EXPECT_EQ(view.last_rec_off(), view.data_len() - c.len);
            }
        }
    ipv6_rib_batch_buffer_init2(buffer.get());
    fill_to(buffer.get(), SMALL_LIMIT);
    ASSERT_EQ(complete(buffer.get()), FULL);
    const bytes_t before = view.all();
    for (const auto &c : cases)
        EXPECT_EQ(c.add(buffer.get()), ERROR) << c.name;
    EXPECT_EQ(ipv6_rib_batch_buffer_init_route(buffer.get(), &PREFIX, 128), ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_route3(buffer.get()), ERROR);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_route2(buffer.get(), &PREFIX, 128, 0, 0, 0, 0, 0, 0), ERROR);
    EXPECT_TRUE(same_bytes(view.all(), before)) << "nothing is added over the limit";
}

TEST(batch_buffer, room_for_routes_and_tables)
{
    const batch_buffer_owner buffer = allocate_batch();
    struct {
        uint16_t paths, routes;
        bool fits;
    } const tables[] = {{1871, 0, true},   {1872, 0, false},   {0, 1522, true},      {0, 1523, false},
                        {1000, 708, true}, {1000, 709, false}, {65535, 65535, false}};
    for (const auto &c : tables) /* 280 bytes for each path, 344 for each route, and 352 */
        EXPECT_EQ(ipv6_rib_batch_buffer_table_fits(buffer.get(), c.paths, c.routes), c.fits) << c.paths << " " << c.routes;
    EXPECT_EQ(ipv6_rib_batch_buffer_route_fits(buffer.get(), 1871), 1);
    for (const uint32_t paths : {1872u, 15339169u, 0x80000000u, 0xFFFFFFFFu}) /* most would wrap 32 bits */
        EXPECT_EQ(ipv6_rib_batch_buffer_route_fits(buffer.get(), paths), 0) << paths;
    fill_to(buffer.get(), NORMAL_LIMIT - 340);
    EXPECT_EQ(ipv6_rib_batch_buffer_route_fits(buffer.get(), 0), 1);
    EXPECT_EQ(ipv6_rib_batch_buffer_table_fits(buffer.get(), 0, 0), 0);
    complete(buffer.get());
    EXPECT_EQ(ipv6_rib_batch_buffer_route_fits(buffer.get(), 0), 0);
}

TEST(batch_buffer, room_for_a_description)
{
    struct {
        const char *name;
        void (*set)(rib_batch_sizes *, uint16_t);
        uint16_t route; /* the most that fits beside 1870 paths, which leave 288 bytes */
        uint16_t table; /* behind a table record of 12 bytes */
    } const cases[] = {
        {"64", [](auto s, uint16_t n) { s->items_64 = n; }, 4, 4},
        {"32 and a head of 16", [](auto s, uint16_t n) { s->items_32 = n; }, 8, 8},
        {"8", [](auto s, uint16_t n) { s->items_8 = n; }, 36, 34},
        {"12", [](auto s, uint16_t n) { s->items_12 = n; }, 24, 23},
        {"16", [](auto s, uint16_t n) { s->items_16 = n; }, 18, 17},
        {"4", [](auto s, uint16_t n) { s->items_4 = n; }, 72, 69},
        {"24, first", [](auto s, uint16_t n) { s->items_24[0] = n; }, 12, 11},
        {"24, second", [](auto s, uint16_t n) { s->items_24[1] = n; }, 12, 11},
        {"24, third", [](auto s, uint16_t n) { s->items_24[2] = n; }, 12, 11},
        {"168 beside 8s", [](auto s, uint16_t n) { s->items_8 = n, s->has_168 = 0x80000000; }, 15, 13},
        {"256 beside 4s", [](auto s, uint16_t n) { s->items_4 = n, s->has_256 = 2; }, 8, 5},
        {"first 4 beside 4s", [](auto s, uint16_t n) { s->items_4 = n, s->has_4[0] = 1; }, 71, 68},
        {"second 4 beside 4s", [](auto s, uint16_t n) { s->items_4 = n, s->has_4[1] = 1; }, 71, 68},
        {"both share 4", [](auto s, uint16_t n) { s->items_4 = n, s->has_4[0] = 1, s->has_4[1] = 1; }, 71, 68},
        {"1 beside 4s", [](auto s, uint16_t n) { s->items_4 = n, s->has_1 = 0x100; }, 71, 68},
        {"24 beside 8s", [](auto s, uint16_t n) { s->items_8 = n, s->has_24 = 1; }, 33, 31},
        {"everything at its largest", [](auto s, uint16_t n) { s->paths = n ? 0xFFFF : 1870, s->items_64 = n; }, 0, 0},
    };
    const batch_buffer_owner buffer = allocate_batch();
    for (const auto &c : cases)
        for (const uint16_t more : {uint16_t{0}, uint16_t{1}}) {
            rib_batch_sizes size = {};
            size.paths = 1870;
            c.set(&size, static_cast<uint16_t>(c.route + more));
            EXPECT_EQ(ipv6_rib_batch_buffer_route_fits2(buffer.get(), &size), !more) << c.name;
            c.set(&size, static_cast<uint16_t>(c.table + more));
            EXPECT_EQ(ipv6_rib_batch_buffer_table_fits2(buffer.get(), &size), !more) << c.name;
        }
    EXPECT_EQ(ipv6_rib_batch_buffer_route_fits2(buffer.get(), nullptr), 0);
    EXPECT_EQ(ipv6_rib_batch_buffer_table_fits2(buffer.get(), nullptr), 0);
    rib_batch_sizes size = {};
    size.paths = 1870;
    size.items_8 = 36;
    complete(buffer.get());
    EXPECT_EQ(ipv6_rib_batch_buffer_route_fits2(buffer.get(), &size), 0) << "what is in the buffer counts";
}
} // namespace
