#include "tests/tools/memory_input.h"

#include <gmock/gmock.h>

#include <tuple>

using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

/* The fields of a dump as RFC 6396 draws them; peers 0 and 1 have IPv6 addresses, peer 2 an IPv4 address and a short AS. */
const bytes_t peers = hex("5637a000 000d 0001 0000004c  01020304 0003 'abc' 0003 " //
                          "03 0a000001 20010db8 00*11 0a 0000fde9 "
                          "03 0a000002 20010db8 00*11 0b 0000fdea "
                          "00 0a000003 c0000201 fdeb @88");

/* Entries: peer, time, attributes: an AS path of n sequence members, a next hop that ends in the last byte. */
#define LEN_1 "40 02 06 02 01 00000001 "
#define LEN_2 "40 02 0a 02 02 00000001 00000002 "
#define NEXTHOP(last) "80 0e 11 10 20010db8 00*11 " last " "
#define ENTRY_1(peer, last) peer " 5637a001 001d " LEN_1 NEXTHOP(last)
#define ENTRY_2(peer, last) peer " 5637a001 0021 " LEN_2 NEXTHOP(last)

std::string joined(const std::vector<std::string> &lines)
{
    std::string all;
    for (const std::string &line : lines)
        all += (all.empty() ? "" : "; ") + line;
    return all;
}

/* A record of TABLE_DUMP_V2 around its body. */
bytes_t record(uint16_t subtype, std::string_view body)
{
    const bytes_t inside = hex(body);
    bytes_t made = hex("5637a000 000d 0000 00000000");
    put_net(&made, 6, subtype, 2);
    put_net(&made, 8, inside.size(), 4);
    return made + inside;
}

#define P32 "00000001 20 20010db8 " // sequence number and prefix
#define ENTRY_0 "0001 " ENTRY_1("0000", "01")

const std::tuple<const char *, uint16_t, const char *, const char *> cases[] = {
    {"the shortest AS path", 4, P32 "0003" ENTRY_2("0000", "01") ENTRY_1("0001", "02") ENTRY_2("0002", "03"),
     "2001:db8::/32 2001:db8::2"},
    {"then the lowest peer", 4, P32 "0002" ENTRY_1("0002", "01") ENTRY_1("0001", "02"), "2001:db8::/32 2001:db8::2"},
    {"then the lowest path identifier", 10,
     P32 "0002 0001 5637a001 00000009 001d" LEN_1 NEXTHOP("01") "0001 5637a001 00000008 001d" LEN_1 NEXTHOP("02"),
     "2001:db8::/32 2001:db8::2"},
    {"bits behind a length within a byte", 4, "00000001 1d 20010dbf" ENTRY_0, "2001:db8::/29 2001:db8::1"},
    {"the default route", 4, "00000001 00" ENTRY_0, "::/0 2001:db8::1"},
    {"a host route", 4, "00000001 80 20010db8 00*11 07" ENTRY_0, "2001:db8::7/128 2001:db8::1"},
    {"a prefix that is too long", 4, "00000001 81 20010db8 00*13" ENTRY_0, "!88 the prefix length is 129"},
    {"no entries", 4, P32 "0000", "!88 the prefix has no entries"},
    {"fewer entries than it says", 4, P32 "0002" ENTRY_1("0000", "01"), "!88 the entries run over their record"},
    {"bytes behind the entries", 4, P32 ENTRY_0 "ff",
     "2001:db8::/32 2001:db8::1; !88 1 bytes follow the last entry; the route was taken"},
    {"a bad entry beside a good one", 4, P32 "0002 0000 5637a001 0003 40 02 00" ENTRY_2("0001", "02"),
     "2001:db8::/32 2001:db8::2; !88 entry 0 was left out: it has no IPv6 next hop"},
    {"a peer that is not listed", 4, P32 "0001" ENTRY_1("0003", "01"),
     "!88 entry 0 was left out: its peer is not in the peer index table"},
    {"another table", 2, "00000001 08 0a 0000",
     "1 records of type 13 (TABLE_DUMP_V2), subtype 2 hold no IPv6 unicast table and were skipped"},
    {"a broken peer index table", 1, "01020304 0000 0001 03 0a000001", "!88 the peer index table runs over its record"},
};

} // namespace

TEST(mrt_reader, records)
{
    for (const auto &[name, subtype, body, told] : cases)
        for (const size_t piece : {3u, 1000u})
            EXPECT_EQ(joined(read_all(peers + record(subtype, body), piece)), told) << name;
}

TEST(mrt_reader, every_cut_is_told_and_costs_only_the_cut_record)
{
    const bytes_t first = record(4, P32 ENTRY_0);
    const bytes_t whole = peers + first + record(4, "00000002 20 20010db9 0001" ENTRY_1("0000", "02"));
    for (size_t len = 12; len <= whole.size(); ++len) {
        const auto told = read_all(slice(whole, 0, len));
        const size_t routes = len < peers.size() + first.size() ? 0 : len < whole.size() ? 1 : 2;
        const bool at_a_seam = len == peers.size() || len == peers.size() + first.size() || len == whole.size();
        ASSERT_EQ(told.size(), routes + !at_a_seam) << len;
        if (!at_a_seam) {
            EXPECT_THAT(told.back(), HasSubstr("but the file ends after")) << len;
        }
    }
}

/* Nothing is read out of bounds, whatever a byte says; the sanitizers watch. */
TEST(mrt_reader, any_byte_may_be_wrong)
{
    const bytes_t whole = peers + record(10, "00000001 20 20010db8 0001 0000 5637a001 00000001 001d" LEN_1 NEXTHOP("01"));
    for (size_t at = 12; at < whole.size(); ++at) {
        for (const uint8_t value : bytes_t{0x00, 0x01, 0x7F, 0x80, 0xFF}) {
            bytes_t wrong = whole;
            wrong[at] = value;
            EXPECT_LE(read_all(wrong).size(), 4u) << at;
        }
    }
}

TEST(mrt_reader, a_record_too_large_to_be_true_is_passed_over)
{
    bytes_t large = hex("5637a000 000d 0004 01000001") + bytes_t((16 << 20) + 1);
    const bytes_t behind = peers + record(4, "00000001 00" ENTRY_0);
    EXPECT_THAT(read_all(large + behind),
                ElementsAre("!0 the record has 16777217 bytes, more than any such record can have", "::/0 2001:db8::1"));
    EXPECT_THAT(read_all(hex("5637a000 000d 0004 ffffffff") + behind), ElementsAre(HasSubstr("cut 0 the record has 4294967307")));
}

TEST(mrt_reader, other_records_are_counted_by_kind)
{
    const bytes_t update = hex("5637a000 0010 0004 00000002 aaaa");
    EXPECT_THAT(read_all(update + peers + update + hex("5637a000 0011 0001 00000000")),
                ElementsAre("2 records of type 16 (BGP4MP), subtype 4 hold no IPv6 unicast table and were skipped",
                            "1 records of type 17 (BGP4MP_ET), subtype 1 hold no IPv6 unicast table and were skipped"));
}
