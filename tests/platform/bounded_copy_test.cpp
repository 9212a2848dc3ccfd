#include <platform/bounded_copy.h>

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

TEST(strncpy_s, copies_what_fits_with_its_zero)
{
    struct {
        const char *source;
        size_t room, count;
        int result;
        const char *text;
    } const cases[] = {
        {"abc", 4, 3, 0, "abc"},        {"abc", 4, 100, 0, "abc"}, {"abc", 3, 3, ERANGE, ""}, {"abcdef", 4, 3, 0, "abc"},
        {"abcdef", 4, 4, ERANGE, ""},   {"", 1, 5, 0, ""},         {"abc", 1, 0, 0, ""},      {nullptr, 4, 3, EINVAL, ""},
        {"abc", 0, 3, EINVAL, nullptr}, {"a\0c", 4, 3, 0, "a"},
    };
    for (const auto &c : cases) {
        char area[8] = "#######";
        EXPECT_EQ(strncpy_s(area, c.room, c.source, c.count), c.result);
        EXPECT_STREQ(area, c.text ? c.text : "#######");
        const size_t used = c.text ? strlen(c.text) + 1 : 0;
        EXPECT_EQ(std::string(area + used, 7 - used), std::string(7 - used, '#'));
    }
    EXPECT_EQ(strncpy_s(nullptr, 4, "abc", 3), EINVAL);
}

TEST(strncpy_s, reads_no_further_than_it_was_told)
{
    char *source = new char[3]{'a', 'b', 'c'}; // without a zero: a sanitizer sees a byte too many
    char area[8];
    EXPECT_EQ(strncpy_s(area, sizeof area, source, 3), 0);
    EXPECT_STREQ(area, "abc");
    EXPECT_EQ(strncpy_s(area, 3, source, 8), ERANGE);
    delete[] source;
}

TEST(memcpy_to_buf, copies_the_smaller_number)
{
    char area[5] = "####";
    EXPECT_EQ(__memcpy_to_buf(area, 2, "abc", 3), 2u);
    EXPECT_STREQ(area, "ab##");
    EXPECT_EQ(__memcpy_to_buf(area, 4, "xyz", 1), 1u);
    EXPECT_STREQ(area, "xb##");
    EXPECT_EQ(__memcpy_to_buf(nullptr, 0, nullptr, 0), 0u);
}
