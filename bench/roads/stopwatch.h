/*
 * Time.
 */
#pragma once

#include <chrono>

#include "run.h"

class stopwatch
{
public:
    double ns() const { return std::chrono::duration<double, std::nano>(clock::now() - start_).count(); }

private:
    using clock = std::chrono::steady_clock;
    clock::time_point start_ = clock::now();
};

/* Nanoseconds that work takes for each of so many things. */
template <class work_t> sample time_each(size_t things, work_t work)
{
    const stopwatch watch;
    work();
    return {watch.ns() / static_cast<double>(things)};
}
