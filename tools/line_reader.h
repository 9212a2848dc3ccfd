/*
 * Lines of text that hold one thing each. Blank lines are nothing; a '#' begins a comment, unless the text may hold it itself.
 */
#pragma once

#include "route_reader.h"

#include <absl/functional/function_ref.h>

#include <cstdint>
#include <optional>
#include <string_view>

/* Reads a line without its comment: NULL, or why it does not hold what it should. */
using line_parser = absl::FunctionRef<const char *(std::string_view line)>;

class line_reader
{
public:
    explicit line_reader(input &bytes, bool comments = true) : bytes_(bytes), comments_(comments) {}

    /* Goes on to the next line that holds something: ok when it could be parsed. */
    read_status next(line_parser parse, read_problem *problem);
    /* At the end: the line that was cut off, if the data ended too early. */
    std::optional<read_problem> cut() const;

private:
    bool next_line(std::string_view *line);
    void drop_line(size_t len);

    input &bytes_;
    bool comments_;
    uint64_t number_ = 0;
};

/* Cuts the first word off, empty when there is none. */
std::string_view take_word(std::string_view *rest);
