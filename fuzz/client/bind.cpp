/*
 * Introductions: the server's word on a client that binds, and on one that binds again.
 */
#include <cstdlib>

#include <platform/bind_reply.h>

#include "fuzz/client/operations.h"

static void bind_with_this_reply(ipv6_rib_conn_p)
{
    ipv6_rib_conn_p bound = nullptr;
    const int32_t connid = ipv6_rib_bind(&bound);
    if ((connid == -1) != (bound == nullptr))
        std::abort();
    ipv6_rib_unbind(&bound);
}

static void rebind_with_this_reply(ipv6_rib_conn_p)
{
    ipv6_rib_conn_p bound = connect_client(0);
    ipv6_rib_rebind(bound);
    ipv6_rib_get_my_client_id(bound);
    ipv6_rib_unbind(&bound);
}

/* The record in the reply alone. */
static void decode_this_reply(ipv6_rib_conn_p)
{
    const fuzz_bytes value = next_answer().value_or(fuzz_bytes());
    wirc_rib_bind_reply_t decoded;
    if (wirc_rib_bind_reply_decode_ext(&decoded, value.data(), value.size(), nullptr, 0, 0) != 0 && decoded.wbr_presence != 0)
        std::abort();
    wirc_rib_bind_reply_free_ext(&decoded, nullptr, 0, 0);
}

static const client_operation operations[] = {bind_with_this_reply, rebind_with_this_reply, decode_this_reply};
const client_operations bind_operations = operations;
