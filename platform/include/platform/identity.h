/*
 * Who and where this process is. Each function returns 0, or -1 with errno.
 */
#ifndef PLATFORM_IDENTITY_H
#define PLATFORM_IDENTITY_H

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include <platform/platform.h>

PLATFORM_BEGIN

/** The node's name: $PLATFORM_NODE_NAME or the host name, cut to room - 1 characters and terminated. */
PLATFORM_API int platform_get_node_name(char *name, size_t room);
/** The node's id: $PLATFORM_NODE_ID or 31 bits made of the machine id; the same for every process of the node. */
PLATFORM_API int platform_get_my_nodeid(uint32_t *node_id);
/** Path of a process's executable, cut to room - 1 characters and terminated. */
PLATFORM_API int procfs_get_name(pid_t pid, char *name, size_t room);

PLATFORM_END

#endif
