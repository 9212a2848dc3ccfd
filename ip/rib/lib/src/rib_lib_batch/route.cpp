/*
 * Writing route records.
 */
#include "route.h"

#include "../rib_addr.h"
#include "attributes.h"
#include "images.h"

/* Writes an empty route at the end of the data and makes it the current one; NULL when there is no buffer or it is full. */
template <class image_td>
static bori_fixed *begin_route(rib_batch_buffer *buffer, const image_td &image, const in6_addr_t *prefix, uint8_t prefixlen)
{
    uint8_t *const tail = buffer ? rib_batch_begin_record(buffer) : nullptr;
    if (!tail)
        return nullptr;
    bori_fixed *route = rib_batch_copy_image(tail, image);
    route->borfi_prefixlen = prefixlen;
    rib_copy_addr(&route->borfi_prefix, prefix);
    buffer->cur_rec = tail;
    return route;
}

/* The bits of borfi_bits in the order of big-endian bit fields: the lowest five go up, the three flags change ends. */
static uint8_t bits_to_net(uint8_t bits)
{
    return static_cast<uint8_t>((bits & 0x1F) << 3 | (bits >> 3 & 0x04) | (bits >> 5 & 0x02) | bits >> 7);
}

rib_batch_buffer_result rib_batch_buffer_add_route(rib_batch_buffer *buffer, const in6_addr_t *prefix, uint8_t prefixlen,
                                                   uint16_t value6, uint32_t flags, uint32_t value12, uint32_t flag,
                                                   uint32_t value16, uint8_t value40)
{
    bori_fixed *route = begin_route(buffer, rib_batch_image_of.closed_route, prefix, prefixlen);
    if (!route)
        return RIB_BATCH_BUFFER_ERROR;
    route->borfi_u16_6 = rib_swap(value6);
    route->borfi_flags = rib_swap(flags | RIB_ROUTE_NO_PRIMARY);
    route->borfi_u32_12 = rib_swap(value12);
    route->borfi_u32_16 = rib_swap(value16);
    route->borfi_bits = flag & 1 ? RIB_ROUTE_BIT_FLAG_NET : uint8_t{0};
    route->borfi_u8_40 = value40;
    return rib_batch_advance(buffer, RIB_BATCH_ROUTE_FIXED);
}

rib_batch_buffer_result rib_batch_buffer_init_route(rib_batch_buffer *buffer, const in6_addr_t *prefix, uint8_t prefixlen)
{
    return begin_route(buffer, rib_batch_image_of.open_route, prefix, prefixlen) ? RIB_BATCH_BUFFER_OK : RIB_BATCH_BUFFER_ERROR;
}

rib_batch_buffer_result rib_batch_buffer_add_route3(rib_batch_buffer *buffer)
{
    if (!buffer || rib_batch_over_limit(buffer) || buffer->cur_rec != rib_batch_tail(buffer))
        return RIB_BATCH_BUFFER_ERROR;
    auto *route = reinterpret_cast<bori_fixed *>(buffer->cur_rec);
    const size_t attr_bytes = rib_batch_end_attrs(rib_attrs_of(route));
    route->borfi_flags |= RIB_ROUTE_NO_PRIMARY;
    route->borfi_bits = bits_to_net(route->borfi_bits);
    rib_to_net(route);
    return rib_batch_advance(buffer, RIB_BATCH_ROUTE_FIXED + attr_bytes);
}
