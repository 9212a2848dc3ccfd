/*
 * Words of the command line: what they stand for, and what is refused before any server is asked.
 */
#include "tools/argument.h"
#include "tools/cli.h"
#include "tools/failure.h"

#include <gmock/gmock.h>

#include <tuple>

namespace
{

std::string asked(const std::string &text)
{
    return text_of(asked_argument(text));
}

std::string range(const std::string &text)
{
    const route_range read = range_argument(text);
    return text_of(read.start) + " to " + text_of(read.end);
}

/* What a text is read as, or why it is refused. */
using parse_t = std::string (*)(const std::string &);
const std::tuple<const char *, parse_t, const char *, const char *> words[] = {
    {"an address stands for itself", asked, "2001:db8::1", "2001:db8::1/128"},
    {"bits behind a length are cleared", asked, "2001:db8::1/32", "2001:db8::/32"},
    {"a wrong address before a right length", asked, "2001:db8/32", "'2001:db8/32': not an IPv6 address"},
    {"a length that is too long", asked, "::/129", "'::/129': not a prefix length of 0 to 128"},
    {"a prefix is a range", range, "2001:db8::/32", "2001:db8::/32 to 2001:db8::/32"},
    {"everything", range, "::/0", "::/0 to ::/0"},
    {"from prefix to prefix", range, "2001:db8::/32-2001:dbf::/32", "2001:db8::/32 to 2001:dbf::/32"},
    {"an address begins with its shortest prefix", range, "2001:db8::-2001:db9::", "2001:db8::/29 to 2001:db9::/128"},
    {"an odd address", range, "::1-ffff::1", "::1/128 to ffff::1/128"},
    {"from the first address", range, "::-::", "::/0 to ::/128"},
    {"an end that covers the start", range, "2001:db8:1::/48-2001:db8::/32", "2001:db8:1::/48 to 2001:db8::/32"},
    {"the end first", range, "2001:db9::-2001:db8::", "'2001:db9::-2001:db8::': the range ends before it begins"},
    {"an address alone is no range", range, "::1", "'::1': not an IPv6 prefix: the length is missing"},
    {"bits behind the length of a range", range, "::1/64", "'::1/64': the prefix has bits set behind its length"},
    {"no end", range, "::-", "'::-': not an IPv6 address"},
    {"two ends", range, "::-::1-::2", "'::-::1-::2': not an IPv6 address"},
};

const std::tuple<const char *, std::vector<const char *>, int, const char *> refusals[] = {
    {"no command", {}, exit_usage, "subcommand is required"},
    {"exactly and longer", {"lookup", "::/0", "--exact", "--longer"}, exit_usage, "excludes --longer"},
    {"no next hop", {"add", "::/0"}, exit_usage, "nexthop is required"},
    {"a distance beyond a byte", {"add", "::/0", "::1", "--distance", "256"}, exit_usage, "256 not in range"},
    {"an unknown kind", {"add", "::/0", "::1", "--kind", "odd"}, exit_usage, "--kind"},
    {"a next hop that leads nowhere", {"add", "::/0", "::"}, exit_failed, "leads nowhere without an --interface"},
    {"bits behind the length", {"add", "::1/64", "::1"}, exit_failed, "bits set behind its length"},
    {"a path that cannot be", {"del", "::/0", "::"}, exit_failed, "leads nowhere without an --interface"},
    {"names that are too long", {"watch", "--protocol", "0123456789012345678901234567890/0123456789"}, exit_failed, "than 40"},
    {"a prefix where an address belongs", {"nexthop", "::/0"}, exit_failed, "not an IPv6 address"},
    {"several addresses asked for once", {"nexthop", "::1", "::2"}, exit_usage, "one at a time"},
    {"nothing to watch", {"nexthop", "--watch"}, exit_usage, "address is required"},
    {"a file without watching", {"nexthop", "--file", "-"}, exit_usage, "requires --watch"},
    {"a length beyond an address", {"nexthop", "--watch", "::1", "--min-length", "129"}, exit_usage, "129 not in range"},
    {"a file without an address", {"nexthop", "--watch", "--file", "/dev/null"}, exit_failed, "holds no address"},
    {"all ones", {"nexthop", "--watch", "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"}, exit_failed, "stand for no address"},
    {"a wrong attribute", {"add", "::/0", "::1", "--ecomms", "rt:1"}, exit_failed, "ecomms: each rt:ASN:NUMBER"},
    {"an option takes one word", {"add", "::/0", "::1", "--labels", "16", "17"}, exit_usage, "not expected: 17"},
    {"SIDs that are missing", {"add", "::/0", "::1", "--encap", "h.encaps"}, exit_failed, "encap without sids"},
    {"nothing to do with SIDs", {"sid"}, exit_usage, "subcommand is required"},
    {"no SID format", {"sid", "add", "--format", "x", "--locator", "::/48", "--function", "end"}, exit_failed, "csid-48-16"},
    {"no behaviour",
     {"sid", "add", "--format", "csid-32-16", "--locator", "::/48", "--function", "140"},
     exit_failed,
     "'140': not an endpoint behaviour"},
    {"a locator of another format",
     {"sid", "free", "--format", "csid-48-16", "--locator", "::/48", "--function", "end"},
     exit_failed,
     "has 64 bits, not 48"},
    {"a function's value beyond its bits",
     {"sid", "add", "--format", "csid-32-16", "--locator", "::/48", "--function", "end", "--opcode", "65535"},
     exit_usage,
     "65535 not in range"},
    {"no form of an IID", {"iid", "add", "--form", "odd"}, exit_usage, "--form"},
    {"a form without its SID", {"iid", "add", "--form", "sid"}, exit_failed, "needs --sid and --format"},
    {"a value that is too short", {"iid", "add", "--form", "explicit", "--value", "00"}, exit_failed, "24 hexadecimal digits"},
    {"no table", {"nexthop", "--watch", "::1", "--table", "0"}, exit_failed, "holds no next hops"},
};

} // namespace

TEST(command_line, words)
{
    for (const auto &[name, parse, text, expected] : words) {
        std::string got;
        try {
            got = parse(text);
        } catch (const command_failure &failure) {
            got = failure.what();
        }
        EXPECT_EQ(got, expected) << name;
    }
}

TEST(command_line, refusals)
{
    for (const auto &[name, arguments, code, why] : refusals) {
        std::vector<const char *> line = {"ribctl"};
        line.insert(line.end(), arguments.begin(), arguments.end());
        testing::internal::CaptureStderr();
        EXPECT_EQ(ribctl_run(static_cast<int>(line.size()), const_cast<char **>(line.data())), code) << name;
        EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr(why)) << name;
    }
}
