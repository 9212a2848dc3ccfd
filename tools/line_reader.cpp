#include "line_reader.h"

#include <fmt/format.h>

#include <cstring>

static constexpr size_t longest_line = input::window - 1;
static constexpr std::string_view blanks = " \t\r\v\f";

std::string_view take_word(std::string_view *rest)
{
    rest->remove_prefix(std::min(rest->find_first_not_of(blanks), rest->size()));
    const std::string_view word = rest->substr(0, rest->find_first_of(blanks));
    rest->remove_prefix(word.size());
    return word;
}

read_status line_reader::next(line_parser parse, read_problem *problem)
{
    std::string_view line;
    while (next_line(&line)) {
        ++number_;
        const char *why = line.size() > longest_line ? "the line is too long" : nullptr;
        const std::string_view content = line.substr(0, comments_ ? line.find('#') : line.npos);
        const bool blank = !why && content.find_first_not_of(blanks) == content.npos;
        if (!why && !blank)
            why = parse(content);
        if (why)
            *problem = {number_, fmt::format("{}: '{}'", why, printable(line))};
        drop_line(line.size());
        if (!blank)
            return why ? read_status::bad : read_status::ok;
    }
    return read_status::end;
}

std::optional<read_problem> line_reader::cut() const
{
    if (bytes_.broken().empty())
        return std::nullopt;
    return read_problem{number_ + 1, bytes_.broken()};
}

/* The next line without its end, not yet consumed; of one that is too long its beginning. */
bool line_reader::next_line(std::string_view *line)
{
    for (size_t seen = 0;;) {
        const std::span<const uint8_t> data = bytes_.peek(seen + 1);
        const char *const text = reinterpret_cast<const char *>(data.data());
        const std::string_view news(text + seen, data.size() - seen);
        const size_t end = news.find('\n');
        const bool ended = news.empty();
        seen = end == news.npos ? data.size() : seen + end;
        *line = {text, seen};
        if (end != news.npos || seen > longest_line)
            return true;
        if (ended)
            return seen > 0 && bytes_.broken().empty(); // a line that was cut is none
    }
}

/* Consumes the line and its end. */
void line_reader::drop_line(size_t len)
{
    bytes_.consume(len);
    for (;;) {
        const std::span<const uint8_t> data = bytes_.peek(1);
        const void *const end = data.empty() ? nullptr : std::memchr(data.data(), '\n', data.size());
        const size_t rest = end ? static_cast<size_t>(static_cast<const uint8_t *>(end) - data.data()) + 1 : data.size();
        bytes_.consume(rest);
        if (end || data.empty())
            return;
    }
}
