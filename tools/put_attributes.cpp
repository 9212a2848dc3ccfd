/*
 * Attributes of a path on their way into a batch.
 */
#include "path_attributes.h"

#include "results.h"
#include "sid_list_value.h"

#include <algorithm>

namespace
{

using setter_t = rib_batch_buffer_result (*)(rib_batch_buffer *buffer, const value_t &value);

/* A setter that takes a number, or bytes as they are. */
template <auto set> rib_batch_buffer_result set_number(rib_batch_buffer *buffer, const value_t &value)
{
    return set(buffer, field_at<uint32_t>(value, 0));
}
template <auto set> rib_batch_buffer_result set_bytes(rib_batch_buffer *buffer, const value_t &value)
{
    return set(buffer, value.data());
}

rib_batch_buffer_result set_labels(rib_batch_buffer *buffer, const value_t &value)
{
    uint32_t labels[10];
    const size_t count = std::min(value.size() / sizeof *labels, std::size(labels));
    std::memcpy(labels, value.data(), count * sizeof *labels);
    return ipv6_rib_batch_buffer_path_set_remote_label_stack(buffer, static_cast<uint32_t>(count), labels);
}

rib_batch_buffer_result set_nnh(rib_batch_buffer *buffer, const value_t &value)
{
    auto set = field_at<ip_rib_nnh_set_td>(value, 0); // a copy, as it is sorted
    return ipv6_rib_batch_buffer_path_set_nnh_set(buffer, &set);
}

rib_batch_buffer_result set_sids(rib_batch_buffer *buffer, const value_t &value)
{
    srv6_sid_list_t list = sid_list_of(value);
    return ipv6_rib_batch_buffer_path_set_srv6_sid_list(buffer, &list);
}

rib_batch_buffer_result set_via_sid(rib_batch_buffer *buffer, const value_t &value)
{
    const auto sid = field_at<in6_addr_t>(value, 0);
    return ipv6_rib_batch_buffer_path_set_via_srv6_sid(buffer, &sid, field_at<int32_t>(value, sizeof sid));
}

rib_batch_buffer_result set_tunnel(rib_batch_buffer *buffer, const value_t &value)
{
    const auto tunnel = field_at<ip_rib_tunnel_info_td>(value, 0);
    return ipv6_rib_batch_buffer_path_set_ip_tunnel_info(buffer, &tunnel);
}

rib_batch_buffer_result set_segment_list(rib_batch_buffer *buffer, const value_t &value)
{
    const auto info = field_at<ip_rib_sl_id_info_td>(value, 0);
    return ipv6_rib_batch_buffer_path_set_sl_id_info(buffer, &info);
}

/* By rising type, which is the order in which trailing blocks have to be set. */
struct setter {
    uint16_t type;
    setter_t set;
    uint8_t announced; /* RIB_PATH_INIT_* */
};
constexpr setter setters[] = {
    {RIB_PATH_ATTR_LABELS, set_labels, 0},
    {RIB_PATH_ATTR_BINDING_LABEL, set_number<ipv6_rib_batch_buffer_path_set_binding_label>, 0},
    {RIB_PATH_ATTR_ECOMMS, set_bytes<ipv6_rib_batch_buffer_path_set_ecomms_array>, 0},
    {RIB_PATH_ATTR_NNH, set_nnh, 0},
    {RIB_PATH_ATTR_INTF, set_number<ipv6_rib_batch_buffer_path_set_intf_index>, RIB_PATH_INIT_4},
    {RIB_PATH_ATTR_SID_LIST, set_sids, 0},
    {RIB_PATH_ATTR_L2_INFO, set_bytes<ipv6_rib_batch_buffer_path_set_l2_info>, RIB_PATH_INIT_16},
    {RIB_PATH_ATTR_VIA_SID, set_via_sid, RIB_PATH_INIT_24_A},
    {RIB_PATH_ATTR_GROUPING, set_number<ipv6_rib_batch_buffer_path_set_grouping_id>, RIB_PATH_INIT_4},
    {RIB_PATH_ATTR_TUNNEL, set_tunnel, RIB_PATH_INIT_24_B},
    {RIB_PATH_ATTR_VIA_AFT, set_bytes<ipv6_rib_batch_buffer_path_set_via_aft_id>, RIB_PATH_INIT_24_C},
    {RIB_PATH_ATTR_SL_ID, set_segment_list, 0},
    {RIB_PATH_ATTR_MVPN, set_bytes<ipv6_rib_batch_buffer_path_set_mvpn_attr>, 0},
    {RIB_PATH_ATTR_PATH_RT, set_bytes<ipv6_rib_batch_buffer_path_set_path_rt_attr>, 0},
    {RIB_PATH_ATTR_VRF_IMPORT_RT, set_bytes<ipv6_rib_batch_buffer_path_set_vrf_import_rt_attr>, 0},
    {RIB_PATH_ATTR_SOURCE_AS_RT, set_bytes<ipv6_rib_batch_buffer_path_set_source_as_rt_attr>, 0},
    {RIB_PATH_ATTR_SOURCE_RD, set_bytes<ipv6_rib_batch_buffer_path_set_source_rd_attr>, 0},
    {RIB_PATH_ATTR_SEG_NH, set_bytes<ipv6_rib_batch_buffer_path_set_seg_nh_attr>, 0},
};

/* The items of an attribute that is there, by the count that its value begins with. */
uint16_t count_in(const path_attributes &attributes, uint16_t type)
{
    const auto at = attributes.find(type);
    if (at == attributes.end())
        return 0;
    return type == RIB_PATH_ATTR_SID_LIST ? field_at<uint8_t>(at->second, 0) : field_at<uint16_t>(at->second, 0);
}

} // namespace

/* Of a path the library asks for 64 bytes of reserve beside what is counted; a second time 64 cover all trailing blocks. */
void add_sizes(const path_attributes &attributes, rib_batch_sizes *sizes)
{
    const auto add = [](uint16_t *to, size_t more) { *to = static_cast<uint16_t>(std::min<size_t>(*to + more, UINT16_MAX)); };
    const auto has = [&](uint16_t type) { return attributes.count(type); };
    add(&sizes->items_64, attributes.empty() ? 0 : 2);
    add(&sizes->items_32, count_in(attributes, RIB_PATH_ATTR_SID_LIST));
    add(&sizes->items_8, count_in(attributes, RIB_PATH_ATTR_ECOMMS) + count_in(attributes, RIB_PATH_ATTR_NNH));
    add(&sizes->items_16, has(RIB_PATH_ATTR_L2_INFO) + has(RIB_PATH_ATTR_SID_LIST));
    add(&sizes->items_4, has(RIB_PATH_ATTR_INTF) + has(RIB_PATH_ATTR_GROUPING));
    add(&sizes->items_24[0], has(RIB_PATH_ATTR_VIA_SID));
    add(&sizes->items_24[1], has(RIB_PATH_ATTR_TUNNEL));
    add(&sizes->items_24[2], has(RIB_PATH_ATTR_VIA_AFT));
}

void announce(const path_attributes &attributes, rib_batch_path_init_in *path)
{
    path->pi_count_a = count_in(attributes, RIB_PATH_ATTR_NNH);
    path->pi_count_b = count_in(attributes, RIB_PATH_ATTR_ECOMMS);
    path->pi_count_c = count_in(attributes, RIB_PATH_ATTR_SID_LIST);
    for (const setter &known : setters)
        if (attributes.count(known.type))
            path->pi_flags |= known.announced;
}

std::string put_attributes(rib_batch_buffer *buffer, const path_attributes &attributes)
{
    for (const setter &known : setters) {
        const auto at = attributes.find(known.type);
        if (at == attributes.end())
            continue;
        const rib_batch_buffer_result result = known.set(buffer, at->second);
        if (result == RIB_BATCH_BUFFER_OK)
            continue;
        const auto of_type = [&](const attribute_kind &kind) { return kind.type == known.type; };
        return fmt::format("{}: {}", std::find_if(attribute_kinds().begin(), attribute_kinds().end(), of_type)->name,
                           batch_error_text(result));
    }
    return {};
}
