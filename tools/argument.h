/*
 * Words of the command line as addresses. One that is none fails the command.
 */
#pragma once

#include "route_range.h"

in6_addr address_argument(const std::string &text);
/* A prefix without bits behind its length. */
ip_prefix prefix_argument(const std::string &text);
/* A prefix whose further bits are cleared, or an address, which stands for itself. */
ip_prefix asked_argument(const std::string &text);
route_range range_argument(const std::string &text);
