/*
 * Adding and withdrawing one route. Both are written as the records of a batch with one route and one path and applied as
 * such, so that every rule stands in one place.
 */
#include <array>
#include <cerrno>
#include <cstring>
#include <new>

#include "ip/rib/wire/batch_records.h"
#include "ip/rib/wire/batch_results.h"
#include "server/batch_apply.h"
#include "server/lifecycle.h"
#include "server/route_requests.h"
#include "server/sid_requests.h"

constexpr uint8_t FAMILY_IPV6 = 2;

/* Records of a route with one path, and room for their results. */
struct one_route_td {
    uint8_t *route() { return records.data(); }
    uint8_t *path() { return records.data() + RIB_BATCH_ROUTE_FIXED; }

    std::array<uint8_t, RIB_BATCH_ROUTE_FIXED + RIB_BATCH_PATH_FIXED> records = {};
    std::array<uint8_t, sizeof(rib_batch_route_out) + sizeof(rib_batch_path_out)> results;
};

static rib_batch_route_out apply(rib_batch_run &run, one_route_td &one)
{
    rib_batch_apply_route(run, one.route());
    auto result = rib_load<rib_batch_route_out>(one.results.data());
    rib_batch_route_out_net::swap(&result);
    return result;
}

static void write_added(const rib_route_add_body_td &body, one_route_td &one)
{
    auto *route = new (one.route()) bori_fixed{.borfi_type = RIB_BATCH_REC_ROUTE,
                                               .borfi_prefixlen = body.ra_prefix_len,
                                               .borfi_path_count = 1,
                                               .borfi_u16_6 = body.ra_attr_short,
                                               .borfi_flags = body.ra_attr_words[2],
                                               .borfi_u32_12 = body.ra_attr_words[0],
                                               .borfi_u32_16 = body.ra_attr_words[1],
                                               .borfi_u32_20 = body.ra_ext_words[1],
                                               .borfi_u32_36 = body.ra_ext_words[3],
                                               .borfi_u8_40 = body.ra_ext_byte,
                                               .borfi_prefix = body.ra_prefix};
    route->borfi_bits = body.ra_ext_word & RIB_ROUTE_ADD_REPLACE ? RIB_ROUTE_BIT_FLAG_NET : 0;
    rib_to_net(route);
    auto *path = new (one.path()) rib_batch_add_path_in{.bapi_type = RIB_BATCH_REC_ADD_PATH,
                                                        .bapi_u32_4 = body.ra_attr_words[3],
                                                        .bapi_binding_label = RIB_LABEL_NONE,
                                                        .bapi_u32_152 = body.ra_hop_word2,
                                                        .bapi_nexthop = body.ra_next_hop,
                                                        .bapi_u32_176 = body.ra_ext_words[0],
                                                        .bapi_infosource_afi = FAMILY_IPV6};
    std::memcpy(path->bapi_infosource, &body.ra_address2, sizeof path->bapi_infosource);
    rib_to_net(path);
}

errcode rib_do_route_add(rib_server &server, rib_session &session, const rib_route_add_body_td &body,
                         rib_route_add_reply_td &reply)
{
    rib_protocol *protocol;
    if (const errcode refusal = rib_protocol_owned(server, session, body.ra_protoid, &protocol))
        return refusal;
    if (body.ra_prefix_len > RIB_ADDR_BITS || (body.ra_ext_word & ~RIB_ROUTE_ADD_REPLACE) != 0)
        return EINVAL;
    one_route_td one;
    write_added(body, one);
    rib_batch_run run = {server, session, one.results.data()};
    rib_batch_open_table(run, body.ra_table, body.ra_protoid);
    const rib_batch_route_out result = apply(run, one);
    reply.ra_value = result.ro_result;
    reply.ra_status = static_cast<uint8_t>(result.ro_flags);
    return 0;
}

static void write_withdrawn(const rib_route_delete_body_td &body, one_route_td &one)
{
    auto *route = new (one.route()) bori_fixed{.borfi_type = RIB_BATCH_REC_ROUTE,
                                               .borfi_prefixlen = static_cast<uint8_t>(body.rd_prefix_len),
                                               .borfi_path_count = 1,
                                               .borfi_prefix = body.rd_prefix};
    rib_to_net(route);
    auto *path = new (one.path()) rib_batch_del_path_in{.bdpi_type = RIB_BATCH_REC_DEL_PATH,
                                                        .bdpi_u32_112 = body.rd_word1,
                                                        .bdpi_nexthop = body.rd_next_hop,
                                                        .bdpi_u32_136 = body.rd_word2};
    rib_to_net(path);
}

errcode rib_do_route_delete(rib_server &server, rib_session &session, const rib_route_delete_body_td &body,
                            rib_route_delete_reply_td &reply)
{
    rib_protocol *protocol;
    if (const errcode refusal = rib_protocol_owned(server, session, body.rd_protoid, &protocol))
        return refusal;
    if (body.rd_prefix_len > RIB_ADDR_BITS)
        return EINVAL;
    const rib_prefix prefix = rib_prefix_load(&body.rd_prefix, static_cast<uint8_t>(body.rd_prefix_len));
    if (rib_prefix_has_host_bits(prefix))
        return EINVAL;
    if (rib_is_request_table(body.rd_table))
        return EINVAL;
    rib_table *table = server.tables.find(body.rd_table);
    if (!table)
        return RIB_SRV_ERR_NOT_FOUND;
    one_route_td one;
    write_withdrawn(body, one);
    rib_batch_run run = {server, session, one.results.data(), protocol, table};
    const rib_batch_route_out result = apply(run, one);
    if (result.ro_result == RIB_RESULT_NO_CHANGE)
        return RIB_SRV_ERR_NOT_FOUND;
    reply.rd_status = static_cast<uint8_t>(result.ro_flags);
    return 0;
}
