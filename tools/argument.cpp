#include "argument.h"

#include "address_file.h"
#include "failure.h"
#include "route_reader.h"

/* What parse makes of a text. */
template <class result> static result parsed(const std::string &text, const char *(*parse)(std::string_view, result *))
{
    result read = {};
    if (const char *why = parse(text, &read))
        fail("'{}': {}", printable(text), why);
    return read;
}

static const char *parse_asked(std::string_view text, ip_prefix *asked)
{
    const size_t slash = text.find('/');
    ip_prefix length_alone = {{}, 128};
    if (slash != text.npos)
        if (const char *why = parse_prefix(std::string("::").append(text.substr(slash)), &length_alone))
            return why;
    in6_addr addr;
    if (const char *why = parse_address(text.substr(0, slash), &addr))
        return why;
    *asked = {masked(addr, length_alone.len), length_alone.len};
    return nullptr;
}

in6_addr address_argument(const std::string &text)
{
    return parsed(text, parse_address);
}

in6_addr next_hop_argument(const std::string &text)
{
    return parsed(text, parse_next_hop);
}

ip_prefix prefix_argument(const std::string &text)
{
    return parsed(text, parse_prefix);
}

ip_prefix asked_argument(const std::string &text)
{
    return parsed(text, parse_asked);
}

route_range range_argument(const std::string &text)
{
    return parsed(text, parse_range);
}

protocol_identity protocol_argument(const std::string &text)
{
    const size_t slash = text.find('/');
    const protocol_identity named = {.name = text.substr(0, slash), .instance = slash == text.npos ? "" : text.substr(slash + 1)};
    if (named.name.size() + named.instance.size() > RIB_PROTO_NAMES_MAX)
        fail("'{}': the names have more than {} characters together", printable(text), RIB_PROTO_NAMES_MAX);
    return named;
}
