/*
 * Waiting for memory side by side.
 */
#pragma once

#include <cstddef>

constexpr size_t RIB_CACHE_LINE = 64;

/* Has an object brought from memory while work goes on. */
template <class object> void rib_fetch(const object &from)
{
    const char *bytes = reinterpret_cast<const char *>(&from);
    for (size_t at = 0; at < sizeof from; at += RIB_CACHE_LINE)
        __builtin_prefetch(bytes + at);
}
