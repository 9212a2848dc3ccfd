/*
 * Routes as text and JSON, and what is said about the choice between them.
 */
#include "tools/explain.h"
#include "tools/show_routes.h"

#include "tests/tools/route_record.h"

#include <algorithm>

namespace
{

ipv6_routetype held_route()
{
    ipv6_routetype route = route_record(RIB_ROUTE_STALE, 3);
    add_path(&route, "fe80::1", 7, 0);
    add_path(&route, "::2", 0, RIB_PATH_BACKUP, 16);
    return route;
}

/* Two protocols, as an attribute of a route holds them. */
struct __attribute__((packed)) two_advertisers {
    uint32_t count = 2;
    uint16_t protoid[2] = {4, 9};
};

using ranks_t = std::vector<route_rank>;
struct explain_case {
    const char *name;
    ranks_t ranks; /* best first */
    std::vector<const char *> reasons;
};
const explain_case explain_cases[] = {
    {"alone", {{false, 200, 9, 1}}, {"best: the only one"}},
    {"alone, without a primary path", {{true, 1, 0, 1}}, {"best: the only one, with backup paths only"}},
    {"a primary path beats any distance",
     {{false, 255, 9, 9}, {true, 1, 0, 1}},
     {"best: the only one with a primary path", "not best: backup paths only"}},
    {"each other one is measured by the best",
     {{false, 20, 0, 4}, {false, 20, 7, 3}, {false, 200, 0, 2}, {true, 10, 0, 1}},
     {"best: lowest metric", "not best: metric 7 against 0 of p4", "not best: distance 200 against 20 of p4",
      "not best: backup paths only"}},
    {"the distance before the metric",
     {{false, 1, 9, 2}, {false, 2, 0, 1}},
     {"best: lowest distance", "not best: distance 2 against 1 of p2"}},
    {"the identifier at last",
     {{true, 5, 6, 7}, {true, 5, 6, 8}},
     {"best: lowest protocol identifier", "not best: protocol identifier 8 against 7 of p7"}},
};

} // namespace

TEST(show_routes, text)
{
    ipv6_routetype route = held_route();
    EXPECT_EQ(route_line(route, named),
              "2001:db8::/32 via fe80::1 interface 7, ::2 labels 16 backup from p3, distance 20, metric 5, not best, held");
    EXPECT_EQ(route_text(route, named), "2001:db8::/32 from p3, distance 20, metric 5, held for a client that is gone\n"
                                        "    via fe80::1, interface 7, metric 6\n"
                                        "    via ::2, metric 6, labels 16, backup");
    two_advertisers both;
    route.rt_advertisers = reinterpret_cast<rib_advertisers *>(&both);
    route.rt_state = RIB_ROUTE_BEST;
    route.rt_path_count = 1;
    route.rt_tag = 8;
    EXPECT_EQ(route_line(route, named), "2001:db8::/32 via fe80::1 interface 7 from p3, distance 20, metric 5");
    EXPECT_EQ(route_text(route, named), "2001:db8::/32 from p3, distance 20, metric 5, tag 8\n"
                                        "    via fe80::1, interface 7, metric 6\n"
                                        "    advertised by p4, p9");
    EXPECT_EQ(route_object(route, named),
              json::parse(R"({"prefix": "2001:db8::/32", "protocol": "p3", "protocol_id": 3, "distance": 20, "metric": 5,
                              "tag": 8, "best": true, "held": false, "paths": [{"nexthop": "fe80::1", "interface": 7,
                              "metric": 6, "backup": false}], "advertised_by": ["p4", "p9"]})"));
}

TEST(explain, reasons)
{
    for (const explain_case &c : explain_cases) {
        EXPECT_TRUE(std::is_sorted(c.ranks.begin(), c.ranks.end())) << c.name;
        std::vector<candidate> ranked;
        for (const route_rank &rank : c.ranks)
            ranked.push_back({rank, named(rank.protoid)});
        for (size_t i = 0; i < ranked.size(); ++i)
            EXPECT_EQ(reason(ranked, i), c.reasons[i]) << c.name << ", " << i;
    }
}
