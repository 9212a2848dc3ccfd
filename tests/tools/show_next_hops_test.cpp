/*
 * A next hop that is told as text and JSON, every field with a value of its own.
 */
#include "tools/show_next_hops.h"

#include "tests/tools/route_record.h"

namespace
{

struct told_case {
    const char *name;
    uint32_t flags, interface;
    const char *line, *object;
};
const told_case cases[] = {
    {"reached by a gateway on an interface", RIB_NH_REACHED, 7,
     "+ 2001:db8::9 via fe80::1 interface 7 from p3, length 32, distance 20, metric 65536",
     R"({"event": "next_hop", "address": "2001:db8::9", "reached": true, "via": "fe80::1", "interface": 7, "connected": false,
         "prefix_length": 32, "protocol": "p3", "protocol_id": 3, "distance": 20, "metric": 65536})"},
    {"connected, and no route names an interface", RIB_NH_REACHED | RIB_NH_CONNECTED, RIB_INTERFACE_NONE,
     "+ 2001:db8::9 via fe80::1 from p3, length 32, distance 20, metric 65536, connected",
     R"({"event": "next_hop", "address": "2001:db8::9", "reached": true, "via": "fe80::1", "interface": null, "connected": true,
         "prefix_length": 32, "protocol": "p3", "protocol_id": 3, "distance": 20, "metric": 65536})"},
    {"not reached: what else the record holds is not told", 0, 0, "- 2001:db8::9 not reached",
     R"({"event": "next_hop", "address": "2001:db8::9", "reached": false})"},
};

} // namespace

TEST(show_next_hops, told)
{
    for (const told_case &c : cases) {
        rib_next_hop_update told = {.nu_flags = c.flags,
                                    .nu_prefix_len = 32,
                                    .nu_protoid = 3,
                                    .nu_distance = 20,
                                    .nu_proto_kind = 4,
                                    .nu_metric = 65536,
                                    .nu_interface = c.interface,
                                    .nu_min_len = 5};
        std::memcpy(told.nu_addr, addr("2001:db8::9").s6_addr, 16);
        std::memcpy(told.nu_via, addr("fe80::1").s6_addr, 16);
        EXPECT_EQ(next_hop_line(told, named), c.line) << c.name;
        EXPECT_EQ(next_hop_object(told, named), json::parse(c.object)) << c.name;
    }
}

TEST(show_next_hops, all_told)
{
    const shown_update shown = next_hops_told_update(0x1F);
    EXPECT_EQ(shown.line, "= table 0x0000001F next hops told");
    EXPECT_EQ(shown.object, json::parse(R"({"event": "next_hops_told", "table": 31})"));
}
