/*
 * Lets the n-th allocation of a stretch of code fail. The test program is linked with --wrap for malloc, calloc and
 * reallocarray, so that the calls of the code under test, and of nothing else, come through here.
 */
#pragma once

#include <cstddef>

class failing_alloc
{
public:
    /* The nth allocation from now on, counted from 1, in this thread fails; 0 for none. */
    explicit failing_alloc(size_t nth);
    ~failing_alloc();
    failing_alloc(const failing_alloc &) = delete;
    failing_alloc &operator=(const failing_alloc &) = delete;
    /* Allocations asked for since. */
    size_t count() const;
};
