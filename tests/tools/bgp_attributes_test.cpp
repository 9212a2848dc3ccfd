#include "tools/bgp_attributes.h"

#include "tests/support/hex.h"
#include "tools/address.h"

namespace
{

#define NEXTHOP_1 "20010db8 00*11 01 "
#define NEXTHOP_2 "fe80 00*13 02 "
#define PATH "40 02 06 02 01 00000001 "       // a sequence of one AS
#define REACH "80 0e 11 10 " NEXTHOP_1        // length of the next hop, next hop
#define FULL "80 0e 17 0002 01 10 " NEXTHOP_1 // family, sub-family, then as above, reserved, a prefix

struct path_case {
    const char *name, *bytes;
    const char *why; // NULL: it gives a path
    uint32_t len = 1;
};
const path_case cases[] = {
    {"the next hop alone", PATH REACH, nullptr},
    {"as it travelled", PATH FULL "00 0800", nullptr},
    {"a global and a link-local next hop", PATH "90 0e 0021 20 " NEXTHOP_1 NEXTHOP_2, nullptr},
    {"an extended length", "50 02 0006 02 01 00000001" REACH, nullptr},
    {"an empty AS path", "40 02 00" REACH, nullptr, 0},
    {"a set is one", "40 02 14 02 01 00000001 01 03 00000002 00000003 00000004" REACH, nullptr, 2},
    {"an empty set is none", "40 02 02 01 00" REACH, nullptr, 0},
    {"confederations are none", "40 02 10 03 02 00000001 00000002 04 01 00000003" REACH, nullptr, 0},
    {"other attributes stand aside", "40 01 01 00 c0 08 04 00010002" PATH "40 05 04 00000064" REACH, nullptr},
    {"the first of two counts", PATH "40 02 00" REACH, nullptr},
    {"no AS path", REACH, "it has no AS path"},
    {"no next hop", PATH, "it has no IPv6 next hop"},
    {"a segment that is too long", "40 02 06 02 02 00000001" REACH, "the AS path runs over its attribute"},
    {"half a segment", "40 02 01 02" REACH, "the AS path runs over its attribute"},
    {"an unknown segment", "40 02 06 05 01 00000001" REACH, "the AS path has a segment of unknown type"},
    {"an attribute that is too long", PATH "80 0e 12 10 " NEXTHOP_1, "an attribute runs over the entry"},
    {"no next-hop length", PATH "80 0e 00", "the next hop runs over its attribute"},
    {"a next hop that is too long", PATH "80 0e 11 20 " NEXTHOP_1, "the next hop runs over its attribute"},
    {"a short next hop", PATH "80 0e 05 04 01020304", "the next hop has neither 16 nor 32 bytes"},
    {"bytes behind the next hop", PATH "80 0e 12 10 " NEXTHOP_1 "00", "something follows the next hop in its attribute"},
    {"another family", PATH "80 0e 09 0001 01 04 01020304 00", "the next hop is of another family"},
    {"half a family", PATH "80 0e 01 00", "the next hop runs over its attribute"},
    {"no gateway at all", PATH "80 0e 11 10 00*16", "the next hop is the unspecified address"},
};

} // namespace

TEST(bgp_attributes, paths)
{
    for (const path_case &c : cases) {
        bgp_path path = {};
        const char *why = parse_bgp_attributes(hex(c.bytes), &path);
        ASSERT_STREQ(why, c.why) << c.name;
        if (why)
            continue;
        EXPECT_EQ(path.as_path_len, c.len) << c.name;
        EXPECT_EQ(text_of(path.nexthop), "2001:db8::1") << c.name;
    }
}
