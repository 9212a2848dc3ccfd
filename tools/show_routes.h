/*
 * A route as people and programs read it.
 */
#pragma once

#include "connection.h"
#include "output.h"

#include <ipv6_rib/route.h>

#include <string>

json route_object(const ipv6_routetype &found, const protocol_namer &name);
/* In one line, with all its next hops. */
std::string route_line(const ipv6_routetype &found, const protocol_namer &name);
/* Over several lines: each path has one, and those who advertise the route. */
std::string route_text(const ipv6_routetype &found, const protocol_namer &name);
