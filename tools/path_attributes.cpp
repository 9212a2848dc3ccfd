#include "path_attributes.h"

#include "sid_list_value.h"

#include <platform/rib_tlv.h>

#include <algorithm>

namespace
{

template <size_t bytes> const char *parse_hex_of(const words_t &words, value_t *value)
{
    return parse_bytes(words, bytes, value);
}

constexpr attribute_kind kinds[] = {
    {"labels", "LABEL,...", RIB_PATH_ATTR_LABELS, parse_labels, show_numbers},
    {"binding_label", "LABEL", RIB_PATH_ATTR_BINDING_LABEL, parse_label, show_number},
    {"ecomms", "rt:ASN:N|soo:ASN:N|HEX,...", RIB_PATH_ATTR_ECOMMS, parse_ecomms, show_ecomms},
    {"nnh", "KIND:NUMBER,...", RIB_PATH_ATTR_NNH, parse_nnh, show_nnh},
    {"intf", "NUMBER", RIB_PATH_ATTR_INTF, parse_interface, show_number},
    {"encap", "h.encaps|h.encaps.red|h.encaps.l2|h.encaps.l2.red", RIB_PATH_ATTR_SID_LIST, parse_encap, show_encap},
    {"sids", "ADDRESS[/FORMAT][@BEHAVIOUR],...", RIB_PATH_ATTR_SID_LIST, parse_sids, show_sids},
    {"l2_info", "HEX", RIB_PATH_ATTR_L2_INFO, parse_hex_of<16>, show_bytes},
    {"via_sid", "ADDRESS/BITS", RIB_PATH_ATTR_VIA_SID, parse_via_sid, show_via_sid},
    {"group", "NUMBER", RIB_PATH_ATTR_GROUPING, parse_word, show_number},
    {"tunnel", "TYPE[:LOCAL[:REMOTE]]", RIB_PATH_ATTR_TUNNEL, parse_tunnel, show_tunnel},
    {"via_aft", "HEX", RIB_PATH_ATTR_VIA_AFT, parse_hex_of<24>, show_bytes},
    {"segment_list", "KIND:NUMBER", RIB_PATH_ATTR_SL_ID, parse_segment_list, show_segment_list},
    {"mvpn", "HEX", RIB_PATH_ATTR_MVPN, parse_hex_of<24>, show_bytes},
    {"path_rt", "HEX", RIB_PATH_ATTR_PATH_RT, parse_hex_of<8>, show_bytes},
    {"vrf_import_rt", "HEX", RIB_PATH_ATTR_VRF_IMPORT_RT, parse_hex_of<8>, show_bytes},
    {"source_as_rt", "HEX", RIB_PATH_ATTR_SOURCE_AS_RT, parse_hex_of<8>, show_bytes},
    {"source_rd", "HEX", RIB_PATH_ATTR_SOURCE_RD, parse_hex_of<8>, show_bytes},
    {"seg_nh", "HEX", RIB_PATH_ATTR_SEG_NH, parse_hex_of<8>, show_bytes},
};

/* Those of the path whose attributes begin at the cursor, which moves behind their delimiter. */
path_attributes take_attributes(uint8_t **cursor)
{
    path_attributes taken;
    while (const rib_tlv_t *record = rib_tlv_fetch(cursor)) {
        const auto *value = reinterpret_cast<const uint8_t *>(record + 1);
        taken[record->type].assign(value, value + record->length);
    }
    return taken;
}

} // namespace

std::span<const attribute_kind> attribute_kinds()
{
    return kinds;
}

words_t split_words(std::string_view text)
{
    words_t words;
    for (size_t end = 0; end != text.npos; text.remove_prefix(end == text.npos ? 0 : end + 1)) {
        end = text.find(',');
        words.emplace_back(text.substr(0, end));
    }
    return words;
}

const char *set_attribute(const attribute_kind &kind, const words_t &words, path_attributes *attributes)
{
    return kind.parse(words, &(*attributes)[kind.type]);
}

const char *check_attributes(const path_attributes &attributes)
{
    const auto sids = attributes.find(RIB_PATH_ATTR_SID_LIST);
    return sids != attributes.end() && sids->second.at(0) == 0 ? "encap without sids" : nullptr;
}

json attributes_object(const path_attributes &attributes)
{
    json told = json::object();
    for (const attribute_kind &kind : kinds)
        if (const auto at = attributes.find(kind.type); at != attributes.end())
            told[kind.name] = kind.show(at->second);
    if (const auto at = attributes.find(RIB_PATH_ATTR_BITMAP); at != attributes.end())
        told["protected_bitmap"] = show_bytes(at->second);
    return told;
}

std::string joined_words(const json &value)
{
    if (!value.is_array())
        return value.is_string() ? value.get<std::string>() : value.dump();
    std::string text;
    for (const json &item : value)
        text += (text.empty() ? "" : ",") + joined_words(item);
    return text;
}

std::string named_values_text(const json &object, std::string_view separator)
{
    std::string text;
    for (const auto &[name, value] : object.items())
        text += fmt::format("{}{} {}", separator, name, joined_words(value));
    return text;
}

paths_attributes attributes_in(const ipv6_routetype &unconverted)
{
    paths_attributes all;
    /* The walk only reads: the headers are in host order already. */
    auto *cursor = const_cast<uint8_t *>(reinterpret_cast<const uint8_t *>(unconverted.rt_path));
    for (unsigned i = 0; i < unconverted.rt_path_count; ++i) {
        const rib_tlv_t *path = rib_tlv_fetch(&cursor);
        if (!path || path->length != sizeof(rib_pathtype))
            break;
        path_attributes taken = take_attributes(&cursor);
        if (taken.empty())
            continue;
        all.resize(i + 1);
        all[i] = std::move(taken);
    }
    return all;
}
