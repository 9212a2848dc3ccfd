/*
 * Where measurements run, and what they run on. Clients stay on the first CPU that this process may use, servers on the second;
 * with one CPU, both on it.
 */
#pragma once

#include <cstddef>
#include <string>
#include <sys/types.h>
#include <vector>

enum class cores { one, two }; /* of client and server together */

/* The CPU of a server. */
int server_cpu(cores which);
/* The CPUs that this process had at its start. */
unsigned cpu_count();
/* Pins a process, or the calling thread for 0. Throws std::system_error. */
void pin(pid_t process, int cpu);

/*
 * Where the calling thread is while it is a client. The message channel looks at the CPUs of a thread when it connects, so the
 * thread has those of the measurement until settle() and is on the first from then on. Afterwards it is where it was before.
 */
class client_seat
{
public:
    explicit client_seat(cores which);
    ~client_seat();
    client_seat(const client_seat &) = delete;
    client_seat &operator=(const client_seat &) = delete;
    void settle();

private:
    std::vector<int> before_;
};

/* Resident memory of a process in bytes. Throws std::runtime_error. */
size_t resident_bytes(pid_t process);

/*
 * Has the machine get this much memory ready, at most half of what is free, and frees it again. A virtual machine may have given
 * back to its host what was free for a while; getting it again takes fifty times as long as clearing it, and would be measured
 * instead of what is.
 */
void ready_memory(size_t bytes);

/* "model, 2 of 4 CPUs, Linux release". */
std::string machine_name();
