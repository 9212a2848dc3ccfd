/*
 * Exported functions: batch buffers.
 */
#include "ip/rib/lib/src/rib_lib_batch/buffer.h"
#include "ip/rib/lib/src/rib_lib_batch/proto.h"
#include "ip/rib/lib/src/rib_lib_batch/table.h"

rib_batch_buffer *ipv6_rib_batch_buffer_allocate(int small)
{
    return rib_batch_buffer_allocate(small);
}

void ipv6_rib_batch_buffer_free(rib_batch_buffer *buffer)
{
    rib_batch_buffer_free(buffer);
}

void ipv6_rib_batch_buffer_init(rib_batch_buffer *buffer, rib_tableid_td table, rib_protoid_td proto)
{
    rib_batch_buffer_init(buffer, table, proto);
}

void ipv6_rib_batch_buffer_init2(rib_batch_buffer *buffer)
{
    rib_batch_buffer_init2(buffer);
}

void ipv6_rib_batch_buffer_clear(rib_batch_buffer *buffer)
{
    rib_batch_buffer_clear(buffer);
}

int ipv6_rib_batch_buffer_is_empty(const rib_batch_buffer *buffer)
{
    return rib_batch_buffer_is_empty(buffer);
}

rib_batch_buffer_result ipv6_rib_batch_table_init(rib_batch_buffer *buffer, rib_tableid_td table, rib_protoid_td proto)
{
    return rib_batch_table_init(buffer, table, proto);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_complete(rib_batch_buffer *buffer)
{
    return rib_batch_buffer_complete(buffer);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_converge(rib_batch_buffer *buffer, uint32_t a, uint32_t b)
{
    return rib_batch_buffer_converge(buffer, a, b);
}

int ipv6_rib_batch_buffer_route_fits(const rib_batch_buffer *buffer, uint32_t paths)
{
    return rib_batch_buffer_route_fits(buffer, paths);
}

int ipv6_rib_batch_buffer_table_fits(const rib_batch_buffer *buffer, uint16_t paths, uint16_t routes)
{
    return rib_batch_buffer_table_fits(buffer, paths, routes);
}

int ipv6_rib_batch_buffer_route_fits2(const rib_batch_buffer *buffer, const rib_batch_sizes *sizes)
{
    return rib_batch_buffer_route_fits2(buffer, sizes);
}

int ipv6_rib_batch_buffer_table_fits2(const rib_batch_buffer *buffer, const rib_batch_sizes *sizes)
{
    return rib_batch_buffer_table_fits2(buffer, sizes);
}

int ipv6_rib_batch_set_argument_type(void *record, uint8_t type)
{
    *static_cast<uint8_t *>(record) = type;
    return 1;
}

rib_batch_buffer *ipv6_rib_batch_proto_buffer_allocate(uint32_t records)
{
    return rib_batch_proto_buffer_allocate(records);
}

void ipv6_rib_batch_proto_buffer_free(rib_batch_buffer *first)
{
    rib_batch_proto_buffer_free(first);
}

void ipv6_rib_batch_proto_buffer_init(rib_batch_buffer *first)
{
    rib_batch_proto_buffer_init(first);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_add_proto(rib_batch_buffer *first, const rib_register_protocol_in *in)
{
    return rib_batch_buffer_add_proto(first, in);
}

rib_batch_buffer_result ipv6_rib_batch_buffer_del_proto(rib_batch_buffer *first, uint32_t value, rib_protoid_td protoid)
{
    return rib_batch_buffer_del_proto(first, value, protoid);
}
