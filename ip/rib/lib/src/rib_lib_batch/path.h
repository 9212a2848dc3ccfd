/*
 * Path records behind the current route: added or withdrawn, in one call or opened and finished.
 */
#pragma once

#include "buffer.h"

/* What the one-call adds differ in. */
struct rib_batch_path_values {
    uint32_t u32_152, u32_176, u32_4, u32_20, u32_24, label;
    uint64_t u64_8;
    uint16_t u16_16;
};

rib_batch_buffer_result rib_batch_buffer_add_path(rib_batch_buffer *buffer, const rib_batch_path_values &values,
                                                  const in6_addr_t *nexthop, const ip_rib_qlfd_addr_td *infosource,
                                                  const void *attr_array);
rib_batch_buffer_result rib_batch_buffer_add_path_init(rib_batch_buffer *buffer, const in6_addr_t *nexthop,
                                                       const rib_batch_path_init_in *in);
rib_batch_buffer_result rib_batch_buffer_delete_path(rib_batch_buffer *buffer, const in6_addr_t *nexthop, uint32_t value136,
                                                     uint32_t value112, uint32_t value236, uint8_t value2);
rib_batch_buffer_result rib_batch_buffer_del_path_init(rib_batch_buffer *buffer, const in6_addr_t *nexthop,
                                                       const rib_batch_path_init_in *in);

/* The open path of a type (RIB_BATCH_REC_ADD_PATH, RIB_BATCH_REC_DEL_PATH) behind the current route; NULL when there is none. */
uint8_t *rib_batch_open_path(rib_batch_buffer *buffer, uint8_t type);
/* Finish the path that is open. The backup forms leave the route's flags alone. */
enum class rib_path_role { primary, backup };
rib_batch_buffer_result rib_batch_buffer_add_path_done(rib_batch_buffer *buffer, rib_path_role role);
rib_batch_buffer_result rib_batch_buffer_del_path_done(rib_batch_buffer *buffer, rib_path_role role);

/* Writes family and address. A missing source or address, or another family than 1 and 2, is a fatal assertion. */
void rib_batch_buffer_set_path_infosource(const ip_rib_qlfd_addr_td *infosource, rib_batch_add_path_in *path);
