/*
 * Batches of registrations of protocols.
 */
#include <cstdlib>
#include <iterator>

#include "fuzz/client/operations.h"

static void send_protocols(ipv6_rib_conn_p conn)
{
    static rib_batch_buffer *chain = ipv6_rib_batch_proto_buffer_allocate(3);
    static const rib_register_protocol_in in = {.instance_name = "1"};
    rib_proto_result results[3];
    uint32_t count = 0;
    ipv6_rib_batch_proto_buffer_init(chain);
    ipv6_rib_batch_buffer_add_proto(chain, &in);
    ipv6_rib_batch_buffer_del_proto(chain, 0, 1);
    ipv6_rib_batch_proto_buffer_send(conn, chain, results, std::size(results), &count);
    if (count > std::size(results))
        std::abort();
    look_at(results, count * sizeof *results);
}

static const client_operation operations[] = {send_protocols};
const client_operations protocol_operations = operations;
