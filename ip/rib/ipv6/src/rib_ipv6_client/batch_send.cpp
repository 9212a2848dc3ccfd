/*
 * Exported functions: sending a batch and walking its results.
 */
#include <cstdlib>

#include "ip/rib/lib/src/rib_lib_batch/results.h"
#include "ip/rib/lib/src/rib_lib_batch/send.h"

void *ipv6_rib_batch_args_out_allocate(void)
{
    return rib_batch_args_out_allocate();
}

void ipv6_rib_batch_args_out_free(void *reply)
{
    std::free(reply);
}

int ipv6_rib_batch_buffer_send(ipv6_rib_conn_p conn, rib_batch_buffer *buffer, void *reply)
{
    return rib_batch_buffer_send(conn, buffer, reply);
}

int ipv6_rib_batch_proto_buffer_send(ipv6_rib_conn_p conn, rib_batch_buffer *first, void *results, uint32_t max_results,
                                     uint32_t *num_results)
{
    return rib_batch_proto_buffer_send(conn, first, results, max_results, num_results);
}

void *ipv6_rib_batch_args_out_first_route(void *reply)
{
    return rib_batch_args_out_first_route(reply);
}

void *ipv6_rib_batch_args_out_next_route(void *reply, void *record)
{
    return rib_batch_args_out_next_route(reply, record);
}

void *ipv6_rib_batch_args_out_next_table(void *reply, void *table)
{
    return rib_batch_args_out_next_table(reply, table);
}

void *ipv6_rib_batch_tbl_out_next_route(void *reply, void *table, void *route)
{
    return rib_batch_tbl_out_next_route(reply, table, route);
}

void *ipv6_rib_batch_route_out_first_path(void *route)
{
    return rib_batch_route_out_first_path(route);
}

void *ipv6_rib_batch_route_out_next_path(void *route, void *path)
{
    return rib_batch_route_out_next_path(route, path);
}
