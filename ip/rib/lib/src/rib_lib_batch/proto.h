/*
 * Protocol batches: a chain of buffers that holds registrations and their ends.
 */
#pragma once

#include "buffer.h"

rib_batch_buffer *rib_batch_proto_buffer_allocate(uint32_t records);
void rib_batch_proto_buffer_free(rib_batch_buffer *first);
void rib_batch_proto_buffer_init(rib_batch_buffer *first);
rib_batch_buffer_result rib_batch_buffer_add_proto(rib_batch_buffer *first, const rib_register_protocol_in *in);
rib_batch_buffer_result rib_batch_buffer_del_proto(rib_batch_buffer *first, uint32_t value, rib_protoid_td protoid);
