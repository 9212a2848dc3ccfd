/*
 * Building requests for SIDs and IIDs.
 */
#include "srv6_requests.h"

#include <platform/srv6.h>
#include <platform/table_ids.h>

#include "../rib_fatal.h"
#include "route.h"
#include "table.h"

/* The server's choice, or a value that may be asked for. */
static bool opcode_is_valid(uint32_t opcode)
{
    return opcode == 0xFFFF || opcode == 0xFFFF0000 || opcode == RIB_SID_OPCODE_ANY || rib_srv6_is_valid_explicit_opcode(opcode);
}

rib_batch_buffer_result rib_batch_buffer_handle_srv6_sid_req(rib_batch_buffer *buffer, const srv6_sid_req_t *sid_req,
                                                             const void *context, int is_free, int immediate)
{
    rib_fatal_unless(buffer, "((void*)0) != buffer");
    rib_fatal_unless(sid_req, "((void*)0) != sid_req");
    const bori_fixed *route = rib_batch_open_route(buffer);
    if (!route)
        return RIB_BATCH_BUFFER_ERROR;
    if (!opcode_is_valid(sid_req->sr_opcode))
        return RIB_BATCH_BUFFER_INVALID_OPCODE;
    if (sid_req->sr_func == 0 || sid_req->sr_func == 0xFFFFFFFF)
        return RIB_BATCH_BUFFER_INVALID_SID_REQ;
    const in6_addr_t prefix = route->borfi_prefix;
    if (!IN6_IS_ADDR_UNSPECIFIED(&prefix))
        return RIB_BATCH_BUFFER_NOT_ZERO_PREFIX;
    rib_held_sid value = {.hs_request = *sid_req,
                          .hs_context = reinterpret_cast<uintptr_t>(context),
                          .hs_free = is_free != 0,
                          .hs_immediate = immediate != 0};
    return rib_batch_buffer_route_set_attr_array(buffer, reinterpret_cast<char *>(&value), RIB_ATTR_SID_REQUEST);
}

/* The table to which a route belongs that is written now; false when there is none. */
static bool current_table(const rib_batch_buffer *buffer, rib_tableid_td *table)
{
    if (!rib_batch_is_multi_table(buffer)) {
        *table = rib_swap(rib_tableid_td{buffer->inarg.bai_opinfo.single.bst_table});
        return true;
    }
    const auto *open = static_cast<const rib_batch_table_rec_td *>(buffer->inarg.bai_opinfo.bai_multblhdr.bmti_last_tblarg);
    if (open)
        *table = open->bti_table;
    return open != nullptr;
}

static bool may_request_iid(const rib_batch_buffer *buffer)
{
    rib_tableid_td table;
    return current_table(buffer, &table) &&
           (table == IPV6_RIB_TABLE_IID || table == rsi_c_tbl_id_ipv4_ucast_dflt || table == rsi_c_tbl_id_ipv6_ucast_dflt);
}

rib_batch_buffer_result rib_batch_buffer_handle_iid_req(rib_batch_buffer *buffer, const ip_rib_iid_req_t *iid_req,
                                                        const void *context, int is_free, int value)
{
    rib_fatal_unless(buffer, "buffer != ((void*)0)");
    rib_fatal_unless(iid_req, "iid_req != ((void*)0)");
    if (!rib_batch_open_route(buffer))
        return RIB_BATCH_BUFFER_ERROR;
    if (!may_request_iid(buffer))
        return RIB_BATCH_BUFFER_NOT_IID_TABLE;
    rib_held_iid held = {.hi_request = *iid_req,
                         .hi_free = is_free != 0,
                         .hi_value = static_cast<uint32_t>(value),
                         .hi_context = reinterpret_cast<uintptr_t>(context)};
    return rib_batch_buffer_route_set_attr_array(buffer, reinterpret_cast<char *>(&held), RIB_ATTR_IID_REQUEST);
}

rib_batch_buffer_result rib_batch_buffer_iid_only_req(rib_batch_buffer *buffer, rib_protoid_td proto,
                                                      const ip_rib_iid_req_t *iid_req, const void *context, int is_free,
                                                      int value)
{
    constexpr in6_addr_t zero = {};
    rib_batch_buffer_result result = rib_batch_table_init(buffer, IPV6_RIB_TABLE_IID, proto);
    if (result == RIB_BATCH_BUFFER_OK)
        result = rib_batch_buffer_init_route(buffer, &zero, 0);
    if (result == RIB_BATCH_BUFFER_OK)
        result = rib_batch_buffer_handle_iid_req(buffer, iid_req, context, is_free, value);
    return result == RIB_BATCH_BUFFER_OK ? rib_batch_buffer_add_route3(buffer) : result;
}
