#include "sid_list_value.h"

#include "address.h"
#include "number.h"
#include "srv6_names.h"

namespace
{

/* Where things stand in the value; of each SID it holds bytes 8 to 39. */
constexpr size_t count_at = 0, headend_at = 4, sids_at = 16, sid_bytes = 32;
constexpr size_t kept_at = offsetof(srv6_sid_info_t, si_func);
static_assert(kept_at + sid_bytes <= sizeof(srv6_sid_info_t));

void put_headend(value_t *value, uint32_t headend)
{
    value->resize(std::max(value->size(), sids_at));
    std::memcpy(value->data() + headend_at, &headend, sizeof headend);
}

size_t sids_in(const value_t &value)
{
    return std::min<size_t>(SRV6_SID_LIST_MAX, items_in(value, sids_at, sid_bytes, field_at<uint8_t>(value, count_at)));
}

srv6_sid_info_t sid_at(const value_t &value, size_t index)
{
    srv6_sid_info_t sid = {};
    std::memcpy(reinterpret_cast<uint8_t *>(&sid) + kept_at, value.data() + sids_at + index * sid_bytes, sid_bytes);
    return sid;
}

std::string lengths_text(unsigned block, unsigned node, unsigned function, unsigned argument)
{
    return fmt::format("{}-{}-{}-{}", block, node, function, argument);
}

bool parse_structure(std::string_view text, srv6_sid_info_t *sid)
{
    if (const auto format = format_named(text)) {
        sid->si_block_len = format->sf_block_len;
        sid->si_node_len = format->sf_node_len;
        sid->si_func_len = format->sf_func_len;
        sid->si_arg_len = format->sf_arg_len;
        return true;
    }
    unsigned sum = 0, parts = 0;
    for (uint8_t *part : {&sid->si_block_len, &sid->si_node_len, &sid->si_func_len, &sid->si_arg_len}) {
        const size_t end = std::min(text.find('-'), text.size());
        const auto bits = parse_number(text.substr(0, end), 128);
        if (!bits)
            return false;
        *part = static_cast<uint8_t>(*bits);
        sum += *part;
        parts += 1 + (end < text.size());
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts == 7 && sum > 0 && sum <= 128; // four numbers, three signs between them
}

bool parse_sid(std::string_view text, srv6_sid_info_t *sid)
{
    if (const size_t at = text.find('@'); at != text.npos) {
        const auto function = endpoint_named(text.substr(at + 1));
        if (!function)
            return false;
        sid->si_func = *function;
        text = text.substr(0, at);
    }
    if (const size_t at = text.find('/'); at != text.npos) {
        if (!parse_structure(text.substr(at + 1), sid))
            return false;
        text = text.substr(0, at);
    }
    return !parse_address(text, &sid->si_sid) && bits_of(sid->si_sid) != 0;
}

/* The first format with that structure; the numbers where there is none. */
std::string structure_text(const srv6_sid_info_t &sid)
{
    const std::string lengths = lengths_text(sid.si_block_len, sid.si_node_len, sid.si_func_len, sid.si_arg_len);
    srv6_sid_fmt_info_t format;
    for (uint32_t id = 1; srv6_sid_fmt_get_info(id, &format) == 0; ++id)
        if (lengths == lengths_text(format.sf_block_len, format.sf_node_len, format.sf_func_len, format.sf_arg_len))
            return format.sf_name;
    return lengths;
}

std::string sid_text(const srv6_sid_info_t &sid)
{
    std::string text = text_of(sid.si_sid);
    if (sid.si_block_len || sid.si_node_len || sid.si_func_len || sid.si_arg_len)
        text += "/" + structure_text(sid);
    return sid.si_func ? text + "@" + endpoint_name(sid.si_func) : text;
}

} // namespace

const char *parse_sids(const words_t &words, value_t *value)
{
    if (words.empty() || words.size() > SRV6_SID_LIST_MAX)
        return "sids: 1 to 24 of them";
    if (field_at<uint32_t>(*value, headend_at) == 0)
        put_headend(value, SRV6_H_ENCAPS);
    (*value)[count_at] = static_cast<uint8_t>(words.size());
    for (const std::string &word : words) {
        srv6_sid_info_t sid = {};
        if (!parse_sid(word, &sid))
            return "sids: each ADDRESS[/FORMAT][@BEHAVIOUR]";
        const auto *kept = reinterpret_cast<const uint8_t *>(&sid) + kept_at;
        value->insert(value->end(), kept, kept + sid_bytes);
    }
    return nullptr;
}

const char *parse_encap(const words_t &words, value_t *value)
{
    const auto headend = words.size() == 1 ? headend_named(words[0]) : std::nullopt;
    put_headend(value, headend.value_or(0));
    return headend ? nullptr : "encap: h.encaps, h.encaps.red, h.encaps.l2 or h.encaps.l2.red";
}

json show_sids(const value_t &value)
{
    json sids = json::array();
    for (size_t i = 0; i < sids_in(value); ++i)
        sids.push_back(sid_text(sid_at(value, i)));
    return sids;
}

json show_encap(const value_t &value)
{
    return headend_name(field_at<uint32_t>(value, headend_at));
}

srv6_sid_list_t sid_list_of(const value_t &value)
{
    srv6_sid_list_t list = {};
    list.sl_count = static_cast<uint8_t>(sids_in(value));
    list.sl_func = field_at<uint32_t>(value, headend_at);
    for (size_t i = 0; i < list.sl_count; ++i)
        list.sl_sid[i] = sid_at(value, i);
    return list;
}
