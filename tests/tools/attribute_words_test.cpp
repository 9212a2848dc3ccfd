/*
 * Attributes in lines of text and JSON: what they are read as, how they are written, and what is refused.
 */
#include "tests/tools/memory_input.h"
#include "tools/path_attributes.h"
#include "tools/srv6_names.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::StartsWith;

namespace
{

#define LINE "::/0 fe80::1"

/* A line of text, and how it is written again: as it was, unless another form is given. */
const std::tuple<const char *, const char *> lines[] = {
    {LINE " metric=10 tag=4294967295 distance=255 interface=7 nexthop_table=5", nullptr},
    {LINE " labels=0,1048575 binding_label=16", nullptr},
    {LINE " ecomms=rt:65535:4294967295,soo:65536:65535,rt:70000:2,0102030405060708", nullptr},
    {LINE " ecomms=0202000000640001", nullptr}, // a short AS in the long form has no other name
    {LINE " ecomms=000200640000000a", LINE " ecomms=rt:100:10"},
    {LINE " sids=2001:db8::1", LINE " encap=h.encaps sids=2001:db8::1"},
    {LINE " sids=::1/csid-32-32@end.dt6 encap=h.encaps.l2.red", LINE " encap=h.encaps.l2.red sids=::1/csid-32-16@end.dt6"},
    {LINE " encap=h.encaps.red sids=::1/full-40-24@end.x.next-csid,::2@28,::3/8-8-8-8", nullptr},
    {LINE " tunnel=5", nullptr},
    {LINE " tunnel=0x5:7", LINE " tunnel=5:7"},
    {LINE " tunnel=5::7", nullptr},
    {LINE " tunnel=010005000000000000000000000000000000000000000000", nullptr},
    {LINE " intf=1 via_sid=2001:db8::/128 group=0 segment_list=2:9", nullptr},
    {LINE " nnh=255:4294967295,1:2", nullptr},
    {LINE " mvpn=000102030405060708090a0b0c0d0e0f1011121314151617 path_rt=0001020304050607", nullptr},
    {"::/0 :: interface=7", nullptr},
};

/* What follows "::/0 fe80::1 ", and why it is refused. */
const std::tuple<const char *, const char *> bad_words[] = {
    {"nonsense=1", "no attribute has that name"},
    {"metric", "something that is no NAME=VALUE"},
    {"metric=1 metric=1", "an attribute stands there twice"},
    {"metric=4294967296", "metric: "},
    {"metric=", "metric: "},
    {"metric=-1", "metric: "},
    {"distance=256", "distance: "},
    {"labels=1048576", "labels: "},
    {"labels=1,2,3,4,5,6,7,8,9,10,11", "labels: 1 to 10"},
    {"labels=1,", "labels: "},
    {"ecomms=rt:65536:65536", "ecomms: "},
    {"ecomms=rt:1:2:3", "ecomms: "},
    {"ecomms=01020304050607+8", "ecomms: "},
    {"ecomms=rt:1:1,rt:1:1,rt:1:1,rt:1:1,rt:1:1,rt:1:1,rt:1:1,rt:1:1,rt:1:1", "ecomms: 1 to 8"},
    {"encap=h.encaps", "encap without sids"},
    {"encap=1 sids=::1", "encap: "},
    {"sids=::", "sids: "},
    {"sids=::1/csid-1", "sids: "},
    {"sids=::1/100-20-8-1", "sids: "},
    {"sids=::1/1-2-3", "sids: "},
    {"sids=::1/1-2-3-4-5", "sids: "},
    {"sids=::1@140", "sids: "},
    {"tunnel=65536", "tunnel: "},
    {"tunnel=1:16777216", "tunnel: "},
    {"tunnel=1:2:3:4", "tunnel: "},
    {"intf=0", "intf: "},
    {"via_sid=::1", "via_sid: "},
    {"via_sid=::1/0", "via_sid: "},
    {"segment_list=3:1", "segment_list: "},
    {"nnh=1", "nnh: "},
    {"mvpn=00", "the attribute is written in another number"},
};

/* A line of JSON, and what it is read as. */
const std::tuple<const char *, const char *> objects[] = {
    {R"({"prefix":"::/0","nexthop":"fe80::1"})", LINE},
    {R"({"prefix":"::/0","nexthop":"fe80::1","metric":10,"labels":[16,17],"ecomms":["rt:65000:1"],"protocol":"a#b"})",
     LINE " metric=10 labels=16,17 ecomms=rt:65000:1"},
    {R"({"prefix":"::/0","nexthop":"fe80::1","labels":16,"sids":"::1"})", LINE " labels=16 encap=h.encaps sids=::1"},
    {R"({"prefix":"::/0","paths":[{"nexthop":"fe80::1","backup":true},{"nexthop":"fe80::2","backup":true}]})",
     R"({"prefix":"::/0","paths":[{"nexthop":"fe80::1","backup":true},{"nexthop":"fe80::2","backup":true}]})"},
    {R"({"prefix":"::/0","tag":3,"paths":[{"nexthop":"fe80::1","backup":false,"metric":6,"labels":[16]}]})",
     R"({"prefix":"::/0","tag":3,"paths":[{"nexthop":"fe80::1","backup":false,"metric":6,"labels":[16]}]})"},
    {R"({"prefix":"::/0"})", "!1 the next hop is missing"},
    {R"({"prefix":0,"nexthop":"::1"})", "!1 the prefix is missing"},
    {R"({"prefix":"::/0","nexthop":1})", "!1 the next hop is not an IPv6 address"},
    {R"({"prefix":"::/0","nexthop":"::"})", "!1 the next hop is the unspecified address"},
    {R"({"prefix":"::/0","nexthop":"::1")", "!1 no JSON object"},
    {R"({"prefix":"::/0","nexthop":"::1","odd":1})", "!1 no attribute has that name"},
    {R"({"prefix":"::/0","nexthop":"::1","metric":-1})", "!1 a value is neither"},
    {R"({"prefix":"::/0","nexthop":"::1","labels":[[16]]})", "!1 a value is neither"},
    {R"({"prefix":"::/0","nexthop":"::1","labels":[]})", "!1 labels: 1 to 10"},
    {R"({"prefix":"::/0","nexthop":"::1","attributes":{"algo":128}})", "!1 attributes of a route, beside its paths"},
    {R"({"prefix":"::/0","nexthop":"::1","paths":[{"nexthop":"::1"}]})", "!1 a nexthop beside paths"},
    {R"({"prefix":"::/0","labels":16,"paths":[{"nexthop":"::1"}]})", "!1 no attribute has that name"},
    {R"({"prefix":"::/0","paths":[]})", "!1 paths: a list of 1 to 128"},
    {R"({"prefix":"::/0","paths":[{"nexthop":"::1"},{"nexthop":"::1"}]})", "!1 two paths have the same next hop"},
    {R"({"prefix":"::/0","paths":[{"nexthop":"::1"},{"nexthop":"::2","backup":true}]})", "!1 a backup path beside"},
    {R"({"prefix":"::/0","paths":[{"nexthop":"::1","metric":6,"intf":1}]})", "!1 a backup path, or one with more"},
    {R"({"prefix":"::/0","paths":["::1"]})", "!1 a path is no object"},
};

} // namespace

TEST(attribute_words, lines)
{
    for (const auto &[line, written] : lines)
        EXPECT_THAT(read_all(bytes_of(line)), ElementsAre(written ? written : line));
    for (const auto &[words, why] : bad_words)
        EXPECT_THAT(read_all(bytes_of(std::string(LINE " ") + words)), ElementsAre(StartsWith(std::string("!1 ") + why)))
            << words;
}

TEST(attribute_words, objects)
{
    for (const auto &[line, told] : objects)
        EXPECT_THAT(read_all(bytes_of(line)), ElementsAre(StartsWith(told))) << line;
}

/* A value that ends early, or counts more than it holds, is shown as far as it goes. */
TEST(attribute_words, any_bytes_can_be_shown)
{
    for (const attribute_kind &kind : attribute_kinds())
        for (size_t len = 0; len < 64; ++len)
            EXPECT_FALSE(attributes_object({{kind.type, value_t(len, 0xFF)}}).empty()) << kind.name << " " << len;
}

TEST(attribute_words, endpoint_names_stand_for_themselves)
{
    for (uint32_t function = 0; function < 200; ++function) {
        if (srv6_end_func_type_is_valid(function)) {
            EXPECT_EQ(endpoint_named(endpoint_name(function)), function);
        }
    }
    EXPECT_EQ(endpoint_named("end.dt46.replace-csid"), 120u);
    EXPECT_EQ(endpoint_named("next-csid"), std::nullopt);
}
