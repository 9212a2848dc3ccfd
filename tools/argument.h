/*
 * Words of the command line as addresses and protocols. What cannot be one fails the command.
 */
#pragma once

#include "connection.h"
#include "route_range.h"

#include <string>

in6_addr address_argument(const std::string &text);
/* One that can be followed as a next hop. */
in6_addr next_hop_argument(const std::string &text);
/* A prefix without bits behind its length. */
ip_prefix prefix_argument(const std::string &text);
/* A prefix whose further bits are cleared, or an address, which stands for itself. */
ip_prefix asked_argument(const std::string &text);
route_range range_argument(const std::string &text);
/* "NAME/INSTANCE", or "NAME" of a protocol without an instance name. */
protocol_identity protocol_argument(const std::string &text);
