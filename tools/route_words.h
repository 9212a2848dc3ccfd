/*
 * Routes put together from names and values: the words of a text line, or an object of JSON.
 */
#pragma once

#include "output.h"
#include "route_reader.h"

#include <optional>
#include <string>
#include <string_view>

/* NULL, or why the words "NAME=VALUE,..." do not fit to the route whose prefix and next hop were read. Leaves the route without
 * details when there are no words. */
const char *parse_route_words(std::string_view words, route *into);
/* NULL, or why the object is no route: a prefix and a nexthop with attributes beside, or a prefix and paths. What a listing tells
 * besides is passed over. */
const char *parse_route_object(const json &object, route *into);

/* Back: a line, or nothing when a line cannot hold the route, and an object, which always can. */
std::optional<std::string> route_file_line(const route &what);
json route_file_object(const route &what);
