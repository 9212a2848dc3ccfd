/*
 * Attributes in the array of the open path.
 */
#include <ipv6_rib/errors.h>
#include <platform/srv6.h>

#include "../rib_lib_api/messages.h"
#include "attributes.h"
#include "path.h"

/* Appends to an added path; its array cannot grow any more when a trailing block follows it. */
static rib_batch_buffer_result append_to_add_path(rib_batch_buffer *buffer, rib_attr_type_t type, const void *value)
{
    auto *path = reinterpret_cast<rib_batch_add_path_in *>(rib_batch_open_path(buffer, RIB_BATCH_REC_ADD_PATH));
    if (!path || path->bapi_ext_mask != 0)
        return RIB_BATCH_BUFFER_ERROR;
    return rib_batch_append_attr(buffer, rib_attrs_of(path), type, value);
}

static rib_batch_buffer_result append_to_del_path(rib_batch_buffer *buffer, rib_attr_type_t type, const void *value)
{
    auto *path = reinterpret_cast<rib_batch_del_path_in *>(rib_batch_open_path(buffer, RIB_BATCH_REC_DEL_PATH));
    if (!path)
        return RIB_BATCH_BUFFER_ERROR;
    return rib_batch_append_attr(buffer, rib_attrs_of(path), type, value);
}

rib_batch_buffer_result rib_batch_buffer_path_set_ecomms_array(rib_batch_buffer *buffer, const void *ecomms)
{
    if (ecomms && rib_load<uint16_t>(ecomms) > RIB_ECOMMS_MAX)
        return RIB_BATCH_BUFFER_TOO_MANY_ITEMS;
    return append_to_add_path(buffer, RIB_ATTR_ECOMMS, ecomms);
}

rib_batch_buffer_result rib_batch_buffer_path_set_nnh_set(rib_batch_buffer *buffer, ip_rib_nnh_set_td *set)
{
    if (set && set->nns_count > RIB_NNH_MAX)
        return RIB_BATCH_BUFFER_TOO_MANY_NNH;
    if (rib_sort_path_attr_type_nnh_set(set) != 0)
        return RIB_BATCH_BUFFER_ERROR;
    return append_to_add_path(buffer, RIB_ATTR_NNH, set);
}

rib_batch_buffer_result rib_batch_buffer_path_set_intf_index(rib_batch_buffer *buffer, uint32_t intf_index)
{
    return intf_index == 0 ? RIB_BATCH_BUFFER_INVALID_INTF : append_to_add_path(buffer, RIB_ATTR_INTF, &intf_index);
}

rib_batch_buffer_result rib_batch_buffer_path_set_l2_info(rib_batch_buffer *buffer, const void *info)
{
    return info ? append_to_add_path(buffer, RIB_ATTR_L2_INFO, info) : RIB_BATCH_BUFFER_ERROR;
}

struct via_sid_td {
    in6_addr_t vs_sid;       /*  0 */
    uint8_t vs_len;          /* 16 bits */
    uint8_t vs_unused_17[7]; /* 17 */
};
static_assert(sizeof(via_sid_td) == 24);

rib_batch_buffer_result rib_batch_buffer_path_set_via_srv6_sid(rib_batch_buffer *buffer, const in6_addr_t *sid, int sid_len)
{
    const auto len = static_cast<uint8_t>(sid_len);
    if (!sid || len < 1 || len > 128)
        return RIB_BATCH_BUFFER_ERROR;
    via_sid_td value = {.vs_sid = {}, .vs_len = len, .vs_unused_17 = {}};
    std::memcpy(&value.vs_sid, sid, sizeof value.vs_sid);
    return append_to_add_path(buffer, RIB_ATTR_VIA_SID, &value);
}

rib_batch_buffer_result rib_batch_buffer_path_set_grouping_id(rib_batch_buffer *buffer, uint32_t grouping_id)
{
    return append_to_add_path(buffer, RIB_ATTR_GROUPING, &grouping_id);
}

rib_batch_buffer_result rib_batch_buffer_path_set_ip_tunnel_info(rib_batch_buffer *buffer, const ip_rib_tunnel_info_td *tunnel)
{
    if (!tunnel)
        return RIB_BATCH_BUFFER_ERROR;
    constexpr unsigned both = RIB_TUNNEL_LOCAL_ID | RIB_TUNNEL_REMOTE_ID;
    const bool differ = ((tunnel->ti_local_id ^ tunnel->ti_remote_id) & 0xFFFFFF) != 0;
    if ((tunnel->ti_flags & both) == both && differ)
        return RIB_BATCH_BUFFER_INVALID_TUNNEL;
    return append_to_add_path(buffer, RIB_ATTR_TUNNEL, tunnel);
}

rib_batch_buffer_result rib_batch_buffer_path_set_via_aft_id(rib_batch_buffer *buffer, const void *aft)
{
    return aft ? append_to_add_path(buffer, RIB_ATTR_VIA_AFT, aft) : RIB_BATCH_BUFFER_ERROR;
}

rib_batch_buffer_result rib_batch_buffer_path_del_via_aft_id(rib_batch_buffer *buffer, const void *aft)
{
    return aft ? append_to_del_path(buffer, RIB_ATTR_VIA_AFT, aft) : RIB_BATCH_BUFFER_ERROR;
}

rib_batch_buffer_result rib_batch_buffer_path_set_sl_id_info(rib_batch_buffer *buffer, const ip_rib_sl_id_info_td *info)
{
    if (!info)
        return RIB_BATCH_BUFFER_ERROR;
    if (info->sli_kind != 1 && info->sli_kind != 2)
        return RIB_BATCH_BUFFER_INVALID_SL_ID;
    return append_to_add_path(buffer, RIB_ATTR_SL_ID, info);
}

static rib_batch_buffer_result check_sid_list(const rib_batch_buffer *buffer, const srv6_sid_list *list)
{
    if (!list || list->sl_count == 0)
        return RIB_BATCH_BUFFER_ERROR;
    if (list->sl_count > SRV6_SID_LIST_MAX)
        return RIB_BATCH_BUFFER_TOO_MANY_SIDS;
    if (!srv6_transit_func_type_is_valid(list->sl_func))
        return RIB_BATCH_BUFFER_INVALID_TRANSIT_FUNC;
    return rib_batch_has_route(buffer) ? RIB_BATCH_BUFFER_OK : RIB_BATCH_BUFFER_ERROR;
}

static rib_batch_buffer_result set_sid_list(rib_batch_buffer *buffer, srv6_sid_list *list, int deletes)
{
    if (const auto result = check_sid_list(buffer, list); result != RIB_BATCH_BUFFER_OK)
        return result;
    if (rib_srv6_update_sid_info_list_interop(list) != 0)
        return RIB_BATCH_BUFFER_SID_INTEROP_FAILED;
    if (const int result = rib_srv6_validate_and_fill_sid_len(list); result != RIB_BATCH_BUFFER_OK)
        return static_cast<rib_batch_buffer_result>(result);
    return deletes ? append_to_del_path(buffer, RIB_ATTR_SID_LIST, list) : append_to_add_path(buffer, RIB_ATTR_SID_LIST, list);
}

rib_batch_buffer_result rib_batch_buffer_path_set_srv6_sid_list(rib_batch_buffer *buffer, srv6_sid_list *list, int deletes)
{
    const rib_batch_buffer_result result = set_sid_list(buffer, list, deletes);
    if (result != RIB_BATCH_BUFFER_OK && result != RIB_BATCH_BUFFER_SID_INTEROP_FAILED)
        rib_log_batch_buffer("SRv6 SID list add", result);
    return result;
}
