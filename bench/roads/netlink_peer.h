/*
 * The kernel's table of IPv6 routes, filled over netlink in a network namespace that goes with the measurement.
 */
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>

#include "run.h"

/* What keeps this program from doing that: the machine, or how it was built. */
class netlink_unavailable : public std::runtime_error
{
    using runtime_error::runtime_error;
};

/* Adds routes to an empty table of the kernel: the time for each. Throws netlink_unavailable. */
sample load_kernel(std::span<const uint32_t> routes);
