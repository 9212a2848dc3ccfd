/*
 * Exported functions: updates.
 */
#include "ip/rib/lib/src/rib_lib_api/fetch.h"

int32_t ipv6_rib_fetch_update(ipv6_rib_conn_p conn, void *context, errcode *err, ...)
{
    va_list list;
    va_start(list, err);
    const int32_t result = rib_client_redistribute_fetch(conn, context, err, list);
    va_end(list);
    return result;
}
