/*
 * Adding and withdrawing one route, and telling who advertises it.
 */
#include "route_change.h"

#include <platform/ipv6_addr.h>

#include "../rib_addr.h"
#include "ip/rib/wire/route_change.h"
#include "request.h"

static bool is_prefix(const in6_addr_t *prefix, uint32_t prefix_len)
{
    in6_addr_t cut = *prefix;
    ipv6_prefix_only(&cut, prefix_len);
    return prefix_len <= 128 && rib_cmp_addr(&cut, prefix) == 0;
}

static rib_route_add_body_td body_of(const ipv6_rib_route_add_args &args)
{
    rib_route_add_body_td body = {.ra_protoid = args.protoid,
                                  .ra_table = args.table,
                                  .ra_prefix = args.prefix,
                                  .ra_prefix_len = static_cast<uint8_t>(args.prefix_len),
                                  .ra_next_hop = args.next_hop,
                                  .ra_hop_word1 = args.hop_word1,
                                  .ra_hop_word2 = args.hop_word2,
                                  .ra_address2 = args.address2,
                                  .ra_attr_short = args.attr_short,
                                  .ra_ext_byte = args.ext_byte,
                                  .ra_ext_word = args.ext_word,
                                  .ra_item_count = args.item_count,
                                  .ra_item_short = args.item_short};
    std::memcpy(body.ra_attr_words, args.attr_words, sizeof body.ra_attr_words);
    std::memcpy(body.ra_ext_words, args.ext_words, sizeof body.ra_ext_words);
    return body;
}

int rib_client_route_add(ipv6_rib_route_add_args *args, const ipv6_rib_route_add_out *out)
{
    if (!args || !out)
        return RIB_RESULT_INVALID_PARAMETER;
    args->item_count = 0;
    args->hop_word1 = 0;
    args->ext_words[1] = RIB_LABEL_NONE;
    args->ext_words[2] = 0;
    if (!args->conn)
        return RIB_RESULT_NO_CONNECTION;
    if (!is_prefix(&args->prefix, args->prefix_len))
        return RIB_RESULT_INVALID_PARAMETER;
    int result = RIB_RESULT_RPC_ERROR;
    rib_report(out->err, rib_request(args->conn, body_of(*args), [&](const rib_route_add_reply_td &reply) {
                   if (out->status)
                       *out->status = reply.ra_status;
                   result = reply.ra_value;
               }));
    return result;
}

errcode rib_client_route_delete(ip_rib_conn_p conn, rib_protoid_td protoid, uint32_t table, const in6_addr_t *prefix,
                                uint16_t prefix_len, const in6_addr_t *next_hop, uint32_t word0, uint32_t del_word1,
                                uint32_t del_word2, uint8_t *del_status, errcode *err)
{
    if (!conn)
        return rib_report(err, RIB_LIB_ERR_BAD_ARG);
    rib_route_delete_body_td body = {.rd_protoid = protoid,
                                     .rd_table = table,
                                     .rd_prefix_len = prefix_len,
                                     .rd_word0 = word0,
                                     .rd_word1 = del_word1,
                                     .rd_word2 = del_word2};
    rib_copy_addr(&body.rd_prefix, prefix);
    rib_copy_addr(&body.rd_next_hop, next_hop);
    return rib_report(err, rib_request(conn, body, [&](const rib_route_delete_reply_td &reply) {
                          if (del_status)
                              *del_status = reply.rd_status;
                      }));
}

int rib_client_set_advertising_flag(ip_rib_conn_p conn, uint32_t table, const in6_addr_t *prefix, uint32_t prefix_len,
                                    uint16_t protoid, uint32_t adv_value, uint8_t adv_byte, uint32_t adv_word,
                                    const adv_list *list)
{
    if (!conn || (list && list->adv_count > RIB_ADV_LIST_MAX))
        return -1;
    rib_advertising_flag_body_td body = {.af_table = table,
                                         .af_prefix_len = prefix_len,
                                         .af_protoid = protoid,
                                         .af_value = adv_value,
                                         .af_byte = adv_byte,
                                         .af_word = adv_word};
    rib_copy_addr(&body.af_prefix, prefix);
    if (list) {
        body.af_count = list->adv_count;
        body.af_list_value = list->adv_value;
        std::memcpy(body.af_items, list->adv_items, list->adv_count * sizeof *body.af_items);
    }
    const errcode code = rib_request(conn, body);
    return code == 0 || code == RIB_SRV_ERR_ACCEPTED ? 0 : -1;
}
