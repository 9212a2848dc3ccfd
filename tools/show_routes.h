/*
 * A route as people and programs read it.
 */
#pragma once

#include "connection.h"
#include "output.h"
#include "path_attributes.h"

#include <ipv6_rib/route.h>

#include <string>

/* Attributes of paths are told where they are given. */
json route_object(const ipv6_routetype &found, const protocol_namer &name, const paths_attributes &attributes = {});
/* In one line, with all its next hops. */
std::string route_line(const ipv6_routetype &found, const protocol_namer &name, const paths_attributes &attributes = {});
/* Over several lines: each path has one, and those who advertise the route. */
std::string route_text(const ipv6_routetype &found, const protocol_namer &name, const paths_attributes &attributes = {});
