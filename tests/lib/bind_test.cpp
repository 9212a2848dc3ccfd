/*
 * Binding: what each entry point connects to, the bytes with which a client introduces itself, and every way to fail.
 */
#include <csignal>
#include <cstring>

#include "tests/support/client_test.h"

namespace
{
using bind_test = client_test;

/* The introduction of a client without an event; @ offsets are those of the body plus 24. */
constexpr const char *INTRODUCTION = "0080a505 @20 00000018" // the message type travels in host order
                                     "@24 00000001"          // no event
                                     "@104 'node-7' @136 'routed'"
                                     "@176 00*4 002c 0004 02 00"; // the option follows at 186
bytes_t introduction(const char *option)
{
    return hex(std::string(INTRODUCTION) + option + "00*8");
}

/* Either bind is called: those that name an event manager have a NULL for the other. */
struct entry_case_t {
    const char *name;
    int32_t (*bind)(ipv6_rib_conn_p *);
    int32_t (*bind_mevm)(event_manager *, ipv6_rib_conn_p *);
    const char *service, *option; /* 16 bits in the byte order of the host */
    uint32_t flags = 0x20000;
    const char *version = "";
    int32_t call(event_manager *manager, ipv6_rib_conn_p *conn) const { return bind ? bind(conn) : bind_mevm(manager, conn); }
};
const entry_case_t entry_cases[] = {
    {"bind", ipv6_rib_bind, nullptr, "/dev/ip/ipv6_rib", "0000"},
    {"bind_v2", [](auto conn) { return ipv6_rib_bind_v2(conn, 1); }, nullptr, "/dev/ip/ipv6_rib", "0000"},
    {"active", ipv6_rib_bind_active, nullptr, "/dev/ip/ipv6_rib_active", "0100"},
    {"standby", ipv6_rib_bind_standby, nullptr, "/dev/ip/ipv6_rib_standby", "0200"},
    {"primary", ipv6_rib_bind_primary_active, nullptr, "/dev/ip/ipv6_rib_active", "0100", 0, "@8 01 00*3 01 00*3 02 @56"},
    {"mevm", nullptr, ipv6_rib_bind_mevm, "/dev/ip/ipv6_rib", "0000"},
    {"active mevm", nullptr, ipv6_rib_bind_active_mevm, "/dev/ip/ipv6_rib_active", "0100"},
    {"standby mevm", nullptr, ipv6_rib_bind_standby_mevm, "/dev/ip/ipv6_rib_standby", "0200"},
};

TEST_F(bind_test, entry_points_without_event)
{
    for (const entry_case_t &c : entry_cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        EXPECT_EQ(c.call(nullptr, nullptr), -1);
        EXPECT_EQ(ipv6_rib_conn_p_get_msg_conn(nullptr), 0u);
        EXPECT_EQ(ipv6_rib_get_conn_afi(nullptr), 0xFFFFFFFFu);
        EXPECT_EQ(ipv6_rib_get_my_client_id(nullptr), 0xFFFFFFFFu);
        EXPECT_EQ(ipv6_rib_collocated(nullptr), 0);
        EXPECT_TRUE(fake_msg_chan().connects.empty()) << "no handle variable";
        fake_msg_chan().answer(BIND_REPLY);
        /* Without an event manager the bind looks for the first registered one: there is none. */
        EXPECT_EQ(c.call(nullptr, &conn), fake_msg_chan_t::FIRST_CONNID);
        ASSERT_NE(conn, nullptr);
        EXPECT_EQ(fake_msg_chan().connects, (std::vector<chan_connect_t>{{c.service, c.flags, 0, hex(c.version)}}));
        EXPECT_TRUE(same_bytes(only_sent(), introduction(c.option)));
        EXPECT_EQ(fake_msg_chan().sent[0].chan, fake_msg_chan_t::FIRST_CHAN);
        EXPECT_EQ(fake_msg_chan().sent[0].room, 268u);
        EXPECT_TRUE(same_bytes(fake_msg_chan().sent[0].area, "00*48"));
        EXPECT_EQ(ipv6_rib_conn_p_get_msg_conn(conn), fake_msg_chan_t::FIRST_CHAN);
        EXPECT_EQ(ipv6_rib_get_conn_afi(conn), 2u);
        EXPECT_EQ(ipv6_rib_get_my_client_id(conn), 0x00c0ffeeu);
        EXPECT_EQ(captured_tev(), tev_lines({}));
    }
}

void ignore_event(void *, uint32_t, void *) {}

TEST_F(bind_test, event_manager_is_introduced_with_the_connection_as_pulse_value)
{
    for (const unsigned manager : {1u, 2u})
        ASSERT_EQ(ipv6_rib_notify(fake_manager(manager), 5, ignore_event, nullptr), 0u);
    for (const entry_case_t &c : entry_cases) {
        SCOPED_TRACE(c.name);
        fake_msg_chan().forget_calls();
        fake_msg_chan().answer(BIND_REPLY);
        EXPECT_GT(c.call(fake_manager(2), &conn), 0);
        ASSERT_NE(conn, nullptr);
        /* The event is copied as it stands in memory. A bind that names no manager takes the first one registered. */
        bytes_t event(8), pulse(8);
        put_net(&pulse, 0, reinterpret_cast<uintptr_t>(conn), 8);
        event = event + bytes_at(&conn, 8) + fake_event_tail(fake_manager(c.bind ? 1 : 2)) + pulse;
        const bytes_t expected = introduction(c.option);
        EXPECT_TRUE(same_bytes(only_sent(), slice(expected, 0, 24) + event + slice(expected, 104, SIZE_MAX)));
        ipv6_rib_unbind(&conn);
        if (c.bind_mevm) {
            EXPECT_EQ(c.bind_mevm(fake_manager(3), &conn), -1) << "not registered";
        }
        EXPECT_EQ(fake_msg_chan().connects.size(), 1u);
    }
}

TEST_F(bind_test, process_name)
{
    const std::string longest = "abcdefghijklmnopqrstuvwxyz0123456789ABC";
    const std::pair<std::string, std::string> cases[] = {
        {"/usr/sbin/ospf6d", "ospf6d"}, {"isis", "isis"}, {"/bin/" + longest, longest}, {"/bin/" + longest + "D", longest}};
    for (const auto &[path, process] : cases) {
        SetUp();
        fake_identity().process_path = path;
        fake_msg_chan().answer(BIND_REPLY);
        ipv6_rib_bind(&conn);
        EXPECT_TRUE(same_bytes(slice(only_sent(), 136, 40), "'" + process + "' @40"));
    }
}

TEST_F(bind_test, bind_data_alone_goes_out_as_for_the_standby_path)
{
    bind();
    sigevent event;
    std::memset(&event, 0x5e, sizeof event);
    fake_msg_chan().answer("00000000 0a0b0c0d 00001234 00*8");
    EXPECT_EQ(ipv6_rib_client_bind_data(conn, &event, 0x0102030405060708, 1, 3), 0u);
    EXPECT_TRUE(same_bytes(only_sent(), "0080a505 @20 00000018 @24 00000000 @32 5e*64 @96 0102030405060708"
                                        "@104 'node-7' @136 'routed' @176 00*4 002c 0004 03 00 0200 00*8"));
    EXPECT_EQ(ipv6_rib_get_my_client_id(conn), 0x1234u);
    EXPECT_EQ(ipv6_rib_collocated(conn), 1);

    fake_msg_chan().forget_calls();
    fake_msg_chan().answer("00000016 0a0b0c0d 00001234");
    EXPECT_EQ(ipv6_rib_client_bind_data(conn, nullptr, 0, 0, 2), 0x16u);
    EXPECT_TRUE(same_bytes(only_sent(), introduction("0200")));
    EXPECT_EQ(ipv6_rib_get_my_client_id(conn), 0xFFFFFFFFu);
    EXPECT_EQ(ipv6_rib_collocated(conn), 0);
    EXPECT_EQ(ipv6_rib_client_bind_data(nullptr, &event, 0, 0, 2), RIB_LIB_ERR_BAD_ARG);
}

TEST_F(bind_test, nodes_that_are_both_unknown_count_as_the_same)
{
    bind();
    fake_identity().node_id_error = EIO;
    EXPECT_EQ(ipv6_rib_client_bind_data(conn, nullptr, 0, 0, 2), RIB_LIB_ERR_CLIENT_INFO);
    EXPECT_TRUE(fake_msg_chan().sent.empty());
    EXPECT_EQ(ipv6_rib_collocated(conn), 0);
    fake_identity().node_id_error = 0;
    fake_msg_chan().fail(ECONNRESET);
    EXPECT_EQ(ipv6_rib_client_bind_data(conn, nullptr, 0, 0, 2), uint32_t{ECONNRESET});
    fake_identity().node_id_error = EIO;
    EXPECT_EQ(ipv6_rib_client_bind_data(conn, nullptr, 0, 0, 2), RIB_LIB_ERR_CLIENT_INFO);
    EXPECT_EQ(ipv6_rib_collocated(conn), 1);
}

TEST_F(bind_test, replies)
{
    struct {
        const char *name, *reply; /* behind the result, the node and the client id */
        bool bound;
    } const cases[] = {
        {"no record in the list", "00*8", true},
        {"an unknown record is passed over", "00*4 0063 0003 aabbcc 00*4 0068 0008 01010000 00000001 00*8", true},
        {"no presence bit", "00*4 0068 0004 01 00 0000 00*8", true},
        {"an empty record is ignored", "00*4 0068 0000 00*8", true},
        {"a record that does not decode is ignored", "00*4 0068 0002 01 01 00*8", true},
        {"a reply that ends behind the numbers", "", true},
        {"the list fills the reply", "00*4 0063 00f0 11*240 00*8", true},
        {"a record that leaves the reply", "00*4 0068 ffff 01010000", false},
        {"no delimiter before the reply ends", "00*4 0063 00f8 11*248", false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        fake_msg_chan().answer(hex("00000000 1a2b3c4d 00c0ffee") + hex(c.reply));
        EXPECT_EQ(ipv6_rib_bind(&conn), c.bound ? fake_msg_chan_t::FIRST_CONNID : -1);
        EXPECT_EQ(ipv6_rib_get_my_client_id(conn), c.bound ? 0xc0ffee : 0xFFFFFFFF);
        EXPECT_EQ(fake_msg_chan().disconnects.size(), c.bound ? 0u : 1u);
    }
}

TEST_F(bind_test, failures_leave_the_handle_alone)
{
    struct {
        const char *name;
        void (*provoke)();
        size_t sends, disconnects;
        std::vector<tev_line_t> lines = {};
    } const cases[] = {
        {"no channel: nothing to disconnect", [] { fake_msg_chan().connect_error = ECONNREFUSED; }, 0, 0},
        {"no node name", [] { fake_identity().node_name_error = EIO; }, 0, 1},
        {"no node id", [] { fake_identity().node_id_error = EIO; }, 0, 1},
        {"no process name", [] { fake_identity().process_error = EIO; }, 0, 1},
        {"the exchange fails", [] { fake_msg_chan().fail(ECONNRESET); }, 1, 1},
        {"the server refuses", [] { fake_msg_chan().answer("42d29400 1a2b3c4d 00c0ffee 00*8"); }, 1, 1},
        {"no connection id", [] { fake_msg_chan().answer(BIND_REPLY), fake_msg_chan().connid_error = EBADF; }, 1, 1},
        {"the disconnect of the failed bind fails too",
         [] { fake_msg_chan().fail(ECONNRESET), fake_msg_chan().disconnect_error = EBADF; },
         1,
         1,
         {lock_fatal("rib_client_handle_bind_failure", "disconnect", EBADF)}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        c.provoke();
        EXPECT_EQ(ipv6_rib_bind(&conn), -1);
        EXPECT_EQ(conn, nullptr);
        EXPECT_EQ(fake_msg_chan().connects.size(), 1u);
        EXPECT_EQ(fake_msg_chan().sent.size(), c.sends);
        EXPECT_EQ(fake_msg_chan().disconnects.size(), c.disconnects);
        EXPECT_EQ(captured_tev(), c.lines);
    }
}

TEST_F(bind_test, each_allocation_may_fail)
{
    for (size_t nth = 1;; ++nth) {
        SetUp();
        fake_msg_chan().answer(BIND_REPLY);
        const failing_alloc alloc(nth);
        const int32_t id = ipv6_rib_bind(&conn);
        if (alloc.count() < nth) {
            EXPECT_GT(nth, 2u) << "the record and the reply are allocated";
            EXPECT_EQ(id, fake_msg_chan_t::FIRST_CONNID);
            return;
        }
        EXPECT_EQ(id, -1) << nth;
        EXPECT_EQ(conn, nullptr) << nth;
        EXPECT_EQ(fake_msg_chan().connects.size(), fake_msg_chan().disconnects.size()) << nth;
    }
}

TEST_F(bind_test, a_set_handle_is_reported_and_replaced)
{
    bind();
    const ipv6_rib_conn_p old = conn;
    fake_msg_chan().answer(BIND_REPLY);
    EXPECT_EQ(ipv6_rib_bind(&conn), fake_msg_chan_t::FIRST_CONNID + 1);
    EXPECT_NE(conn, old);
    EXPECT_EQ(captured_tev(),
              tev_lines({{"ERR_POSSIBLE_CONNECTION_LEAK", 4,
                          "RIB client binding with a non-NULL connection handle. Potential client memory leak."}}));
    EXPECT_EQ(ipv6_rib_conn_p_get_msg_conn(old), fake_msg_chan_t::FIRST_CHAN) << "the old connection is left as it was";

    const ipv6_rib_conn_p kept = conn;
    fake_msg_chan().connect_error = ENOENT;
    EXPECT_EQ(ipv6_rib_bind(&conn), -1);
    EXPECT_EQ(conn, kept);
    ipv6_rib_conn_p first = old;
    ipv6_rib_unbind(&first);
}
} // namespace
