/*
 * Route records, in one call or in three steps.
 */
#pragma once

#include "buffer.h"

rib_batch_buffer_result rib_batch_buffer_add_route(rib_batch_buffer *buffer, const in6_addr_t *prefix, uint8_t prefixlen,
                                                   uint16_t value6, uint32_t flags, uint32_t value12, uint32_t flag,
                                                   uint32_t value16, uint8_t value40);
rib_batch_buffer_result rib_batch_buffer_init_route(rib_batch_buffer *buffer, const in6_addr_t *prefix, uint8_t prefixlen);
rib_batch_buffer_result rib_batch_buffer_add_route3(rib_batch_buffer *buffer);
