#include "attribute_value.h"

#include "address.h"
#include "number.h"

#include <ipv6_rib/attributes.h>

#include <array>
#include <optional>

namespace
{

constexpr uint32_t label_most = (1u << 20) - 1;
constexpr size_t labels_most = 10;
using ecomm_t = std::array<uint8_t, 8>;

/* The part before the first of a sign, which is cut off with it; all when it is not there. */
std::string_view cut(std::string_view *text, char sign)
{
    const size_t at = text->find(sign);
    const std::string_view part = text->substr(0, at);
    text->remove_prefix(at == text->npos ? text->size() : at + 1);
    return part;
}

std::optional<uint64_t> only_number(const words_t &words, uint64_t most)
{
    return words.size() == 1 ? parse_number(words[0], most) : std::nullopt;
}

bool parse_hex(std::string_view text, size_t bytes, uint8_t *into)
{
    if (text.size() != 2 * bytes)
        return false;
    for (size_t i = 0; i < bytes; ++i) {
        const char *const at = text.data() + 2 * i;
        if (std::from_chars(at, at + 2, into[i], 16).ptr != at + 2)
            return false;
    }
    return true;
}

std::string hex_text(const uint8_t *bytes, size_t len)
{
    return fmt::format("{:02x}", fmt::join(bytes, bytes + len, ""));
}

/* "KIND:NUMBER" */
bool parse_pair(std::string_view text, uint64_t kind_most, uint8_t *kind, uint32_t *number)
{
    const bool both = text.find(':') != text.npos;
    const auto first = parse_number(cut(&text, ':'), kind_most), second = parse_number(text, UINT32_MAX);
    if (!both || !first || !second)
        return false;
    *kind = static_cast<uint8_t>(*first);
    *number = static_cast<uint32_t>(*second);
    return true;
}

/* Kinds of extended communities that have a name, by their second byte. */
constexpr std::pair<std::string_view, uint8_t> community_kinds[] = {{"rt", 2}, {"soo", 3}};
enum : uint8_t { of_short_as = 0, of_long_as = 2 };

void put_net(ecomm_t *into, size_t at, uint64_t number, size_t bytes)
{
    for (size_t i = 0; i < bytes; ++i)
        (*into)[at + i] = static_cast<uint8_t>(number >> 8 * (bytes - 1 - i));
}

uint64_t get_net(const ecomm_t &from, size_t at, size_t bytes)
{
    uint64_t number = 0;
    for (size_t i = 0; i < bytes; ++i)
        number = number << 8 | from[at + i];
    return number;
}

/* "rt:ASN:NUMBER": an AS of 16 bits leaves 32 to the number, a longer one 16. */
bool parse_named_community(std::string_view text, ecomm_t *into)
{
    const std::string_view name = cut(&text, ':');
    const auto as = parse_number(cut(&text, ':'), UINT32_MAX);
    const bool is_short = as && *as <= UINT16_MAX;
    const auto number = parse_number(text, is_short ? UINT32_MAX : UINT16_MAX);
    for (const auto &[known, kind] : community_kinds) {
        if (known != name || !as || !number)
            continue;
        *into = {is_short ? of_short_as : of_long_as, kind};
        put_net(into, 2, *as, is_short ? 2 : 4);
        put_net(into, is_short ? 4 : 6, *number, is_short ? 4 : 2);
        return true;
    }
    return false;
}

std::string community_text(const ecomm_t &item)
{
    const size_t as_bytes = item[0] == of_short_as ? 2 : 4;
    const uint64_t as = get_net(item, 2, as_bytes), number = get_net(item, 2 + as_bytes, 6 - as_bytes);
    const bool as_written = item[0] == of_short_as || (item[0] == of_long_as && as > UINT16_MAX);
    for (const auto &[name, kind] : community_kinds)
        if (as_written && item[1] == kind)
            return fmt::format("{}:{}:{}", name, as, number);
    return hex_text(item.data(), item.size());
}

} // namespace

const char *parse_labels(const words_t &words, value_t *value)
{
    if (words.empty() || words.size() > labels_most)
        return "labels: 1 to 10 of them";
    for (const std::string &word : words) {
        const auto label = parse_number(word, label_most);
        if (!label)
            return "labels: numbers of 20 bits";
        append(value, static_cast<uint32_t>(*label));
    }
    return nullptr;
}

const char *parse_label(const words_t &words, value_t *value)
{
    const auto label = only_number(words, label_most);
    append(value, static_cast<uint32_t>(label.value_or(0)));
    return label ? nullptr : "binding_label: a number of 20 bits";
}

const char *parse_ecomms(const words_t &words, value_t *value)
{
    if (words.empty() || words.size() > RIB_ECOMMS_MAX)
        return "ecomms: 1 to 8 of them";
    append(value, static_cast<uint16_t>(words.size()));
    append(value, uint16_t{0});
    for (const std::string &word : words) {
        ecomm_t item;
        if (!parse_hex(word, item.size(), item.data()) && !parse_named_community(word, &item))
            return "ecomms: each rt:ASN:NUMBER, soo:ASN:NUMBER or 16 hexadecimal digits";
        append(value, item);
    }
    return nullptr;
}

const char *parse_nnh(const words_t &words, value_t *value)
{
    if (words.empty() || words.size() > RIB_NNH_MAX)
        return "nnh: 1 to 512 of them";
    append(value, static_cast<uint16_t>(words.size()));
    append(value, uint16_t{0});
    for (const std::string &word : words) {
        ip_rib_nnh_td item = {};
        if (!parse_pair(word, UINT8_MAX, &item.nn_kind, &item.nn_value))
            return "nnh: each KIND:NUMBER";
        append(value, item);
    }
    return nullptr;
}

const char *parse_word(const words_t &words, value_t *value)
{
    const auto number = only_number(words, UINT32_MAX);
    append(value, static_cast<uint32_t>(number.value_or(0)));
    return number ? nullptr : "group: a number of 32 bits";
}

const char *parse_interface(const words_t &words, value_t *value)
{
    const auto number = only_number(words, UINT32_MAX);
    append(value, static_cast<uint32_t>(number.value_or(0)));
    return number && *number ? nullptr : "intf: an interface number, not 0";
}

const char *parse_via_sid(const words_t &words, value_t *value)
{
    static constexpr const char *why = "via_sid: ADDRESS/BITS, 1 to 128 bits";
    std::string_view text = words.size() == 1 ? words[0] : std::string_view();
    in6_addr sid;
    if (parse_address(cut(&text, '/'), &sid))
        return why;
    const auto bits = parse_number(text, 128);
    if (!bits || *bits == 0)
        return why;
    append(value, sid);
    append(value, *bits);
    return nullptr;
}

const char *parse_tunnel(const words_t &words, value_t *value)
{
    static constexpr const char *why = "tunnel: TYPE[:LOCAL[:REMOTE]], identifiers of 24 bits, or 48 hexadecimal digits";
    ip_rib_tunnel_info_td tunnel = {};
    std::string_view text = words.size() == 1 ? words[0] : std::string_view();
    const bool whole = parse_hex(text, sizeof tunnel, reinterpret_cast<uint8_t *>(&tunnel));
    if (!whole) {
        constexpr uint32_t id_most = (1u << 24) - 1;
        const std::string_view type_text = cut(&text, ':'), local_text = cut(&text, ':');
        const auto type = parse_number(type_text, UINT16_MAX), local = parse_number(local_text, id_most),
                   remote = parse_number(text, id_most);
        if (!type || (!local && !local_text.empty()) || (!remote && !text.empty()))
            return why;
        tunnel.ti_flags = static_cast<uint16_t>((local ? RIB_TUNNEL_LOCAL_ID : 0) | (remote ? RIB_TUNNEL_REMOTE_ID : 0));
        tunnel.ti_type = static_cast<uint16_t>(*type);
        tunnel.ti_local_id = static_cast<uint32_t>(local.value_or(0));
        tunnel.ti_remote_id = static_cast<uint32_t>(remote.value_or(0));
    }
    append(value, tunnel);
    return nullptr;
}

const char *parse_segment_list(const words_t &words, value_t *value)
{
    ip_rib_sl_id_info_td info = {};
    if (words.size() != 1 || !parse_pair(words[0], 2, &info.sli_kind, &info.sli_id))
        return "segment_list: KIND:NUMBER, kind 1 or 2";
    append(value, info);
    return nullptr;
}

const char *parse_bytes(const words_t &words, size_t bytes, value_t *value)
{
    value->assign(bytes, 0);
    if (words.size() == 1 && parse_hex(words[0], bytes, value->data()))
        return nullptr;
    return "the attribute is written in another number of hexadecimal digits";
}

json show_numbers(const value_t &value)
{
    json numbers = json::array();
    for (size_t at = 0; at < value.size(); at += sizeof(uint32_t))
        numbers.push_back(field_at<uint32_t>(value, at));
    return numbers;
}

json show_number(const value_t &value)
{
    return field_at<uint32_t>(value, 0);
}

json show_ecomms(const value_t &value)
{
    constexpr size_t head = offsetof(ip_rib_ecomms_array_td, ec_item);
    json items = json::array();
    for (size_t i = 0; i < items_in(value, head, sizeof(ecomm_t), field_at<uint16_t>(value, 0)); ++i)
        items.push_back(community_text(field_at<ecomm_t>(value, head + i * sizeof(ecomm_t))));
    return items;
}

json show_nnh(const value_t &value)
{
    constexpr size_t head = offsetof(ip_rib_nnh_set_td, nns_nnh);
    json items = json::array();
    for (size_t i = 0; i < items_in(value, head, sizeof(ip_rib_nnh_td), field_at<uint16_t>(value, 0)); ++i) {
        const auto item = field_at<ip_rib_nnh_td>(value, head + i * sizeof(ip_rib_nnh_td));
        items.push_back(fmt::format("{}:{}", item.nn_kind, item.nn_value));
    }
    return items;
}

json show_via_sid(const value_t &value)
{
    return fmt::format("{}/{}", text_of(field_at<in6_addr>(value, 0)), field_at<uint32_t>(value, 16));
}

json show_tunnel(const value_t &value)
{
    const auto tunnel = field_at<ip_rib_tunnel_info_td>(value, 0);
    const bool local = tunnel.ti_flags & RIB_TUNNEL_LOCAL_ID, remote = tunnel.ti_flags & RIB_TUNNEL_REMOTE_ID;
    std::string text = fmt::format("{}", tunnel.ti_type);
    if (local || remote)
        text += local ? fmt::format(":{}", tunnel.ti_local_id) : ":";
    if (remote)
        text += fmt::format(":{}", tunnel.ti_remote_id);
    value_t written;
    const bool all_told = !parse_tunnel({text}, &written) && written == value;
    return all_told ? json(text) : show_bytes(value);
}

json show_segment_list(const value_t &value)
{
    const auto info = field_at<ip_rib_sl_id_info_td>(value, 0);
    return fmt::format("{}:{}", info.sli_kind, info.sli_id);
}

json show_bytes(const value_t &value)
{
    return hex_text(value.data(), value.size());
}
