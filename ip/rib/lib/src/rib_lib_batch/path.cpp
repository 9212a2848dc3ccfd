/*
 * Writing path records.
 */
#include "path.h"

#include <platform/lbitmap.h>

#include "../rib_addr.h"
#include "../rib_fatal.h"
#include "attributes.h"
#include "images.h"

/* The current route, when it is finished and may take another path of so many bytes; else NULL. */
static bori_fixed *route_for_path(rib_batch_buffer *buffer, uint64_t bytes)
{
    if (!buffer || !rib_batch_has_room(buffer, bytes) || !buffer->cur_rec || buffer->cur_rec == rib_batch_tail(buffer))
        return nullptr;
    auto *route = reinterpret_cast<bori_fixed *>(buffer->cur_rec);
    if (route->borfi_type != RIB_BATCH_REC_ROUTE)
        return nullptr;
    rib_batch_drop_open_path(buffer);
    return rib_swap(uint16_t{route->borfi_path_count}) < RIB_BATCH_ROUTE_PATHS ? route : nullptr;
}

/* The route is in network order already. */
static void count_path(bori_fixed *route)
{
    route->borfi_path_count = rib_swap(static_cast<uint16_t>(rib_swap(uint16_t{route->borfi_path_count}) + 1));
}
static void mark_primary(bori_fixed *route)
{
    route->borfi_flags &= ~rib_swap(RIB_ROUTE_NO_PRIMARY);
    route->borfi_flags64 &= ~rib_swap(RIB_ROUTE_NO_PRIMARY64);
}

void rib_batch_buffer_set_path_infosource(const ip_rib_qlfd_addr_td *infosource, rib_batch_add_path_in *path)
{
    rib_fatal_unless(infosource, "infosource");
    switch (infosource->afi) {
    case 2:
        rib_fatal_unless(infosource->addr.v6, "infosource->addr.v6");
        std::memcpy(path->bapi_infosource, infosource->addr.v6, sizeof *infosource->addr.v6);
        break;
    case 1:
        rib_fatal_unless(infosource->addr.v4, "infosource->addr.v4");
        std::memcpy(path->bapi_infosource, infosource->addr.v4, sizeof *infosource->addr.v4);
        break;
    default:
        rib_fatal_unless(false, "0");
    }
    path->bapi_infosource_afi = static_cast<uint8_t>(infosource->afi);
}

/* Writes the caller's array as the only attribute of a path and closes the attributes; their length. */
static size_t close_items(rib_batch_buffer *buffer, rib_batch_add_path_in *path, const void *attr_array)
{
    const rib_attr_area area = rib_attrs_of(path);
    rib_batch_append_attr(buffer, area, RIB_ATTR_ECOMMS, attr_array);
    const size_t bytes = rib_batch_end_attrs(area);
    rib_to_net(&path->bapi_attrs);
    return bytes;
}

rib_batch_buffer_result rib_batch_buffer_add_path(rib_batch_buffer *buffer, const rib_batch_path_values &values,
                                                  const in6_addr_t *nexthop, const ip_rib_qlfd_addr_td *infosource,
                                                  const void *attr_array)
{
    const unsigned items = attr_array ? rib_load<uint16_t>(attr_array) : 0;
    if (items > RIB_ECOMMS_MAX)
        return RIB_BATCH_BUFFER_TOO_MANY_ITEMS;
    bori_fixed *route = route_for_path(buffer, RIB_BATCH_PATH_FIXED + 8 + 8 * items);
    if (!route)
        return RIB_BATCH_BUFFER_ERROR;
    rib_batch_add_path_in *path = rib_batch_copy_image(rib_batch_tail(buffer), rib_batch_image_of.closed_add_path);
    path->bapi_label_count = values.label != RIB_LABEL_NONE;
    path->bapi_u32_4 = rib_swap(values.u32_4);
    path->bapi_u64_8 = rib_swap(values.u64_8);
    path->bapi_u16_16 = rib_swap(values.u16_16);
    path->bapi_u32_20 = rib_swap(values.u32_20);
    path->bapi_u32_24 = rib_swap(values.u32_24);
    path->bapi_labels[0] = rib_swap(values.label);
    path->bapi_u32_152 = rib_swap(values.u32_152);
    path->bapi_u32_176 = rib_swap(values.u32_176);
    rib_copy_addr(&path->bapi_nexthop, nexthop);
    rib_batch_buffer_set_path_infosource(infosource, path);
    const size_t attr_bytes = attr_array ? close_items(buffer, path, attr_array) : 0;
    mark_primary(route);
    count_path(route);
    return rib_batch_advance(buffer, RIB_BATCH_PATH_FIXED + attr_bytes);
}

rib_batch_buffer_result rib_batch_buffer_delete_path(rib_batch_buffer *buffer, const in6_addr_t *nexthop, uint32_t value136,
                                                     uint32_t value112, uint32_t value236, uint8_t value2)
{
    bori_fixed *route = route_for_path(buffer, RIB_BATCH_PATH_FIXED);
    if (!route)
        return RIB_BATCH_BUFFER_ERROR;
    rib_batch_del_path_in *path = rib_batch_copy_image(rib_batch_tail(buffer), rib_batch_image_of.closed_del_path);
    path->bdpi_u8_2 = value2;
    path->bdpi_u32_112 = rib_swap(value112);
    path->bdpi_u32_136 = rib_swap(value136);
    path->bdpi_u32_236 = rib_swap(value236);
    rib_copy_addr(&path->bdpi_nexthop, nexthop);
    mark_primary(route);
    count_path(route);
    return rib_batch_advance(buffer, RIB_BATCH_PATH_FIXED);
}

uint8_t *rib_batch_open_path(rib_batch_buffer *buffer, uint8_t type)
{
    if (!rib_batch_has_route(buffer))
        return nullptr;
    uint8_t *const tail = rib_batch_tail(buffer);
    if (buffer->cur_rec == tail || buffer->data_len == buffer->capacity)
        return nullptr;
    return *tail == type ? tail : nullptr;
}

static uint64_t items_bytes(uint64_t count, uint64_t item, uint64_t head)
{
    return count ? item * count + head : 0;
}

rib_batch_buffer_result rib_batch_buffer_add_path_init(rib_batch_buffer *buffer, const in6_addr_t *nexthop,
                                                       const rib_batch_path_init_in *in)
{
    if (!in)
        return RIB_BATCH_BUFFER_ERROR;
    const auto expects = [in](uint8_t flag, uint64_t bytes) { return in->pi_flags & flag ? bytes : 0; };
    const uint64_t reserve = items_bytes(in->pi_count_a, 8, 4) + items_bytes(in->pi_count_b, 8, 4) +
                             items_bytes(in->pi_count_c, 32, 16) + expects(RIB_PATH_INIT_16, 16) + expects(RIB_PATH_INIT_4, 4) +
                             expects(RIB_PATH_INIT_24_A, 24) + expects(RIB_PATH_INIT_24_B, 24) + expects(RIB_PATH_INIT_24_C, 24);
    bori_fixed *route = route_for_path(buffer, RIB_BATCH_PATH_FIXED + 64 + reserve);
    if (!route)
        return RIB_BATCH_BUFFER_ERROR;
    rib_batch_add_path_in *path = rib_batch_copy_image(rib_batch_tail(buffer), rib_batch_image_of.open_add_path);
    rib_copy_addr(&path->bapi_nexthop, nexthop);
    rib_batch_buffer_set_path_infosource(&in->pi_infosource, path);
    path->bapi_u32_152 = in->pi_u32_0;
    path->bapi_u32_176 = in->pi_u32_16;
    path->bapi_u32_200 = in->pi_u32_20;
    count_path(route);
    return RIB_BATCH_BUFFER_OK;
}

rib_batch_buffer_result rib_batch_buffer_del_path_init(rib_batch_buffer *buffer, const in6_addr_t *nexthop,
                                                       const rib_batch_path_init_in *in)
{
    if (!in)
        return RIB_BATCH_BUFFER_ERROR;
    const uint64_t reserve = items_bytes(in->pi_count_c, 32, 16) + (in->pi_flags & RIB_PATH_INIT_24_C ? 24 : 0);
    bori_fixed *route = route_for_path(buffer, RIB_BATCH_PATH_FIXED + 64 + reserve);
    if (!route)
        return RIB_BATCH_BUFFER_ERROR;
    rib_batch_del_path_in *path = rib_batch_copy_image(rib_batch_tail(buffer), rib_batch_image_of.open_del_path);
    path->bdpi_u32_112 = in->pi_u32_0;
    path->bdpi_u32_160 = in->pi_u32_20;
    path->bdpi_u32_136 = in->pi_u32_16;
    rib_copy_addr(&path->bdpi_nexthop, nexthop);
    count_path(route);
    return RIB_BATCH_BUFFER_OK;
}

/* Closes the open path, which is converted here and nowhere else; behind its attributes stand so many bytes. */
template <class record>
static rib_batch_buffer_result finish_path(rib_batch_buffer *buffer, record *path, const void *bitmap, size_t trailing,
                                           rib_path_role role)
{
    const size_t attr_bytes = rib_batch_end_attrs(rib_attrs_of(path));
    if (role == rib_path_role::primary && lbitmap_is_empty(bitmap))
        mark_primary(reinterpret_cast<bori_fixed *>(buffer->cur_rec));
    rib_to_net(path);
    return rib_batch_advance(buffer, RIB_BATCH_PATH_FIXED + attr_bytes + trailing);
}

rib_batch_buffer_result rib_batch_buffer_add_path_done(rib_batch_buffer *buffer, rib_path_role role)
{
    auto *path = reinterpret_cast<rib_batch_add_path_in *>(rib_batch_open_path(buffer, RIB_BATCH_REC_ADD_PATH));
    if (!path)
        return RIB_BATCH_BUFFER_ERROR;
    const size_t trailing = rib_batch_trailing_size(path->bapi_ext_mask);
    return finish_path(buffer, path, path->bapi_bitmap_head, trailing, role);
}

rib_batch_buffer_result rib_batch_buffer_del_path_done(rib_batch_buffer *buffer, rib_path_role role)
{
    auto *path = reinterpret_cast<rib_batch_del_path_in *>(rib_batch_open_path(buffer, RIB_BATCH_REC_DEL_PATH));
    if (!path)
        return RIB_BATCH_BUFFER_ERROR;
    return finish_path(buffer, path, path->bdpi_bitmap, 0, role);
}
