/*
 * Lines of JSON, a route each, as a listing prints them.
 */
#include "line_reader.h"
#include "route_words.h"

namespace
{

const char *parse_line(std::string_view line, route *into)
{
    constexpr bool throwing = false;
    const json object = json::parse(line, nullptr, throwing);
    return object.is_object() ? parse_route_object(object, into) : "no JSON object";
}

class json_lines final : public route_reader
{
public:
    explicit json_lines(input &bytes) : lines_(bytes, false) {}

    read_status next(route *into, read_problem *problem) override
    {
        return lines_.next([=](std::string_view line) { return parse_line(line, into); }, problem);
    }
    std::optional<read_problem> cut() const override { return lines_.cut(); }
    const char *format() const override { return "json"; }
    const char *position_unit() const override { return "line"; }

private:
    line_reader lines_;
};

} // namespace

std::unique_ptr<route_reader> json_reader(input &bytes)
{
    return std::make_unique<json_lines>(bytes);
}
