/*
 * Exported functions: attributes of routes and paths.
 */
#include "ip/rib/lib/src/rib_lib_batch/attributes.h"

rib_batch_buffer_result ipv6_rib_batch_buffer_route_set_srv6_end_func_type(rib_batch_buffer *buffer, srv6_end_func_type type)
{
    return rib_batch_buffer_route_set_srv6_end_func_type(buffer, type);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_route_set_algo(rib_batch_buffer *buffer, const ip_rib_route_algo_td *algo)
{
    return rib_batch_buffer_route_set_algo(buffer, algo);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_route_set_algo_label_set(rib_batch_buffer *buffer, ip_rib_algo_label_set_td *set)
{
    return rib_batch_buffer_route_set_algo_label_set(buffer, set);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_route_set_l2_info(rib_batch_buffer *buffer, const ip_rib_route_l2_info_td *info)
{
    return rib_batch_buffer_route_set_l2_info(buffer, info);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_route_set_aft_id(rib_batch_buffer *buffer, const ip_rib_route_aft_id_td *aft)
{
    return rib_batch_buffer_route_set_aft_id(buffer, aft);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_binding_label(rib_batch_buffer *buffer, uint32_t label)
{
    return rib_batch_buffer_path_set_binding_label(buffer, label);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_remote_label_stack(rib_batch_buffer *buffer, uint32_t num_labels,
                                                                          const uint32_t *labels)
{
    return rib_batch_buffer_path_set_remote_label_stack(buffer, num_labels, labels);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_ecomms_array(rib_batch_buffer *buffer, const void *ecomms)
{
    return rib_batch_buffer_path_set_ecomms_array(buffer, ecomms);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_nnh_set(rib_batch_buffer *buffer, ip_rib_nnh_set_td *set)
{
    return rib_batch_buffer_path_set_nnh_set(buffer, set);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_intf_index(rib_batch_buffer *buffer, uint32_t intf_index)
{
    return rib_batch_buffer_path_set_intf_index(buffer, intf_index);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_l2_info(rib_batch_buffer *buffer, const void *info)
{
    return rib_batch_buffer_path_set_l2_info(buffer, info);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_via_srv6_sid(rib_batch_buffer *buffer, const in6_addr_t *sid, int sid_len)
{
    return rib_batch_buffer_path_set_via_srv6_sid(buffer, sid, sid_len);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_grouping_id(rib_batch_buffer *buffer, uint32_t grouping_id)
{
    return rib_batch_buffer_path_set_grouping_id(buffer, grouping_id);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_ip_tunnel_info(rib_batch_buffer *buffer,
                                                                      const ip_rib_tunnel_info_td *tunnel)
{
    return rib_batch_buffer_path_set_ip_tunnel_info(buffer, tunnel);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_via_aft_id(rib_batch_buffer *buffer, const void *aft)
{
    return rib_batch_buffer_path_set_via_aft_id(buffer, aft);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_sl_id_info(rib_batch_buffer *buffer, const ip_rib_sl_id_info_td *info)
{
    return rib_batch_buffer_path_set_sl_id_info(buffer, info);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_srv6_sid_list(rib_batch_buffer *buffer, struct srv6_sid_list *list)
{
    return rib_batch_buffer_path_set_srv6_sid_list(buffer, list, 0);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_mvpn_attr(rib_batch_buffer *buffer, const void *value)
{
    return rib_batch_buffer_path_set_trailing(buffer, RIB_TRAILING_MVPN, value);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_path_rt_attr(rib_batch_buffer *buffer, const void *value)
{
    return rib_batch_buffer_path_set_trailing(buffer, RIB_TRAILING_PATH_RT, value);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_vrf_import_rt_attr(rib_batch_buffer *buffer, const void *value)
{
    return rib_batch_buffer_path_set_trailing(buffer, RIB_TRAILING_VRF_IMPORT_RT, value);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_source_as_rt_attr(rib_batch_buffer *buffer, const void *value)
{
    return rib_batch_buffer_path_set_trailing(buffer, RIB_TRAILING_SOURCE_AS_RT, value);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_source_rd_attr(rib_batch_buffer *buffer, const void *value)
{
    return rib_batch_buffer_path_set_trailing(buffer, RIB_TRAILING_SOURCE_RD, value);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_seg_nh_attr(rib_batch_buffer *buffer, const void *value)
{
    return rib_batch_buffer_path_set_trailing(buffer, RIB_TRAILING_SEG_NH, value);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_reflect(rib_batch_buffer *buffer, uint32_t value)
{
    return rib_batch_buffer_path_set_reflect(buffer, value);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_backup_delete_protected_bitmap(rib_batch_buffer *buffer, uint64_t bitmap)
{
    return rib_batch_buffer_backup_delete_protected_bitmap(buffer, bitmap);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_del_srv6_sid_list(rib_batch_buffer *buffer, struct srv6_sid_list *list)
{
    return rib_batch_buffer_path_set_srv6_sid_list(buffer, list, 1);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_path_del_via_aft_id(rib_batch_buffer *buffer, const void *aft)
{
    return rib_batch_buffer_path_del_via_aft_id(buffer, aft);
}
