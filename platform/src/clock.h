/*
 * The monotonic clock, for deadlines.
 */
#pragma once

#include <cstdint>
#include <ctime>

inline int64_t now_ns(void)
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

inline int64_t now_ms(void)
{
    return now_ns() / 1'000'000;
}
