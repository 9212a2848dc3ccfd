/*
 * Replies that are cut or spoilt in any one place, to batches and to binds: each call ends with a result that is documented,
 * and what it hands out or writes lies within the area that its caller gave.
 */
#include <cstring>
#include <memory>

#include "tests/lib/hostile_reply.h"
#include "tests/support/client_test.h"

namespace
{
constexpr rib_tableid_td TABLE = 0xe0800001;
const in6_addr NEXTHOP = address("20010db8 01020304 05060708 090a0b0c");

/* What a reply area says until the server has answered: no results. */
const bytes_t PRESET = hex("00000030 @24 fffb @48");

int status_of(const bytes_t &reply)
{
    return static_cast<int16_t>(told(reply, 24, 2, PRESET));
}

/* A reply area that is no longer than the reply, by its own word or in fact. An earlier reply left what looks like routes. */
class reply_area
{
public:
    explicit reply_area(const bytes_t &reply)
    {
        const uint32_t claimed = told(reply, 0, 4, PRESET);
        len_ = claimed <= RIB_BATCH_REPLY_BYTES ? claimed : 0;
        const size_t room = std::max({PRESET.size(), reply.size(), size_t{len_}});
        bytes_ = std::make_unique<uint8_t[]>(room);
        std::memset(bytes_.get(), RIB_BATCH_OUT_ROUTE, room);
    }
    uint8_t *get() const { return bytes_.get(); }
    /* Whether there is a result; expects that all of it is in the reply. */
    bool holds(const void *result, size_t len) const
    {
        EXPECT_TRUE(!result || (result >= get() + PRESET.size() && static_cast<const uint8_t *>(result) + len <= get() + len_));
        return result;
    }

private:
    uint32_t len_;
    std::unique_ptr<uint8_t[]> bytes_;
};

void walk_paths(const reply_area &area, void *route)
{
    void *path = ipv6_rib_batch_route_out_first_path(route);
    while (area.holds(path, sizeof(rib_batch_path_out)))
        path = ipv6_rib_batch_route_out_next_path(route, path);
}

void walk_records(const reply_area &area)
{
    void *record = ipv6_rib_batch_args_out_first_route(area.get());
    for (; area.holds(record, 1); record = ipv6_rib_batch_args_out_next_route(area.get(), record))
        walk_paths(area, record);
}

/* With the routes of each table, or stepping over them as they arrived. */
template <bool routes> void walk_tables(const reply_area &area)
{
    void *table = nullptr, *route = nullptr;
    while (area.holds(table = ipv6_rib_batch_args_out_next_table(area.get(), table), sizeof(rib_batch_table_out)))
        while (routes &&
               area.holds(route = ipv6_rib_batch_tbl_out_next_route(area.get(), table, route), sizeof(rib_batch_route_out)))
            walk_paths(area, route);
}

/* Sends a batch, and walks its results whatever the status is. */
template <void (*walk)(const reply_area &)> void send_batch(ipv6_rib_conn_p conn, const bytes_t &reply)
{
    static rib_batch_buffer *const buffer = ipv6_rib_batch_buffer_allocate(1);
    ipv6_rib_batch_buffer_init(buffer, TABLE, 1);
    ipv6_rib_batch_buffer_complete(buffer);
    const reply_area area(reply);
    EXPECT_EQ(ipv6_rib_batch_buffer_send(conn, buffer, area.get()), status_of(reply));
    walk(area);
}

constexpr uint32_t records_of_buffer = 7281, results_of_reply = 8737;

/* Sends so many records of a protocol batch, in two messages when one does not hold them, with slots for so many results. */
template <uint32_t records, uint32_t slots> void send_protocols(ipv6_rib_conn_p conn, const bytes_t &reply)
{
    static rib_batch_buffer *const chain = ipv6_rib_batch_proto_buffer_allocate(records);
    ipv6_rib_batch_proto_buffer_init(chain);
    for (uint32_t n = 0; n != records; ++n)
        ipv6_rib_batch_buffer_del_proto(chain, n, 1);
    static const auto results = std::make_unique<rib_proto_result[]>(slots);
    std::memset(results.get(), 0xee, slots * sizeof(rib_proto_result));
    uint32_t received = 0;
    const int result = ipv6_rib_batch_proto_buffer_send(conn, chain, results.get(), slots, &received);
    const uint64_t each = told(reply, 8), all = each * (records > records_of_buffer ? 2 : 1);
    EXPECT_EQ(result, each <= results_of_reply && all <= slots ? status_of(reply) : RIB_RESULT_INVALID_PARAMETER);
    ASSERT_LE(received, slots);
    if (received < slots) {
        EXPECT_EQ(bytes_at(&results[received], sizeof(rib_proto_result)), hex("ee*60"));
    }
}

/* The word that answers a batch of registrations, as it arrives. */
errcode word_of(const bytes_t &reply)
{
    return __builtin_bswap32(told(reply));
}

/* The hundredth record sends, too. */
void follow_next_hops(ipv6_rib_conn_p conn, const bytes_t &reply)
{
    EXPECT_EQ(ipv6_rib_nh_batch_init(conn, 0), word_of(reply));
    for (uint32_t n = 1; n <= 100; ++n)
        EXPECT_EQ(ipv6_rib_nh_batch_register(conn, 1, TABLE, &NEXTHOP, 128, n), n < 100 ? 0 : word_of(reply));
    EXPECT_EQ(ipv6_rib_nh_batch_finish(conn), word_of(reply));
}

void register_at_once(ipv6_rib_conn_p conn, const bytes_t &)
{
    const auto way = std::make_unique<rib_next_hop_update>();
    EXPECT_EQ(ipv6_rib_nh_batch_sync_register(conn, TABLE, &NEXTHOP, 128, 1, way.get()), 0u);
}

template <uint64_t flags> void redistribute(ipv6_rib_conn_p conn, const bytes_t &reply)
{
    uint16_t count = 0, finished = 0;
    EXPECT_EQ(ipv6_rib_redist_batch_init2(conn, RIB_REDIST_BEST, flags), 0u);
    EXPECT_EQ(ipv6_rib_redist_batch_register(conn, 1, TABLE, RIB_REDIST_BEST, 0, 0, &count), 0u);
    EXPECT_EQ(ipv6_rib_redist_batch_finish(conn, &finished), word_of(reply));
    EXPECT_EQ(finished, word_of(reply) ? 0 : count);
}

/* What a client is told of a bind. */
void expect_told(ipv6_rib_conn_p conn, int32_t connid, const bytes_t &reply)
{
    const errcode code = connid != -1 ? 0 : told(reply) < 4096 ? static_cast<errcode>(errno) : told(reply);
    EXPECT_TRUE(told(reply) ? code == told(reply) : code == 0 || code == EBADMSG) << code;
    EXPECT_EQ(ipv6_rib_get_my_client_id(conn), code ? 0xFFFFFFFF : told(reply, 8));
}

void bind_anew(ipv6_rib_conn_p, const bytes_t &reply)
{
    ipv6_rib_conn_p conn = nullptr;
    const int32_t connid = ipv6_rib_bind(&conn);
    expect_told(conn, connid, reply);
    ipv6_rib_unbind(&conn);
    EXPECT_EQ(fake_msg_chan().connects.size(), fake_msg_chan().disconnects.size());
}

void rebind(ipv6_rib_conn_p conn, const bytes_t &reply)
{
    expect_told(conn, ipv6_rib_rebind(conn), reply);
}

struct hostile_case_t {
    const char *name;
    bytes_t reply; /* of a server that agrees */
    void (*drive)(ipv6_rib_conn_p conn, const bytes_t &reply);
};

bytes_t batch_reply(const bytes_t &results, uint32_t count = 0)
{
    bytes_t reply = hex("00*8 00000000 1112 @24 0001 2122 @48") + results;
    put_net(&reply, 0, reply.size(), 4);
    put_net(&reply, 8, count, 4);
    return reply;
}
/* Fills its area, with the record that is read at the end. */
bytes_t bind_reply(const char *format)
{
    return hex("00000000 1a2b3c4d 00c0ffee 00*4 0063 00e0 11*224 00*4 0068 0008 01") + hex(format) + hex("0000 00000001 00*8");
}

std::vector<hostile_case_t> all_cases()
{
    const bytes_t none = hex("01 30 0000 0000 @320 0102030405060708 11121314 21222324");
    const bytes_t route = hex("01 30 0000 0002 @320 0102030405060708 11121314 21222324") +
                          hex("01 000000 31323334 @40 41424344 51525354 61626364 @280") +
                          hex("02 000000 31323334 @24 41424344 51525354 61626364 @280");
    const bytes_t table = hex("06 00 0102 11121314 2122 0000");
    const bytes_t small = hex("02 000000 01020304") + hex("05 000000 01020304 05060708");
    const bytes_t records = batch_reply(none + route + small), tables = batch_reply(small + table + route + table + none);
    const bytes_t entry = hex("01020304 'red' @48 11121314 2122 3132 41424344"), word(4);
    const bytes_t way = hex("11121314 a0*20 1516 1718 b0*20 21222324 2526 2728 31323334 41424344 51525354 61626364 71727374"
                            "81828384 91929394 9596 9798");
    return {
        {"batch, records", records, send_batch<walk_records>},
        {"batch, tables and their routes", tables, send_batch<walk_tables<true>>},
        {"batch, tables", tables, send_batch<walk_tables<false>>},
        {"protocols", batch_reply(entry + entry, 2), send_protocols<2, 3>},
        {"protocols, more slots than a reply has", batch_reply(entry + entry, 2), send_protocols<2, 10000>},
        {"protocols, two messages, more results than slots", batch_reply(entry, 4000), send_protocols<7282, 7283>},
        {"next hops", word, follow_next_hops},
        {"next hop at once", way, register_at_once},
        {"redistribution", word, redistribute<0>},
        {"redistribution, short form", word, redistribute<RIB_REDIST_INIT_ISSU>},
        {"bind, format 0", bind_reply("00"), bind_anew},
        {"bind, format 1", bind_reply("01"), bind_anew},
        {"rebind, format 0", bind_reply("00"), rebind},
        {"rebind, format 1", bind_reply("01"), rebind},
    };
}

using hostile_batch = client_test;

TEST_F(hostile_batch, every_reply_survives_it)
{
    for (const hostile_case_t &c : all_cases()) {
        SetUp();
        bind();
        each_spoilt(c.reply, [&](const bytes_t &reply, size_t offset, const char *how) {
            SCOPED_TRACE(std::string(c.name) + ": byte " + std::to_string(offset) + " " + how);
            fake_msg_chan().forget_calls();
            fake_msg_chan().forget_answers();
            for (unsigned message = 0; message != 3; ++message)
                fake_msg_chan().answer(reply);
            c.drive(conn, reply);
            captured_tev();
        });
    }
}
} // namespace
