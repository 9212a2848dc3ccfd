/*
 * Prefixes that stand for IIDs. Nothing behind the 16 bytes of an address is read or written, whatever a format says.
 */
#include <ipv6_rib/errors.h>
#include <platform/srv6.h>

#include "ip/rib/wire/iid_prefix.h"
#include "srv6_requests.h"

static bool block_of(uint32_t format, const in6_addr_t *sid, rib_iid_block *block)
{
    srv6_sid_block_t found = {};
    if (srv6_pltf_util_extract_sid_block_iid(format, sid, &found) != 0)
        return false;
    *block = {found.sb_block, found.sb_block_len};
    return true;
}

errcode rib_iid_get_prefix_from_iid(uint32_t iid, const ip_rib_iid_ctx_td *context, ip_rib_iid_prefix_td *prefix)
{
    if (!prefix)
        return RIB_LIB_ERR_BAD_ARG;
    *prefix = rib_iid_prefix(iid, context, block_of);
    return 0;
}

/* Reads the IID behind block and marker; false when the prefix does not begin with the block, or holds no IID behind it. */
static bool read_sid_form(const uint8_t *prefix, const in6_addr_t &block, uint32_t sid_format, uint32_t *iid)
{
    srv6_sid_fmt_info_t format = {};
    srv6_sid_fmt_get_info(sid_format, &format);
    const bool is_short = format.sf_iid_len == 16;
    const size_t at = 2u * (format.sf_block_len / (is_short ? 16u : 32u)) + 2u;
    const size_t compared = format.sf_block_len / 8u;
    if (IN6_IS_ADDR_UNSPECIFIED(&block) || compared > sizeof block || at + sizeof(uint16_t) > sizeof block ||
        std::memcmp(prefix, &block, compared) != 0)
        return false;
    const uint32_t word = rib_load_net<uint16_t>(prefix + at);
    *iid = is_short ? word : word << 16;
    return true;
}

errcode rib_iid_get_iid_from_prefix(const in6_addr_t *prefix, uint32_t *iid, in6_addr_t block, uint32_t base, uint32_t sid_format,
                                    ip_rib_iid_ctx_td *context)
{
    const uint8_t *bytes = prefix->s6_addr;
    if (read_sid_form(bytes, block, sid_format, iid)) {
        *iid += base;
    } else if (rib_load<uint32_t>(bytes) != 0) {
        context->ic_kind = RIB_IID_EXPLICIT;
        context->ic_hi = rib_load_net<uint32_t>(bytes + 4);
        context->ic_lo = rib_load_net<uint64_t>(bytes + 8);
        *iid = 0;
    } else {
        *iid = rib_load_net<uint32_t>(bytes + 12);
    }
    return 0;
}
