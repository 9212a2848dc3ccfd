/*
 * Batches of redistribution registrations: both forms as they are sent, how many fit, and each state of the buffer.
 */
#include "tests/support/failing_locks.h"

namespace
{
constexpr uint64_t FLAGS = 0x1112131415161718, ISSU_FLAGS = 0x111213141516171a;
constexpr uint32_t PROTO_FLAGS = 0x21222324;
constexpr uint64_t COMMON_FLAGS = 0x3132333435363738;
constexpr uint16_t UNTOUCHED = 0xeeee;

class redist_batch : public lock_test
{
protected:
    void SetUp() override
    {
        lock_test::SetUp();
        bind();
    }
    errcode add(rib_updatemode mode, rib_tableid_td table = 0xe0800001, int adds = 1)
    {
        return ipv6_rib_redist_batch_register(conn, adds, table, mode, PROTO_FLAGS, COMMON_FLAGS, &count);
    }
    errcode finish(std::string_view answer = "00*4")
    {
        fake_msg_chan_reset();
        fake_msg_chan().answer(answer);
        count = UNTOUCHED;
        return ipv6_rib_redist_batch_finish(conn, &count);
    }
    /* Nothing is open: registrations and a finish are refused, and nothing is sent. */
    void expect_closed(errcode at_register, uint16_t told)
    {
        count = UNTOUCHED;
        EXPECT_EQ(add(10), at_register);
        EXPECT_EQ(count, told);
        EXPECT_EQ(finish(), RIB_LIB_ERR_BAD_ARG);
        EXPECT_EQ(count, UNTOUCHED);
        EXPECT_TRUE(fake_msg_chan().calls.empty());
    }
    uint16_t count = UNTOUCHED;
};

TEST_F(redist_batch, as_sent)
{
    const std::string common = "31323334 35363738", proto = "00000000 21222324";
    const struct {
        rib_updatemode mode;
        const char *sent_mode, *add, *remove;
        std::string value;
        const char *issu_value; /* NULL: the mode is not of that form */
    } cases[] = {
        {10, "000a", "00000001", "00000002", proto, "2324 0000"},
        {18, "0012", "00000004", "00000005", common, nullptr},
        {20, "0014", "00000006", "00000007", common, "3738 0000"},
        {21, "0015", "00000008", "00000009", common, "3738 0000"},
        {0xffff000a, "000a", "00000001", "00000002", proto, "2324 0000"}, /* 16 bits count */
    };
    for (const auto &c : cases)
        for (const bool issu : {false, true}) {
            if (issu && !c.issu_value)
                continue;
            SCOPED_TRACE(std::to_string(c.mode) + (issu ? " ISSU" : ""));
            SetUp();
            EXPECT_EQ(ipv6_rib_redist_batch_init2(conn, 21, ~uint64_t{2}), 0u);
            for (int dropped = 0; dropped < 9; ++dropped)
                EXPECT_EQ(ipv6_rib_redist_batch_register(conn, 1, ~0u, 21, ~0u, ~uint64_t{0}, &count), 0u);
            EXPECT_EQ(ipv6_rib_redist_batch_init2(conn, c.mode, issu ? ISSU_FLAGS : FLAGS), 0u);
            EXPECT_EQ(add(c.mode, 0xe0800001, 7), 0u);
            EXPECT_EQ(count, 1);
            EXPECT_EQ(add(c.mode, 0xe0800002, 0), 0u);
            EXPECT_EQ(count, 2);
            EXPECT_EQ(finish(), 0u);
            EXPECT_EQ(count, 2);
            const std::string value = issu ? c.issu_value : c.value, sent_mode = c.sent_mode;
            EXPECT_TRUE(
                same_bytes(only_sent(), hex((issu ? "75800000 @20 " : "76800000 @20 ") + sent_mode + " 0002 " +
                                            (issu ? "00000030" : "00000040") + " 00000000 00000000 " +
                                            (issu ? "171a 0000" : "11121314 15161718") + c.add + " e0800001 " + value + c.remove +
                                            " e0800002 " + value + " 00000003 00000000 " + (issu ? "00*4" : "00*8"))));
            EXPECT_EQ(fake_msg_chan().sent[0].room, 4u);
        }
}

TEST_F(redist_batch, the_issu_form_sticks)
{
    EXPECT_EQ(ipv6_rib_redist_batch_init2(conn, 20, 2), 0u);
    ipv6_rib_redist_batch_free(conn);
    EXPECT_EQ(ipv6_rib_redist_batch_init(conn, 10), 0u);
    EXPECT_EQ(finish(), 0u);
    EXPECT_EQ(count, 0);
    EXPECT_TRUE(same_bytes(only_sent(), "75800000 @20 000a 0000 00000018 00*12 00000003 00*8"));
    EXPECT_DEATH(ipv6_rib_redist_batch_init(conn, 18), "rib_lib_redist_batch_internal:.*ip_rib_validate_issu_updatemode.*"
                                                       "invalid ISSU update mode");
    ASSERT_EQ(ipv6_rib_redist_batch_init(conn, 10), 0u);
    EXPECT_DEATH(add(18), "rib_lib_issu_redist_batch_register_no_lock.*Invalid update mode");
}

TEST_F(redist_batch, holds_as_many_as_fit)
{
    const struct {
        uint64_t flags;
        uint16_t capacity;
        size_t sent, record;
    } cases[] = {{0, 498, 28 + 500 * 16, 16}, {2, 664, 28 + 666 * 12, 12}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.capacity);
        ASSERT_EQ(ipv6_rib_redist_batch_init2(conn, 20, c.flags), 0u);
        for (uint16_t n = 1; n <= c.capacity; ++n) {
            ASSERT_EQ(add(20, n), 0u);
            ASSERT_EQ(count, n);
        }
        for (const rib_updatemode mode : {20u, 10u}) {
            count = UNTOUCHED;
            EXPECT_EQ(add(mode), RIB_LIB_ERR_BATCH_FULL);
            EXPECT_EQ(count, c.capacity);
        }
        EXPECT_EQ(finish(), 0u);
        EXPECT_EQ(count, c.capacity);
        const bytes_t sent = only_sent();
        EXPECT_EQ(sent.size(), c.sent);
        bytes_t last(2);
        put_net(&last, 0, c.capacity, 2);
        EXPECT_EQ(slice(sent, 22, 2), last);
        EXPECT_EQ(slice(sent, 28 + c.capacity * c.record + 6, 2), last) << "the table of the last registration";
        EXPECT_EQ(slice(sent, c.sent - c.record, 4), hex("00000003"));
    }
}

TEST_F(redist_batch, states)
{
    expect_closed(RIB_LIB_ERR_BAD_ARG, UNTOUCHED);
    ASSERT_EQ(ipv6_rib_redist_batch_init(conn, 10), 0u);
    EXPECT_EQ(add(10), 0u);
    for (const rib_updatemode other : {18u, 20u, 21u, 11u})
        EXPECT_EQ(add(other), RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(ipv6_rib_redist_batch_register(conn, 1, 1, 10, 0, 0, nullptr), RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(ipv6_rib_redist_batch_finish(conn, nullptr), RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(finish(), 0u);
    EXPECT_EQ(count, 1) << "what was refused is not in it";
    EXPECT_EQ(only_sent().size(), 28u + 3 * 16);
    expect_closed(RIB_LIB_ERR_BATCH_FULL, 1);
    ipv6_rib_redist_batch_free(conn);
    expect_closed(RIB_LIB_ERR_BAD_ARG, UNTOUCHED);
    ipv6_rib_redist_batch_free(conn);
    ipv6_rib_redist_batch_free(nullptr);
    ASSERT_EQ(ipv6_rib_redist_batch_init(conn, 20), 0u);
    EXPECT_EQ(add(20), 0u);
    EXPECT_EQ(count, 1) << "begun anew; the rest is freed with the connection";
}

TEST_F(redist_batch, a_batch_that_is_refused_or_lost)
{
    ASSERT_EQ(ipv6_rib_redist_batch_init(conn, 10), 0u);
    EXPECT_EQ(add(10), 0u);
    EXPECT_EQ(finish("01020304"), 0x04030201u) << "the word as it arrives";
    EXPECT_EQ(count, UNTOUCHED);
    expect_closed(RIB_LIB_ERR_BATCH_FULL, 1);

    ASSERT_EQ(ipv6_rib_redist_batch_init(conn, 10), 0u);
    EXPECT_EQ(add(10), 0u);
    fake_msg_chan_reset();
    fake_msg_chan().fail(ECONNRESET);
    count = UNTOUCHED;
    EXPECT_EQ(ipv6_rib_redist_batch_finish(conn, &count), RIB_LIB_ERR_BATCH_SEND);
    EXPECT_EQ(count, UNTOUCHED);
    expect_closed(RIB_LIB_ERR_BAD_ARG, UNTOUCHED);
    ASSERT_EQ(ipv6_rib_redist_batch_init(conn, 21), 0u);
    EXPECT_EQ(add(21), 0u);
    EXPECT_EQ(finish(), 0u);
    EXPECT_EQ(count, 1);
}

TEST_F(redist_batch, memory_and_connections)
{
    {
        const failing_alloc alloc(1);
        EXPECT_EQ(ipv6_rib_redist_batch_init(conn, 10), RIB_LIB_ERR_NO_MEMORY);
    }
    expect_closed(RIB_LIB_ERR_BAD_ARG, UNTOUCHED);
    EXPECT_EQ(ipv6_rib_redist_batch_init(conn, 10), 0u);
    {
        const failing_alloc alloc(0);
        EXPECT_EQ(ipv6_rib_redist_batch_init(conn, 10), 0u);
        EXPECT_EQ(add(10), 0u);
        EXPECT_EQ(alloc.count(), 0u) << "the buffer is used again";
    }
    EXPECT_EQ(ipv6_rib_redist_batch_init(nullptr, 10), RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(ipv6_rib_redist_batch_init2(nullptr, 7, 2), RIB_LIB_ERR_BAD_ARG) << "before the mode is looked at";
    EXPECT_EQ(ipv6_rib_redist_batch_register(nullptr, 1, 1, 10, 0, 0, &count), RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(ipv6_rib_redist_batch_finish(nullptr, &count), RIB_LIB_ERR_BAD_ARG);
}

TEST_F(redist_batch, broken_contracts)
{
    for (const rib_updatemode mode : {0u, 9u, 11u, 19u, 22u, 0xffffu})
        EXPECT_DEATH(ipv6_rib_redist_batch_init(conn, mode),
                     "ip/rib/lib/src/rib_lib_redist_batch_internal:.*ip_rib_validate_updatemode.*invalid update mode");
    EXPECT_DEATH(ipv6_rib_redist_batch_init2(conn, 18, 2), "ip_rib_validate_issu_updatemode.*invalid ISSU update mode");
    EXPECT_DEATH(ipv6_rib_redist_batch_register(nullptr, 1, 0, 10, 0, 0, &count),
                 "rib_lib_redist_batch_register.*Client error - no table specified");
}

TEST_F(redist_batch, locks_that_fail)
{
    const struct {
        const char *function;
        std::function<errcode()> call;
    } cases[] = {
        {"rib_lib_redist_batch_init", [&] { return ipv6_rib_redist_batch_init(conn, 10); }},
        {"rib_lib_redist_batch_register", [&] { return add(10); }},
        {"rib_lib_redist_batch_finish", [&] { return ipv6_rib_redist_batch_finish(conn, &count); }},
        {"rib_lib_redist_batch_free", [&] { return ipv6_rib_redist_batch_free(conn), 0u; }},
    };
    ASSERT_EQ(ipv6_rib_redist_batch_init(conn, 10), 0u);
    for (const auto &c : cases) {
        count = UNTOUCHED;
        fail_locks("trylock");
        EXPECT_EQ(c.call(), 0u) << c.function;
        fail_locks("");
        EXPECT_EQ(count, UNTOUCHED);
        EXPECT_EQ(captured_tev(), tev_lines({lock_fatal(c.function, "lock", EOWNERDEAD)}));
    }
    EXPECT_TRUE(fake_msg_chan().calls.empty());
    EXPECT_EQ(add(10), 0u);
    EXPECT_EQ(count, 1) << "the batch is as it was";
    for (const auto &c : cases) {
        fake_msg_chan().answer("00*4");
        fail_locks("unlock");
        EXPECT_EQ(c.call(), 0u) << c.function;
        fail_locks("");
        EXPECT_EQ(captured_tev(), tev_lines({lock_fatal("rib_client_mutex_unlock_inline", "unlock", EPERM),
                                             lock_fatal(c.function, "unlock", EPERM)}));
    }
}
} // namespace
