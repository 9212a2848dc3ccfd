/*
 * The buffers of fetches: how many are allocated and kept, what is given back, and locks that fail on the way. The pool fills
 * itself once in a process, so each test runs in a new one.
 */
#include <cstdlib>
#include <future>
#include <iostream>

#include "tests/support/failing_locks.h"
#include "tests/support/update_bytes.h"
#include "tests/support/update_log.h"

namespace
{
/* Ends the child; its failures are those behind the first ones, which it has inherited. */
[[noreturn]] void tell_failures(int inherited)
{
    const testing::TestResult &result = *testing::UnitTest::GetInstance()->current_test_info()->result();
    for (int n = inherited; n < result.total_part_count(); ++n)
        std::cerr << result.GetTestPartResult(n).message() << '\n';
    std::exit(result.total_part_count() != inherited);
}
template <class body_t> void in_new_process(body_t body)
{
    const int before = testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
    EXPECT_EXIT((body(), tell_failures(before)), testing::ExitedWithCode(0), "");
}

class read_pool : public lock_test
{
protected:
    void SetUp() override
    {
        lock_test::SetUp();
        bind();
    }
    /* A fetch of one pass that allocates so many buffers. */
    void expect_allocated(size_t buffers, const std::function<void()> &meanwhile = {})
    {
        fake_msg_chan().answer(fetch_reply(1));
        update_log_t log = {{}, meanwhile};
        const failing_alloc allocations(0);
        EXPECT_EQ(fetch_updates(conn, &log), 0u);
        if (!meanwhile) /* which allocates as it likes */ {
            EXPECT_EQ(allocations.count(), buffers);
        }
    }
    void expect_no_memory(size_t failing)
    {
        update_log_t log;
        fake_msg_chan().forget_calls();
        {
            const failing_alloc allocations(failing);
            EXPECT_EQ(fetch_updates(conn, &log), RIB_LIB_ERR_NO_MEMORY);
        }
        EXPECT_TRUE(fake_msg_chan().calls.empty());
    }
    /* Of two fetches, one within the other, neither allocates: both buffers are in the pool. */
    void expect_both_kept()
    {
        expect_allocated(0, [&] { expect_allocated(0); });
        expect_allocated(0);
    }
};

TEST_F(read_pool, keeps_two_buffers)
{
    in_new_process([&] {
        update_log_t log;
        EXPECT_EQ(fetch_updates(nullptr, &log), RIB_LIB_ERR_BAD_ARG);
        expect_allocated(2);
        expect_both_kept();
    });
}

TEST_F(read_pool, memory_that_runs_out)
{
    in_new_process([&] {
        expect_no_memory(1);
        expect_allocated(1);
        expect_allocated(0);
    });
    in_new_process([&] {
        expect_no_memory(2);
        expect_allocated(0);
    });
}

/* Two fetches that wait in a callback hold both buffers; a third has one of its own, which is then one of the two kept. */
TEST_F(read_pool, concurrent_fetches)
{
    in_new_process([&] {
        std::promise<void> go;
        const std::shared_future<void> gone = go.get_future().share();
        std::vector<std::future<void>> fetches;
        std::promise<void> each_waits[2];
        for (std::promise<void> &waiting : each_waits) {
            fetches.push_back(std::async(std::launch::async, [&] {
                expect_allocated(2, [&waiting, gone] {
                    waiting.set_value();
                    gone.wait();
                });
            }));
            waiting.get_future().wait();
        }
        expect_no_memory(1);
        expect_allocated(1);
        expect_allocated(0);
        go.set_value();
        for (auto &fetch : fetches)
            fetch.wait();
        expect_both_kept();
    });
}

struct lock_case_t {
    const char *function;
    unsigned nth;
    size_t sent;
    const char *told;
    std::vector<tev_line_t> lines;
    bool keeps_both = true; /* a buffer that cannot reach the pool is lost to it */
};

/* A fetch of two passes takes and gives back: the pool, the connection, the connection, the pool. */
TEST_F(read_pool, locks_that_fail)
{
    const auto lock = [](const char *function, const char *word) { return lock_fatal(function, word, EOWNERDEAD); };
    const auto unlock = [](const char *function, const char *word) { return lock_fatal(function, word, EPERM); };
    const std::vector<tev_line_t> unlocked = {unlock("rib_client_mutex_unlock_inline", "unlock"),
                                              unlock("rib_client_redistribute_fetch", "unlock")};
    const lock_case_t cases[] = {
        {"trylock", 1, 0, "", {lock("rib_client_get_read_buf", "buf lock")}},
        {"unlock", 1, 0, "", {unlock("rib_client_get_read_buf", "buf unlock")}, false},
        {"trylock", 2, 0, "", {lock("rib_client_redistribute_fetch", "lock")}},
        {"unlock", 2, 1, "", unlocked},
        {"trylock", 3, 1, "11", {lock("rib_client_redistribute_fetch", "lock")}},
        {"unlock", 3, 2, "11", unlocked},
        {"trylock", 4, 2, "11 11", {lock("rib_client_return_read_buf", "buf lock")}, false},
        {"unlock", 4, 2, "11 11", {unlock("rib_client_return_read_buf", "buf unlock")}},
    };
    for (const lock_case_t &c : cases) {
        SCOPED_TRACE(std::string(c.function) + " " + std::to_string(c.nth));
        in_new_process([&] {
            expect_allocated(2);
            fake_msg_chan().forget_calls();
            fake_msg_chan().answer(fetch_reply(0));
            fake_msg_chan().answer(fetch_reply(1));
            update_log_t log;
            fail_locks(c.function, c.nth);
            EXPECT_EQ(fetch_updates(conn, &log), RIB_LIB_ERR_READ_BUF);
            fail_locks("");
            EXPECT_EQ(captured_tev(), c.lines);
            EXPECT_EQ(fake_msg_chan().sent.size(), c.sent);
            EXPECT_TRUE(same_bytes(log.told, c.told));
            fake_msg_chan_reset();
            if (c.keeps_both)
                expect_both_kept();
        });
    }
}

TEST_F(read_pool, every_end_gives_the_buffer_back)
{
    const struct {
        errcode code;
        std::function<void()> provoke;
    } cases[] = {
        {RIB_LIB_ERR_NO_CONNECTION, [] { fake_msg_chan().connid_error = EBADF; }},
        {ENOMSG, [] {}},
        {ENOMSG, [] { fake_msg_chan().fail(0x42D29600); }},
        {RIB_LIB_ERR_PASS_LIMIT, [] { fake_msg_chan().answer(fetch_reply(0)); }},
        {0, [] { fake_msg_chan().answer(fetch_reply(0x10)); }},
        {EMSGSIZE, [] { fake_msg_chan().answer("00080001 00000008 0001"); }},
    };
    in_new_process([&] {
        expect_allocated(2);
        for (const auto &c : cases) {
            c.provoke();
            update_log_t log;
            EXPECT_EQ(fetch_updates(conn, &log, ALL_UPDATES, 1), c.code);
            fake_msg_chan().connid_error = 0;
            expect_both_kept();
        }
    });
}

TEST_F(read_pool, waits_are_announced_with_their_function)
{
    in_new_process([&] {
        const char *const functions[] = {"rib_client_read_buf_lock_with_error", "rib_client_mutex_lock_inline",
                                         "rib_client_read_buf_lock_with_error"};
        for (const unsigned nth : {1u, 2u, 3u}) {
            fake_platform_reset();
            fake_msg_chan().answer(fetch_reply(1));
            update_log_t log;
            fail_locks("trylock", nth, EBUSY);
            EXPECT_EQ(fetch_updates(conn, &log), 0u);
            fail_locks("");
            EXPECT_EQ(fake_ptd().announced(), std::vector<std::string>{functions[nth - 1]});
            EXPECT_EQ(fake_ptd().ended(), 1u);
        }
    });
}
} // namespace
