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
        const auto length = static_cast<uint32_t>(claimed);
        std::memcpy(bytes_.get(), &length, sizeof length);
        if (!records.empty())
            std::memcpy(bytes_.get() + 48, records.data(), records.size());
    }
    uint8_t *get() const { return bytes_.get(); }
    size_t offset(const void *record) const { return static_cast<size_t>(static_cast<const uint8_t *>(record) - bytes_.get()); }
    size_t len() const { return len_; }

private:
    size_t len_;
    std::unique_ptr<uint8_t[]> bytes_;
};

bytes_t two_tables()
{
    return hex(TABLE) + route_result(1, 2) + hex(ADDED_PATH) + hex(DELETED_PATH) + route_result(2, 0) + hex(TABLE) +
           route_result(3, 1) + hex(OTHER_PATH);
}
constexpr size_t ROUTE_1 = 60, PATHS_1 = ROUTE_1 + 336, ROUTE_2 = PATHS_1 + 560, TABLE_2 = ROUTE_2 + 336, ROUTE_3 = TABLE_2 + 12,
                 END = ROUTE_3 + 616;

TEST(batch_results, every_record_in_order)
{
    const reply_t reply(two_tables());
    void *record = ipv6_rib_batch_args_out_first_route(reply.get());
    for (const size_t offset : {size_t{48}, ROUTE_1, ROUTE_2, TABLE_2, ROUTE_3}) {
        ASSERT_NE(record, nullptr) << offset;
        EXPECT_EQ(reply.offset(record), offset);
        if (*static_cast<uint8_t *>(record) == RIB_BATCH_OUT_TABLE) {
            EXPECT_TRUE(same_bytes(bytes_at(record, 12), TABLE_IN_HOST_ORDER));
        } else {
            EXPECT_TRUE(same_bytes(slice(bytes_at(record, 336), 320, 16), ROUTE_WORDS));
        }
        record = ipv6_rib_batch_args_out_next_route(reply.get(), record);
    }
    EXPECT_EQ(record, nullptr);
    EXPECT_EQ(reply.len(), END);
}

TEST(batch_results, tables_with_their_routes_and_paths)
{
    const reply_t reply(two_tables());
    void *table = ipv6_rib_batch_args_out_next_table(reply.get(), nullptr);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(reply.offset(table), 48u);
    EXPECT_TRUE(same_bytes(bytes_at(table, 12), TABLE_IN_HOST_ORDER));

    void *route = ipv6_rib_batch_tbl_out_next_route(reply.get(), table, nullptr);
    ASSERT_NE(route, nullptr);
    EXPECT_EQ(reply.offset(route), ROUTE_1);
    EXPECT_TRUE(same_bytes(slice(bytes_at(route, 336), 0, 6), "01 01 0000 0200"));
    EXPECT_TRUE(same_bytes(slice(bytes_at(route, 336), 320, 16), ROUTE_WORDS));
    void *path = ipv6_rib_batch_route_out_first_path(route);
    ASSERT_NE(path, nullptr);
    EXPECT_EQ(reply.offset(path), PATHS_1);
    EXPECT_TRUE(same_bytes(bytes_at(path, 280), ADDED_PATH_IN_HOST_ORDER));
    path = ipv6_rib_batch_route_out_next_path(route, path);
    ASSERT_NE(path, nullptr);
    EXPECT_TRUE(same_bytes(bytes_at(path, 280), DELETED_PATH_IN_HOST_ORDER));
    EXPECT_EQ(ipv6_rib_batch_route_out_next_path(route, path), nullptr);

    route = ipv6_rib_batch_tbl_out_next_route(reply.get(), table, route);
    ASSERT_NE(route, nullptr);
    EXPECT_EQ(reply.offset(route), ROUTE_2);
    EXPECT_EQ(ipv6_rib_batch_route_out_first_path(route), nullptr) << "a route without paths";
    EXPECT_EQ(ipv6_rib_batch_tbl_out_next_route(reply.get(), table, route), nullptr) << "the next table begins";

    table = ipv6_rib_batch_args_out_next_table(reply.get(), table);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(reply.offset(table), TABLE_2);
    EXPECT_TRUE(same_bytes(bytes_at(table, 12), TABLE_IN_HOST_ORDER));
    route = ipv6_rib_batch_tbl_out_next_route(reply.get(), table, nullptr);
    ASSERT_NE(route, nullptr);
    EXPECT_EQ(reply.offset(route), ROUTE_3);
    path = ipv6_rib_batch_route_out_first_path(route);
    ASSERT_NE(path, nullptr);
    EXPECT_TRUE(same_bytes(bytes_at(path, 280), OTHER_PATH)) << "numbers of other types stay as they are";
    EXPECT_EQ(ipv6_rib_batch_tbl_out_next_route(reply.get(), table, route), nullptr);
    EXPECT_EQ(ipv6_rib_batch_args_out_next_table(reply.get(), table), nullptr);
}

TEST(batch_results, the_walk_begins_by_converting_the_header)
{
    const reply_t reply(hex(TABLE));
    std::memcpy(reply.get() + 8, "\x01\x02\x03\x04\x05\x06", 6);
    ASSERT_NE(ipv6_rib_batch_args_out_first_route(reply.get()), nullptr);
    EXPECT_TRUE(same_bytes(bytes_at(reply.get() + 8, 6), "04030201 0605"));
}

struct next_table_case_t {
    const char *name;
    bytes_t records;
    size_t table; /* offset of the first table, 0 for none */
};

TEST(batch_results, records_before_the_first_table)
{
    const next_table_case_t cases[] = {
        {"a route", route_result(1, 0) + hex(TABLE), 48 + 336},
        {"a record of 8 bytes", hex("02 000000 01020304") + hex(TABLE), 48 + 8},
        {"a record of 12 bytes", hex("05 000000 01020304 05060708") + hex(TABLE), 48 + 12},
        {"a type that ends the walk", hex("03 000000") + hex(TABLE), 0},
        {"no record", {}, 0},
    };
    for (const next_table_case_t &c : cases) {
        const reply_t reply(c.records);
        void *table = ipv6_rib_batch_args_out_next_table(reply.get(), nullptr);
        if (c.table)
            EXPECT_EQ(reply.offset(table), c.table) << c.name;
        else
            EXPECT_EQ(table, nullptr) << c.name;
    }
}

TEST(batch_results, records_of_eight_and_twelve_bytes_are_converted)
{
    const reply_t first(hex("02 000000 01020304"));
    void *record = ipv6_rib_batch_args_out_first_route(first.get());
    ASSERT_NE(record, nullptr);
    EXPECT_TRUE(same_bytes(bytes_at(record, 8), "02 000000 04030201"));
    EXPECT_EQ(ipv6_rib_batch_args_out_next_route(first.get(), record), nullptr);

    const reply_t second(hex(TABLE) + hex("05 000000 01020304 05060708"));
    record = ipv6_rib_batch_args_out_next_route(second.get(), ipv6_rib_batch_args_out_first_route(second.get()));
    ASSERT_NE(record, nullptr);
    EXPECT_TRUE(same_bytes(bytes_at(record, 12), "05 000000 04030201 08070605"));
    EXPECT_EQ(ipv6_rib_batch_args_out_next_route(second.get(), record), nullptr);
}

TEST(batch_results, nothing_to_walk)
{
    EXPECT_EQ(ipv6_rib_batch_args_out_first_route(nullptr), nullptr);
    EXPECT_EQ(ipv6_rib_batch_args_out_next_table(nullptr, nullptr), nullptr);
    const reply_t reply(two_tables());
    EXPECT_EQ(ipv6_rib_batch_args_out_next_route(nullptr, reply.get() + 48), nullptr);
    EXPECT_EQ(ipv6_rib_batch_args_out_next_route(reply.get(), nullptr), nullptr);
    EXPECT_EQ(ipv6_rib_batch_tbl_out_next_route(reply.get(), nullptr, nullptr), nullptr);
    EXPECT_EQ(ipv6_rib_batch_tbl_out_next_route(nullptr, reply.get() + 48, nullptr), nullptr);
    EXPECT_EQ(ipv6_rib_batch_route_out_first_path(nullptr), nullptr);
    EXPECT_EQ(ipv6_rib_batch_route_out_first_path(reply.get() + 48), nullptr) << "a table has no paths";
    EXPECT_EQ(ipv6_rib_batch_route_out_next_path(reply.get() + 48, reply.get() + 60), nullptr);

    void *fresh = ipv6_rib_batch_args_out_allocate();
    EXPECT_EQ(ipv6_rib_batch_args_out_first_route(fresh), nullptr);
    ipv6_rib_batch_args_out_free(fresh);
}

/* Asks for everything there is and checks that all of it lies within the reply. Returns how many records there were. */
size_t walk_all(const reply_t &reply)
{
    size_t records = 0;
    void *table = nullptr;
    while ((table = ipv6_rib_batch_args_out_next_table(reply.get(), table))) {
        ++records;
        EXPECT_LE(reply.offset(table) + 12, reply.len());
        void *route = nullptr;
        while ((route = ipv6_rib_batch_tbl_out_next_route(reply.get(), table, route))) {
            ++records;
            EXPECT_LE(reply.offset(route) + 336, reply.len());
            void *path = ipv6_rib_batch_route_out_first_path(route);
            for (; path; path = ipv6_rib_batch_route_out_next_path(route, path)) {
                ++records;
                EXPECT_LE(reply.offset(path) + 280, reply.len());
            }
        }
    }
    return records;
}

TEST(batch_results, a_reply_that_breaks_off_ends_the_walk)
{
    const bytes_t records = two_tables();
    for (size_t len = 0; len < records.size(); ++len) {
        const size_t end = 48 + len;
        const size_t whole = (end >= ROUTE_1) + (end >= ROUTE_2) * 3u + (end >= TABLE_2) + (end >= ROUTE_3);
        ASSERT_EQ(walk_all(reply_t(slice(records, 0, len))), whole) << len;

        const reply_t reply(slice(records, 0, len));
        for (void *record = ipv6_rib_batch_args_out_first_route(reply.get()); record;
             record = ipv6_rib_batch_args_out_next_route(reply.get(), record))
            ASSERT_LT(reply.offset(record), end);
    }
    EXPECT_EQ(walk_all(reply_t(records)), 8u);
}

TEST(batch_results, a_path_count_beyond_the_reply)
{
    for (const uint16_t paths : {uint16_t{3}, uint16_t{0xFFFF}}) {
        const reply_t reply(hex(TABLE) + route_result(1, paths) + hex(ADDED_PATH) + hex(ADDED_PATH));
        EXPECT_EQ(walk_all(reply), 1u) << "the table alone";
    }
}

/* Half a mebibyte of the smallest records, in an area of that size; what the reply says of its length is not believed. */
TEST(batch_results, a_length_beyond_the_area)
{
    bytes_t records;
    while (48 + records.size() + 8 <= RIB_BATCH_REPLY_BYTES)
        records.insert(records.end(), {0x02, 0, 0, 0, 0x01, 0x02, 0x03, 0x04});
    for (const size_t claimed : {size_t{RIB_BATCH_REPLY_BYTES} + 1, size_t{0xFFFFFFFF}}) {
        const reply_t reply(records, claimed);
        size_t count = 0;
        for (void *record = ipv6_rib_batch_args_out_first_route(reply.get()); record;
             record = ipv6_rib_batch_args_out_next_route(reply.get(), record)) {
            ASSERT_LE(reply.offset(record) + 8, reply.len());
            ++count;
        }
        EXPECT_LE(count, records.size() / 8);
    }
}

TEST(batch_results, a_length_below_the_header)
{
    for (const size_t claimed : {0u, 1u, 47u, 48u}) {
        const reply_t reply(hex(TABLE), claimed);
        EXPECT_EQ(ipv6_rib_batch_args_out_first_route(reply.get()), nullptr) << claimed;
        EXPECT_EQ(ipv6_rib_batch_args_out_next_table(reply.get(), nullptr), nullptr) << claimed;
    }
}

} // namespace
