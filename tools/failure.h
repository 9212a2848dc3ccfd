/*
 * How a command ends when it cannot go on: it throws, main() prints the text and exits with the code.
 */
#pragma once

#include <fmt/format.h>

#include <stdexcept>
#include <string>
#include <utility>

enum exit_code {
    exit_fine = 0,
    exit_failed = 1,    /* no server, a failed exchange, a refused or differing route, nothing found */
    exit_bad_input = 2, /* all went well but for lines or records that could not be read */
    exit_usage = 64,
    exit_interrupted = 130,
};

struct command_failure : std::runtime_error {
    command_failure(exit_code with, const std::string &text) : std::runtime_error(text), code(with) {}
    exit_code code;
};

template <class... arg> [[noreturn]] void fail(fmt::format_string<arg...> format, arg &&...args)
{
    throw command_failure(exit_failed, fmt::format(format, std::forward<arg>(args)...));
}
