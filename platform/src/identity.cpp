/*
 * Who and where this process is.
 */
#include <platform/identity.h>

#include "guard.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

static int failed(int error)
{
    errno = error;
    return -1;
}

/* A set and not empty variable of the environment, or NULL. */
static const char *environment(const char *variable)
{
    const char *value = secure_getenv(variable);
    return value && *value ? value : nullptr;
}

static int copy_cut(char *target, size_t room, const char *source, size_t len)
{
    if (!target || room == 0)
        return failed(EINVAL);
    const size_t copied = std::min(len, room - 1);
    memcpy(target, source, copied);
    target[copied] = '\0';
    return 0;
}

int platform_get_node_name(char *name, size_t room)
{
    if (const char *set = environment("PLATFORM_NODE_NAME"))
        return copy_cut(name, room, set, strlen(set));
    char host[HOST_NAME_MAX + 1] = {};
    if (gethostname(host, sizeof host - 1) != 0)
        return -1;
    return copy_cut(name, room, host, strlen(host));
}

/* All ones is kept for "not known". */
static int parse_node_id(const char *text, uint32_t *node_id)
{
    char *end;
    errno = 0;
    const unsigned long long number = strtoull(text, &end, 0);
    if (errno != 0 || *end != '\0' || strchr(text, '-') || number >= UINT32_MAX)
        return failed(EINVAL);
    *node_id = static_cast<uint32_t>(number);
    return 0;
}

static bool tells_that_there_is_none(int error)
{
    return error == ENOENT || error == ENOTDIR || error == EISDIR || error == EACCES || error == EPERM;
}

/*
 * Length of the machine id, 0 when the system has none (yet). -1 with errno when it cannot be read now, for want of
 * descriptors perhaps: whatever took its place would pass for another node.
 */
static ssize_t read_machine_id(char *id, size_t room)
{
    const fd_guard fd(open("/etc/machine-id", O_RDONLY | O_CLOEXEC));
    ssize_t got;
    do
        got = fd.get() < 0 ? -1 : read(fd.get(), id, room);
    while (got < 0 && errno == EINTR && fd.get() >= 0);
    if (got < 0)
        return tells_that_there_is_none(errno) ? 0 : -1;
    return got >= 32 ? 32 : 0;
}

static uint32_t hash_31_bits(const char *text, size_t len)
{
    uint32_t hash = 0x811C9DC5; // FNV-1a
    for (size_t i = 0; i != len; i++)
        hash = (hash ^ static_cast<uint8_t>(text[i])) * 0x01000193;
    return (hash ^ hash >> 31) & 0x7FFFFFFF;
}

int platform_get_my_nodeid(uint32_t *node_id)
{
    if (!node_id)
        return failed(EINVAL);
    if (const char *set = environment("PLATFORM_NODE_ID"))
        return parse_node_id(set, node_id);
    char source[HOST_NAME_MAX + 1] = {};
    const ssize_t len = read_machine_id(source, sizeof source);
    if (len < 0 || (len == 0 && gethostname(source, sizeof source - 1) != 0))
        return -1;
    *node_id = hash_31_bits(source, len != 0 ? static_cast<size_t>(len) : strlen(source));
    return 0;
}

/* The kernel marks an executable that was replaced on disk; the process is still known under its own name. */
static size_t without_deleted_mark(const char *path, size_t len)
{
    static const char mark[] = " (deleted)";
    constexpr size_t mark_len = sizeof mark - 1;
    return len > mark_len && memcmp(path + len - mark_len, mark, mark_len) == 0 ? len - mark_len : len;
}

int procfs_get_name(pid_t pid, char *name, size_t room)
{
    char link[32];
    snprintf(link, sizeof link, "/proc/%d/exe", static_cast<int>(pid));
    char path[PATH_MAX];
    const ssize_t len = readlink(link, path, sizeof path);
    if (len < 0)
        return -1;
    return copy_cut(name, room, path, without_deleted_mark(path, static_cast<size_t>(len)));
}
