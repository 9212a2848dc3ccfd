/*
 * From requests to claims. What is chosen comes from the upper part of the numbers, so that explicit ones have the lower part.
 */
#include "server/sid_claims.h"

#include <array>
#include <cerrno>

#include <platform/srv6.h>

#include "ip/rib/wire/iid_prefix.h"

constexpr size_t SID_NAME = offsetof(srv6_sid_req_t, sr_unused_48);
constexpr uint8_t IID_SID_BITS = 16;
constexpr uint8_t IID_MAPPED_BITS = 32;

/* SIDs: the upper eighth. */
static uint32_t first_of_eighth(uint8_t bits)
{
    return static_cast<uint32_t>((uint64_t{7} << bits) >> 3);
}

static uint32_t first_of_half(uint8_t bits)
{
    return uint32_t{1} << (bits - 1);
}

/* The last number of a field is never given out. */
static bool is_number(uint32_t number, uint8_t bits)
{
    return number != 0 && number <= (uint64_t{1} << bits) - 2;
}

static bool lets_choose(uint32_t opcode)
{
    return opcode == RIB_SID_OPCODE_ANY || opcode == 0xFFFF || opcode == 0xFFFF0000;
}

errcode rib_sid_claim(const rib_held_sid &held, rib_protoid_td protoid, rib_claim *claim)
{
    const srv6_sid_req_t &request = held.hs_request;
    srv6_sid_fmt_info_t format;
    if (held.hs_free > 1 || held.hs_immediate > 1 || !srv6_end_func_type_is_valid(request.sr_func) ||
        srv6_sid_fmt_get_info(request.sr_format, &format) != 0)
        return EINVAL;
    const rib_prefix locator = rib_prefix_load(request.sr_locator, format.sf_locator_len);
    const auto len = static_cast<uint8_t>(format.sf_locator_len + format.sf_func_len);
    if (rib_prefix_has_host_bits(locator) || (locator.high | locator.low) == 0)
        return EINVAL;
    if (!lets_choose(request.sr_opcode)) {
        if (!rib_srv6_is_valid_explicit_opcode(request.sr_opcode) || !is_number(request.sr_opcode, format.sf_func_len))
            return EINVAL;
        claim->number = request.sr_opcode;
    }
    claim->claimant = {protoid, std::string(reinterpret_cast<const char *>(&request), SID_NAME)};
    claim->field = {{locator.high, locator.low, len}, static_cast<uint8_t>(RIB_ADDR_BITS - len), format.sf_func_len};
    claim->first_choice = first_of_eighth(format.sf_func_len);
    return 0;
}

static int block_of(uint32_t format, const in6_addr_t *sid, rib_iid_block *block)
{
    srv6_sid_block_t found;
    if (srv6_pltf_util_extract_sid_block_iid(format, sid, &found) != 0)
        return 0;
    *block = {found.sb_block, found.sb_block_len};
    return 1;
}

/* A block that is :: could not be told from none. */
static bool find_block(const ip_rib_iid_ctx_td &context, rib_iid_block *block)
{
    const in6_addr_t sid = context.ic_sid;
    return block_of(context.ic_sid_format, &sid, block) && block->len <= RIB_IID_BLOCK_MAX &&
           !IN6_IS_ADDR_UNSPECIFIED(&block->addr);
}

static rib_number_field iid_field(const ip_rib_iid_ctx_td &context, const rib_iid_block &block)
{
    const ip_rib_iid_prefix_td first = rib_iid_prefix(0, &context, block_of);
    const rib_prefix base = rib_prefix_load(&first.ip_addr, RIB_ADDR_BITS);
    if (context.ic_kind == RIB_IID_EXPLICIT)
        return {base};
    if (context.ic_kind != RIB_IID_SID)
        return {base, 0, IID_MAPPED_BITS};
    const unsigned behind = (block.len >> 3 & 0x1E) + sizeof RIB_IID_MARKER + sizeof(uint16_t);
    return {base, static_cast<uint8_t>(RIB_ADDR_BITS - 8 * behind), IID_SID_BITS};
}

/* What the form reads of its context, and the key. The marker may hide a part of a block, so that the prefix is no name for it.
 */
static std::string iid_name(const ip_rib_iid_req_t &request, const rib_prefix &base, const rib_iid_block &block)
{
    const uint32_t kind = request.iq_ctx.ic_kind;
    const bool has_block = kind == RIB_IID_SID;
    std::array<char, 2 * sizeof(uint32_t) + sizeof(in6_addr_t)> form = {};
    rib_store(form.data(), has_block || kind == RIB_IID_EXPLICIT ? kind : RIB_IID_MAPPED);
    rib_store(form.data() + 4, has_block ? request.iq_ctx.ic_sid_format : 0);
    rib_prefix_store(has_block ? rib_prefix_load(&block.addr, 0) : base, form.data() + 8);
    std::string name(form.begin(), form.end());
    return name.append(reinterpret_cast<const char *>(request.iq_key), sizeof request.iq_key);
}

errcode rib_iid_claim(const rib_held_iid &held, rib_protoid_td protoid, rib_claim *claim)
{
    const ip_rib_iid_req_t &request = held.hi_request;
    rib_iid_block block = {};
    if (held.hi_free > 1 || (request.iq_ctx.ic_kind == RIB_IID_SID && !find_block(request.iq_ctx, &block)))
        return EINVAL;
    claim->field = iid_field(request.iq_ctx, block);
    const uint8_t bits = claim->field.bits;
    if (bits != 0 && request.iq_iid != 0) {
        if (!is_number(request.iq_iid, bits))
            return EINVAL;
        claim->number = request.iq_iid;
    }
    claim->claimant = {protoid, iid_name(request, claim->field.base, block)};
    claim->first_choice = bits ? first_of_half(bits) : 0;
    return 0;
}
