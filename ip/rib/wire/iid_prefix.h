/*
 * The prefix that stands for an IID. Client and server turn one into the other in the same way.
 */
#pragma once

#include <ipv6_rib/srv6.h>

#include "ip/rib/wire/rib_wire.h"

static_assert(sizeof(ip_rib_iid_ctx_td) == 64 && offsetof(ip_rib_iid_ctx_td, ic_sid) == 48);
static_assert(sizeof(ip_rib_iid_prefix_td) == 24);

/* First word of an address in the explicit form. */
constexpr uint32_t RIB_IID_EXPLICIT_HEAD = 2;
constexpr uint16_t RIB_IID_MARKER = 0xFFFE;
/* A longer block leaves no room for marker and IID. */
constexpr uint32_t RIB_IID_BLOCK_MAX = 111;

/* A block in an address, and its length in bits. */
struct rib_iid_block {
    in6_addr_t addr;
    uint32_t len;
};

/* Block, marker and the low 16 bits of the IID; the marker stands at an even place. */
inline void rib_iid_write_sid_form(uint32_t iid, const rib_iid_block &block, uint8_t *addr)
{
    if (block.len > RIB_IID_BLOCK_MAX)
        return;
    uint8_t *const marker = addr + (block.len >> 3 & 0x1E);
    std::memcpy(addr, &block.addr, sizeof block.addr);
    rib_store_net(marker, RIB_IID_MARKER);
    rib_store_net(marker + sizeof RIB_IID_MARKER, static_cast<uint16_t>(iid));
}

/* The context may be NULL. block_of(format, sid, &block) tells the block of a SID; without one the address stays ::. */
template <class block_of_td>
ip_rib_iid_prefix_td rib_iid_prefix(uint32_t iid, const ip_rib_iid_ctx_td *context, block_of_td block_of)
{
    ip_rib_iid_prefix_td prefix = {.ip_addr = {}, .ip_afi = 2, .ip_prefix_len = 128, .ip_unused_18 = {}};
    uint8_t *const addr = prefix.ip_addr.s6_addr;
    const uint32_t kind = context ? context->ic_kind : RIB_IID_MAPPED;
    if (kind == RIB_IID_EXPLICIT) {
        rib_store_net(addr, RIB_IID_EXPLICIT_HEAD);
        rib_store_net(addr + 4, context->ic_hi);
        rib_store_net(addr + 8, context->ic_lo);
    } else if (kind == RIB_IID_SID) {
        rib_iid_block block;
        const in6_addr_t sid = context->ic_sid;
        if (block_of(context->ic_sid_format, &sid, &block))
            rib_iid_write_sid_form(iid, block, addr);
    } else {
        rib_store_net(addr + 10, uint16_t{0xFFFF});
        rib_store_net(addr + 12, iid);
    }
    return prefix;
}
