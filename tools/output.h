/*
 * What a command prints on standard output: text for people, or JSON, one object a line.
 */
#pragma once

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <string>
#include <utility>

using json = nlohmann::ordered_json;

class output
{
public:
    output(bool as_json, FILE *file) : as_json_(as_json), file_(file) {}

    bool as_json() const { return as_json_; }
    /* A line of text. */
    template <class... arg> void line(fmt::format_string<arg...> format, arg &&...args)
    {
        fmt::format_to(std::back_inserter(waiting_), format, std::forward<arg>(args)...);
        waiting_.push_back('\n');
        write_when_due();
    }
    /* A line that holds one object. */
    void object(const json &value);
    /* Writes everything now; fails the command when something could not be written. */
    void finish();
    /* The same, telling whether everything could be written. */
    bool write();

private:
    void write_when_due();

    bool as_json_;
    FILE *file_;
    fmt::memory_buffer waiting_;
};
