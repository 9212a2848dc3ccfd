/*
 * Lines of "PREFIX/LEN NEXTHOP", and what else the route has as words "NAME=VALUE".
 */
#include "line_reader.h"
#include "route_words.h"

namespace
{

/* NULL, or why the line holds no route. */
const char *parse_line(std::string_view line, route *into)
{
    const std::string_view prefix = take_word(&line), nexthop = take_word(&line);
    if (const char *why = parse_prefix(prefix, &into->prefix))
        return why;
    if (nexthop.empty())
        return "the next hop is missing";
    if (parse_address(nexthop, &into->nexthop))
        return "the next hop is not an IPv6 address";
    if (const char *why = parse_route_words(line, into))
        return why;
    return bits_of(into->nexthop) == 0 && !into->details ? "the next hop is the unspecified address" : nullptr;
}

class text_lines final : public route_reader
{
public:
    explicit text_lines(input &bytes) : lines_(bytes) {}

    read_status next(route *into, read_problem *problem) override
    {
        return lines_.next([=](std::string_view line) { return parse_line(line, into); }, problem);
    }
    std::optional<read_problem> cut() const override { return lines_.cut(); }
    const char *format() const override { return "text"; }
    const char *position_unit() const override { return "line"; }

private:
    line_reader lines_;
};

} // namespace

std::unique_ptr<route_reader> text_reader(input &bytes)
{
    return std::make_unique<text_lines>(bytes);
}
