/*
 * System calls fail, or do less than they were asked for, on either side of a channel to a real server. The client may be told
 * of a failure, not misled; the server goes on.
 */
#include "tests/faults/operations.h"
#include "tests/support/failing_syscalls.h"

#include <chrono>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace
{
using std::chrono::milliseconds;

/* Operations that between them use all that the two sides of a channel do. */
const char *const channel_users[] = {"bind", "rebind", "lookup", "list routes", "send a batch", "wait for a pulse"};

const fault_operation &operation_of(const char *name)
{
    for (const fault_operation &each : fault_operations())
        if (std::strcmp(each.name, name) == 0)
            return each;
    throw std::invalid_argument(name);
}

fault_outcome healthy_outcome(fault_rig &rig, const fault_operation &operation)
{
    rig.begin();
    const fault_outcome healthy = operation.run(rig);
    rig.end();
    return healthy;
}

/* Runs an operation during which the nth call has a fault. Whether there were so many. */
bool run_with_fault(fault_rig &rig, syscall_thread thread, const fault_operation &operation, unsigned nth, unsigned variant,
                    const fault_outcome &healthy)
{
    const std::string what = std::string(operation.name) + ", call " + std::to_string(nth);
    watch_over(what + ", variant " + std::to_string(variant));
    rig.begin();
    fault_outcome outcome = {};
    std::string told;
    bool reached, harmless;
    {
        const failing_syscalls plan(thread, nth, variant);
        outcome = operation.run(rig);
        told = plan.told();
        reached = plan.reached();
        harmless = plan.harmless() || told.empty();
    }
    SCOPED_TRACE(what + ", " + told);
    if (harmless || !is_told(operation.without_channel, outcome.code)) {
        EXPECT_EQ(outcome, healthy);
    }
    rig.expect_usable(!harmless);
    rig.end();
    rig.expect_all_closed();
    return reached;
}

void run_all_faults(fault_rig &rig, syscall_thread thread, const fault_operation &operation)
{
    const fault_outcome healthy = healthy_outcome(rig, operation);
    for (unsigned variant = 0; variant != syscall_variants; variant++)
        for (unsigned nth = 1; run_with_fault(rig, thread, operation, nth, variant, healthy);)
            nth++;
}

TEST(faults, every_system_call_of_the_client_fails_once)
{
    const run_dir dir;
    fault_rig rig(dir);
    for (const fault_operation &operation : fault_operations())
        run_all_faults(rig, syscall_thread::mine, operation);
}

TEST(faults, every_system_call_of_the_server_fails_once)
{
    const run_dir dir;
    fault_rig rig(dir);
    for (const char *name : channel_users)
        run_all_faults(rig, syscall_thread::others, operation_of(name));
}

TEST(faults, what_travels_in_pieces_arrives_whole)
{
    struct manner_td {
        int fault;
        unsigned period;
    };
    static const manner_td manners[] = {{SYSCALL_ONE_BYTE, 1}, {SYSCALL_HALF, 1}, {EINTR, 3}};
    const run_dir dir;
    fault_rig rig(dir);
    for (const char *name : channel_users) {
        const fault_operation &operation = operation_of(name);
        const fault_outcome healthy = healthy_outcome(rig, operation);
        for (const syscall_thread thread : {syscall_thread::mine, syscall_thread::others})
            for (const manner_td &manner : manners) {
                watch_over(std::string(name) + " in pieces");
                rig.begin();
                const failing_syscalls plan(thread, manner.fault, manner.period);
                EXPECT_EQ(operation.run(rig), healthy) << name << ", " << plan.told();
                rig.expect_usable(false);
                rig.end();
            }
    }
}

double cpu_seconds()
{
    timespec used;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * 1e-9;
}

/* A client in the backlog, which waits to be let in. */
int knock(const run_dir &dir)
{
    sockaddr_un address = {.sun_family = AF_UNIX};
    snprintf(address.sun_path, sizeof address.sun_path, "%s/dev_ip_ipv6_rib", dir.path().c_str());
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    return fd;
}

TEST(faults, a_server_that_can_accept_nobody_rests_and_comes_back)
{
    const run_dir dir;
    fault_rig rig(dir);
    for (const int fault : {EMFILE, ENFILE, ENOBUFS}) {
        watch_over("accept4 fails on and on");
        int waiting;
        {
            const failing_syscalls plan(syscall_thread::others, fault, 1, "accept4");
            waiting = knock(dir);
            std::this_thread::sleep_for(milliseconds(50));
            const double before = cpu_seconds();
            std::this_thread::sleep_for(milliseconds(500));
            EXPECT_LT(cpu_seconds() - before, 0.1);
            EXPECT_TRUE(plan.reached());
        }
        rig.begin(); // within the second that a bind waits
        rig.expect_usable(false);
        rig.end();
        close(waiting);
    }
}
} // namespace
