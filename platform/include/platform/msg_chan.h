/*
 * Message channel, client side: one blocking request and its reply at a time over a local stream socket.
 *
 * A service name such as "/dev/ip/ipv6_rib" stands for a socket file below the run directory: $MSG_CHAN_DIR if set,
 * else /run/msg_chan for root, else $XDG_RUNTIME_DIR/msg_chan. The directory must be no symbolic link, belong to somebody who
 * is trusted and be writable by nobody else; the server must run as the owner of the socket file, and be trusted as well.
 * Trusted are root, the own user, and the user that $MSG_CHAN_USER names. Every function may be called from any thread.
 * Unless told otherwise, a function returns 0, or -1 with errno set.
 */
#ifndef PLATFORM_MSG_CHAN_H
#define PLATFORM_MSG_CHAN_H

#include <stddef.h>
#include <stdint.h>

#include <platform/platform.h>

PLATFORM_BEGIN

/* Connect flag: tell the caller's death to the server at once. The stream socket always does; accepted and ignored. */
#define MSG_CHAN_NOTIFY_DEATH 0x20000u

/* Version demands of msg_chan_connect_xversion(); zero what is not set. */
typedef struct msg_chan_version {
    uint8_t mcv_reserved_0[8];
    uint32_t mcv_min;    /*  8 lowest version of the service that is accepted */
    uint32_t mcv_max;    /* 12 highest version of the service that is accepted */
    uint32_t mcv_format; /* 16 format of this descriptor: 2 */
    uint8_t mcv_reserved_20[36];
} msg_chan_version_t;

/* Whatever the owner of a channel wants kept with it. */
typedef void *msg_clinfo_datum_h;

/**
 * Opens a channel to a service. Blocks for the exchange of greetings, one second at most.
 *
 * @param service  service name, at most 80 characters
 * @param flags    MSG_CHAN_NOTIFY_DEATH or 0
 * @param reserved 0
 * @param chan     receives the channel id, never 0; written only on success
 * Errors: EINVAL, ENAMETOOLONG, ENOENT or ECONNREFUSED (no server, or it takes no more clients), EPROTO (the other end
 * speaks another version or no version), ETIMEDOUT, EMFILE, ENFILE, ENOMEM, ELOOP (the run directory is a symbolic link),
 * ENOTDIR, EACCES (directory, socket file or server are not trusted, or not to be reached), or the value with which the
 * server refuses this client (EPERM: it lets this user do nothing).
 */
PLATFORM_API int msg_chan_connect(const char *service, uint32_t flags, uint32_t reserved, uint32_t *chan);

/** As msg_chan_connect(), but the server's version must lie in the range that the descriptor gives (EPROTO). */
PLATFORM_API int msg_chan_connect_xversion(const char *service, uint32_t flags, uint32_t reserved, uint32_t *chan,
                                           const msg_chan_version_t *version);

/** Closes a channel; *chan stays as it is. A thread that waits in msg_send() on it gets ECONNRESET. EBADF: no such channel. */
PLATFORM_API int msg_chan_disconnect(uint32_t *chan);

/** Gives the connection id of a channel: positive and unique in the process. EBADF: no such channel. */
PLATFORM_API int msg_get_conn_connid(uint32_t chan, int32_t *connid);

/**
 * Sends one message and blocks until its reply is there; never returns EINTR. Threads on one channel take turns.
 *
 * @param msg, len      the message, at most 4 MiB
 * @param reply, room   receives the reply; the bytes behind a reply shorter than room are left as they were
 * Errors: EBADF (no such channel), EMSGSIZE (the reply is longer than room: drained, nothing written, the channel stays
 * usable; or the message is too long), ECONNRESET or EPIPE (the server went away: the channel is dead until
 * disconnected), EPROTO (the server sent what is no frame; dead likewise), EINVAL, and what sendmsg and recv report.
 */
PLATFORM_API int msg_send(uint32_t chan, const void *msg, size_t len, void *reply, size_t room);

/** Keeps a datum with a channel; NULL before the first call. EBADF: no such channel. */
PLATFORM_API int msg_conn_save_datum(uint32_t chan, msg_clinfo_datum_h datum);
/** Reads the datum of a channel. EBADF: no such channel. */
PLATFORM_API int msg_conn_get_datum(uint32_t chan, msg_clinfo_datum_h *datum);

PLATFORM_END

#endif
