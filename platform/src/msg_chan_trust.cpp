/*
 * Whom a channel trusts.
 */
#include "msg_chan_trust.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

/* The user that the environment names, by name or number; -1, whom nobody is, without one. */
static uid_t expected_user(void)
{
    constexpr uid_t nobody_at_all = static_cast<uid_t>(-1);
    const char *name = secure_getenv("MSG_CHAN_USER");
    if (!name || !*name)
        return nobody_at_all;
    char *end;
    const unsigned long number = strtoul(name, &end, 10);
    if (*end == '\0' && number < nobody_at_all)
        return static_cast<uid_t>(number);
    char texts[2048];
    passwd entry, *found = nullptr;
    return getpwnam_r(name, &entry, texts, sizeof texts, &found) == 0 && found ? found->pw_uid : nobody_at_all;
}

static bool is_root_or_self(uid_t user)
{
    return user == 0 || user == geteuid();
}

bool chan_trusts(uid_t user)
{
    return is_root_or_self(user) || user == expected_user();
}

/* A slash at the end would make lstat() follow a link. */
static void strip_slashes(char *path)
{
    for (size_t len = strlen(path); len > 1 && path[len - 1] == '/'; len--)
        path[len - 1] = '\0';
}

int chan_check_dir(const char *dir, chan_role role)
{
    char path[sizeof(sockaddr_un::sun_path)];
    if (snprintf(path, sizeof path, "%s", dir) >= static_cast<int>(sizeof path))
        return ENAMETOOLONG;
    strip_slashes(path);
    struct stat found;
    if (lstat(path, &found) != 0)
        return errno;
    if (!S_ISDIR(found.st_mode))
        return S_ISLNK(found.st_mode) ? ELOOP : ENOTDIR;
    const bool trusted = role == chan_role::server ? is_root_or_self(found.st_uid) : chan_trusts(found.st_uid);
    return trusted && (found.st_mode & (S_IWGRP | S_IWOTH)) == 0 ? 0 : EACCES;
}

/* The file stands in a directory that was found good, so nobody who is not trusted has exchanged it meanwhile. */
int chan_check_server(const sockaddr_un &address, const ucred &server)
{
    struct stat file;
    if (lstat(address.sun_path, &file) != 0)
        return errno;
    return S_ISSOCK(file.st_mode) && file.st_uid == server.uid && chan_trusts(server.uid) ? 0 : EACCES;
}
