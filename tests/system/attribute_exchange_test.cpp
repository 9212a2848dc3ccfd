/*
 * Attributes over the real channel: what is set comes back. SIDs and IIDs: what is asked for is given out, shown and given back.
 */
#include "system_test.h"

#include <cstring>
#include <map>
#include <set>

#include <platform/rib_tlv.h>
#include <platform/srv6.h>

#include "server/embed.h"

namespace
{
using bytes_td = std::vector<uint8_t>;

bytes_td bytes_of(const void *from, size_t size)
{
    const auto *bytes = static_cast<const uint8_t *>(from);
    return {bytes, bytes + size};
}

/* The attributes of the first path of a route as received, by type. */
std::map<unsigned, bytes_td> attributes_of(ipv6_routetype *route)
{
    std::map<unsigned, bytes_td> attributes;
    auto *cursor = reinterpret_cast<uint8_t *>(route->rt_path);
    const rib_tlv_t *record = rib_tlv_fetch(&cursor);
    while ((record = rib_tlv_fetch(&cursor)))
        attributes[record->type] = bytes_of(record + 1, record->length);
    return attributes;
}

class attributes : public ::testing::Test
{
protected:
    run_dir dir;
    rib_embedded_server server{{.dir = dir.path(), .msg_version = 1}};
    test_client client{"routing"};

    /* The answer to the request of the one route that is in the buffer. */
    rib_batch_request_answer send_request() const
    {
        rib_batch_request_answer answer = {};
        EXPECT_EQ(ipv6_rib_batch_buffer_send(client.conn, client.buffer, client.reply), 1);
        for (void *out = ipv6_rib_batch_args_out_first_route(client.reply); out;
             out = ipv6_rib_batch_args_out_next_route(client.reply, out))
            if (*static_cast<uint8_t *>(out) == RIB_BATCH_OUT_ROUTE)
                std::memcpy(&answer, static_cast<rib_batch_route_out *>(out)->ro_answer, sizeof answer);
        return answer;
    }
    rib_batch_request_answer ask_sid(const srv6_sid_req_t &request, bool is_free, uintptr_t context) const
    {
        const in6_addr_t none = {};
        const auto set = is_free ? ipv6_rib_batch_buffer_free_srv6_sid_req : ipv6_rib_batch_buffer_add_srv6_sid_req;
        EXPECT_EQ(ipv6_rib_batch_buffer_init_route(client.buffer, &none, 0), RIB_BATCH_BUFFER_OK);
        EXPECT_EQ(set(client.buffer, &request, reinterpret_cast<void *>(context)), RIB_BATCH_BUFFER_OK);
        EXPECT_EQ(ipv6_rib_batch_buffer_add_route3(client.buffer), RIB_BATCH_BUFFER_OK);
        return send_request();
    }
};

TEST_F(attributes, come_back_as_they_were_set)
{
    const in6_addr_t prefix = addr("2001:db8::"), nexthop = addr("fe80::1"), sid = addr("fc00:0:1:e000::");
    const ip_rib_route_algo_td algo = {128};
    const ip_rib_route_aft_id_td aft = {{'r', 'e', 'd'}, 7};
    const ip_rib_ecomms_array_td ecomms = {2, 0, {{0, 2, 0xFD, 0xE8, 0, 0, 0, 1}, {3, 12}}};
    ip_rib_nnh_set_td next_nexthops = {3, {}, {{1, {}, 5}, {2, {}, 9}, {2, {}, 4}}};
    const uint32_t labels[] = {16, 17, 18, 19};
    const ip_rib_tunnel_info_td tunnel = {RIB_TUNNEL_LOCAL_ID | RIB_TUNNEL_REMOTE_ID, 3, 0xABCDEF, 0xABCDEF, {1, 2}};
    const ip_rib_sl_id_info_td segments = {2, {}, 77};
    const uint8_t l2[16] = {0xA1, 0xA2};
    srv6_sid_list_t sids = {};
    sids.sl_count = 1;
    sids.sl_func = SRV6_H_ENCAPS_RED;
    sids.sl_sid[0].si_format = SRV6_SID_FORMAT_CSID_32_16;
    sids.sl_sid[0].si_func = SRV6_END;
    sids.sl_sid[0].si_sid = sid;
    uint8_t blocks[6][24];
    for (unsigned i = 0; i < 6; i++)
        std::memset(blocks[i], static_cast<int>(0x10 + i), sizeof blocks[i]);
    rib_batch_buffer_result (*const set_block[])(rib_batch_buffer *, const void *) = {
        ipv6_rib_batch_buffer_path_set_mvpn_attr,          ipv6_rib_batch_buffer_path_set_path_rt_attr,
        ipv6_rib_batch_buffer_path_set_vrf_import_rt_attr, ipv6_rib_batch_buffer_path_set_source_as_rt_attr,
        ipv6_rib_batch_buffer_path_set_source_rd_attr,     ipv6_rib_batch_buffer_path_set_seg_nh_attr};
    rib_batch_path_init_in in = {};
    in.pi_infosource = {.afi = 2, .addr = {.v6 = &nexthop}};

    rib_batch_buffer *buffer = client.buffer;
    std::vector<rib_batch_buffer_result> results = {
        ipv6_rib_batch_buffer_init_route(buffer, &prefix, 32),
        ipv6_rib_batch_buffer_route_set_srv6_end_func_type(buffer, SRV6_END_DT6),
        ipv6_rib_batch_buffer_route_set_algo(buffer, &algo),
        ipv6_rib_batch_buffer_route_set_aft_id(buffer, &aft),
        ipv6_rib_batch_buffer_add_route3(buffer),
        ipv6_rib_batch_buffer_add_path_init(buffer, &nexthop, &in),
        ipv6_rib_batch_buffer_path_set_binding_label(buffer, 20),
        ipv6_rib_batch_buffer_path_set_remote_label_stack(buffer, 4, labels),
        ipv6_rib_batch_buffer_path_set_ecomms_array(buffer, &ecomms),
        ipv6_rib_batch_buffer_path_set_nnh_set(buffer, &next_nexthops),
        ipv6_rib_batch_buffer_path_set_intf_index(buffer, 4),
        ipv6_rib_batch_buffer_path_set_srv6_sid_list(buffer, &sids),
        ipv6_rib_batch_buffer_path_set_l2_info(buffer, l2),
        ipv6_rib_batch_buffer_path_set_via_srv6_sid(buffer, &sid, 64),
        ipv6_rib_batch_buffer_path_set_grouping_id(buffer, 3),
        ipv6_rib_batch_buffer_path_set_ip_tunnel_info(buffer, &tunnel),
        ipv6_rib_batch_buffer_path_set_via_aft_id(buffer, &aft),
        ipv6_rib_batch_buffer_path_set_sl_id_info(buffer, &segments),
    };
    for (unsigned i = 0; i < 6; i++)
        results.push_back(set_block[i](buffer, blocks[i]));
    results.push_back(ipv6_rib_batch_buffer_add_path_done(buffer));
    EXPECT_EQ(results, std::vector<rib_batch_buffer_result>(results.size(), RIB_BATCH_BUFFER_OK));
    ASSERT_EQ(client.send(), 1);

    ipv6_routetype route;
    errcode err;
    ASSERT_EQ(ipv6_rib_route_lookup_internal(client.conn, IPV6_RIB_TABLE_DEFAULT, &prefix, 32, RIB_LOOKUP_EXACT, 0, &route, &err),
              1);
    const std::map<unsigned, bytes_td> got = attributes_of(&route);
    const uint32_t binding = 20, interface = 4, group = 3;
    uint8_t via[24] = {}, list[48] = {};
    std::memcpy(via, &sid, sizeof sid);
    via[16] = 64;
    list[0] = 1;
    std::memcpy(list + 4, &sids.sl_func, 4);
    std::memcpy(list + 16, &sids.sl_sid[0].si_func, 32);
    const std::map<unsigned, bytes_td> expected = {
        {RIB_PATH_ATTR_LABELS, bytes_of(labels, sizeof labels)},
        {RIB_PATH_ATTR_BINDING_LABEL, bytes_of(&binding, 4)},
        {RIB_PATH_ATTR_ECOMMS, bytes_of(&ecomms, 4 + 16)},
        {RIB_PATH_ATTR_NNH, bytes_of(&next_nexthops, 4 + 24)}, // sorted by now
        {RIB_PATH_ATTR_INTF, bytes_of(&interface, 4)},
        {RIB_PATH_ATTR_SID_LIST, bytes_of(list, sizeof list)},
        {RIB_PATH_ATTR_L2_INFO, bytes_of(l2, sizeof l2)},
        {RIB_PATH_ATTR_VIA_SID, bytes_of(via, sizeof via)},
        {RIB_PATH_ATTR_GROUPING, bytes_of(&group, 4)},
        {RIB_PATH_ATTR_TUNNEL, bytes_of(&tunnel, sizeof tunnel)},
        {RIB_PATH_ATTR_VIA_AFT, bytes_of(&aft, sizeof aft)},
        {RIB_PATH_ATTR_SL_ID, bytes_of(&segments, sizeof segments)},
        {RIB_PATH_ATTR_MVPN, bytes_of(blocks[0], 24)},
        {RIB_PATH_ATTR_PATH_RT, bytes_of(blocks[1], 8)},
        {RIB_PATH_ATTR_VRF_IMPORT_RT, bytes_of(blocks[2], 8)},
        {RIB_PATH_ATTR_SOURCE_AS_RT, bytes_of(blocks[3], 8)},
        {RIB_PATH_ATTR_SOURCE_RD, bytes_of(blocks[4], 8)},
        {RIB_PATH_ATTR_SEG_NH, bytes_of(blocks[5], 8)},
    };
    EXPECT_EQ(got.size(), expected.size());
    for (const auto &[type, value] : expected)
        EXPECT_TRUE(got.contains(type) && got.at(type) == value) << type;
    ipv6_rib_route_xform(&route);
    EXPECT_EQ(route.rt_path_count, 1);
    EXPECT_EQ(route.rt_path[0].path_label_count, 4);
    EXPECT_EQ(route.rt_u32_56, SRV6_END_DT6);
    ASSERT_TRUE(route.rt_attr_6 && route.rt_attr_15);
    EXPECT_EQ(bytes_of(static_cast<uint8_t *>(route.rt_attr_6) + 4, sizeof aft), bytes_of(&aft, sizeof aft));
    EXPECT_EQ(bytes_of(static_cast<uint8_t *>(route.rt_attr_15) + 4, sizeof algo), bytes_of(&algo, sizeof algo));
    EXPECT_FALSE(route.rt_attr_8 || route.rt_attr_9 || route.rt_attr_10 || route.rt_attr_11);
}

TEST_F(attributes, sids_are_given_out_once_shown_and_given_back)
{
    srv6_sid_req_t request = {};
    request.sr_func = SRV6_END_DT6;
    request.sr_format = SRV6_SID_FORMAT_CSID_32_16;
    const in6_addr_t locator = addr("fc00:0:1::");
    std::memcpy(request.sr_locator, &locator, sizeof locator);
    ipv6_rib_batch_buffer_init(client.buffer, IPV6_RIB_TABLE_DEFAULT, client.protoid);
    std::set<std::string> sids;
    for (uint32_t table = 1; table <= 3; table++) {
        request.sr_table = table;
        request.sr_opcode = table == 3 ? 0x42 : RIB_SID_OPCODE_ANY;
        const rib_batch_request_answer answer = ask_sid(request, false, 0x1234 + table);
        EXPECT_EQ(answer.an_kind, RIB_ANSWER_SID);
        EXPECT_EQ(answer.an_code, 0u);
        EXPECT_EQ(answer.an_context, 0x1234 + table);
        sids.insert(text_of(answer.an_prefix));
        EXPECT_EQ(text_of(ask_sid(request, false, 0).an_prefix), text_of(answer.an_prefix)) << "asked again";
    }
    EXPECT_EQ(sids, (std::set<std::string>{"fc00:0:1:e000::", "fc00:0:1:e001::", "fc00:0:1:42::"}));
    EXPECT_EQ(client.prefixes(IPV6_RIB_TABLE_SID), 3u);
    request.sr_table = 4;
    EXPECT_EQ(ask_sid(request, false, 0).an_code, errcode{EBUSY});

    ipv6_routetype route;
    errcode err;
    const in6_addr_t sid = addr("fc00:0:1:42::");
    ASSERT_EQ(ipv6_rib_route_lookup(client.conn, IPV6_RIB_TABLE_SID, &sid, 128, RIB_LOOKUP_LONGEST, 0, &route, &err), 1);
    EXPECT_EQ(route.rt_prefix_len, 64);
    ASSERT_TRUE(route.rt_attr_9);
    rib_held_sid held;
    std::memcpy(&held, static_cast<uint8_t *>(route.rt_attr_9) + 4, sizeof held);
    EXPECT_EQ(held.hs_request.sr_table, 3u);

    request.sr_table = 3;
    EXPECT_EQ(ask_sid(request, true, 5).an_code, 0u);
    EXPECT_EQ(ask_sid(request, true, 5).an_code, errcode{ENOENT});
    EXPECT_EQ(ipv6_rib_free_all_srv6_sid_req(client.conn, 0, client.protoid, 0, 0), 0u);
    EXPECT_EQ(client.prefixes(IPV6_RIB_TABLE_SID), 0u);
}

TEST_F(attributes, iids_are_given_out_and_become_prefixes)
{
    ip_rib_iid_req_t request = {};
    request.iq_ctx.ic_kind = RIB_IID_SID;
    request.iq_ctx.ic_sid_format = SRV6_SID_FORMAT_CSID_48_16;
    request.iq_ctx.ic_sid = addr("fc00:0:1::");
    request.iq_key[0] = 1;
    ipv6_rib_batch_buffer_init2(client.buffer);
    ASSERT_EQ(ipv6_rib_batch_buffer_add_iid_only_req(client.buffer, client.protoid, &request, &request), RIB_BATCH_BUFFER_OK);
    const rib_batch_request_answer answer = send_request();
    EXPECT_EQ(answer.an_kind, RIB_ANSWER_IID);
    EXPECT_EQ(answer.an_code, 0u);
    EXPECT_EQ(answer.an_context, reinterpret_cast<uintptr_t>(&request));
    ip_rib_iid_prefix_td prefix;
    EXPECT_EQ(ipv6_rib_iid_get_prefix_from_iid(answer.an_iid, &request.iq_ctx, &prefix), 0u);
    EXPECT_EQ(text_of(&prefix.ip_addr), text_of(answer.an_prefix));
    uint32_t iid = 0;
    ip_rib_iid_ctx_td context = {};
    EXPECT_EQ(
        ipv6_rib_iid_get_iid_from_prefix(&prefix.ip_addr, &iid, request.iq_ctx.ic_sid, 0, SRV6_SID_FORMAT_CSID_48_16, &context),
        0u);
    EXPECT_EQ(iid, answer.an_iid);
    EXPECT_EQ(client.prefixes(IPV6_RIB_TABLE_IID), 1u);
    ASSERT_EQ(ipv6_rib_batch_buffer_free_iid_only_req(client.buffer, client.protoid, &request, 0, nullptr), RIB_BATCH_BUFFER_OK);
    EXPECT_EQ(send_request().an_code, 0u);
    EXPECT_EQ(client.prefixes(IPV6_RIB_TABLE_IID), 0u);
}

TEST_F(attributes, what_a_dead_client_held_goes_with_its_hold_time)
{
    srv6_sid_req_t request = {};
    request.sr_func = SRV6_END;
    request.sr_format = SRV6_SID_FORMAT_CSID_32_16;
    request.sr_opcode = 7;
    const in6_addr_t locator = addr("fc00:0:1::"), none = {};
    std::memcpy(request.sr_locator, &locator, sizeof locator);
    {
        test_client dying("dying");
        ASSERT_EQ(ipv6_rib_batch_buffer_init_route(dying.buffer, &none, 0), RIB_BATCH_BUFFER_OK);
        ASSERT_EQ(ipv6_rib_batch_buffer_add_srv6_sid_req(dying.buffer, &request, nullptr), RIB_BATCH_BUFFER_OK);
        ASSERT_EQ(ipv6_rib_batch_buffer_add_route3(dying.buffer), RIB_BATCH_BUFFER_OK);
        EXPECT_EQ(dying.send(), 1);
    }
    EXPECT_EQ(client.prefixes(IPV6_RIB_TABLE_SID), 1u) << "held for its return";
    ipv6_rib_batch_buffer_init(client.buffer, IPV6_RIB_TABLE_DEFAULT, client.protoid);
    EXPECT_EQ(ask_sid(request, false, 0).an_code, errcode{EBUSY});
    test_client back("dying");
    EXPECT_EQ(ipv6_rib_update_complete(back.conn, back.protoid, 0), 0u) << "returned without it";
    EXPECT_EQ(ask_sid(request, false, 0).an_code, 0u);
}
} // namespace
