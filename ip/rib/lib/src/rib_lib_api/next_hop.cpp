/*
 * Registration of next hops, and the check of a route.
 */
#include "next_hop.h"

#include <climits>

#include "../rib_addr.h"
#include "ip/rib/wire/next_hop.h"
#include "redist.h"
#include "request.h"

/* Copies what a reply says of the next hop, whose name was found to fit. */
static void fill_info(rib_nh_info *info, const rib_nh_register_reply_td &reply)
{
    info->nh_address = reply.nr_addr;
    std::memcpy(info->nh_words, reply.nr_words, sizeof info->nh_words);
    info->nh_word = reply.nr_word;
    info->nh_name_len = reply.nr_name_len;
    std::memcpy(info->nh_name, reply.nr_name, reply.nr_name_len);
    info->nh_name[reply.nr_name_len] = '\0';
}

uint32_t rib_client_next_hop_register(ip_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t nh_reg_word1,
                                      uint32_t nh_reg_word2, uint32_t nh_reg_word3, rib_nh_info *nh_info, errcode *err)
{
    if (!conn)
        return rib_report(err, RIB_LIB_ERR_BAD_ARG), 0;
    rib_nh_register_body_td body = {.nr_table = table, .nr_words = {nh_reg_word1, nh_reg_word2, nh_reg_word3}};
    rib_copy_addr(&body.nr_addr, addr);
    rib_reply_area<rib_nh_register_reply_td> reply;
    if (!reply)
        return rib_report(err, RIB_LIB_ERR_NO_MEMORY), 0;
    errcode code = rib_exchange(conn, body, reply.get());
    if (code == 0 && reply.get()->nr_name_len > RIB_NH_NAME_MAX)
        code = EBADMSG;
    if (rib_report(err, code) != 0)
        return 0;
    if (nh_info)
        fill_info(nh_info, *reply.get());
    return reply.get()->nr_answer;
}

errcode rib_client_next_hop_unregister(ip_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t nh_reg_word1,
                                       uint32_t nh_reg_word2, uint32_t nh_reg_word3, errcode *err)
{
    if (!conn)
        return rib_report(err, RIB_LIB_ERR_BAD_ARG);
    rib_nh_unregister_body_td body = {.nu_table = table, .nu_words = {nh_reg_word1, nh_reg_word2, nh_reg_word3}};
    rib_copy_addr(&body.nu_addr, addr);
    return rib_report(err, rib_request(conn, body));
}

/* Whether the data behind a reply of so many bytes are there as it claims, and pass for a list. */
static bool data_fit(rib_check_reply_td *reply, uint32_t reply_size)
{
    if (reply->ck_data_len == 0)
        return true;
    if (reply->ck_data_len > reply_size - sizeof *reply || reply->ck_data_len > INT_MAX) // the result is an int
        return false;
    uint8_t *list = reinterpret_cast<uint8_t *>(reply + 1);
    if (!rib_tlv_list_fits(list, reinterpret_cast<uint8_t *>(reply) + reply_size))
        return false;
    rib_tlv_handle_delim(&list);
    return true;
}

int rib_client_get_check(ip_rib_conn_p conn, ip_rib_conn_p parent, uint32_t check_word1, uint32_t check_word2,
                         uint64_t check_long1, uint64_t check_long2, uint32_t check_word3, const in6_addr_t *check_addr,
                         in6_addr_t *addr_out, uint32_t *check_value, void *data, uint32_t reply_size, uint32_t *pair)
{
    if (!conn || !check_value || !data || !pair || reply_size < RIB_CHECK_REPLY_MIN)
        return -1;
    rib_check_body_td body = {.ck_word1 = check_word1,
                              .ck_long1 = check_long1,
                              .ck_long2 = check_long2,
                              .ck_word3 = check_word3,
                              .ck_word2 = check_word2,
                              .ck_reply_size = reply_size};
    rib_copy_addr(&body.ck_addr, check_addr);
    const rib_owned_t<rib_check_reply_td> reply = rib_calloc<rib_check_reply_td>(reply_size);
    uint32_t datum;
    if (!reply || !rib_client_parent_datum(parent, &datum) || datum == 0)
        return -1;
    body.ck_parent = datum;
    if (rib_exchange(conn, body, reply.get(), reply_size) != 0 || !data_fit(reply.get(), reply_size))
        return -1;
    const in6_addr_t found = reply->ck_addr;
    rib_copy_addr(addr_out, &found);
    *check_value = reply->ck_value;
    pair[0] = reply->ck_pair_0;
    pair[1] = reply->ck_pair_1;
    std::memcpy(data, reply.get() + 1, reply->ck_data_len);
    return static_cast<int>(reply->ck_data_len);
}
