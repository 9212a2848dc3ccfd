/*
 * Questions about addresses. To most of them "not found" is an answer and no error.
 */
#include "address.h"

#include "../rib_addr.h"
#include "request.h"

uint32_t rib_client_next_hop(ip_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t nh_word1,
                             uint32_t nh_word2, uint32_t nh_word3, in6_addr_t *next_hop, uint32_t *addr_flags, errcode *err)
{
    if (!conn || !addr_flags)
        return rib_report(err, RIB_LIB_ERR_BAD_ARG), 0;
    rib_next_hop_body_td body = {.nh_table = table, .nh_words = {nh_word1, nh_word2, nh_word3}};
    rib_copy_addr(&body.nh_addr, addr);
    uint32_t answer = 0;
    rib_report(err, rib_request(conn, body, [&](const rib_address_reply_td &reply) {
                   const in6_addr_t found = reply.ar_addr;
                   rib_copy_addr(next_hop, &found);
                   *addr_flags = reply.ar_flags;
                   answer = reply.ar_answer;
               }));
    return answer;
}

static errcode no_error_when_not_found(errcode code)
{
    return code == RIB_SRV_ERR_NOT_FOUND ? 0 : code;
}

uint32_t rib_client_is_local(ip_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, errcode *err)
{
    if (!conn)
        return rib_report(err, RIB_LIB_ERR_BAD_ARG), 0;
    rib_next_hop_body_td body = {.nh_table = table};
    rib_copy_addr(&body.nh_addr, addr);
    uint32_t answer = 0;
    const errcode code = rib_request(conn, body, [&](const rib_address_reply_td &reply) {
        if (reply.ar_flags & RIB_ADDR_LOCAL)
            answer = reply.ar_answer;
    });
    rib_report(err, no_error_when_not_found(code));
    return answer;
}

uint32_t rib_client_is_connected(ip_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr,
                                 rib_address_reply_area_td *reply, errcode *err)
{
    if (!conn)
        return rib_report(err, RIB_LIB_ERR_BAD_ARG), 0;
    rib_connected_body_td body = {.cn_table = table};
    rib_copy_addr(&body.cn_addr, addr);
    const errcode code = rib_exchange(conn, body, &reply->fixed);
    rib_report(err, no_error_when_not_found(code));
    return code == 0 ? reply->fixed.ar_answer : 0;
}

int rib_client_best_local_address(ip_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t best_word,
                                  in6_addr_t *local_addr, uint32_t *info, errcode *err, uint32_t *addr_flags)
{
    if (!conn)
        return rib_report(err, RIB_LIB_ERR_BAD_ARG), 0;
    rib_best_local_body_td body = {.bl_table = table, .bl_word = best_word};
    rib_copy_addr(&body.bl_addr, addr);
    int found = 0;
    rib_report(err, rib_request(conn, body, [&](const rib_address_reply_td &reply) {
                   if (reply.ar_info == 0)
                       return;
                   found = 1;
                   if (info)
                       *info = reply.ar_info;
                   if (local_addr)
                       *local_addr = reply.ar_addr;
                   if (addr_flags)
                       *addr_flags = reply.ar_flags;
               }));
    return found;
}
