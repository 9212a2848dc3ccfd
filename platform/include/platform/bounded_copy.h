/*
 * Bounded copies. The library calls them where a length comes from outside.
 */
#ifndef PLATFORM_BOUNDED_COPY_H
#define PLATFORM_BOUNDED_COPY_H

#include <stddef.h>
#include <stdint.h>

#include <platform/platform.h>

PLATFORM_BEGIN

/**
 * Copies at most count characters of source and a terminating zero, as C11 Annex K has it.
 * @return 0; EINVAL for a NULL pointer or room 0; ERANGE when the text and its zero do not fit. On failure *target is
 *         an empty string where there is room for one.
 */
PLATFORM_API int strncpy_s(char *target, size_t room, const char *source, size_t count);
/** Copies the smaller of count and room bytes; returns how many. */
PLATFORM_API size_t __memcpy_to_buf(void *target, size_t room, const void *source, size_t count);

PLATFORM_END

#endif
