/*
 * Changes and events as text and JSON, and how changes are counted.
 */
#include "tools/show_updates.h"

#include "tests/tools/route_record.h"
#include "tools/rate_counter.h"

#include <ipv6_rib/update.h>

namespace
{

struct change_case {
    const char *name;
    uint8_t state;
    rib_protoid_td protoid;
    const char *line, *object;
};
const change_case changes[] = {
    {"a route in the form of a listing", RIB_ROUTE_BEST, 3, "+ 2001:db8::/32 via fe80::1 from p3, distance 20, metric 5",
     R"({"event": "route", "prefix": "2001:db8::/32", "protocol": "p3", "protocol_id": 3, "distance": 20, "metric": 5, "tag": 0,
         "best": true, "held": false, "paths": [{"nexthop": "fe80::1", "interface": 0, "metric": 6, "backup": false}], "advertised_by": []})"},
    {"a withdrawal of a protocol", RIB_ROUTE_WITHDRAWN, 3, "- 2001:db8::/32 from p3",
     R"({"event": "withdraw", "prefix": "2001:db8::/32", "protocol": "p3", "protocol_id": 3})"},
    {"a withdrawal of the best route", RIB_ROUTE_WITHDRAWN, RIB_PROTOID_NONE, "- 2001:db8::/32",
     R"({"event": "withdraw", "prefix": "2001:db8::/32", "protocol": null, "protocol_id": null})"},
};

struct event_case {
    shown_update shown;
    const char *line, *object;
};
const event_case events[] = {
    {established_update(7), "= established, client 7", R"({"event": "established", "client_id": 7})"},
    {lost_update(), "= lost", R"({"event": "lost"})"},
    {complete_update(0xE0800000, RIB_PROTOID_NONE, named), "= table 0xE0800000 complete",
     R"({"event": "complete", "table": 3766484992, "protocol": null, "protocol_id": null})"},
    {complete_update(0x1F, 3, named), "= table 0x0000001F complete, from p3",
     R"({"event": "complete", "table": 31, "protocol": "p3", "protocol_id": 3})"},
    {marker_update(3, RIB_MARKER_COMPLETE, named), "* p3 update complete",
     R"({"event": "marker", "protocol": "p3", "protocol_id": 3, "marker": "update complete"})"},
    {marker_update(3, RIB_MARKER_CONVERGED, named), "* p3 converged",
     R"({"event": "marker", "protocol": "p3", "protocol_id": 3, "marker": "converged"})"},
    {protocol_update(true, 3, named), "* p3 came",
     R"({"event": "protocol", "protocol": "p3", "protocol_id": 3, "change": "came"})"},
    {protocol_update(false, 3, named), "* p3 went",
     R"({"event": "protocol", "protocol": "p3", "protocol_id": 3, "change": "went"})"},
};

/* At a time, in milliseconds, when so many changes have come since the step before. */
struct count_step {
    const char *name;
    int64_t at;
    unsigned routes, withdrawals;
    const char *object; /* NULL: nothing is told */
};
const count_step count_steps[] = {
    {"not within a second", 900, 10, 0, nullptr},
    {"a second, and a little more", 1250, 10, 5,
     R"({"event": "count", "seconds": 1.25, "routes": 20, "withdrawals": 5, "per_second": 20.0, "total_routes": 20,
         "total_withdrawals": 5})"},
    {"an empty second is not told", 2500, 0, 0, nullptr},
    {"and is in no later interval", 3400, 100, 0, nullptr},
    {"totals go on", 3500, 0, 100,
     R"({"event": "count", "seconds": 1.0, "routes": 100, "withdrawals": 100, "per_second": 200.0, "total_routes": 120,
         "total_withdrawals": 105})"},
};

} // namespace

TEST(show_updates, changes)
{
    for (const change_case &c : changes) {
        ipv6_routetype route = route_record(c.state, c.protoid);
        if (!(c.state & RIB_ROUTE_WITHDRAWN))
            add_path(&route, "fe80::1", 0, 0);
        EXPECT_EQ(change_line(route, named), c.line) << c.name;
        EXPECT_EQ(change_object(route, named), json::parse(c.object)) << c.name;
    }
}

TEST(show_updates, events)
{
    for (const event_case &c : events) {
        EXPECT_EQ(c.shown.line, c.line);
        EXPECT_EQ(c.shown.object, json::parse(c.object)) << c.line;
    }
}

TEST(rate_counter, tells_each_second_in_which_something_came)
{
    const rate_counter::time_point start{};
    rate_counter counter(start);
    for (const count_step &step : count_steps) {
        for (unsigned i = 0; i < step.routes; ++i)
            counter.add(false);
        for (unsigned i = 0; i < step.withdrawals; ++i)
            counter.add(true);
        const auto told = counter.due(start + std::chrono::milliseconds(step.at));
        ASSERT_EQ(told.has_value(), step.object != nullptr) << step.name;
        if (told) {
            EXPECT_EQ(told->object(), json::parse(step.object)) << step.name;
        }
    }
    counter.add(true);
    EXPECT_EQ(counter.total().withdrawals, 106u);
    EXPECT_EQ(counter.rest(start + std::chrono::milliseconds(3600))->line(),
              "        0 routes         1 withdrawals        10/s, in all 120 routes 106 withdrawals");
}
