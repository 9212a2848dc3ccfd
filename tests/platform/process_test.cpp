/*
 * What a process is called, what it says, and for what its threads wait.
 */
#include <platform/identity.h>
#include <platform/ptd.h>
#include <platform/tev.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

TEST(identity, names_are_cut_and_terminated)
{
    char name[256], host[256] = {};
    setenv("PLATFORM_NODE_NAME", "router-7", 1);
    EXPECT_EQ(platform_get_node_name(name, 4), 0);
    EXPECT_STREQ(name, "rou");
    EXPECT_EQ(platform_get_node_name(name, 0), -1);
    setenv("PLATFORM_NODE_NAME", "", 1);
    gethostname(host, sizeof host - 1);
    EXPECT_EQ(platform_get_node_name(name, sizeof name), 0);
    EXPECT_STREQ(name, host);
    EXPECT_EQ(procfs_get_name(getpid(), name, sizeof name), 0);
    EXPECT_STREQ(basename(name), "platform_process_test");
    EXPECT_EQ(procfs_get_name(-5, name, sizeof name), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST(identity, node_id_is_set_or_made_of_the_machine)
{
    const std::pair<const char *, uint32_t> cases[] = {
        {"7", 7}, {"0xFFFFFFFE", 0xFFFFFFFE}, {"0xFFFFFFFF", 0}, {"-1", 0}, {"seven", 0}, {"7x", 0}, {"99999999999999999999", 0}};
    for (const auto &[text, expected] : cases) {
        uint32_t id = 0;
        setenv("PLATFORM_NODE_ID", text, 1);
        EXPECT_EQ(platform_get_my_nodeid(&id), expected == 0 ? -1 : 0) << text;
        EXPECT_EQ(id, expected) << text;
    }
    unsetenv("PLATFORM_NODE_ID");
    uint32_t first = ~0u, second = ~1u;
    EXPECT_EQ(platform_get_my_nodeid(&first), 0);
    EXPECT_EQ(platform_get_my_nodeid(&second), 0);
    EXPECT_EQ(first, second);
    EXPECT_LT(first, 0x80000000u);
}

/* Runs work in some threads and waits for them. */
template <class work_t> static void in_threads(unsigned count, work_t work)
{
    std::vector<std::thread> threads;
    for (unsigned i = 0; i != count; i++)
        threads.emplace_back(work, i);
    for (std::thread &thread : threads)
        thread.join();
}

static pthread_mutex_t mutexes[4];
static const char *const functions[] = {"a", "b", "c", "d"};

/* The blocked threads by line; each must be known with what belongs to it. */
static std::vector<ptd_blocked_t> blocked_threads(void)
{
    std::vector<ptd_blocked_t> list(8);
    list.resize(ptd_list_blocked(list.data(), list.size()));
    std::sort(list.begin(), list.end(), [](const auto &a, const auto &b) { return a.pb_line < b.pb_line; });
    for (const ptd_blocked_t &each : list) {
        EXPECT_EQ(each.pb_mutex, &mutexes[each.pb_line % 4]);
        EXPECT_EQ(each.pb_function, functions[each.pb_line % 4]);
    }
    return list;
}

TEST(ptd, knows_who_waits_and_never_shows_a_mixture)
{
    std::atomic<unsigned> waiting = 0;
    std::atomic<bool> checked = false, stop = false;
    in_threads(5, [&](unsigned i) {
        while (i != 4 && !stop) {
            ptd_set_mutex_block(&mutexes[i], functions[i], 100 + i);
            for (waiting++; !checked;)
                std::this_thread::yield();
            ptd_unset_mutex_block();
        }
        if (i != 4)
            return;
        while (waiting != 4)
            std::this_thread::yield();
        ptd_blocked_t few[2];
        EXPECT_EQ(ptd_list_blocked(few, 2), 4u) << "counts more than there is room for";
        const auto list = blocked_threads();
        for (unsigned at = 0; at != 4; at++)
            EXPECT_EQ(list.at(at).pb_line, 100 + at);
        EXPECT_NE(list[1].pb_thread, list[2].pb_thread);
        checked = true;
        for (int round = 0; round != 300; round++)
            EXPECT_LE(blocked_threads().size(), 8u);
        stop = true;
    });
    EXPECT_EQ(blocked_threads().size(), 0u);
}

static tev_msg_rec_t record_of(const char *format, tev_msg_limit_t *limit = nullptr)
{
    return {.tmr_format = format,
            .tmr_limit = limit,
            .tmr_facility = "RIB_LIB",
            .tmr_category = "ROUTING",
            .tmr_mnemonic = "FETCH_UPDATE",
            .tmr_severity = TEV_ERR};
}

/* What a number of threads print that raise a record so often. */
template <class... args_t> static std::string printed(unsigned threads, int times, const tev_msg_rec_t &record, args_t... args)
{
    testing::internal::CaptureStderr();
    in_threads(threads, [&](unsigned) {
        for (int i = 0; i != times; i++) {
            errno = EPROTO;
            tev_errmsg(&record, TEV_ERR, args...);
            EXPECT_EQ(errno, EPROTO);
        }
    });
    return testing::internal::GetCapturedStderr();
}

TEST(tev, prints_one_line)
{
    const std::string text = printed(1, 1, record_of("Error %s, 0x%x\nforged \x1B[31m line \n"), "here", 0xAB);
    EXPECT_THAT(text,
                testing::MatchesRegex(
                    "20[0-9][0-9]-[01][0-9]-[0-3][0-9]T[0-2][0-9]:[0-5][0-9]:[0-5][0-9]\\.[0-9]{3}Z platform_process_test\\[" +
                    std::to_string(getpid()) + "\\]: RIB_LIB-3-FETCH_UPDATE : Error here, 0xab forged  \\[31m line\n"));
    const std::string cut = printed(1, 1, record_of("%s"), std::string(100000, 'x').c_str());
    EXPECT_THAT(cut, testing::EndsWith(" : " + std::string(1023, 'x') + "\n"));
}

TEST(tev, limits_each_period_and_tells_what_was_left_out)
{
    const auto lines = [](const std::string &text) { return std::count(text.begin(), text.end(), '\n'); };
    tev_msg_limit_t limit = {.tml_limit = 10}, none = {};
    const tev_msg_rec_t record = record_of("text", &limit);
    const std::string text = printed(4, 25, record);
    EXPECT_EQ(lines(text), 10);
    EXPECT_EQ(text.find("suppressed"), std::string::npos);
    limit.tml_period -= 60;
    EXPECT_THAT(printed(1, 2, record), testing::ContainsRegex("text \\(90 more suppressed\\)\n[^\n]* : text\n$"));
    EXPECT_EQ(lines(printed(1, 50, record_of("text"))), 50) << "without a record of a limit";
    EXPECT_EQ(lines(printed(1, 50, record_of("text", &none))), 50) << "with a limit of none";
}
