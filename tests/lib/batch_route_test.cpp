/*
 * Routes and their paths in a batch buffer: every form of adding and withdrawing, the bytes, and what paths do to the route.
 */
#include <cstring>

#include "tests/support/batch_fixture.h"

namespace
{
constexpr auto OK = RIB_BATCH_BUFFER_OK, FULL = RIB_BATCH_BUFFER_FULL, ERROR = RIB_BATCH_BUFFER_ERROR;
using step_t = rib_batch_buffer_result (*)(rib_batch_buffer *);

/* Caller items: 16-bit count, a word, then items of 8 bytes that tell their place; at most nine are there. */
bytes_t attr_array(uint16_t count)
{
    bytes_t array = bytes_at(&count, 2) + hex("a2a3");
    for (unsigned at = 0; at < std::min<unsigned>(count, 9) * 8; ++at)
        array.push_back(static_cast<uint8_t>(at / 8 * 16 + at % 8));
    return array;
}

rib_batch_buffer_result add_path2(rib_batch_buffer *b, uint32_t label, const void *array)
{
    return ipv6_rib_batch_buffer_add_path2(b, 0x11121314, 0x0102030405060708, &NEXTHOP, 0x51525354, &SOURCE, 0x21222324, 0x4142,
                                           0x61626364, label, array);
}
rib_batch_buffer_result add_path3(rib_batch_buffer *b, uint32_t afi, const void *source)
{
    ip_rib_qlfd_addr_td from = {.afi = afi, .addr = {}};
    if (afi == 1)
        from.addr.v4 = static_cast<const in_addr *>(source);
    else
        from.addr.v6 = static_cast<const in6_addr *>(source);
    return ipv6_rib_batch_buffer_add_path3(b, 0x11121314, 0x0102030405060708, &NEXTHOP, 0x51525354, 0x21222324, from, 0x31323334,
                                           0x4142, 0x61626364, 0x000abcde, nullptr);
}
/* Opens a path and finishes it. */
template <step_t init, step_t done> rib_batch_buffer_result in_steps(rib_batch_buffer *b)
{
    EXPECT_EQ(init(b), OK);
    return done(b);
}

const std::string PREFIX_AND_END = std::string("@48 ") + PREFIX_BYTES + "@336";

struct route_case_t {
    const char *name;
    step_t fill;
    std::string data;
};
const route_case_t route_cases[] = {
    {"the caller's flag travels in the lowest bit",
     [](auto b) { return ipv6_rib_batch_buffer_add_route(b, &PREFIX, 128, 0x0102, 1); },
     "01 80 0e 00 0000 0102 00008000 @20 00100001 00*7 80 @32 01 @41 ffff 0000 01" + PREFIX_AND_END},
    {"only the lowest bit of the flag counts",
     [](auto b) { return ipv6_rib_batch_buffer_add_route(b, &PREFIX, 0, 0x0102, 0xFFFFFFFE); },
     "01 00 0e 00 0000 0102 00008000 @20 00100001 00*7 80 @32 00 @41 ffff 0000 01" + PREFIX_AND_END},
    {"every caller value in its place",
     [](auto b) { return ipv6_rib_batch_buffer_add_route2(b, &PREFIX, 64, 0x0102, 0x11121314, 0x21222324, 1, 0x31323334, 0x41); },
     "01 40 0e 00 0000 0102 11129314 21222324 31323334 00100001 00*7 80 01 @40 41 ffff 0000 01" + PREFIX_AND_END},
    {"a route in three steps, begun again over another",
     [](auto b) {
         ipv6_rib_batch_buffer_add_route2(b, &PREFIX, 64, 0x0102, 0x11121314, 0x21222324, 1, 0x31323334, 0x41);
         ipv6_rib_batch_buffer_clear(b);
         EXPECT_EQ(ipv6_rib_batch_buffer_init_route(b, &NEXTHOP, 64), OK);
         EXPECT_EQ(ipv6_rib_batch_buffer_init_route(b, &PREFIX, 48), OK);
         EXPECT_EQ(ipv6_rib_batch_buffer_is_empty(b), 1) << "open records do not count yet";
         return ipv6_rib_batch_buffer_add_route3(b);
     },
     "01 30 0e 00 0000 0000 00008000 @20 00100001 00*7 80 @41 ffff 0000 01" + PREFIX_AND_END},
    {"routes follow one another at any offset",
     [](auto b) {
         ipv6_rib_batch_buffer_complete(b);
         add_plain_route(b);
         return ipv6_rib_batch_buffer_add_route(b, &NEXTHOP, 10, 0x0708, 0);
     },
     "03 000000 01 30 0e 00 0000 0506 00008000 @24 00100001 00*7 80 @45 ffff 0000 01 @52 " + std::string(PREFIX_BYTES) +
         "@340 01 0a 0e 00 0000 0708 00008000 @360 00100001 00*7 80 @381 ffff 0000 01 @388 " + NEXTHOP_BYTES + "@676"},
};

TEST(batch_route, data_bytes)
{
    for (const route_case_t &c : route_cases) {
        const batch_buffer_owner buffer = allocate_batch();
        EXPECT_EQ(c.fill(buffer.get()), OK) << c.name;
        EXPECT_TRUE(same_bytes(batch_view_t{buffer.get()}.data(), c.data)) << c.name;
    }
}

TEST(batch_route, the_cut_point_is_the_last_route)
{
    const batch_buffer_owner buffer = allocate_batch();
    EXPECT_EQ(ipv6_rib_batch_buffer_add_route3(buffer.get()), ERROR) << "nothing is open";
    add_plain_route(buffer.get());
    add_path(buffer.get());
    EXPECT_EQ(batch_view_t{buffer.get()}.last_rec_off(), 0u) << "paths belong to their route";
    ipv6_rib_batch_buffer_init_route(buffer.get(), &PREFIX, 48);
    EXPECT_EQ(batch_view_t{buffer.get()}.last_rec_off(), 616u);
    ipv6_rib_batch_buffer_add_route3(buffer.get());
    EXPECT_EQ(batch_view_t{buffer.get()}.last_rec_off(), 616u);
    EXPECT_EQ(batch_view_t{buffer.get()}.data_len(), 952u);
}

/* A path of the calls above: its byte at 2, the words at 20, and what stands behind the next hop at 176. */
std::string added(const char *label_bit, const char *words, const std::string &behind)
{
    return std::string("01 00 ") + label_bit + "00 21222324 0102030405060708 4142 0000" + words +
           "00*8 00100001 @80 00000200 @152 11121314 @160 " + NEXTHOP_BYTES + behind;
}
const std::string FROM_V6 = std::string("@184 ") + SOURCE_BYTES + "@224 02";
const std::string WITHDRAWN = std::string("@40 0002 @112 11121314 @120 ") + NEXTHOP_BYTES;

struct path_case_t {
    const char *name;
    step_t fill;     /* behind add_plain_route() */
    bool no_primary; /* the route's bits afterwards */
    std::string path;
};
const path_case_t path_cases[] = {
    {"add_path", add_path, false, added("00", "31323334 00000000 00100001", FROM_V6 + "@280")},
    {"add_path2 without a label", [](auto b) { return add_path2(b, RIB_LABEL_NONE, nullptr); }, false,
     added("00", "00*4 61626364 00100001", "51525354" + FROM_V6 + "@280")},
    {"add_path2 with a label, and with no items", [](auto b) { return add_path2(b, 0, attr_array(0).data()); }, false,
     added("01", "00*4 61626364 00000000", "51525354" + FROM_V6 + "@280")},
    {"add_path2 with items, which stay in host order", [](auto b) { return add_path2(b, 0x000abcde, attr_array(2).data()); },
     false,
     added("01", "00*4 61626364 000abcde",
           "51525354" + FROM_V6 + "@272 0018 0000 01 00 1400 0200 a2a3 0001020304050607 1011121314151617 @304")},
    {"add_path3 with a source of IPv6", [](auto b) { return add_path3(b, 2, &SOURCE); }, false,
     added("01", "31323334 61626364 000abcde", "51525354" + FROM_V6 + "@280")},
    {"add_path3 with a source of IPv4", [](auto b) { return add_path3(b, 1, "\xc0\x00\x02\x01"); }, false,
     added("01", "31323334 61626364 000abcde", "51525354 @184 c0000201 @224 01 @280")},
    {"a path in steps", in_steps<add_path_init, ipv6_rib_batch_buffer_add_path_done>, false, OPENED},
    {"a backup path leaves the route without a primary one", in_steps<add_path_init, ipv6_rib_batch_buffer_add_backup_path_done>,
     true, OPENED},
    {"delete_path", [](auto b) { return ipv6_rib_batch_buffer_delete_path(b, &NEXTHOP, 0x11121314, 0x21222324); }, false,
     "02" + WITHDRAWN + "@236 21222324 @280"},
    {"delete_path2", [](auto b) { return ipv6_rib_batch_buffer_delete_path2(b, &NEXTHOP, 0x31323334, 0x11121314, 0x21222324); },
     false, "02" + WITHDRAWN + "31323334 @236 21222324 @280"},
    {"delete_path3",
     [](auto b) { return ipv6_rib_batch_buffer_delete_path3(b, &NEXTHOP, 0x31323334, 0x11121314, 0x21222324, 0x41); }, false,
     "02 00 41" + WITHDRAWN + "31323334 @236 21222324 @280"},
    {"a withdrawal in steps", in_steps<del_path_init, ipv6_rib_batch_buffer_del_path_done>, false, WITHDRAWAL},
    {"a backup withdrawal", in_steps<del_path_init, ipv6_rib_batch_buffer_del_backup_path_done>, true, WITHDRAWAL},
};

TEST(batch_path, data_bytes_wherever_they_stand)
{
    for (const path_case_t &c : path_cases)
        for (const bool second : {false, true}) {
            SCOPED_TRACE(c.name);
            const batch_buffer_owner buffer = allocate_batch();
            ASSERT_EQ(add_plain_route(buffer.get()), OK);
            if (second)
                add_path2(buffer.get(), 1, attr_array(3).data()); /* 312 bytes */
            EXPECT_EQ(c.fill(buffer.get()), OK);
            const bytes_t data = batch_view_t{buffer.get()}.data();
            EXPECT_TRUE(same_bytes(slice(data, 0, 336), plain_route(second ? "0002" : "0001", c.no_primary && !second)));
            EXPECT_TRUE(same_bytes(slice(data, second ? 648 : 336, SIZE_MAX), c.path));
        }
}

TEST(batch_path, the_first_primary_path_clears_the_bits_whatever_the_caller_gave)
{
    const batch_buffer_owner buffer = allocate_batch();
    ipv6_rib_batch_buffer_add_route2(buffer.get(), &PREFIX, 64, 0, 0xFFFFFFFF, 0, 0, 0, 0);
    add_path(buffer.get());
    EXPECT_TRUE(same_bytes(slice(batch_view_t{buffer.get()}.data(), 8, 4), "ffff7fff"));
    EXPECT_TRUE(same_bytes(slice(batch_view_t{buffer.get()}.data(), 24, 8), "00*8"));
}

const step_t path_calls[] = {
    add_path,
    [](auto b) { return add_path2(b, 5, attr_array(8).data()); },
    [](auto b) { return ipv6_rib_batch_buffer_delete_path(b, &NEXTHOP, 0, 0); },
    [](auto b) { return ipv6_rib_batch_buffer_delete_path2(b, &NEXTHOP, 0, 0, 0); },
    [](auto b) { return ipv6_rib_batch_buffer_delete_path3(b, &NEXTHOP, 0, 0, 0, 0); },
    add_path_init,
    del_path_init,
};
const step_t path_ends[] = {ipv6_rib_batch_buffer_add_path_done, ipv6_rib_batch_buffer_add_backup_path_done,
                            ipv6_rib_batch_buffer_del_path_done, ipv6_rib_batch_buffer_del_backup_path_done};

TEST(batch_path, paths_need_a_route_and_ends_an_open_path)
{
    struct {
        const char *name;
        void (*end)(rib_batch_buffer *); /* what comes behind a route */
        bool paths_fit;
    } const cases[] = {
        {"a route", [](auto) {}, true},
        {"a completion marker", [](auto b) { ipv6_rib_batch_buffer_complete(b); }, false},
        {"a convergence marker", [](auto b) { ipv6_rib_batch_buffer_converge(b, 1, 2); }, false},
        {"a buffer that was cleared", [](auto b) { ipv6_rib_batch_buffer_clear(b); }, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const batch_buffer_owner buffer = allocate_batch();
        add_plain_route(buffer.get());
        c.end(buffer.get());
        const bytes_t before = batch_view_t{buffer.get()}.all();
        for (const step_t end : path_ends)
            EXPECT_EQ(end(buffer.get()), ERROR);
        if (!c.paths_fit) {
            for (const step_t call : path_calls)
                EXPECT_EQ(call(buffer.get()), ERROR);
        }
        EXPECT_TRUE(same_bytes(batch_view_t{buffer.get()}.all(), before));
    }
    EXPECT_EQ(add_path(allocate_batch().get()), ERROR) << "an empty buffer";
}

TEST(batch_path, a_route_takes_2048_paths)
{
    const batch_buffer_owner buffer = allocate_batch();
    add_plain_route(buffer.get());
    for (unsigned n = 0; n < 2047; ++n)
        ASSERT_GT(ipv6_rib_batch_buffer_delete_path(buffer.get(), &NEXTHOP, n, 0), 0) << n;
    EXPECT_EQ(add_path(buffer.get()), FULL);
    const bytes_t before = batch_view_t{buffer.get()}.all();
    EXPECT_TRUE(same_bytes(slice(before, 80, 336), plain_route("0800", false)));
    for (const step_t call : path_calls)
        EXPECT_EQ(call(buffer.get()), ERROR);
    EXPECT_TRUE(same_bytes(batch_view_t{buffer.get()}.all(), before));
}

TEST(batch_path, items_of_an_array)
{
    struct {
        uint16_t items;
        rib_batch_buffer_result result;
        uint32_t len;
    } const cases[] = {{1, OK, 280 + 16},
                       {8, OK, 280 + 72},
                       {9, RIB_BATCH_BUFFER_TOO_MANY_ITEMS, 0},
                       {0xFFFF, RIB_BATCH_BUFFER_TOO_MANY_ITEMS, 0}};
    for (const auto &c : cases) {
        const batch_buffer_owner buffer = used_batch();
        add_plain_route(buffer.get());
        EXPECT_EQ(add_path2(buffer.get(), 5, attr_array(c.items).data()), c.result) << c.items;
        const bytes_t data = batch_view_t{buffer.get()}.data();
        EXPECT_EQ(data.size(), 336 + c.len) << c.items;
        if (c.len != 0) {
            EXPECT_TRUE(same_bytes(slice(data, 336 + c.len - 4, 4), "00*4")) << "nothing of what stood there before";
        }
        EXPECT_TRUE(same_bytes(slice(data, 0, 336), plain_route(c.len ? "0001" : "0000", c.len == 0)));
    }
}

TEST(batch_path, a_path_may_cross_the_limit)
{
    const batch_buffer_owner buffer = allocate_batch();
    const batch_view_t view{buffer.get()};
    fill_to(buffer.get(), 523664);
    EXPECT_EQ(add_plain_route(buffer.get()), OK); /* at 524,000 now */
    EXPECT_EQ(add_path(buffer.get()), FULL);
    EXPECT_EQ(view.data_len(), 524280u);
    EXPECT_EQ(view.last_rec_off(), 523664u);
    EXPECT_EQ((in_steps<add_path_init, ipv6_rib_batch_buffer_add_path_done>(buffer.get())), FULL);
    EXPECT_EQ((in_steps<del_path_init, ipv6_rib_batch_buffer_del_backup_path_done>(buffer.get())), FULL);
    EXPECT_EQ(view.data_len(), 524840u);
    EXPECT_TRUE(same_bytes(slice(view.data(), 523664, 336), plain_route("0003", false)));
}

TEST(batch_path, expected_attributes_have_to_fit_the_capacity)
{
    constexpr auto ADD = ipv6_rib_batch_buffer_add_path_init, DEL = ipv6_rib_batch_buffer_del_path_init;
    /* Behind one route, with the 344 bytes of a path, 1,434,004 bytes of the capacity are left. */
    struct {
        const char *name;
        decltype(&ipv6_rib_batch_buffer_add_path_init) init;
        uint32_t count_a, count_b, count_c, flags;
        bool fits;
    } const cases[] = {
        {"first array", ADD, 179250, 0, 0, 0, true},
        {"first array, one more", ADD, 179251, 0, 0, 0, false},
        {"a first array that wraps", ADD, 0x20000000, 0, 0, 0, false},
        {"a first array that wraps only with its head", ADD, 0x1FFFFFFF, 0, 0, 0, false},
        {"both arrays", ADD, 113714, 65535, 0, 0, true},
        {"both arrays, one more", ADD, 113715, 65535, 0, 0, false},
        {"32-byte items", ADD, 0, 0, 44812, 0, true},
        {"32-byte items, one more", ADD, 0, 0, 44813, 0, false},
        {"every single value", ADD, 179238, 0, 0, 0x3e, true},
        {"every single value, one more", ADD, 179239, 0, 0, 0x3e, false},
        {"a withdrawal expects no 8-byte items", DEL, 0xFFFFFFFF, 0xFFFF, 0, 0x1e, true},
        {"a withdrawal with 32-byte items", DEL, 0, 0, 44812, 0, true},
        {"a withdrawal with 32-byte items and one of 24", DEL, 0, 0, 44812, 0x20, false},
    };
    for (const auto &c : cases) {
        const batch_buffer_owner buffer = allocate_batch();
        add_plain_route(buffer.get());
        rib_batch_path_init_in in = path_init();
        in.pi_count_a = c.count_a;
        in.pi_count_b = static_cast<decltype(in.pi_count_b)>(c.count_b);
        in.pi_count_c = static_cast<decltype(in.pi_count_c)>(c.count_c);
        in.pi_flags = static_cast<decltype(in.pi_flags)>(c.flags);
        EXPECT_EQ(c.init(buffer.get(), &NEXTHOP, &in), c.fits ? OK : ERROR) << c.name;
        EXPECT_TRUE(same_bytes(batch_view_t{buffer.get()}.data(), plain_route(c.fits ? "0001" : "0000", true))) << c.name;
    }
}

TEST(batch_path, broken_contracts)
{
    const batch_buffer_owner owner = allocate_batch();
    rib_batch_buffer *buffer = owner.get();
    add_plain_route(buffer);
    rib_batch_path_init_in in = path_init();
    EXPECT_DEATH(ipv6_rib_batch_buffer_add_route(buffer, nullptr, 1, 0, 0), NO_ADDRESS);
    EXPECT_DEATH(ipv6_rib_batch_buffer_add_route2(buffer, nullptr, 1, 0, 0, 0, 0, 0, 0), NO_ADDRESS);
    EXPECT_DEATH(ipv6_rib_batch_buffer_init_route(buffer, nullptr, 1), NO_ADDRESS);
    EXPECT_DEATH(ipv6_rib_batch_buffer_add_path(buffer, 0, 0, nullptr, &SOURCE, 0, 0, 0), NO_ADDRESS);
    EXPECT_DEATH(ipv6_rib_batch_buffer_delete_path(buffer, nullptr, 0, 0), NO_ADDRESS);
    EXPECT_DEATH(ipv6_rib_batch_buffer_add_path_init(buffer, nullptr, &in), NO_ADDRESS);
    EXPECT_DEATH(ipv6_rib_batch_buffer_del_path_init(buffer, nullptr, &in), NO_ADDRESS);

    const std::string unit = "ip/rib/lib/src/rib_lib_batch.*rib_batch_buffer_set_path_infosource.*Assertion `";
    EXPECT_DEATH(ipv6_rib_batch_buffer_add_path(buffer, 0, 0, &NEXTHOP, nullptr, 0, 0, 0), unit + "infosource->addr.v6' failed");
    EXPECT_DEATH(add_path3(buffer, 2, nullptr), unit + "infosource->addr.v6' failed");
    EXPECT_DEATH(add_path3(buffer, 1, nullptr), unit + "infosource->addr.v4' failed");
    EXPECT_DEATH(add_path3(buffer, 0, &SOURCE), unit + "0' failed");
    in.pi_infosource.afi = 3;
    EXPECT_DEATH(ipv6_rib_batch_buffer_add_path_init(buffer, &NEXTHOP, &in), unit + "0' failed");
}
} // namespace
