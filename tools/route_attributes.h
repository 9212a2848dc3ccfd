/*
 * Attributes of a route itself, behind the pointers of its record.
 */
#pragma once

#include "output.h"

#include <ipv6_rib/route.h>
#include <ipv6_rib/srv6.h>

#include <optional>

/* Name and value; empty without attributes. A request for a SID or an IID is told by its context alone. */
json route_attributes_object(const ipv6_routetype &route);

/* What stands with a SID or an IID that was given out. */
std::optional<rib_held_sid> held_sid(const ipv6_routetype &route);
std::optional<rib_held_iid> held_iid(const ipv6_routetype &route);
