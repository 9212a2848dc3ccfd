/*
 * Rules about attributes of batches: which values are refused, which of a route go together, how much room there has to be, and
 * the order of sorted sets.
 */
#include <algorithm>
#include <random>

#include "tests/support/attribute_steps.h"

namespace
{
constexpr auto OK = RIB_BATCH_BUFFER_OK, ERROR = RIB_BATCH_BUFFER_ERROR;

/* Attributes of a route, 13 to 18, in a buffer and on a route where each may stand alone. */
const step_t route_attributes[] = {
    given(ipv6_rib_batch_buffer_route_set_algo_label_set, "0000 0100 00*12"),
    [](auto b) {
        const srv6_sid_req_t request = {.sr_func = 18, .sr_opcode = RIB_SID_OPCODE_ANY};
        return ipv6_rib_batch_buffer_add_srv6_sid_req(b, &request, nullptr);
    },
    [](auto b) {
        const ip_rib_iid_req_t request = {};
        return ipv6_rib_batch_buffer_add_iid_req(b, &request, nullptr);
    },
    given(ipv6_rib_batch_buffer_route_set_l2_info, "01"),
    given(ipv6_rib_batch_buffer_route_set_algo, "01000000"),
    given(ipv6_rib_batch_buffer_route_set_aft_id, "01*24"),
};
/* May the attribute of the row join the one of the column? No route has those of the last two columns. */
constexpr bool goes_with[6][8] = {
    /*          13     14     15     16     17     18     12     19 */
    /* 13 */ {false, false, false, false, false, true, false, false},
    /* 14 */ {false, false, false, false, false, true, false, false},
    /* 15 */ {false, false, false, true, false, true, false, false},
    /* 16 */ {true, true, true, false, true, true, true, true}, /* by its own type alone */
    /* 17 */ {false, false, false, false, false, true, false, false},
    /* 18 */ {true, true, true, true, true, false, true, true}, /* the same */
};
constexpr size_t TYPES = 6, ALL_TYPES = 8;

result_t joins(size_t attribute, const std::vector<size_t> &present)
{
    for (const size_t other : present)
        if (!goes_with[attribute][other])
            return attribute == 3 || attribute == 5 ? ERROR
                   : attribute == other             ? RIB_BATCH_BUFFER_ATTR_DUPLICATE
                                                    : RIB_BATCH_BUFFER_ATTR_CONFLICT;
    return OK;
}

/* An open route in the table of IIDs with these attributes; NULL when they do not go together. */
batch_buffer_owner route_with(const std::vector<size_t> &present)
{
    batch_buffer_owner buffer = used_batch();
    ipv6_rib_batch_buffer_init(buffer.get(), ipv6_rib_batch_get_iid_tableid(), 1);
    const in6_addr none = {};
    EXPECT_EQ(ipv6_rib_batch_buffer_init_route(buffer.get(), &none, 0), OK);
    for (const size_t attribute : present)
        if (attribute >= TYPES) {
            const bytes_t array = hex(attribute == TYPES ? "0800 0000 0c 00 0400 00*4" : "0800 0000 13 00 0400 00*4");
            std::copy(array.begin(), array.end(), data_at(buffer.get(), 64));
        } else if (route_attributes[attribute](buffer.get()) != OK) {
            return nullptr;
        }
    return buffer;
}

TEST(attribute_rules, attributes_of_a_route_that_go_together)
{
    std::vector<std::vector<size_t>> presents;
    for (size_t first = 0; first < ALL_TYPES; ++first) {
        presents.push_back({first});
        for (size_t second = 0; second < TYPES; ++second)
            if (joins(second, {first}) == OK)
                presents.push_back({first, second});
    }
    for (const std::vector<size_t> &present : presents)
        for (size_t attribute = 0; attribute < TYPES; ++attribute) {
            SCOPED_TRACE(testing::Message() << "row " << attribute << ", columns " << testing::PrintToString(present));
            const batch_buffer_owner buffer = route_with(present);
            ASSERT_NE(buffer, nullptr);
            const result_t expected = joins(attribute, present);
            check_result(buffer, route_attributes[attribute], expected, expected == OK);
        }
}

/* Adds paths with next-next-hops until exactly the 344 bytes that opening a path asks for are left, and opens one. */
void open_last_path(rib_batch_buffer *b)
{
    const batch_view_t view{b};
    ASSERT_EQ(all({ipv6_rib_batch_buffer_complete, add_plain_route})(b), OK);
    constexpr size_t LARGEST = 288 + 4096;
    while (const size_t left = view.capacity() - view.data_len() - 344) {
        ip_rib_nnh_set_td set = {.nns_count = static_cast<uint16_t>(left % LARGEST ? (left % LARGEST - 288) / 8 : 512)};
        ASSERT_EQ(add_path_init(b), OK);
        ASSERT_EQ(ipv6_rib_batch_buffer_path_set_nnh_set(b, &set), OK);
        ASSERT_NE(ipv6_rib_batch_buffer_add_path_done(b), ERROR);
    }
    ASSERT_EQ(add_path_init(b), OK);
}

TEST(attribute_rules, attributes_stay_within_the_capacity)
{
    const step_t intf = [](auto b) { return ipv6_rib_batch_buffer_path_set_intf_index(b, 1); };
    const step_t l2 = given(ipv6_rib_batch_buffer_path_set_l2_info, "01*16");
    const step_t aft = given(ipv6_rib_batch_buffer_path_set_via_aft_id, "02*24");
    const step_t tunnel = given(ipv6_rib_batch_buffer_path_set_ip_tunnel_info, "00*24");
    const step_t segment_list = given(ipv6_rib_batch_buffer_path_set_sl_id_info, "01*8");
    const step_t mvpn = given(ipv6_rib_batch_buffer_path_set_mvpn_attr, "03*24");
    const step_t path_rt = given(ipv6_rib_batch_buffer_path_set_path_rt_attr, "04*8");
    const step_t import_rt = given(ipv6_rib_batch_buffer_path_set_vrf_import_rt_attr, "05*8");
    const struct {
        const char *name;
        std::vector<step_t> fit;
        step_t more;
        uint32_t left;
    } cases[] = {
        {"64 bytes of attributes", {aft, tunnel, intf}, l2, 0},
        {"nothing between", {aft, tunnel}, l2, 8},
        {"the first trailing block", {aft, l2}, mvpn, 16},
        {"64 bytes with trailing blocks", {l2, segment_list, mvpn, path_rt}, import_rt, 0},
    };
    const batch_buffer_owner buffer = allocate_batch(1);
    const batch_view_t view{buffer.get()};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ipv6_rib_batch_buffer_clear(buffer.get());
        ASSERT_NO_FATAL_FAILURE(open_last_path(buffer.get()));
        EXPECT_EQ(all(c.fit)(buffer.get()), OK);
        const bytes_t before = bytes_at(buffer.get(), 80 + view.capacity());
        EXPECT_EQ(c.more(buffer.get()), ERROR);
        EXPECT_EQ(bytes_at(buffer.get(), 80 + view.capacity()), before);
        EXPECT_EQ(ipv6_rib_batch_buffer_add_path_done(buffer.get()), RIB_BATCH_BUFFER_FULL);
        EXPECT_EQ(view.capacity() - view.data_len(), c.left);
    }
}

/* Sorts sets of random items and gives each pair of neighbours to the check. */
template <class set_td, class item_td>
void check_order(errcode (*sort)(void *), uint16_t set_td::*count, item_td *(*items)(set_td *),
                 bool (*in_order)(item_td, item_td))
{
    EXPECT_EQ(sort(nullptr), RIB_LIB_ERR_BAD_ARG);
    std::mt19937 random(4711);
    const auto bytes = [](const item_td &item) { return bytes_at(&item, sizeof item); };
    for (const unsigned len : {0u, 1u, 2u, 3u, 10u, 100u, 255u}) {
        auto set = std::make_unique<set_td>();
        item_td *const item = items(set.get());
        for (unsigned at = 0; at < 256; ++at) /* few keys, so that many are equal, and the largest there are */
            for (size_t byte = 0; byte < sizeof(item_td); ++byte)
                reinterpret_cast<uint8_t *>(item + at)[byte] = static_cast<uint8_t>(random() % 4 * (random() % 2 ? 1 : 85));
        (*set).*count = static_cast<uint16_t>(len);
        std::vector<bytes_t> before(256);
        std::transform(item, item + 256, before.begin(), bytes);
        EXPECT_EQ(sort(set.get()), 0u);
        for (unsigned at = 1; at < len; ++at)
            EXPECT_TRUE(in_order(item[at - 1], item[at])) << at << " of " << len;
        std::vector<bytes_t> after(256);
        std::transform(item, item + 256, after.begin(), bytes);
        EXPECT_TRUE(std::is_permutation(after.begin(), after.begin() + len, before.begin())) << "no item is lost";
        EXPECT_TRUE(std::equal(after.begin() + len, after.end(), before.begin() + len)) << "behind the count";
    }
}

TEST(attribute_rules, order_of_next_next_hops)
{
    check_order<ip_rib_nnh_set_td, ip_rib_nnh_td>(
        rib_sort_path_attr_type_nnh_set, &ip_rib_nnh_set_td::nns_count, [](auto set) { return set->nns_nnh; },
        [](auto first, auto second) {
            const auto rank = [](uint8_t kind) { return kind == 2 ? 0 : kind == 1 ? 1 : 2; };
            return rank(first.nn_kind) < rank(second.nn_kind) ||
                   (rank(first.nn_kind) == rank(second.nn_kind) && (first.nn_kind != 2 || first.nn_value <= second.nn_value));
        });
    /* Sorted also when it is refused. */
    bytes_t set = hex("0200 0000 01 00*3 00*4 02 00*3 00*4");
    ipv6_rib_batch_buffer_path_set_nnh_set(allocate_batch().get(), as<ip_rib_nnh_set_td>(set));
    EXPECT_TRUE(same_bytes(set, "0200 0000 02 00*3 00*4 01 00*3 00*4"));
}

TEST(attribute_rules, order_of_algorithm_labels)
{
    check_order<ip_rib_algo_label_set_td, ip_rib_algo_label_td>(
        rib_sort_algo_label_set, &ip_rib_algo_label_set_td::als_count, [](auto set) { return set->als_entry; },
        [](auto first, auto second) {
            return first.al_algo < second.al_algo || (first.al_algo == second.al_algo && first.al_index <= second.al_index);
        });
}

TEST(attribute_rules, refused_values)
{
    const step_t trailed = all({open_path, given(ipv6_rib_batch_buffer_path_set_mvpn_attr, "01*24")});
    const struct {
        const char *name;
        step_t open, set;
        result_t result;
    } cases[] = {
        {"no endpoint behaviour", open_route, number(ipv6_rib_batch_buffer_route_set_srv6_end_func_type, 13), ERROR},
        {"no algorithm labels", open_route, given(ipv6_rib_batch_buffer_route_set_algo_label_set, nullptr), ERROR},
        {"no layer 2 of a route", open_route, given(ipv6_rib_batch_buffer_route_set_l2_info, nullptr), ERROR},
        {"no AFT of a route", open_route, given(ipv6_rib_batch_buffer_route_set_aft_id, nullptr), ERROR},
        {"257 algorithm labels", open_route, given(ipv6_rib_batch_buffer_route_set_algo_label_set, "0000 0101"),
         RIB_BATCH_BUFFER_TOO_MANY_ALGO_LABELS},
        {"9 communities", open_path, given(ipv6_rib_batch_buffer_path_set_ecomms_array, "0900 0000"),
         RIB_BATCH_BUFFER_TOO_MANY_ITEMS},
        {"513 next-next-hops", open_path, given(ipv6_rib_batch_buffer_path_set_nnh_set, "0102 0000"),
         RIB_BATCH_BUFFER_TOO_MANY_NNH},
        {"no next-next-hops", open_path, given(ipv6_rib_batch_buffer_path_set_nnh_set, nullptr), ERROR},
        {"interface 0", open_path, number(ipv6_rib_batch_buffer_path_set_intf_index, 0), RIB_BATCH_BUFFER_INVALID_INTF},
        {"no layer 2", open_path, given(ipv6_rib_batch_buffer_path_set_l2_info, nullptr), ERROR},
        {"no SID to lead through", open_path, [](auto b) { return ipv6_rib_batch_buffer_path_set_via_srv6_sid(b, nullptr, 64); },
         ERROR},
        {"a SID of 0 bits", open_path, via_sid("fc", 0x100), ERROR},
        {"a SID of 129 bits", open_path, via_sid("fc", 129), ERROR},
        {"a SID of -1 bits", open_path, via_sid("fc", -1), ERROR},
        {"no tunnel", open_path, given(ipv6_rib_batch_buffer_path_set_ip_tunnel_info, nullptr), ERROR},
        {"a tunnel of two identifiers", open_path,
         given(ipv6_rib_batch_buffer_path_set_ip_tunnel_info, "0600 0000 03020100 03020000 00*12"),
         RIB_BATCH_BUFFER_INVALID_TUNNEL},
        {"no AFT", open_path, given(ipv6_rib_batch_buffer_path_set_via_aft_id, nullptr), ERROR},
        {"no segment list", open_path, given(ipv6_rib_batch_buffer_path_set_sl_id_info, nullptr), ERROR},
        {"a segment list of kind 0", open_path, given(ipv6_rib_batch_buffer_path_set_sl_id_info, "00 000000 01000000"),
         RIB_BATCH_BUFFER_INVALID_SL_ID},
        {"a segment list of kind 3", open_path, given(ipv6_rib_batch_buffer_path_set_sl_id_info, "03 000000 01000000"),
         RIB_BATCH_BUFFER_INVALID_SL_ID},
        {"no multicast VPN", open_path, given(ipv6_rib_batch_buffer_path_set_mvpn_attr, nullptr), ERROR},
        {"no trailing block", open_path, given(ipv6_rib_batch_buffer_path_set_path_rt_attr, nullptr), ERROR},
        {"no AFT to withdraw", open_withdrawal, given(ipv6_rib_batch_buffer_path_del_via_aft_id, nullptr), ERROR},
        {"the count comes before a trailing block", trailed, given(ipv6_rib_batch_buffer_path_set_ecomms_array, "0900 0000"),
         RIB_BATCH_BUFFER_TOO_MANY_ITEMS},
        {"a trailing block before the number of communities", trailed,
         given(ipv6_rib_batch_buffer_path_set_ecomms_array, nullptr), ERROR},
        {"a trailing block before the number of next-next-hops", trailed,
         given(ipv6_rib_batch_buffer_path_set_nnh_set, "0000 0000"), ERROR},
        {"the interface before a trailing block", trailed, number(ipv6_rib_batch_buffer_path_set_intf_index, 0),
         RIB_BATCH_BUFFER_INVALID_INTF},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const batch_buffer_owner buffer = used_batch();
        ASSERT_EQ(c.open(buffer.get()), OK);
        check_result(buffer, c.set, c.result, false);
    }
}

TEST(attribute_rules, broken_contracts)
{
    const std::string unit = "ip/rib/lib/src/rib_lib_batch.*Assertion `",
                      no_buffer = unit + "buffer != \\(\\(void\\*\\)0\\)' failed";
    const std::string no_route = unit + "route_in->bori_fixed.borfi_type == 1' failed";
    const batch_buffer_owner buffer = allocate_batch();
    const struct {
        step_t set;
        std::string death;
    } cases[] = {
        {number(ipv6_rib_batch_buffer_route_set_srv6_end_func_type, 18), unit + "route_in->borfi_type == 1' failed"},
        {given(ipv6_rib_batch_buffer_route_set_algo, "01000000"), no_route},
        {given(ipv6_rib_batch_buffer_route_set_algo_label_set, "0000 0100 00*12"), no_route},
        {given(ipv6_rib_batch_buffer_route_set_l2_info, "01"), no_route},
        {given(ipv6_rib_batch_buffer_route_set_aft_id, "00*24"), no_route},
        {given(ipv6_rib_batch_buffer_route_set_algo, nullptr), unit + "algo_info != \\(\\(void\\*\\)0\\)' failed"},
        {labels(0), unit + "num_labels && num_labels <= 10' failed"},
        {labels(11), unit + "num_labels && num_labels <= 10' failed"},
        {bitmap(0), unit + "bitmap' failed"},
    };
    ipv6_rib_batch_buffer_complete(buffer.get());
    for (const auto &c : cases)
        EXPECT_DEATH(c.set(buffer.get()), c.death);
    EXPECT_DEATH(given(ipv6_rib_batch_buffer_route_set_algo, "01000000")(nullptr), no_buffer);
    EXPECT_DEATH(labels(1)(nullptr), no_buffer);
}
} // namespace
