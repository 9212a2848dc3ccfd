#include "tests/tools/memory_input.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace
{

struct line_case {
    const char *name, *text, *told;
};
const line_case cases[] = {
    {"a route", "2001:db8::/32 2001:db8::1\n", "2001:db8::/32 2001:db8::1"},
    {"blanks and a carriage return", " 2001:db8::/32\t 2001:db8::1 \r\n", "2001:db8::/32 2001:db8::1"},
    {"a comment behind a route", "::/0 fe80::1 # default\n", "::/0 fe80::1"},
    {"a host route", "::1/128 ::2\n", "::1/128 ::2"},
    {"no end of line", "::/0 ::1", "::/0 ::1"},
    {"no next hop", "::/0\n", "!1 the next hop is missing: '::/0'"},
    {"no length", ":: ::1\n", "!1 not an IPv6 prefix: the length is missing: ':: ::1'"},
    {"too long a length", "::/129 ::1\n", "!1 not a prefix length of 0 to 128: '::/129 ::1'"},
    {"a length that wraps in a byte", "::/256 ::1\n", "!1 not a prefix length of 0 to 128: '::/256 ::1'"},
    {"a length with a tail", "::/1x ::1\n", "!1 not a prefix length of 0 to 128: '::/1x ::1'"},
    {"another family", "10.0.0.0/8 ::1\n", "!1 not an IPv6 prefix: '10.0.0.0/8 ::1'"},
    {"bits behind the length", "::1/64 ::1\n", "!1 the prefix has bits set behind its length: '::1/64 ::1'"},
    {"a next hop of another family", "::/0 1.2.3.4\n", "!1 the next hop is not an IPv6 address: '::/0 1.2.3.4'"},
    {"no gateway at all", "::/0 ::\n", "!1 the next hop is the unspecified address: '::/0 ::'"},
    {"more words", "::/0 ::1 x\n", "!1 something that is no NAME=VALUE follows the next hop: '::/0 ::1 x'"},
    {"bytes that are no text", "\x1b[2J\xff\n", "!1 not an IPv6 prefix: the length is missing: '\\x1b[2J\\xff'"},
};

} // namespace

TEST(text_reader, lines)
{
    for (const line_case &c : cases)
        for (const size_t piece : {1u, 100u})
            EXPECT_THAT(read_all(bytes_of(c.text), piece), ElementsAre(c.told)) << c.name;
}

TEST(text_reader, goes_on_behind_bad_lines_and_counts_all)
{
    const std::string zero("\0/0 ::1\n", 8);
    const std::string text = "# comment\n\n::/0 ::1\nbad\n" + zero + std::string(600'000, 'x') + "\n  \n::/1 ::2\n";
    const auto told = read_all(bytes_of(text), 5000);
    ASSERT_EQ(told.size(), 5u);
    EXPECT_EQ(told[0], "::/0 ::1");
    EXPECT_EQ(told[1].substr(0, 3), "!4 ");
    EXPECT_EQ(told[2], "!5 not an IPv6 prefix: '\\x00/0 ::1'");
    EXPECT_EQ(told[3], "!6 the line is too long: '" + std::string(60, 'x') + "...'");
    EXPECT_EQ(told[4], "::/1 ::2");
}

TEST(text_reader, leaves_out_the_line_that_a_cut_went_through)
{
    const bytes_t packed = hex("1f8b0800000000000003 00 1000 efff '::/0 ::1\n::/1 :'"); // stored, shorter than it says
    const auto from = unpacked_input(std::make_unique<memory_input>(packed, 64));
    EXPECT_THAT(read_all(*route_reader_for(*from)), ElementsAre("::/0 ::1", "cut 2 the gzip data ends early"));
}
