/*
 * Message channel, server side: one thread, one epoll set, many clients; no call blocks.
 *
 * A server attaches service names, hands over each whole message, and takes its reply. A client that reads slowly or
 * sends slowly only delays itself. All functions of one server are called from one thread, but for msg_server_wake().
 */
#ifndef PLATFORM_MSG_CHAN_SERVER_H
#define PLATFORM_MSG_CHAN_SERVER_H

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include <platform/platform.h>

PLATFORM_BEGIN

struct sigevent; /* <signal.h> */
typedef struct msg_server msg_server_t;
/* One connected client; valid from connected() until disconnected() returns. */
typedef struct msg_peer msg_peer_t;

/* Who is at the other end: the kernel's word for the credentials, the peer's own word for the node. */
typedef struct msg_peer_data {
    uid_t mpi_uid;
    gid_t mpi_gid;
    pid_t mpi_pid;
    uint32_t mpi_node_id;
} msg_peer_info_t;

typedef struct msg_server_options {
    const char *mso_dir;      /* run directory; NULL for the same default as the client side */
    size_t mso_max_message;   /* a client that announces more is disconnected; 0 for 1 MiB */
    size_t mso_max_reply;     /* largest reply that will be asked for; 0 for 1 MiB */
    size_t mso_max_clients;   /* further clients are refused; 0 for 4096 */
    uint32_t mso_version;     /* version of the service that clients are told; 0 for 1 */
    unsigned mso_socket_mode; /* of the socket files; 0 for 0660 */
    unsigned mso_greeting_ms; /* a client that has not greeted by then is disconnected; 0 for 3000 */
} msg_server_options_t;

/* What the server's owner does. A callback may reply, pulse or close any peer. */
typedef struct msg_server_ops {
    /* A client has connected on the service of that number (the order of attaching). Returns 0, or an errno value to refuse. */
    int (*connected)(void *owner, msg_peer_t *peer, unsigned service);
    /*
     * A whole message, aligned to 16 bytes; it may be changed in place and is gone when the callback returns. The peer must
     * get exactly one reply, now or later, or be closed; it is not read from before.
     */
    void (*received)(void *owner, msg_peer_t *peer, uint8_t *msg, size_t len);
    /* The client is gone; the last word about this peer. Not called for refused clients. */
    void (*disconnected)(void *owner, msg_peer_t *peer);
} msg_server_ops_t;

/** Creates a server. NULL with errno on failure. Options may be NULL. */
PLATFORM_API msg_server_t *msg_server_create(const msg_server_options_t *options, const msg_server_ops_t *ops, void *owner);
/** Closes every client (disconnected() is called for each), removes the socket files, frees the server. NULL is allowed. */
PLATFORM_API void msg_server_destroy(msg_server_t *server);
/**
 * Listens on a service name. Replaces a stale socket file; 0, or -1 with errno (EADDRINUSE: a live server has the name;
 * EEXIST: what has the name is no socket; EINVAL: no service name; ENAMETOOLONG; ELOOP: the run directory is a symbolic
 * link; EACCES: it belongs to neither root nor this user, or others may write to it).
 * Missing directories are created with mode 0755. A listening socket that the service manager passed for the name
 * (LISTEN_FDS) is taken over as it is, and its file left behind in the end.
 */
PLATFORM_API int msg_server_attach(msg_server_t *server, const char *service);
/** The pollable descriptor of the server's epoll set, to be hosted by another event loop. */
PLATFORM_API int msg_server_fd(const msg_server_t *server);
/**
 * Waits for at most timeout_ms (-1: without end) and serves what is there.
 * @return 0, also when a signal ended the wait; or -1 with errno
 */
PLATFORM_API int msg_server_dispatch(msg_server_t *server, int timeout_ms);
/** Ends a wait in msg_server_dispatch(). Any thread and any signal handler may call. */
PLATFORM_API void msg_server_wake(msg_server_t *server);

/**
 * Gives an area to build the reply in, not cleared; valid until the reply is sent. NULL with errno ENOMEM, EMSGSIZE above
 * mso_max_reply, or EINVAL when the peer awaits no reply.
 */
PLATFORM_API uint8_t *msg_peer_reply_area(msg_peer_t *peer, size_t room);
/**
 * Sends the first len bytes of the reply area; what the client does not take at once goes out as it reads.
 * @return 0, or -1 with errno: EINVAL (no reply is awaited, or the area is shorter than len), ECONNRESET or EPIPE (the
 *         client is gone; disconnected() follows)
 */
PLATFORM_API int msg_peer_reply(msg_peer_t *peer, size_t len);
/**
 * Delivers the client's event, never blocking. A pulse that finds the event manager full waits and is tried again; equal
 * ones are merged with it, one for another event or value takes its place.
 * @return 0, or -1 with errno: EINVAL (no event of ours), ECONNREFUSED (the event manager is gone), ECONNRESET (the client is)
 */
PLATFORM_API int msg_peer_pulse(msg_peer_t *peer, const struct sigevent *event, uint64_t value);
/** 1 when the client has closed its end, even before disconnected() has told so; else 0. */
PLATFORM_API int msg_peer_gone(const msg_peer_t *peer);
/** Disconnects a client after the running callback; what is queued for it is dropped. */
PLATFORM_API void msg_peer_close(msg_peer_t *peer);
PLATFORM_API void msg_peer_info(const msg_peer_t *peer, msg_peer_info_t *info);
/** Gives the client's supplementary groups, the kernel's word as well: their number; written only if room is enough for all. */
PLATFORM_API size_t msg_peer_groups(const msg_peer_t *peer, gid_t *groups, size_t room);
/** A pointer of the owner's, NULL at first. */
PLATFORM_API void msg_peer_set_datum(msg_peer_t *peer, void *datum);
PLATFORM_API void *msg_peer_datum(const msg_peer_t *peer);

PLATFORM_END

#endif
