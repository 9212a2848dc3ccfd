/*
 * Requests for SRv6 SIDs and for IIDs as attributes of the open route, and the prefixes that stand for IIDs.
 */
#pragma once

#include "attributes.h"

rib_batch_buffer_result rib_batch_buffer_handle_srv6_sid_req(rib_batch_buffer *buffer, const srv6_sid_req_t *sid_req,
                                                             const void *context, int is_free, int immediate);
rib_batch_buffer_result rib_batch_buffer_handle_iid_req(rib_batch_buffer *buffer, const ip_rib_iid_req_t *iid_req,
                                                        const void *context, int is_free, int value);
/* The table of IIDs, a route ::/0 and the request. */
rib_batch_buffer_result rib_batch_buffer_iid_only_req(rib_batch_buffer *buffer, rib_protoid_td proto,
                                                      const ip_rib_iid_req_t *iid_req, const void *context, int is_free,
                                                      int value);

errcode rib_iid_get_prefix_from_iid(uint32_t iid, const ip_rib_iid_ctx_td *context, ip_rib_iid_prefix_td *prefix);
errcode rib_iid_get_iid_from_prefix(const in6_addr_t *prefix, uint32_t *iid, in6_addr_t block, uint32_t base, uint32_t sid_format,
                                    ip_rib_iid_ctx_td *context);
