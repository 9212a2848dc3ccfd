/*
 * The open channels of the process. An id is a slot number with the slot's generation, which counts up when a channel
 * leaves the slot; a slot whose generations are used up is not used again. So no id ever names a second channel.
 *
 * A channel lives until it was removed from the table and its last user has released it.
 */
#pragma once

#include <platform/msg_chan.h>

#include <atomic>
#include <pthread.h>
#include <sys/types.h>

struct channel {
    int fd;
    uint32_t id;
    int32_t connid;
    pid_t server_pid;
    bool may_stay_awake; // more than one CPU: a reply may be awaited without sleeping
    unsigned users;      // under the table's lock; the table counts as one
    std::atomic<msg_clinfo_datum_h> datum;
    pthread_mutex_t turn; // held for an exchange; the fields below are its holder's
    int dead;             // errno value of the failure that ended the channel, or 0
    uint32_t number;      // of the last request
    bool answers_soon;    // the last reply did not take long
};

/* Makes a channel of a connected socket, which then belongs to it, and puts it into the table. 0 or an errno value. */
int channel_add(int fd, pid_t server_pid, uint32_t *id);
/* The channel of an id, to be released after use; NULL when there is none. */
channel *channel_acquire(uint32_t id);
void channel_release(channel *chan);
/* Takes a channel out of the table and wakes whoever waits on it. False when there is none. */
bool channel_remove(uint32_t id);
/* Duplicates the socket of a channel that is in the table; -1 when there is none, or no descriptor for it. */
int channel_dup(int32_t connid);
/* True when this process has a channel to a server of that process id. */
bool channel_to_server(pid_t server_pid);
