/*
 * Setting attributes of the open route and of the open path.
 */
#pragma once

#include "../rib_lib_utils.h"
#include "buffer.h"

struct srv6_sid_list;

/*
 * Of the route. A current record that is no route is a fatal assertion.
 */
rib_batch_buffer_result rib_batch_buffer_route_set_srv6_end_func_type(rib_batch_buffer *buffer, srv6_end_func_type type);
rib_batch_buffer_result rib_batch_buffer_route_set_algo(rib_batch_buffer *buffer, const ip_rib_route_algo_td *algo_info);
rib_batch_buffer_result rib_batch_buffer_route_set_algo_label_set(rib_batch_buffer *buffer, ip_rib_algo_label_set_td *set);
rib_batch_buffer_result rib_batch_buffer_route_set_l2_info(rib_batch_buffer *buffer, const ip_rib_route_l2_info_td *info);
rib_batch_buffer_result rib_batch_buffer_route_set_aft_id(rib_batch_buffer *buffer, const ip_rib_route_aft_id_td *aft);
/* Appends a value unless the attributes that the route has exclude its type. */
rib_batch_buffer_result rib_batch_buffer_route_set_attr_array(rib_batch_buffer *buffer, char *value, rib_attr_type_t type);
/* The route that is open; NULL when there is none. */
bori_fixed *rib_batch_open_route(rib_batch_buffer *buffer);

/*
 * Of the path: attributes in its array.
 */
rib_batch_buffer_result rib_batch_buffer_path_set_ecomms_array(rib_batch_buffer *buffer, const void *ecomms);
rib_batch_buffer_result rib_batch_buffer_path_set_nnh_set(rib_batch_buffer *buffer, ip_rib_nnh_set_td *set);
rib_batch_buffer_result rib_batch_buffer_path_set_intf_index(rib_batch_buffer *buffer, uint32_t intf_index);
rib_batch_buffer_result rib_batch_buffer_path_set_l2_info(rib_batch_buffer *buffer, const void *info);
rib_batch_buffer_result rib_batch_buffer_path_set_via_srv6_sid(rib_batch_buffer *buffer, const in6_addr_t *sid, int sid_len);
rib_batch_buffer_result rib_batch_buffer_path_set_grouping_id(rib_batch_buffer *buffer, uint32_t grouping_id);
rib_batch_buffer_result rib_batch_buffer_path_set_ip_tunnel_info(rib_batch_buffer *buffer, const ip_rib_tunnel_info_td *tunnel);
rib_batch_buffer_result rib_batch_buffer_path_set_via_aft_id(rib_batch_buffer *buffer, const void *aft);
rib_batch_buffer_result rib_batch_buffer_path_del_via_aft_id(rib_batch_buffer *buffer, const void *aft);
rib_batch_buffer_result rib_batch_buffer_path_set_sl_id_info(rib_batch_buffer *buffer, const ip_rib_sl_id_info_td *info);
/* deletes: 0 for an added path, 1 for a withdrawal. */
rib_batch_buffer_result rib_batch_buffer_path_set_srv6_sid_list(rib_batch_buffer *buffer, srv6_sid_list *list, int deletes);

/*
 * Of the path: fields of its record.
 */
rib_batch_buffer_result rib_batch_buffer_path_set_binding_label(rib_batch_buffer *buffer, uint32_t label);
rib_batch_buffer_result rib_batch_buffer_path_set_remote_label_stack(rib_batch_buffer *buffer, uint32_t num_labels,
                                                                     const uint32_t *labels);
rib_batch_buffer_result rib_batch_buffer_path_set_reflect(rib_batch_buffer *buffer, uint32_t value);
rib_batch_buffer_result rib_batch_buffer_backup_delete_protected_bitmap(rib_batch_buffer *buffer, uint64_t bitmap);

/*
 * Of the path: trailing blocks. A block is the bit of bapi_ext_mask that tells of it.
 */
enum rib_trailing_block : uint32_t {
    RIB_TRAILING_MVPN = 0x01,
    RIB_TRAILING_PATH_RT = 0x02,
    RIB_TRAILING_VRF_IMPORT_RT = 0x04,
    RIB_TRAILING_SOURCE_AS_RT = 0x08,
    RIB_TRAILING_SOURCE_RD = 0x10,
    RIB_TRAILING_SEG_NH = 0x20,
};
rib_batch_buffer_result rib_batch_buffer_path_set_trailing(rib_batch_buffer *buffer, rib_trailing_block block, const void *value);

/* A record with an array of attributes, which stands in its fixed part; the record ends with the entries. */
struct rib_attr_area {
    uint8_t *record;
    size_t fixed;
    size_t attrs_at;
    ip_rib_attr_set_array_td *attrs() const { return reinterpret_cast<ip_rib_attr_set_array_td *>(record + attrs_at); }
};
inline rib_attr_area rib_attrs_of(bori_fixed *route)
{
    return {reinterpret_cast<uint8_t *>(route), RIB_BATCH_ROUTE_FIXED, offsetof(bori_fixed, borfi_attrs)};
}
inline rib_attr_area rib_attrs_of(rib_batch_add_path_in *path)
{
    return {reinterpret_cast<uint8_t *>(path), RIB_BATCH_PATH_FIXED, offsetof(rib_batch_add_path_in, bapi_attrs)};
}
inline rib_attr_area rib_attrs_of(rib_batch_del_path_in *path)
{
    return {reinterpret_cast<uint8_t *>(path), RIB_BATCH_PATH_FIXED, offsetof(rib_batch_del_path_in, bdpi_attrs)};
}
/* Appends a value: ERROR when the array has one of its type, or the data area no room. OK when there is nothing to add. */
rib_batch_buffer_result rib_batch_append_attr(rib_batch_buffer *buffer, const rib_attr_area &area, rib_attr_type_t type,
                                              const void *value);
/* The bytes of the entries, by which the record has grown. What they do not reach of that is cleared: it may be left over from
 * another message. */
size_t rib_batch_end_attrs(const rib_attr_area &area);
