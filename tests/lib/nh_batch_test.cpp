/*
 * Batches of next-hop registrations: every record as it is sent, the message that is full, each state of the buffer, and the
 * registration that is answered at once.
 */
#include "tests/support/failing_locks.h"

namespace
{
constexpr rib_tableid_td TABLE = 0xe0800001, OTHER_TABLE = 0xe08000ff;
constexpr uint32_t VALUE = 0x21222324;
const std::string ADDR = " 20010db8 01020304 05060708 090a0b0c ";
const in6_addr NEXTHOP = address(ADDR), ALL_ONES = address("ff*16");
/* What stands before and behind the 40 bytes of a record. */
const std::string RECORD = " 00*4 001e 0028 ", END = " 00*8 ";
const bytes_t WORD = hex("01020304"); /* of a server that refuses; returned as it comes */
constexpr size_t FULL = 5628;

/* The answer to a synchronous registration, and as it is told; either is the other one converted. */
const bytes_t REPLY =
    hex("11121314 a0*20 1516 1718 b0*20 21222324 2526 2728 31323334 41424344 51525354 61626364 71727374 81828384"
        "91929394 9596 9798");
const bytes_t TOLD = hex("14131211 a0*20 1615 1817 b0*20 24232221 2625 2827 34333231 44434241 54535251 64636261 74737271 84838281"
                         "94939291 9695 9897");

class nh_batch : public lock_test
{
protected:
    void SetUp() override
    {
        lock_test::SetUp();
        bind();
    }
    /* From here on that is the only answer, without one the exchange fails; and only what follows counts as sent. */
    static void expect_exchange(const std::optional<bytes_t> &answer = bytes_t(4))
    {
        fake_msg_chan().forget_calls();
        fake_msg_chan().forget_answers();
        if (answer)
            fake_msg_chan().answer(*answer);
        else
            fake_msg_chan().fail(ECONNRESET);
    }
    /* An open batch, of which nothing counts as sent. */
    void open()
    {
        expect_exchange();
        ASSERT_EQ(ipv6_rib_nh_batch_init(conn, 0), 0u);
        fake_msg_chan().forget_calls();
    }
    errcode add(rib_tableid_td table = TABLE, int adds = 0x100, uint32_t value = VALUE)
    {
        return ipv6_rib_nh_batch_register(conn, adds, table, &NEXTHOP, 128, value);
    }
    errcode finish(const std::optional<bytes_t> &answer = bytes_t(4))
    {
        expect_exchange(answer);
        return ipv6_rib_nh_batch_finish(conn);
    }
    errcode sync(rib_tableid_td table, void *reply, const in6_addr *nexthop = &NEXTHOP, uint32_t prefixlen = 128)
    {
        return ipv6_rib_nh_batch_sync_register(conn, table, nexthop, prefixlen, VALUE, reply);
    }
    struct kind_t {
        const char *name;
        errcode (*call)(nh_batch *);
        const char *table_when_full; /* in the header; a converge record is noted there behind the send only */
        std::string value;           /* the first 32 bytes */
    };
    const std::vector<kind_t> kinds = {
        {"register", [](nh_batch *t) { return t->add(OTHER_TABLE); }, "e08000ff",
         "00000001 e08000ff" + ADDR + "00000080 21222324"},
        {"unregister", [](nh_batch *t) { return t->add(OTHER_TABLE, 0); }, "e08000ff",
         "00000002 e08000ff" + ADDR + "00000080 21222324"},
        {"converge", [](nh_batch *t) { return ipv6_rib_nh_batch_register_converge(t->conn, OTHER_TABLE); }, "00000063",
         "00000003 e08000ff 00*24"},
        {"no more", [](nh_batch *t) { return ipv6_rib_nh_batch_unregister_converge(t->conn, OTHER_TABLE); }, "00000063",
         "00000004 e08000ff 00*24"},
    };
    /* There is no buffer: records and a finish are refused, and nothing is sent. */
    void expect_closed()
    {
        EXPECT_EQ(add(), RIB_LIB_ERR_BAD_ARG);
        EXPECT_EQ(ipv6_rib_nh_batch_register_converge(conn, TABLE), RIB_LIB_ERR_BAD_ARG);
        EXPECT_EQ(ipv6_rib_nh_batch_unregister_converge(conn, TABLE), RIB_LIB_ERR_BAD_ARG);
        EXPECT_EQ(finish(), RIB_LIB_ERR_BAD_ARG);
        EXPECT_TRUE(fake_msg_chan().calls.empty());
    }
};

TEST_F(nh_batch, as_sent)
{
    for (const auto &c : kinds)
        for (const int flag : {0, 0x100}) {
            SCOPED_TRACE(std::string(c.name) + ", flag " + std::to_string(flag));
            SetUp();
            const std::string tail = flag ? " 01 00*7" : " 00*8";
            expect_exchange();
            EXPECT_EQ(ipv6_rib_nh_batch_init(conn, flag), 0u);
            EXPECT_TRUE(same_bytes(only_sent(), hex("74800000 @24 00000038" + RECORD + "00*32" + tail + END)));
            EXPECT_EQ(fake_msg_chan().sent[0].room, 4u);
            EXPECT_EQ(fake_msg_chan().sent[0].area, bytes_t(4)) << "a server that does not answer agrees";
            fake_msg_chan().forget_calls();
            EXPECT_EQ(c.call(this), 0u);
            EXPECT_TRUE(fake_msg_chan().calls.empty());
            EXPECT_EQ(finish(), 0u);
            EXPECT_TRUE(same_bytes(only_sent(), hex("74800000 @20 e08000ff 00000070" + RECORD + c.value + tail + END + RECORD +
                                                    "00000006 e08000ff 00*32" + END)))
                << "the flag of the opening record stays where it stood";
        }
}

/* The numbers that a record does not write are converted with it all the same, to and fro. */
TEST_F(nh_batch, a_record_keeps_what_it_does_not_write)
{
    expect_exchange();
    EXPECT_EQ(ipv6_rib_nh_batch_init(conn, 1), 0u);
    EXPECT_EQ(add(), 0u);
    EXPECT_EQ(finish(), 0u);
    EXPECT_EQ(finish(), 0u);
    EXPECT_TRUE(same_bytes(only_sent(), hex("74800000 @20 e0800001 00000038" + RECORD + "00000006 e0800001" + ADDR +
                                            "80000000 24232221 01 00*7" + END)));
    EXPECT_EQ(ipv6_rib_nh_batch_register_converge(conn, 0xe0800002), 0u);
    EXPECT_EQ(finish(), 0u);
    EXPECT_TRUE(same_bytes(only_sent(), hex("74800000 @20 e0800002 00000070" + RECORD + "00000003 e0800002" + ADDR +
                                            "00000080 21222324 01 00*7" + END + RECORD + "00000006 e0800002 00*32" + END)));
    EXPECT_EQ(ipv6_rib_nh_batch_unregister_converge(conn, 0xe0800003), 0u);
    expect_exchange();
    EXPECT_EQ(ipv6_rib_nh_batch_init(conn, 0), 0u);
    EXPECT_TRUE(same_bytes(only_sent(), hex("74800000 @20 e0800003 00000038" + RECORD + "00000000 e0800003" + ADDR +
                                            "00000080 21222324 00*8" + END)))
        << "the table outlives the record that was dropped";
}

TEST_F(nh_batch, the_hundredth_record_sends)
{
    for (const auto &c : kinds)
        for (const bool lost : {false, true}) {
            SCOPED_TRACE(std::string(c.name) + (lost ? ", lost" : ""));
            SetUp();
            open();
            bytes_t sent = hex(std::string("74800000 @20 ") + c.table_when_full + "000015e0");
            for (uint8_t n = 1; n <= 99; ++n) {
                ASSERT_EQ(add(n, 0x100, n), 0u);
                bytes_t record = hex(RECORD + "00000001 000000 00" + ADDR + "00000080 000000 00 00*8" + END);
                record[15] = record[39] = n;
                sent = sent + record;
            }
            EXPECT_TRUE(fake_msg_chan().calls.empty());
            expect_exchange(lost ? std::nullopt : std::optional(WORD));
            EXPECT_EQ(c.call(this), lost ? RIB_LIB_ERR_BATCH_SEND : 0x04030201u);
            EXPECT_TRUE(same_bytes(only_sent(), sent + hex(RECORD + c.value + " 00*8 " + END)));
            EXPECT_EQ(finish(), 0u);
            EXPECT_TRUE(same_bytes(only_sent(), hex("74800000 @20 e08000ff 00000070" + RECORD + "00000007 e08000ff" + ADDR +
                                                    "80000000 01000000 00*8" + END + RECORD + "00000006 e08000ff" + ADDR +
                                                    "80000000 02000000 00*8" + END)));
        }
}

TEST_F(nh_batch, what_counts_as_a_record)
{
    open();
    for (int n = 0; n < 99; ++n)
        ASSERT_EQ(add(), 0u);
    EXPECT_EQ(finish(), 0u);
    EXPECT_EQ(only_sent().size(), FULL);
    EXPECT_EQ(slice(only_sent(), FULL - 48, 4), hex("00000006")) << "there is room for the finish";
    for (const int records : {100, 99, 99}) {
        fake_msg_chan().forget_calls();
        for (int n = 1; n < records; ++n)
            ASSERT_EQ(add(), 0u);
        EXPECT_TRUE(fake_msg_chan().calls.empty());
        expect_exchange();
        EXPECT_EQ(add(), 0u);
        EXPECT_EQ(only_sent().size(), FULL);
        EXPECT_EQ(slice(only_sent(), 36, 4), hex(records == 100 ? "00000001" : "00000007")) << "a continuation is one";
    }
}

TEST_F(nh_batch, states)
{
    expect_closed();
    ipv6_rib_nh_batch_free(conn);
    ipv6_rib_nh_batch_free(nullptr);
    expect_exchange(std::nullopt);
    EXPECT_EQ(ipv6_rib_nh_batch_init(conn, 0), RIB_LIB_ERR_BATCH_SEND);
    EXPECT_EQ(add(), 0u) << "open all the same";
    EXPECT_EQ(finish(WORD), 0x04030201u);
    EXPECT_EQ(only_sent().size(), 28u + 2 * 56);
    EXPECT_EQ(add(), 0u);
    EXPECT_EQ(finish(std::nullopt), RIB_LIB_ERR_BATCH_SEND);
    EXPECT_EQ(finish(), 0u);
    EXPECT_EQ(only_sent().size(), 28u + 56) << "what was lost is not sent again";
    EXPECT_EQ(add(), 0u);
    ipv6_rib_nh_batch_free(conn);
    expect_closed();
    expect_exchange(WORD);
    EXPECT_EQ(ipv6_rib_nh_batch_init(conn, 0), 0x04030201u);
    EXPECT_TRUE(same_bytes(only_sent(), hex("74800000 @24 00000038" + RECORD + "00*40" + END))) << "a fresh buffer";
    EXPECT_EQ(add(), 0u) << "freed with the connection";
}

TEST_F(nh_batch, arguments)
{
    EXPECT_EQ(ipv6_rib_nh_batch_init(nullptr, 0), RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(ipv6_rib_nh_batch_register(nullptr, 1, TABLE, &NEXTHOP, 0, 0), RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(ipv6_rib_nh_batch_register_converge(nullptr, TABLE), RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(ipv6_rib_nh_batch_unregister_converge(nullptr, TABLE), RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(ipv6_rib_nh_batch_finish(nullptr), RIB_LIB_ERR_BAD_ARG);
    bytes_t out(88, 0xee);
    EXPECT_EQ(ipv6_rib_nh_batch_sync_register(nullptr, 0, &NEXTHOP, 0, 0, out.data()), RIB_LIB_ERR_BAD_ARG);
    open();
    const failing_alloc alloc(1);
    for (const rib_tableid_td table : {TABLE, 0u}) {
        const std::pair<const in6_addr *, uint32_t> bad[] = {{nullptr, 48}, {&ALL_ONES, 48}, {&NEXTHOP, 129}, {&NEXTHOP, ~0u}};
        for (const auto &[nexthop, prefixlen] : bad) {
            EXPECT_EQ(ipv6_rib_nh_batch_register(conn, 1, table, nexthop, prefixlen, 0), RIB_LIB_ERR_BAD_ARG);
            EXPECT_EQ(sync(table, out.data(), nexthop, prefixlen), RIB_LIB_ERR_BAD_ARG);
        }
        EXPECT_EQ(sync(table, nullptr), RIB_LIB_ERR_BAD_ARG);
    }
    EXPECT_EQ(sync(0, out.data()), RIB_LIB_ERR_NO_TABLE) << "looked at before memory";
    EXPECT_EQ(out, bytes_t(88, 0xee));
    EXPECT_TRUE(fake_msg_chan().calls.empty());
    EXPECT_EQ(finish(), 0u);
    EXPECT_TRUE(same_bytes(only_sent(), hex("74800000 @24 00000038" + RECORD + "00000006 00*36" + END))) << "no trace of them";
}

TEST_F(nh_batch, answered_at_once)
{
    const bytes_t half = slice(TOLD, 0, 26) + slice(REPLY, 26, 88);
    const struct {
        const char *name;
        std::optional<bytes_t> answer;
        bytes_t told; /* over what stood there, which is converted in any case */
    } cases[] = {
        {"an answer", REPLY, TOLD},
        {"as long as it may be", REPLY + bytes_t(524288 - 88, 0xa5), TOLD},
        {"cut between two numbers", slice(REPLY, 0, 26), half},
        {"empty", bytes_t(), REPLY},
        {"none", std::nullopt, REPLY},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        open();
        EXPECT_EQ(add(OTHER_TABLE), 0u);
        expect_exchange(c.answer);
        const bytes_t guard(9, 0xee);
        bytes_t out = guard + TOLD + guard;
        EXPECT_EQ(sync(TABLE, out.data() + guard.size()), c.answer ? 0u : RIB_LIB_ERR_BATCH_SEND);
        EXPECT_TRUE(same_bytes(out, guard + c.told + guard));
        EXPECT_TRUE(same_bytes(
            only_sent(), hex("74800000 @24 00000038" + RECORD + "00000005 e0800001" + ADDR + "00000080 21222324 00*8" + END)));
        EXPECT_EQ(fake_msg_chan().sent[0].room, 524288u);
        EXPECT_EQ(finish(), 0u);
        EXPECT_TRUE(same_bytes(slice(only_sent(), 0, 28), "74800000 @20 e08000ff 00000070")) << "the batch is as it was";
    }
}

TEST_F(nh_batch, memory)
{
    {
        const failing_alloc alloc(1);
        EXPECT_EQ(ipv6_rib_nh_batch_init(conn, 0), RIB_LIB_ERR_NO_MEMORY);
    }
    expect_closed();
    open();
    {
        const failing_alloc alloc(0);
        expect_exchange();
        EXPECT_EQ(ipv6_rib_nh_batch_init(conn, 0), 0u);
        EXPECT_EQ(add(), 0u);
        EXPECT_EQ(finish(), 0u);
        EXPECT_EQ(alloc.count(), 0u) << "the buffer is used again";
    }
    size_t nth = 1;
    for (errcode code = RIB_LIB_ERR_NO_MEMORY; code; ++nth) {
        expect_exchange(bytes_t());
        bytes_t out = TOLD;
        const failing_alloc alloc(nth);
        code = sync(TABLE, out.data());
        ASSERT_EQ(code, alloc.count() < nth ? 0u : RIB_LIB_ERR_NO_MEMORY);
        EXPECT_TRUE(same_bytes(out, code ? TOLD : REPLY));
        EXPECT_EQ(fake_msg_chan().calls.empty(), code != 0);
    }
    EXPECT_GT(nth, 2u) << "some allocation was refused";
}

TEST_F(nh_batch, locks_that_fail)
{
    bytes_t out(88, 0xee);
    const struct {
        const char *function;
        std::function<errcode()> call;
        errcode result = 0;
    } cases[] = {
        {"rib_lib_nh_batch_init", [&] { return ipv6_rib_nh_batch_init(conn, 1); }},
        {"rib_lib_nh_batch_register", [&] { return add(OTHER_TABLE); }},
        {"rib_lib_nh_batch_register", [&] { return ipv6_rib_nh_batch_register(conn, 1, TABLE, nullptr, 0, 0); },
         RIB_LIB_ERR_BAD_ARG},
        {"rib_lib_nh_batch_register_converge", [&] { return ipv6_rib_nh_batch_register_converge(conn, OTHER_TABLE); }},
        {"rib_lib_nh_batch_unregister_converge", [&] { return ipv6_rib_nh_batch_unregister_converge(conn, OTHER_TABLE); }},
        {"rib_lib_nh_batch_finish", [&] { return ipv6_rib_nh_batch_finish(conn); }},
        {"rib_lib_nh_batch_sync_register", [&] { return sync(0, out.data()); }, RIB_LIB_ERR_NO_TABLE},
        {"rib_lib_nh_batch_free", [&] { return ipv6_rib_nh_batch_free(conn), 0u; }},
    };
    open();
    for (const auto &c : cases) {
        fail_locks("trylock");
        EXPECT_EQ(c.call(), 0u) << c.function;
        fail_locks("");
        EXPECT_EQ(captured_tev(), tev_lines({lock_fatal(c.function, "lock", EOWNERDEAD)}));
    }
    EXPECT_TRUE(fake_msg_chan().calls.empty());
    EXPECT_EQ(finish(), 0u);
    EXPECT_TRUE(same_bytes(slice(only_sent(), 0, 28), "74800000 @24 00000038")) << "the batch is as it was";
    for (const auto &c : cases) {
        expect_exchange();
        fail_locks("unlock");
        EXPECT_EQ(c.call(), c.result) << c.function;
        fail_locks("");
        EXPECT_EQ(captured_tev(), tev_lines({lock_fatal("rib_client_mutex_unlock_inline", "unlock", EPERM),
                                             lock_fatal(c.function, "unlock", EPERM)}));
    }
}
} // namespace
