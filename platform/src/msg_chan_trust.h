/*
 * Whom a channel trusts. Routes are given to whoever serves a name, so neither end uses a directory in which somebody else
 * could put a socket, and the client makes sure that the server runs as somebody it trusts. Results are 0 or an errno value.
 */
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

/* Whether that user may serve this process: root, the own user, or the one that $MSG_CHAN_USER names. */
bool chan_trusts(uid_t user);
/*
 * Checks a run directory: ELOOP (a symbolic link), ENOTDIR, EACCES (others may write to it, or it belongs to a user that is
 * not trusted), or what lstat() says. An end that would serve does not ask $MSG_CHAN_USER.
 */
enum class chan_role { client, server };
int chan_check_dir(const char *dir, chan_role role);
/* Checks who answers behind a socket file: EACCES unless that is the file's owner, and trusted. */
int chan_check_server(const sockaddr_un &address, const ucred &server);
