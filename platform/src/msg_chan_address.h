/*
 * Where services are found, and what every socket of a channel has in common. Results are 0 or an errno value.
 */
#pragma once

#include <cstddef>
#include <sys/un.h>

#include "msg_chan_frame.h"

constexpr size_t chan_dir_room = sizeof(sockaddr_un::sun_path);

/* Copies the run directory: dir, or the default when it is NULL. */
int chan_run_dir(const char *dir, char *path, size_t room);
/* The socket address of a service in a run directory. */
int chan_service_address(const char *dir, const char *service, sockaddr_un *address);
/* Sets the send buffer of one end. */
int chan_socket_options(int fd);
/* The greeting of this process. Fills all but status and version. */
int chan_hello(hello_frame *hello);
/* Sends all of a greeting, with flags of send(). */
int chan_send_hello(int fd, const hello_frame &hello, int flags);
