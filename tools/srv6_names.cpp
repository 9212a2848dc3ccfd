#include "srv6_names.h"

#include "number.h"

#include <fmt/format.h>

#include <vector>

namespace
{

/* An endpoint behaviour, and what it is with compressed SIDs. */
struct endpoint {
    std::string_view name;
    uint32_t function, next, replace;
};
constexpr endpoint endpoints[] = {
    {"end", 1, 43, 101},       {"end.x", 5, 52, 105},          {"end.t", 9, 85, 109},
    {"end.bm", 15, 95, 115},   {"end.b6.encaps", 14, 93, 114}, {"end.b6.encaps.red", 27, 94, 127},
    {"end.dx6", 16, 60, 116},  {"end.dx4", 17, 61, 117},       {"end.dt6", 18, 62, 118},
    {"end.dt4", 19, 63, 119},  {"end.dt46", 20, 64, 120},      {"end.dx2", 21, 65, 121},
    {"end.dx2v", 22, 66, 122}, {"end.dt2u", 23, 67, 123},      {"end.dt2m", 24, 68, 124},
};
constexpr std::string_view next_csid = ".next-csid", replace_csid = ".replace-csid";

constexpr std::string_view headends[] = {"h.encaps", "h.encaps.red", "h.encaps.l2", "h.encaps.l2.red"}; /* from 1 on */

/* Formats are numbered from 1 on. */
std::vector<srv6_sid_fmt_info_t> formats()
{
    std::vector<srv6_sid_fmt_info_t> all;
    srv6_sid_fmt_info_t info;
    for (uint32_t id = 1; srv6_sid_fmt_get_info(id, &info) == 0; ++id)
        all.push_back(info);
    return all;
}

} // namespace

std::optional<uint32_t> endpoint_named(std::string_view text)
{
    const bool next = text.ends_with(next_csid), replace = text.ends_with(replace_csid);
    const size_t tail = next ? next_csid.size() : replace ? replace_csid.size() : 0;
    for (const endpoint &known : endpoints)
        if (known.name == text.substr(0, text.size() - tail))
            return next ? known.next : replace ? known.replace : known.function;
    const auto number = parse_number(text, UINT32_MAX);
    if (!number || !srv6_end_func_type_is_valid(static_cast<uint32_t>(*number)))
        return {};
    return static_cast<uint32_t>(*number);
}

std::string endpoint_name(uint32_t function)
{
    for (const endpoint &known : endpoints) {
        if (known.function == function)
            return std::string(known.name);
        if (known.next == function || known.replace == function)
            return fmt::format("{}{}", known.name, known.next == function ? next_csid : replace_csid);
    }
    return std::to_string(function);
}

std::optional<uint32_t> headend_named(std::string_view text)
{
    for (uint32_t i = 0; i < std::size(headends); ++i)
        if (headends[i] == text)
            return i + 1;
    return {};
}

std::string headend_name(uint32_t function)
{
    const uint32_t index = function - 1;
    return index < std::size(headends) ? std::string(headends[index]) : std::to_string(function);
}

std::optional<srv6_sid_fmt_info_t> format_named(std::string_view text)
{
    for (const srv6_sid_fmt_info_t &info : formats())
        if (info.sf_name == text)
            return info;
    return {};
}

std::string format_name(uint32_t format)
{
    srv6_sid_fmt_info_t info;
    return srv6_sid_fmt_get_info(format, &info) == 0 ? info.sf_name : std::to_string(format);
}

std::string format_names()
{
    std::string names;
    for (const srv6_sid_fmt_info_t &info : formats())
        names += (names.empty() ? "" : ", ") + std::string(info.sf_name);
    return names;
}
