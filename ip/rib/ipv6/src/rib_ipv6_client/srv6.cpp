/*
 * Exported functions: SRv6 SIDs and IIDs.
 */
#include <ipv6_rib/srv6.h>

#include "ip/rib/lib/src/rib_lib_batch/srv6_requests.h"
#include "ip/rib/lib/src/rib_lib_batch/table.h"

rib_batch_buffer_result ipv6_rib_batch_buffer_add_srv6_sid_req(rib_batch_buffer *buffer, const srv6_sid_req_t *request,
                                                               const void *context)
{
    return rib_batch_buffer_handle_srv6_sid_req(buffer, request, context, 0, 0);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_free_srv6_sid_req(rib_batch_buffer *buffer, const srv6_sid_req_t *request,
                                                                const void *context)
{
    return rib_batch_buffer_handle_srv6_sid_req(buffer, request, context, 1, 0);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_immediate_free_srv6_sid_req(rib_batch_buffer *buffer, const srv6_sid_req_t *request,
                                                                          const void *context)
{
    return rib_batch_buffer_handle_srv6_sid_req(buffer, request, context, 1, 1);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_add_iid_req(rib_batch_buffer *buffer, const ip_rib_iid_req_t *request,
                                                          const void *context)
{
    return rib_batch_buffer_handle_iid_req(buffer, request, context, 0, 0);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_free_iid_req(rib_batch_buffer *buffer, const ip_rib_iid_req_t *request,
                                                           uint32_t value, const void *context)
{
    return rib_batch_buffer_handle_iid_req(buffer, request, context, 1, static_cast<int>(value));
}

rib_batch_buffer_result ipv6_rib_batch_buffer_iid_table_init(rib_batch_buffer *buffer, rib_protoid_td proto)
{
    return rib_batch_table_init(buffer, IPV6_RIB_TABLE_IID, proto);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_add_iid_only_req(rib_batch_buffer *buffer, rib_protoid_td proto,
                                                               const ip_rib_iid_req_t *request, const void *context)
{
    return rib_batch_buffer_iid_only_req(buffer, proto, request, context, 0, 0);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_free_iid_only_req(rib_batch_buffer *buffer, rib_protoid_td proto,
                                                                const ip_rib_iid_req_t *request, uint32_t value,
                                                                const void *context)
{
    return rib_batch_buffer_iid_only_req(buffer, proto, request, context, 1, static_cast<int>(value));
}

rib_tableid_td ipv6_rib_batch_get_iid_tableid(void)
{
    return IPV6_RIB_TABLE_IID;
}

errcode ipv6_rib_clear_iid_by_vrfid(uint32_t)
{
    return 0;
}

errcode ipv6_rib_iid_get_prefix_from_iid(uint32_t iid, const ip_rib_iid_ctx_td *context, ip_rib_iid_prefix_td *prefix)
{
    return rib_iid_get_prefix_from_iid(iid, context, prefix);
}

errcode ipv6_rib_iid_get_iid_from_prefix(const in6_addr_t *prefix, uint32_t *iid, in6_addr_t block, uint32_t base,
                                         uint32_t sid_format, ip_rib_iid_ctx_td *context)
{
    return rib_iid_get_iid_from_prefix(prefix, iid, block, base, sid_format, context);
}
