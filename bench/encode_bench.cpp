/*
 * Encoding one route with one path, plain (616 bytes) and with attributes, beside copying as many bytes to the same places.
 */
#include <cstring>
#include <vector>

#include <ipv6_rib/ipv6_rib.h>
#include <platform/srv6.h>

#include "ratios.h"

static constexpr size_t record_bytes = 336 + 280;
static constexpr size_t message_bytes = 524240;

static in6_addr_t address(uint32_t number)
{
    in6_addr_t addr = {};
    addr.s6_addr[0] = 0x20;
    std::memcpy(&addr.s6_addr[2], &number, sizeof number);
    return addr;
}

/* Copies records of a size behind one another, each with a prefix of its own, over as much room as a message has. */
static void copy_records(benchmark::State &state, size_t size)
{
    std::vector<char> data(message_bytes), image(size, 1);
    size_t at = 0;
    uint32_t number = 0;
    benchmark::DoNotOptimize(size); // hidden, so that the compiler calls the library
    for (auto _ : state) {
        const in6_addr_t prefix = address(number++);
        std::memcpy(data.data() + at, image.data(), size);
        std::memcpy(data.data() + at + 48, &prefix, sizeof prefix);
        at = at + 2 * size > data.size() ? 0 : at + size;
        benchmark::ClobberMemory();
    }
}

static void copy_616(benchmark::State &state)
{
    copy_records(state, record_bytes);
}
BENCHMARK(copy_616);

/* Writes routes into one buffer, each with the path that add_path writes, and empties it when it is full. */
template <class add_path_t> static void encode(benchmark::State &state, add_path_t add_path)
{
    rib_batch_buffer *buffer = ipv6_rib_batch_buffer_allocate(0);
    ipv6_rib_batch_buffer_init(buffer, IPV6_RIB_TABLE_DEFAULT, 1);
    uint32_t number = 0;
    for (auto _ : state) {
        const in6_addr_t prefix = address(number++);
        if (!ipv6_rib_batch_buffer_route_fits(buffer, 1))
            ipv6_rib_batch_buffer_clear(buffer);
        ipv6_rib_batch_buffer_add_route(buffer, &prefix, 48, 0, 0);
        add_path(buffer);
    }
    ipv6_rib_batch_buffer_free(buffer);
}

static void encode_route_and_path(benchmark::State &state)
{
    const in6_addr_t nexthop = address(7);
    encode(state, [&](rib_batch_buffer *buffer) { ipv6_rib_batch_buffer_add_path(buffer, 0, 0, &nexthop, &nexthop, 0, 0, 0); });
}
BENCHMARK(encode_route_and_path);

static void encode_withdrawal(benchmark::State &state)
{
    const in6_addr_t every = {};
    encode(state, [&](rib_batch_buffer *buffer) { ipv6_rib_batch_buffer_delete_path(buffer, &every, 0, 0); });
}
BENCHMARK(encode_withdrawal);

/* Attributes as a routing process keeps them ready. */
struct attributes_td {
    ip_rib_route_algo_td algo = {128};
    ip_rib_route_aft_id_td aft = {{1}, 2};
    ip_rib_ecomms_array_td ecomms = {2, 0, {{0, 2}, {0, 3}}};
    ip_rib_nnh_set_td nnh = {2, {}, {{1, {}, 7}, {2, {}, 9}}};
    uint32_t labels[4] = {16, 17, 18, 19};
    srv6_sid_list_t sids = {};
    uint8_t block[24] = {1};
    ip_rib_tunnel_info_td tunnel = {0, 1, 0, 0, {}};
    ip_rib_sl_id_info_td segment_list = {1, {}, 5};
    in6_addr_t nexthop = address(7);

    attributes_td()
    {
        sids.sl_count = 2;
        sids.sl_func = SRV6_H_ENCAPS;
        for (srv6_sid_info_t *sid = sids.sl_sid; sid != sids.sl_sid + sids.sl_count; sid++) {
            sid->si_format = SRV6_SID_FORMAT_CSID_32_16;
            sid->si_sid = nexthop;
        }
    }
};

/* Writes routes in three steps; set_route and set_path add what they have besides. Gives the bytes of a record. */
template <class set_route_t, class set_path_t>
static size_t encode_in_steps(benchmark::State *state, const attributes_td &with, set_route_t set_route, set_path_t set_path)
{
    rib_batch_buffer *buffer = ipv6_rib_batch_buffer_allocate(0);
    ipv6_rib_batch_buffer_init(buffer, IPV6_RIB_TABLE_DEFAULT, 1);
    rib_batch_path_init_in in = {};
    in.pi_infosource = {.afi = 2, .addr = {.v6 = &with.nexthop}};
    uint32_t number = 0;
    const auto encode_one = [&] {
        const in6_addr_t prefix = address(number++);
        ipv6_rib_batch_buffer_init_route(buffer, &prefix, 48);
        set_route(buffer);
        ipv6_rib_batch_buffer_add_route3(buffer);
        ipv6_rib_batch_buffer_add_path_init(buffer, &with.nexthop, &in);
        set_path(buffer);
        return ipv6_rib_batch_buffer_add_path_done(buffer);
    };
    size_t routes = 0;
    while (encode_one() == RIB_BATCH_BUFFER_OK)
        routes++;
    ipv6_rib_batch_buffer_clear(buffer);
    if (state)
        for (auto _ : *state)
            if (encode_one() != RIB_BATCH_BUFFER_OK)
                ipv6_rib_batch_buffer_clear(buffer);
    ipv6_rib_batch_buffer_free(buffer);
    return message_bytes / routes;
}

/* Four attributes: extended communities, a SID list, labels, a group. */
static size_t encode_four(benchmark::State *state)
{
    attributes_td with;
    return encode_in_steps(
        state, with, [](rib_batch_buffer *) {},
        [&](rib_batch_buffer *buffer) {
            ipv6_rib_batch_buffer_path_set_ecomms_array(buffer, &with.ecomms);
            ipv6_rib_batch_buffer_path_set_srv6_sid_list(buffer, &with.sids);
            ipv6_rib_batch_buffer_path_set_remote_label_stack(buffer, 2, with.labels);
            ipv6_rib_batch_buffer_path_set_grouping_id(buffer, 3);
        });
}

/* All that may stand together. */
static size_t encode_all(benchmark::State *state)
{
    attributes_td with;
    return encode_in_steps(
        state, with,
        [&](rib_batch_buffer *buffer) {
            ipv6_rib_batch_buffer_route_set_srv6_end_func_type(buffer, SRV6_END);
            ipv6_rib_batch_buffer_route_set_algo(buffer, &with.algo);
            ipv6_rib_batch_buffer_route_set_aft_id(buffer, &with.aft);
        },
        [&](rib_batch_buffer *buffer) {
            ipv6_rib_batch_buffer_path_set_binding_label(buffer, 20);
            ipv6_rib_batch_buffer_path_set_remote_label_stack(buffer, 4, with.labels);
            ipv6_rib_batch_buffer_path_set_ecomms_array(buffer, &with.ecomms);
            ipv6_rib_batch_buffer_path_set_nnh_set(buffer, &with.nnh);
            ipv6_rib_batch_buffer_path_set_intf_index(buffer, 4);
            ipv6_rib_batch_buffer_path_set_srv6_sid_list(buffer, &with.sids);
            ipv6_rib_batch_buffer_path_set_l2_info(buffer, with.block);
            ipv6_rib_batch_buffer_path_set_via_srv6_sid(buffer, &with.nexthop, 64);
            ipv6_rib_batch_buffer_path_set_grouping_id(buffer, 3);
            ipv6_rib_batch_buffer_path_set_ip_tunnel_info(buffer, &with.tunnel);
            ipv6_rib_batch_buffer_path_set_via_aft_id(buffer, &with.aft);
            ipv6_rib_batch_buffer_path_set_sl_id_info(buffer, &with.segment_list);
            ipv6_rib_batch_buffer_path_set_mvpn_attr(buffer, with.block);
            ipv6_rib_batch_buffer_path_set_path_rt_attr(buffer, with.block);
            ipv6_rib_batch_buffer_path_set_vrf_import_rt_attr(buffer, with.block);
            ipv6_rib_batch_buffer_path_set_source_as_rt_attr(buffer, with.block);
            ipv6_rib_batch_buffer_path_set_source_rd_attr(buffer, with.block);
            ipv6_rib_batch_buffer_path_set_seg_nh_attr(buffer, with.block);
        });
}

static void copy_four_attributes(benchmark::State &state)
{
    copy_records(state, encode_four(nullptr));
}
BENCHMARK(copy_four_attributes);
static void encode_four_attributes(benchmark::State &state)
{
    encode_four(&state);
}
BENCHMARK(encode_four_attributes);
static void copy_all_attributes(benchmark::State &state)
{
    copy_records(state, encode_all(nullptr));
}
BENCHMARK(copy_all_attributes);
static void encode_all_attributes(benchmark::State &state)
{
    encode_all(&state);
}
BENCHMARK(encode_all_attributes);

int main(int argc, char **argv)
{
    return run_benchmarks(argc, argv,
                          {{"encode_route_and_path", "copy_616", "of one route"},
                           {"encode_withdrawal", "copy_616", "of one route"},
                           {"encode_four_attributes", "copy_four_attributes", "of one route with four attributes"},
                           {"encode_all_attributes", "copy_all_attributes", "of one route with every attribute"}});
}
