/*
 * Bounded copies.
 */
#include <platform/bounded_copy.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

int strncpy_s(char *target, size_t room, const char *source, size_t count)
{
    if (!target || room == 0)
        return EINVAL;
    if (!source) {
        *target = '\0';
        return EINVAL;
    }
    const size_t len = strnlen(source, std::min(count, room));
    if (len == room) {
        *target = '\0';
        return ERANGE;
    }
    memmove(target, source, len);
    target[len] = '\0';
    return 0;
}

size_t __memcpy_to_buf(void *target, size_t room, const void *source, size_t count)
{
    const size_t copied = std::min(room, count);
    if (copied != 0)
        memcpy(target, source, copied);
    return copied;
}
