/*
 * SRv6 functions and SID formats.
 */
#include <platform/srv6.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

#include <platform/ipv6_addr.h>

static_assert(sizeof(srv6_sid_fmt_info_t) == 120 && offsetof(srv6_sid_fmt_info_t, sf_block_len) == 105);
static_assert(offsetof(srv6_sid_fmt_info_t, sf_iid_len) == 107 && sizeof(srv6_sid_block_t) == 24);
static_assert(sizeof(srv6_sid_info_t) == 48 && offsetof(srv6_sid_list_t, sl_sid) == 8);

/* Code points of endpoint behaviours, from the first to the last. */
struct range_td {
    srv6_end_func_type first;
    srv6_end_func_type last;
};
static constexpr range_td end_functions[] = {{1, 12},  {14, 24},   {27, 39},   {43, 50},  {52, 68},
                                             {85, 95}, {101, 112}, {114, 124}, {127, 139}};

int srv6_end_func_type_is_valid(srv6_end_func_type type)
{
    for (const range_td &range : end_functions)
        if (type >= range.first && type <= range.last)
            return 1;
    return 0;
}

int srv6_transit_func_type_is_valid(srv6_transit_func_type type)
{
    return type >= 1 && type <= 4;
}

static constexpr srv6_sid_fmt_info_t format_of(uint32_t id, uint8_t block, uint8_t node, uint8_t func, uint8_t iid)
{
    srv6_sid_fmt_info_t format = {};
    format.sf_id = id;
    format.sf_locator_len = static_cast<uint8_t>(block + node);
    format.sf_block_len = block;
    format.sf_node_len = node;
    format.sf_func_len = func;
    format.sf_iid_len = iid;
    return format;
}

static constexpr srv6_sid_fmt_info_t formats[] = {
    format_of(SRV6_SID_FORMAT_FULL_40_24, 40, 24, 16, 16),
    format_of(SRV6_SID_FORMAT_CSID_32_16, 32, 16, 16, 16),
    format_of(SRV6_SID_FORMAT_CSID_48_16, 48, 16, 16, 16),
    format_of(SRV6_SID_FORMAT_CSID_32_32, 32, 16, 16, 32),
};
static constexpr const char *format_names[] = {"full-40-24", "csid-32-16", "csid-48-16", "csid-32-32"};
static_assert(sizeof formats / sizeof *formats == sizeof format_names / sizeof *format_names);

static const srv6_sid_fmt_info_t *find_format(uint32_t id)
{
    for (const srv6_sid_fmt_info_t &format : formats)
        if (format.sf_id == id)
            return &format;
    return nullptr;
}

int srv6_sid_fmt_get_info(uint32_t format, srv6_sid_fmt_info_t *info)
{
    const srv6_sid_fmt_info_t *found = find_format(format);
    if (!found)
        return ENOENT;
    const char *name = format_names[found - formats];
    *info = *found;
    std::memcpy(info->sf_name, name, std::strlen(name) + 1);
    return 0;
}

int srv6_pltf_util_extract_sid_block_iid(uint32_t format, const struct in6_addr *sid, srv6_sid_block_t *block)
{
    const srv6_sid_fmt_info_t *found = find_format(format);
    if (!found)
        return ENOENT;
    uint32_t node = 0;
    for (unsigned at = found->sf_block_len; at != found->sf_locator_len; at += 8)
        node = node << 8 | sid->s6_addr[at / 8];
    *block = {.sb_block = *sid, .sb_block_len = found->sf_block_len, .sb_node = node};
    ipv6_prefix_only(&block->sb_block, found->sf_block_len);
    return 0;
}

int rib_srv6_is_valid_explicit_opcode(uint32_t opcode)
{
    return opcode >= 1 && opcode <= 0xFFFE;
}

static unsigned structure_len(const srv6_sid_info_t &sid)
{
    return unsigned{sid.si_block_len} + sid.si_node_len + sid.si_func_len + sid.si_arg_len;
}

int rib_srv6_update_sid_info_list_interop(srv6_sid_list_t *list)
{
    for (srv6_sid_info_t *sid = list->sl_sid; sid != list->sl_sid + list->sl_count; sid++) {
        if (sid->si_format == 0 || structure_len(*sid) != 0)
            continue;
        const srv6_sid_fmt_info_t *format = find_format(sid->si_format);
        if (!format)
            return ENOENT;
        sid->si_block_len = format->sf_block_len;
        sid->si_node_len = format->sf_node_len;
        sid->si_func_len = format->sf_func_len;
        sid->si_arg_len = format->sf_arg_len;
    }
    return 0;
}

int rib_srv6_validate_and_fill_sid_len(srv6_sid_list_t *list)
{
    for (srv6_sid_info_t *sid = list->sl_sid; sid != list->sl_sid + list->sl_count; sid++) {
        const unsigned len = structure_len(*sid);
        if (IN6_IS_ADDR_UNSPECIFIED(&sid->si_sid) || len > 128)
            return -1;
        sid->si_len = len ? len : 128;
    }
    return 1;
}
