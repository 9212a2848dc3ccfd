#include <platform/tev.h>

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

static tev_msg_rec_t record_of(const char *format, tev_msg_limit_t *limit = nullptr)
{
    return {.tmr_format = format,
            .tmr_limit = limit,
            .tmr_facility = "RIB_LIB",
            .tmr_category = "ROUTING",
            .tmr_mnemonic = "FETCH_UPDATE",
            .tmr_severity = TEV_ERR};
}

template <class raise_t> static std::string printed(raise_t raise)
{
    testing::internal::CaptureStderr();
    raise();
    return testing::internal::GetCapturedStderr();
}

static size_t lines(const std::string &text)
{
    return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST(tev, prints_one_line_and_keeps_errno)
{
    const tev_msg_rec_t record = record_of("Error %s, 0x%x\nforged \x1B[31m line \n");
    errno = EPROTO;
    const std::string text = printed([&] { tev_errmsg(&record, TEV_ERR, "here", 0xAB); });
    EXPECT_EQ(errno, EPROTO);
    EXPECT_THAT(text, testing::ContainsRegex("^20[0-9][0-9]-[01][0-9]-[0-3][0-9]T[0-2][0-9]:[0-5][0-9]:[0-5][0-9]\\.[0-9]{3}Z "
                                             "platform_tev_test\\[" +
                                             std::to_string(getpid()) + "\\]: "));
    EXPECT_THAT(text, testing::EndsWith(": RIB_LIB-3-FETCH_UPDATE : Error here, 0xab forged  [31m line\n"));
    EXPECT_EQ(lines(text), 1u);
}

TEST(tev, cuts_long_texts)
{
    const tev_msg_rec_t record = record_of("%s");
    const std::string text = printed([&] { tev_errmsg(&record, TEV_ERR, std::string(100000, 'x').c_str()); });
    EXPECT_EQ(lines(text), 1u);
    EXPECT_EQ(text.back(), '\n');
    EXPECT_EQ(std::count(text.begin(), text.end(), 'x'), 1023);
}

TEST(tev, limits_each_period_and_tells_what_was_left_out)
{
    tev_msg_limit_t limit = {.tml_limit = 10};
    const tev_msg_rec_t record = record_of("text", &limit);
    const std::string text = printed([&] {
        std::vector<std::thread> threads;
        for (int t = 0; t != 4; t++)
            threads.emplace_back([&] {
                for (int i = 0; i != 25; i++)
                    tev_errmsg(&record, TEV_ERR);
            });
        for (std::thread &thread : threads)
            thread.join();
    });
    EXPECT_EQ(lines(text), 10u);
    EXPECT_EQ(text.find("suppressed"), std::string::npos);
    limit.tml_period -= 60;
    const std::string next = printed([&] {
        tev_errmsg(&record, TEV_ERR);
        tev_errmsg(&record, TEV_ERR);
    });
    EXPECT_THAT(next, testing::HasSubstr("text (90 more suppressed)\n"));
    EXPECT_EQ(lines(next), 2u);
    EXPECT_EQ(next.find("suppressed"), next.rfind("suppressed"));
}

TEST(tev, prints_without_a_limit)
{
    tev_msg_limit_t limit = {};
    const tev_msg_rec_t none = record_of("text"), zero = record_of("text", &limit);
    EXPECT_EQ(lines(printed([&] {
                  for (int i = 0; i != 50; i++) {
                      tev_errmsg(&none, TEV_ERR);
                      tev_errmsg(&zero, TEV_ERR);
                  }
              })),
              100u);
}
