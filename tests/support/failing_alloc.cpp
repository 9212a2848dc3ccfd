/*
 * The wrapped allocators.
 */
#include "tests/support/failing_alloc.h"

#include <cerrno>
#include <cstdlib>

static thread_local size_t asked;
static thread_local size_t failing;

failing_alloc::failing_alloc(size_t nth)
{
    asked = 0;
    failing = nth;
}

failing_alloc::~failing_alloc()
{
    failing = 0;
}

size_t failing_alloc::count() const
{
    return asked;
}

/* Counts an allocation; true when it fails. */
static bool fails()
{
    if (++asked != failing)
        return false;
    errno = ENOMEM;
    return true;
}

extern "C" {
void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void *__real_reallocarray(void *block, size_t count, size_t size);
/* Visible, because the linker finds the name in place of calloc in shared libraries, too; these still call calloc. */
__attribute__((visibility("default"))) void *__wrap_malloc(size_t size);
__attribute__((visibility("default"))) void *__wrap_calloc(size_t count, size_t size);
__attribute__((visibility("default"))) void *__wrap_reallocarray(void *block, size_t count, size_t size);

void *__wrap_malloc(size_t size)
{
    return fails() ? nullptr : __real_malloc(size);
}

void *__wrap_calloc(size_t count, size_t size)
{
    return fails() ? nullptr : __real_calloc(count, size);
}

void *__wrap_reallocarray(void *block, size_t count, size_t size)
{
    return fails() ? nullptr : __real_reallocarray(block, count, size);
}
}
