#include "tools/address_file.h"

#include "tests/tools/memory_input.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

using testing::ElementsAre;

/* The addresses, and where there is none: "!LINE WHY", at the end "cut LINE WHY". */
static std::vector<std::string> addresses_in(const bytes_t &bytes)
{
    const auto from = unpacked_input(std::make_unique<memory_input>(bytes, 7));
    address_reader reader(*from);
    std::vector<std::string> told;
    in6_addr read;
    read_problem problem;
    for (read_status status; (status = reader.next(&read, &problem)) != read_status::end;)
        told.push_back(status == read_status::ok ? text_of(read) : fmt::format("!{} {}", problem.position, problem.why));
    if (const auto cut = reader.cut())
        told.push_back(fmt::format("cut {} {}", cut->position, cut->why));
    return told;
}

TEST(address_file, the_first_word_of_each_line)
{
    const std::string text = "# next hops\n\n 2001:db8::1\t17 weight\r\nfe80::1 # a comment\n::1#\n10.0.0.1\n::/0\n"
                             "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff\nfe80::2";
    EXPECT_THAT(addresses_in(bytes_of(text)),
                ElementsAre("2001:db8::1", "fe80::1", "::1", "!6 not an IPv6 address: '10.0.0.1'",
                            "!7 not an IPv6 address: '::/0'",
                            "!8 all ones stand for no address: 'ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff'", "fe80::2"));
}

TEST(address_file, of_a_cut_one_what_is_whole)
{
    const bytes_t packed = hex("1f8b0800000000000003 00 0a00 f5ff '::1\n::2'"); // stored, shorter than it says
    EXPECT_THAT(addresses_in(packed), ElementsAre("::1", "cut 2 the gzip data ends early"));
}
