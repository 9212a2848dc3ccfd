/*
 * A part of a table: what is asked for on the command line, and where a listing begins and ends.
 */
#pragma once

#include "address.h"

/* The routes from start on, in prefix order, up to the last one within end; ::/0 as end is the end of the table. */
struct route_range {
    ip_prefix start = {}, end = {};
};

/* "PREFIX" stands for the prefix and all within it, "START-END" for what lies between, both included: prefixes, or addresses,
 * which stand for every prefix that begins there. Returns NULL, or why the text is none; the result is then left as it was. */
const char *parse_range(std::string_view text, route_range *range);
