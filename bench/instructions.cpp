/*
 * One hot path of the library over prepared data, for instructions.sh: what runs within counted() is counted, nothing else.
 *
 *   instructions          names the paths
 *   instructions PATH     runs one of them for 100 routes
 */
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>

#include <platform/srv6.h>

#include "canned_channel.h"

using job = std::function<void()>;

static constexpr uint32_t routes = 100;

static in6_addr_t address(uint32_t value)
{
    in6_addr_t addr = {};
    std::memcpy(&addr.s6_addr[2], &value, sizeof value);
    return addr;
}

static void expect(bool holds)
{
    if (!holds)
        std::abort();
}

static rib_batch_buffer *batch()
{
    rib_batch_buffer *buffer = ipv6_rib_batch_buffer_allocate(0);
    ipv6_rib_batch_buffer_init(buffer, IPV6_RIB_TABLE_DEFAULT, 1);
    return buffer;
}

static job encode_route_and_path()
{
    return [buffer = batch(), hop = address(7)] {
        for (uint32_t at = 0; at != routes; at++) {
            const in6_addr_t prefix = address(at);
            ipv6_rib_batch_buffer_add_route(buffer, &prefix, 48, 0, 0);
            ipv6_rib_batch_buffer_add_path(buffer, 0, 0, &hop, &hop, 0, 0, 0);
        }
    };
}

/* In three steps: extended communities, a SID list, labels, a group. */
static job encode_four_attributes()
{
    static const in6_addr_t hop = address(7);
    static const uint32_t labels[] = {16, 17};
    static ip_rib_ecomms_array_td communities = {2, 0, {{0, 2}, {0, 3}}};
    static srv6_sid_list_t sids = {};
    sids.sl_count = 2;
    sids.sl_func = SRV6_H_ENCAPS;
    for (uint32_t at = 0; at != sids.sl_count; at++) {
        sids.sl_sid[at].si_format = SRV6_SID_FORMAT_CSID_32_16;
        sids.sl_sid[at].si_sid = hop;
    }
    return [buffer = batch()] {
        const rib_batch_path_init_in in = {.pi_infosource = {.afi = 2, .addr = {.v6 = &hop}}};
        for (uint32_t at = 0; at != routes; at++) {
            const in6_addr_t prefix = address(at);
            ipv6_rib_batch_buffer_init_route(buffer, &prefix, 48);
            ipv6_rib_batch_buffer_add_route3(buffer);
            ipv6_rib_batch_buffer_add_path_init(buffer, &hop, &in);
            ipv6_rib_batch_buffer_path_set_ecomms_array(buffer, &communities);
            ipv6_rib_batch_buffer_path_set_srv6_sid_list(buffer, &sids);
            ipv6_rib_batch_buffer_path_set_remote_label_stack(buffer, 2, labels);
            ipv6_rib_batch_buffer_path_set_grouping_id(buffer, 3);
            expect(ipv6_rib_batch_buffer_add_path_done(buffer) == RIB_BATCH_BUFFER_OK);
        }
    };
}

using found_routes = std::shared_ptr<ipv6_routetype[]>;

/* Looks up so many times; the answer is all but the exchange. */
static void look_up(decltype(ipv6_rib_route_lookup) *look, const found_routes &found)
{
    const in6_addr_t addr = {};
    for (uint32_t at = 0; at != routes; at++) {
        errcode code;
        expect(look(canned_connection(), IPV6_RIB_TABLE_DEFAULT, &addr, 128, RIB_LOOKUP_LONGEST, 0, &found[at], &code));
    }
}

static found_routes prepare_lookup()
{
    canned_connection();
    canned_answer = bytes(8) + told_route(told_attributes::some) + bytes(8);
    return found_routes(new ipv6_routetype[routes]());
}

static job lookup()
{
    return [found = prepare_lookup()] { look_up(ipv6_rib_route_lookup, found); };
}

static job convert_later()
{
    const found_routes found = prepare_lookup();
    look_up(ipv6_rib_route_lookup_internal, found);
    return [found] {
        for (uint32_t at = 0; at != routes; at++)
            ipv6_rib_route_xform(&found[at]);
    };
}

static void count_path(uint32_t, ipv6_routetype *route, void *paths)
{
    *static_cast<uint32_t *>(paths) += route->rt_path_count;
}

/* One reply with a message for each route. */
static job fetch()
{
    canned_connection();
    canned_answer = told_updates(told_route(told_attributes::some), routes);
    return [] {
        uint32_t paths = 0;
        expect(ipv6_rib_fetch_update(canned_connection(), &paths, nullptr, RIB_UPDATE_ROUTES, count_path, RIB_UPDATE_END) == 0);
        expect(paths == routes);
    };
}

/* The results of one message, each route with a path. */
static job walk_results()
{
    canned_connection();
    canned_answer = batch_results(routes);
    void *reply = ipv6_rib_batch_args_out_allocate();
    expect(ipv6_rib_batch_buffer_send(canned_connection(), batch(), reply) == 1);
    return [reply] {
        uint32_t paths = 0;
        for (void *at = ipv6_rib_batch_args_out_first_route(reply); at; at = ipv6_rib_batch_args_out_next_route(reply, at))
            for (void *of = ipv6_rib_batch_route_out_first_path(at); of; of = ipv6_rib_batch_route_out_next_path(at, of))
                paths++;
        expect(paths == routes);
    };
}

static const struct {
    const char *name;
    job (*prepare)();
} paths[] = {
    {"encode_route_and_path", encode_route_and_path},
    {"encode_four_attributes", encode_four_attributes},
    {"convert_later", convert_later},
    {"lookup", lookup},
    {"fetch", fetch},
    {"walk_results", walk_results},
};

/* The counter is told of this name. */
extern "C" __attribute__((noinline)) void counted(const job &run);
void counted(const job &run)
{
    run();
}

int main(int argc, char **argv)
{
    for (const auto &path : paths)
        if (argc == 1) {
            std::puts(path.name);
        } else if (std::strcmp(path.name, argv[1]) == 0) {
            path.prepare()(); // the first time, the dynamic linker works as well
            counted(path.prepare());
            return 0;
        }
    return argc == 1 ? 0 : 2;
}
