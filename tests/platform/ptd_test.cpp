#include <platform/ptd.h>

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

TEST(ptd, knows_who_waits_and_for_what)
{
    pthread_mutex_t mutexes[3];
    const char *const functions[] = {"first", "second", "third"};
    std::atomic<int> waiting = 0, go_on = 0;
    std::vector<std::thread> threads;
    for (unsigned i = 0; i != 3; i++)
        threads.emplace_back([&, i] {
            ptd_set_mutex_block(&mutexes[i], functions[i], 100 + i);
            waiting++;
            while (go_on == 0)
                std::this_thread::yield();
            ptd_unset_mutex_block();
        });
    while (waiting != 3)
        std::this_thread::yield();
    ptd_blocked_t list[8];
    EXPECT_EQ(ptd_list_blocked(list, 2), 3u) << "counts more than there is room for";
    ASSERT_EQ(ptd_list_blocked(list, 8), 3u);
    std::sort(list, list + 3, [](const ptd_blocked_t &a, const ptd_blocked_t &b) { return a.pb_line < b.pb_line; });
    for (unsigned i = 0; i != 3; i++) {
        EXPECT_EQ(list[i].pb_mutex, &mutexes[i]);
        EXPECT_STREQ(list[i].pb_function, functions[i]);
        EXPECT_EQ(list[i].pb_line, 100 + i);
    }
    EXPECT_NE(list[0].pb_thread, list[1].pb_thread);
    go_on = 1;
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(ptd_list_blocked(list, 8), 0u);
}

TEST(ptd, never_shows_a_mixture)
{
    static pthread_mutex_t mutexes[4];
    static const char *const functions[] = {"a", "b", "c", "d"};
    std::atomic<bool> stop = false;
    std::vector<std::thread> threads;
    for (unsigned i = 0; i != 4; i++)
        threads.emplace_back([&stop, i] {
            while (!stop) {
                ptd_set_mutex_block(&mutexes[i], functions[i], i);
                ptd_unset_mutex_block();
            }
        });
    size_t most = 0;
    for (int round = 0; round != 300; round++) {
        ptd_blocked_t list[8];
        const size_t count = ptd_list_blocked(list, 8);
        most = std::max(most, count);
        for (size_t i = 0; i != std::min<size_t>(count, 8); i++) {
            ASSERT_LT(list[i].pb_line, 4u);
            ASSERT_EQ(list[i].pb_mutex, &mutexes[list[i].pb_line]);
            ASSERT_EQ(list[i].pb_function, functions[list[i].pb_line]);
        }
    }
    EXPECT_LE(most, 8u);
    stop = true;
    for (std::thread &thread : threads)
        thread.join();
}
