#include "route_words.h"

#include "line_reader.h"
#include "number.h"
#include "route_details.h"

#include <algorithm>
#include <set>

namespace
{

constexpr const char *unknown_name = "no attribute has that name";

/* Fields that are numbers. */
template <class owner> struct number_field {
    const char *name;
    uint32_t owner::*field;
    uint32_t most;
    const char *why;
};
constexpr number_field<route_details> route_numbers[] = {
    {"metric", &route_details::metric, UINT32_MAX, "metric: a number of 32 bits"},
    {"tag", &route_details::tag, UINT32_MAX, "tag: a number of 32 bits"},
    {"distance", &route_details::distance, UINT8_MAX, "distance: a number up to 255"},
};
constexpr number_field<route_path> path_numbers[] = {
    {"interface", &route_path::interface, UINT32_MAX, "interface: a number of 32 bits"},
    {"nexthop_table", &route_path::nexthop_table, UINT32_MAX, "nexthop_table: a number of 32 bits"},
    /* From here on in a list of paths only: beside a route the name means the route's. */
    {"metric", &route_path::metric, UINT32_MAX, "metric: a number of 32 bits"},
};
constexpr std::span<const number_field<route_path>> numbers_in_a_list = path_numbers;
constexpr std::span<const number_field<route_path>> numbers_beside_a_route = numbers_in_a_list.first(2);

/* What a listing tells of a route that is not the loader's to set. */
constexpr std::string_view told_only[] = {"protocol", "protocol_id", "best", "held", "advertised_by"};

template <class owner, class fields_t>
const char *set_number(const fields_t &fields, std::string_view name, const words_t &words, owner *into)
{
    for (const auto &field : fields) {
        if (field.name != name)
            continue;
        const auto number = words.size() == 1 ? parse_number(words[0], field.most) : std::nullopt;
        into->*field.field = static_cast<uint32_t>(number.value_or(0));
        return number ? nullptr : field.why;
    }
    return unknown_name;
}

/* Those that are not 0. */
template <class fields_t, class owner> json numbers_object(const fields_t &fields, const owner &from)
{
    json told = json::object();
    for (const auto &field : fields)
        if (from.*field.field)
            told[field.name] = from.*field.field;
    return told;
}

const char *set_path_value(std::span<const number_field<route_path>> numbers, std::string_view name, const words_t &words,
                           route_path *into)
{
    for (const attribute_kind &kind : attribute_kinds())
        if (kind.name == name)
            return set_attribute(kind, words, &into->attributes);
    return set_number(numbers, name, words, into);
}

/* A name beside prefix and next hop: of the route, or of its only path. */
const char *set_value(std::string_view name, const words_t &words, route_details *into)
{
    const char *why = set_number(route_numbers, name, words, into);
    return why == unknown_name ? set_path_value(numbers_beside_a_route, name, words, &into->paths[0]) : why;
}

bool is_plain(const route_details &details)
{
    const route_path &path = details.paths[0];
    return details.paths.size() == 1 && !details.metric && !details.tag && !details.distance && !path.interface &&
           !path.nexthop_table && !path.metric && !path.backup && path.attributes.empty();
}

/* Keeps the details, if there are any, in the route; or why it cannot be one. */
const char *keep_details(route_details &&details, route *into)
{
    into->nexthop = details.paths[0].nexthop;
    into->details.reset();
    if (const char *why = check_details(details))
        return why;
    if (is_plain(details))
        return nullptr;
    into->details = std::make_shared<const route_details>(std::move(details));
    return nullptr;
}

/* Numbers and strings, alone or in an array. */
bool words_of(const json &value, words_t *words)
{
    if (value.is_array())
        return std::all_of(value.begin(), value.end(),
                           [&](const json &item) { return !item.is_array() && words_of(item, words); });
    if (!value.is_string() && !value.is_number_unsigned())
        return false;
    words->push_back(value.is_string() ? value.get<std::string>() : value.dump());
    return true;
}

const char *parse_address_value(const json &value, in6_addr *into)
{
    if (!value.is_string() || parse_address(value.get_ref<const std::string &>(), into))
        return "the next hop is not an IPv6 address";
    return nullptr;
}

constexpr const char *odd_value = "a value is neither number nor text nor a list of these";

const char *parse_path_object(const json &object, route_path *into)
{
    if (!object.is_object() || !object.contains("nexthop"))
        return "a path is no object with a nexthop";
    for (const auto &[name, value] : object.items()) {
        words_t words;
        const char *why = nullptr;
        if (name == "nexthop")
            why = parse_address_value(value, &into->nexthop);
        else if (name == "backup" && value.is_boolean())
            into->backup = value.get<bool>();
        else
            why = words_of(value, &words) ? set_path_value(numbers_in_a_list, name, words, into) : odd_value;
        if (why)
            return why;
    }
    return check_attributes(into->attributes);
}

const char *parse_paths(const json &list, std::vector<route_path> *into)
{
    if (!list.is_array() || list.empty() || list.size() > IPV6_RIB_ROUTE_PATHS)
        return "paths: a list of 1 to 128";
    into->clear();
    for (const json &object : list)
        if (const char *why = parse_path_object(object, &into->emplace_back()))
            return why;
    return nullptr;
}

/* A name beside the prefix. Beside a list of paths there is no path of its own. */
const char *parse_member(const std::string &name, const json &value, bool listed, route_details *into)
{
    if (name == "prefix" || std::find(std::begin(told_only), std::end(told_only), name) != std::end(told_only))
        return nullptr;
    if (name == "attributes")
        return "attributes of a route, beside its paths, cannot be loaded";
    if (name == "paths")
        return parse_paths(value, &into->paths);
    if (name == "nexthop")
        return listed ? "a nexthop beside paths" : parse_address_value(value, &into->paths[0].nexthop);
    words_t words;
    if (!words_of(value, &words))
        return odd_value;
    return listed ? set_number(route_numbers, name, words, into) : set_value(name, words, into);
}

} // namespace

bool takes_one_call(const route_path &path)
{
    return !path.backup && std::all_of(path.attributes.begin(), path.attributes.end(), [](const auto &attribute) {
        const auto &[type, value] = attribute;
        return type == RIB_PATH_ATTR_ECOMMS || (type == RIB_PATH_ATTR_LABELS && value.size() == sizeof(uint32_t));
    });
}

const char *check_details(const route_details &details)
{
    std::set<std::tuple<address_bits, uint32_t, uint32_t>> seen;
    const bool backup = details.paths[0].backup;
    for (const route_path &path : details.paths) {
        if (bits_of(path.nexthop) == 0 && path.interface == 0)
            return "the next hop is the unspecified address";
        if (path.backup != backup)
            return "a backup path beside a primary one cannot be sent";
        if (path.metric && !takes_one_call(path))
            return "a backup path, or one with more than a label and ecomms, has no metric of its own";
        if (!seen.emplace(bits_of(path.nexthop), path.interface, path.nexthop_table).second)
            return "two paths have the same next hop";
        if (const char *why = check_attributes(path.attributes))
            return why;
    }
    return nullptr;
}

const char *parse_route_words(std::string_view words, route *into)
{
    into->details.reset();
    std::string_view word = take_word(&words);
    if (word.empty())
        return nullptr; // as in most lines, which are to be read fast
    std::set<std::string_view> seen;
    route_details details = {.paths = {{.nexthop = into->nexthop}}};
    for (; !word.empty(); word = take_word(&words)) {
        const size_t sign = word.find('=');
        const std::string_view name = word.substr(0, sign);
        if (sign == word.npos)
            return "something that is no NAME=VALUE follows the next hop";
        if (!seen.insert(name).second)
            return "an attribute stands there twice";
        if (const char *why = set_value(name, split_words(word.substr(sign + 1)), &details))
            return why;
    }
    return keep_details(std::move(details), into);
}

const char *parse_route_object(const json &object, route *into)
{
    const auto prefix = object.find("prefix");
    if (prefix == object.end() || !prefix->is_string())
        return "the prefix is missing";
    if (const char *why = parse_prefix(prefix->get_ref<const std::string &>(), &into->prefix))
        return why;
    const bool listed = object.contains("paths");
    if (!listed && !object.contains("nexthop"))
        return "the next hop is missing";
    route_details details = {.paths = {{}}};
    for (const auto &[name, value] : object.items())
        if (const char *why = parse_member(name, value, listed, &details))
            return why;
    return keep_details(std::move(details), into);
}

std::optional<std::string> route_file_line(const route &what)
{
    std::string line = fmt::format("{} {}", text_of(what.prefix), text_of(what.nexthop));
    if (!what.details)
        return line;
    const route_path &path = what.details->paths[0];
    if (what.details->paths.size() > 1 || path.backup || path.metric)
        return {};
    json values = numbers_object(route_numbers, *what.details);
    values.update(numbers_object(numbers_beside_a_route, path));
    values.update(attributes_object(path.attributes));
    for (const auto &[name, value] : values.items())
        line += fmt::format(" {}={}", name, joined_words(value));
    return line;
}

json route_file_object(const route &what)
{
    json told = {{"prefix", text_of(what.prefix)}};
    if (!what.details) {
        told["nexthop"] = text_of(what.nexthop);
        return told;
    }
    told.update(numbers_object(route_numbers, *what.details));
    for (const route_path &path : what.details->paths) {
        json shown = {{"nexthop", text_of(path.nexthop)}, {"backup", path.backup}};
        shown.update(numbers_object(numbers_in_a_list, path));
        shown.update(attributes_object(path.attributes));
        told["paths"].push_back(std::move(shown));
    }
    return told;
}
