/*
 * Walking the results of a batch: every way through a reply written by hand, and replies that promise more than they hold.
 */
#include <cstring>
#include <memory>

#include "tests/support/client_test.h"

namespace
{
bytes_t route_result(uint8_t number, uint16_t paths)
{
    bytes_t route = hex("01 00 00 00 0000 @48 20010db8 @320 0102030405060708 11121314 21222324");
    route[1] = number;
    put_net(&route, 4, paths, 2);
    return route;
}
constexpr const char *ROUTE_WORDS = "0807060504030201 14131211 24232221"; /* at 320, in host order */
const char *ADDED_PATH = "01 e1e2e3 11121314 @40 21222324 31323334 41424344 @280";
const char *ADDED_PATH_IN_HOST_ORDER = "01 e1e2e3 14131211 @40 24232221 34333231 44434241 @280";
const char *DELETED_PATH = "02 e1e2e3 11121314 @24 21222324 31323334 41424344 @280";
const char *DELETED_PATH_IN_HOST_ORDER = "02 e1e2e3 14131211 @24 24232221 34333231 44434241 @280";
const char *OTHER_PATH = "05 e1e2e3 11121314 @280";
const char *TABLE = "06 e1 0102 11121314 2122 e2e3";
const char *TABLE_IN_HOST_ORDER = "06 e1 0201 14131211 2221 e2e3";

/* Records as a send leaves them behind the header, in a block of exactly their length. */
class reply_t
{
public:
    explicit reply_t(const bytes_t &records) : reply_t(records, 48 + records.size()) {}
    reply_t(const bytes_t &records, size_t claimed) : len_(48 + records.size()), bytes_(std::make_unique<uint8_t[]>(len_))
    {
        std::memcpy(bytes_.get(), &claimed, 4);
        std::copy(records.begin(), records.end(), bytes_.get() + 48);
    }
    uint8_t *get() const { return bytes_.get(); }
    size_t len() const { return len_; }
    /* Where a record stands; 0 for none. */
    size_t offset(const void *record) const { return record ? size_t(static_cast<const uint8_t *>(record) - bytes_.get()) : 0; }
    void *first() const { return ipv6_rib_batch_args_out_first_route(get()); }
    void *next(void *record) const { return ipv6_rib_batch_args_out_next_route(get(), record); }
    void *next_table(void *table) const { return ipv6_rib_batch_args_out_next_table(get(), table); }
    void *next_route(void *table, void *route) const { return ipv6_rib_batch_tbl_out_next_route(get(), table, route); }

private:
    size_t len_;
    std::unique_ptr<uint8_t[]> bytes_;
};

bytes_t two_tables()
{
    return hex(TABLE) + route_result(1, 2) + hex(ADDED_PATH) + hex(DELETED_PATH) + route_result(2, 0) + hex(TABLE) +
           route_result(3, 1) + hex(OTHER_PATH);
}
constexpr size_t ROUTE_1 = 60, PATHS_1 = ROUTE_1 + 336, ROUTE_2 = PATHS_1 + 560, TABLE_2 = ROUTE_2 + 336, ROUTE_3 = TABLE_2 + 12;

TEST(batch_results, every_record_in_order)
{
    const reply_t reply(two_tables());
    std::memcpy(reply.get() + 8, "\x01\x02\x03\x04\x05\x06", 6);
    void *record = reply.first();
    EXPECT_TRUE(same_bytes(bytes_at(reply.get() + 8, 6), "04030201 0605")) << "the walk begins with the header";
    for (const size_t offset : {size_t{48}, ROUTE_1, ROUTE_2, TABLE_2, ROUTE_3}) {
        ASSERT_EQ(reply.offset(record), offset);
        const bool table = *static_cast<uint8_t *>(record) == RIB_BATCH_OUT_TABLE;
        const bytes_t got = table ? bytes_at(record, 12) : slice(bytes_at(record, 336), 320, 16);
        EXPECT_TRUE(same_bytes(got, table ? TABLE_IN_HOST_ORDER : ROUTE_WORDS));
        record = reply.next(record);
    }
    EXPECT_EQ(record, nullptr);
}

TEST(batch_results, tables_with_their_routes_and_paths)
{
    const reply_t reply(two_tables());
    void *table = reply.next_table(nullptr);
    ASSERT_EQ(reply.offset(table), 48u);
    EXPECT_TRUE(same_bytes(bytes_at(table, 12), TABLE_IN_HOST_ORDER));
    void *route = reply.next_route(table, nullptr);
    ASSERT_EQ(reply.offset(route), ROUTE_1);
    EXPECT_TRUE(same_bytes(bytes_at(route, 6), "01 01 0000 0200"));
    EXPECT_TRUE(same_bytes(slice(bytes_at(route, 336), 320, 16), ROUTE_WORDS));
    void *path = ipv6_rib_batch_route_out_first_path(route);
    ASSERT_EQ(reply.offset(path), PATHS_1);
    EXPECT_TRUE(same_bytes(bytes_at(path, 280), ADDED_PATH_IN_HOST_ORDER));
    path = ipv6_rib_batch_route_out_next_path(route, path);
    ASSERT_EQ(reply.offset(path), PATHS_1 + 280);
    EXPECT_TRUE(same_bytes(bytes_at(path, 280), DELETED_PATH_IN_HOST_ORDER));
    EXPECT_EQ(ipv6_rib_batch_route_out_next_path(route, path), nullptr);

    route = reply.next_route(table, route);
    ASSERT_EQ(reply.offset(route), ROUTE_2);
    EXPECT_EQ(ipv6_rib_batch_route_out_first_path(route), nullptr) << "a route without paths";
    EXPECT_EQ(reply.next_route(table, route), nullptr) << "the next table begins";

    table = reply.next_table(table);
    ASSERT_EQ(reply.offset(table), TABLE_2);
    route = reply.next_route(table, nullptr);
    ASSERT_EQ(reply.offset(route), ROUTE_3);
    path = ipv6_rib_batch_route_out_first_path(route);
    ASSERT_NE(path, nullptr);
    EXPECT_TRUE(same_bytes(bytes_at(path, 280), OTHER_PATH)) << "numbers of other types stay as they are";
    EXPECT_EQ(reply.next_route(table, route), nullptr);
    EXPECT_EQ(reply.next_table(table), nullptr);
}

TEST(batch_results, records_before_the_first_table)
{
    struct {
        const char *name;
        bytes_t record;
        const char *converted;
        size_t table; /* offset of the first table, 0 for none */
    } const cases[] = {
        {"a route", route_result(1, 0), "01 01 0000", 48 + 336},
        {"a record of 8 bytes", hex("02 000000 01020304"), "02 000000 04030201", 48 + 8},
        {"a record of 12 bytes", hex("05 000000 01020304 05060708"), "05 000000 04030201 08070605", 48 + 12},
        {"a type that ends the walk", hex("03 000000"), "03 000000", 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const reply_t tables(c.record + hex(TABLE)), records(c.record);
        EXPECT_EQ(tables.offset(tables.next_table(nullptr)), c.table);
        void *record = records.first();
        EXPECT_EQ(records.offset(record), 48u);
        EXPECT_TRUE(same_bytes(bytes_at(records.get() + 48, hex(c.converted).size()), c.converted));
        EXPECT_EQ(records.next(record), nullptr);
    }
}

TEST(batch_results, nothing_to_walk)
{
    EXPECT_EQ(ipv6_rib_batch_args_out_first_route(nullptr), nullptr);
    EXPECT_EQ(ipv6_rib_batch_args_out_next_table(nullptr, nullptr), nullptr);
    const reply_t reply(two_tables());
    EXPECT_EQ(ipv6_rib_batch_args_out_next_route(nullptr, reply.get() + 48), nullptr);
    EXPECT_EQ(reply.next(nullptr), nullptr);
    EXPECT_EQ(reply.next_route(nullptr, nullptr), nullptr);
    EXPECT_EQ(ipv6_rib_batch_tbl_out_next_route(nullptr, reply.get() + 48, nullptr), nullptr);
    EXPECT_EQ(ipv6_rib_batch_route_out_first_path(nullptr), nullptr);
    EXPECT_EQ(ipv6_rib_batch_route_out_first_path(reply.get() + 48), nullptr) << "a table has no paths";
    EXPECT_EQ(ipv6_rib_batch_route_out_next_path(reply.get() + 48, reply.get() + 60), nullptr);
    for (const size_t claimed : {0u, 1u, 47u, 48u}) {
        const reply_t shorter(hex(TABLE), claimed);
        EXPECT_EQ(shorter.first(), nullptr) << claimed;
        EXPECT_EQ(shorter.next_table(nullptr), nullptr) << claimed;
    }
}

/* Asks for everything there is and checks that all of it lies within the reply. Returns how many records there were. */
size_t walk_all(const reply_t &reply)
{
    size_t records = 0;
    const auto within = [&](void *record, size_t len) {
        records += record != nullptr;
        EXPECT_LE(reply.offset(record) + (record ? len : 0), reply.len());
        return record;
    };
    void *table = nullptr, *route = nullptr;
    while ((table = within(reply.next_table(table), 12)))
        while ((route = within(reply.next_route(table, route), 336))) {
            void *path = within(ipv6_rib_batch_route_out_first_path(route), 280);
            while (path)
                path = within(ipv6_rib_batch_route_out_next_path(route, path), 280);
        }
    for (void *record = reply.first(); record; record = reply.next(record))
        EXPECT_LE(reply.offset(record) + 4, reply.len());
    return records;
}

TEST(batch_results, a_reply_that_breaks_off_ends_the_walk)
{
    const bytes_t records = two_tables();
    for (size_t len = 0; len < records.size(); ++len) {
        const size_t end = 48 + len;
        const size_t whole = (end >= ROUTE_1) + (end >= ROUTE_2) * 3u + (end >= TABLE_2) + (end >= ROUTE_3);
        ASSERT_EQ(walk_all(reply_t(slice(records, 0, len))), whole) << len;
    }
    EXPECT_EQ(walk_all(reply_t(records)), 8u);
    for (const uint16_t paths : {uint16_t{3}, uint16_t{0xFFFF}})
        EXPECT_EQ(walk_all(reply_t(hex(TABLE) + route_result(1, paths) + hex(ADDED_PATH) + hex(ADDED_PATH))), 1u) << "a table";
}

/* Half a mebibyte of the smallest records, in an area of that size; what the reply says of its length is not believed. */
TEST(batch_results, a_length_beyond_the_area)
{
    bytes_t records;
    while (48 + records.size() + 8 <= RIB_BATCH_REPLY_BYTES)
        records.insert(records.end(), {0x02, 0, 0, 0, 0x01, 0x02, 0x03, 0x04});
    for (const size_t claimed : {size_t{RIB_BATCH_REPLY_BYTES} + 1, size_t{0xFFFFFFFF}}) {
        const reply_t reply(records, claimed);
        for (void *record = reply.first(); record; record = reply.next(record))
            ASSERT_LE(reply.offset(record) + 8, reply.len());
    }
}
} // namespace
