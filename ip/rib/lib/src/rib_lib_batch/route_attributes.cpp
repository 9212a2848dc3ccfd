/*
 * Attributes of the open route.
 */
#include <ipv6_rib/errors.h>
#include <platform/srv6.h>

#include "../rib_fatal.h"
#include "attributes.h"

/* Which attributes of a route may join which: a row for each new one, in it a bit for each that is there. */
constexpr unsigned FIRST_OF_ROUTE = RIB_ATTR_ALGO_LABELS;
constexpr uint8_t bit_of(unsigned type)
{
    return static_cast<uint8_t>(1u << (type - FIRST_OF_ROUTE));
}
static constexpr uint8_t may_join[] = {
    bit_of(RIB_ATTR_ROUTE_AFT),                                  // labels by algorithm
    bit_of(RIB_ATTR_ROUTE_AFT),                                  // SID request
    bit_of(RIB_ATTR_ROUTE_L2_INFO) | bit_of(RIB_ATTR_ROUTE_AFT), // IID request
    bit_of(RIB_ATTR_IID_REQUEST) | bit_of(RIB_ATTR_ROUTE_AFT),   // layer-2 information
    bit_of(RIB_ATTR_ROUTE_AFT),                                  // algorithm
    static_cast<uint8_t>(bit_of(RIB_ATTR_ROUTE_AFT) - 1),        // forwarding table: all but itself
};
static_assert(sizeof may_join == RIB_ATTR_TYPES - FIRST_OF_ROUTE);

static bool compatible(rib_attr_type_t added, uint8_t held)
{
    return held >= FIRST_OF_ROUTE && held < RIB_ATTR_TYPES && (may_join[added - FIRST_OF_ROUTE] & bit_of(held));
}

/* The current record as a route, which its caller has to see to; NULL when there is none. */
static bori_fixed *current(rib_batch_buffer *buffer)
{
    return buffer ? reinterpret_cast<bori_fixed *>(buffer->cur_rec) : nullptr;
}

bori_fixed *rib_batch_open_route(rib_batch_buffer *buffer)
{
    return rib_batch_has_route(buffer) && buffer->cur_rec == rib_batch_tail(buffer) ? current(buffer) : nullptr;
}

rib_batch_buffer_result rib_batch_buffer_route_set_attr_array(rib_batch_buffer *buffer, char *value, rib_attr_type_t type)
{
    bori_fixed *route_in = current(buffer);
    rib_fatal_unless(!route_in || route_in->borfi_type == RIB_BATCH_REC_ROUTE, "route_in->bori_fixed.borfi_type == 1");
    if (!rib_batch_open_route(buffer))
        return RIB_BATCH_BUFFER_ERROR;
    for (const auto *held = rib_attr_first(&route_in->borfi_attrs); held; held = rib_attr_next(&route_in->borfi_attrs, held))
        if (!compatible(type, held->ae_type))
            return held->ae_type == type ? RIB_BATCH_BUFFER_ATTR_DUPLICATE : RIB_BATCH_BUFFER_ATTR_CONFLICT;
    return rib_batch_append_attr(buffer, rib_attrs_of(route_in), type, value);
}

/* Appends a value without asking what else the route has. */
static rib_batch_buffer_result append_to_any(rib_batch_buffer *buffer, rib_attr_type_t type, const void *value)
{
    bori_fixed *route_in = current(buffer);
    rib_fatal_unless(!route_in || route_in->borfi_type == RIB_BATCH_REC_ROUTE, "route_in->bori_fixed.borfi_type == 1");
    return rib_batch_open_route(buffer) ? rib_batch_append_attr(buffer, rib_attrs_of(route_in), type, value)
                                        : RIB_BATCH_BUFFER_ERROR;
}

rib_batch_buffer_result rib_batch_buffer_route_set_srv6_end_func_type(rib_batch_buffer *buffer, srv6_end_func_type type)
{
    if (!srv6_end_func_type_is_valid(type))
        return RIB_BATCH_BUFFER_ERROR;
    bori_fixed *route_in = current(buffer);
    rib_fatal_unless(!route_in || route_in->borfi_type == RIB_BATCH_REC_ROUTE, "route_in->borfi_type == 1");
    if (!rib_batch_open_route(buffer))
        return RIB_BATCH_BUFFER_ERROR;
    route_in->borfi_u32_36 = type;
    return RIB_BATCH_BUFFER_OK;
}

rib_batch_buffer_result rib_batch_buffer_route_set_algo(rib_batch_buffer *buffer, const ip_rib_route_algo_td *algo_info)
{
    rib_fatal_unless(buffer, "buffer != ((void*)0)");
    rib_fatal_unless(algo_info, "algo_info != ((void*)0)");
    uint32_t algo = algo_info->ra_algo;
    return rib_batch_buffer_route_set_attr_array(buffer, reinterpret_cast<char *>(&algo), RIB_ATTR_ALGO);
}

rib_batch_buffer_result rib_batch_buffer_route_set_algo_label_set(rib_batch_buffer *buffer, ip_rib_algo_label_set_td *set)
{
    if (!set)
        return RIB_BATCH_BUFFER_ERROR;
    if (set->als_count == 0)
        return RIB_BATCH_BUFFER_OK;
    if (set->als_count > RIB_ALGO_LABELS_MAX)
        return RIB_BATCH_BUFFER_TOO_MANY_ALGO_LABELS;
    rib_sort_algo_label_set(set);
    return rib_batch_buffer_route_set_attr_array(buffer, reinterpret_cast<char *>(set), RIB_ATTR_ALGO_LABELS);
}

rib_batch_buffer_result rib_batch_buffer_route_set_l2_info(rib_batch_buffer *buffer, const ip_rib_route_l2_info_td *info)
{
    return info ? append_to_any(buffer, RIB_ATTR_ROUTE_L2_INFO, info) : RIB_BATCH_BUFFER_ERROR;
}

rib_batch_buffer_result rib_batch_buffer_route_set_aft_id(rib_batch_buffer *buffer, const ip_rib_route_aft_id_td *aft)
{
    return aft ? append_to_any(buffer, RIB_ATTR_ROUTE_AFT, aft) : RIB_BATCH_BUFFER_ERROR;
}
