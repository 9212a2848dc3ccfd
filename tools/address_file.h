/*
 * Addresses from a file, one after the other: the first word of each line. What follows it in its line is not read, so that a
 * column of a table will do.
 */
#pragma once

#include "line_reader.h"
#include "progress.h"

#include <string>
#include <vector>

/* NULL, or why the text is no address that can be followed as a next hop. */
const char *parse_next_hop(std::string_view text, in6_addr *addr);

class address_reader
{
public:
    explicit address_reader(input &bytes) : lines_(bytes) {}

    read_status next(in6_addr *into, read_problem *problem);
    std::optional<read_problem> cut() const { return lines_.cut(); }

private:
    line_reader lines_;
};

/* Adds the addresses of a file, "-" for standard input, and tells what could not be read; whether that was nothing. Fails the
 * command when the file cannot be opened. */
bool add_addresses(const std::string &file, progress &shown, std::vector<in6_addr> *into);
