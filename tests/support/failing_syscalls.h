/*
 * Lets system calls fail, or do less than they were asked for. The test program is linked with --wrap for each of them, so
 * that the calls of the static libraries in it come through here.
 */
#pragma once

#include <cerrno>
#include <string>

/* Whose calls count: those of the thread that made the plan, or those of all other threads. */
enum class syscall_thread { mine, others };

/* What becomes of a call: an errno value with which it fails, or one of these. */
enum syscall_fault : int {
    SYSCALL_ONE_BYTE = -1, /* it moves one byte */
    SYSCALL_HALF = -2,     /* it moves half of what was asked for */
    SYSCALL_NOTHING = -3,  /* it returns 0: the other side has closed, the time is over */
};

/* As long as it lives, one plan is at work; without one nothing fails. */
class failing_syscalls
{
public:
    /* The nth call, counted from 1, of any function has the variant-th of the faults that its function may have. */
    failing_syscalls(syscall_thread thread, unsigned nth, unsigned variant);
    /* Every period-th call of the functions that may have the fault, or of the one that is named, has it. */
    failing_syscalls(syscall_thread thread, int fault, unsigned period, const char *function = "");
    ~failing_syscalls();
    failing_syscalls(const failing_syscalls &) = delete;
    failing_syscalls &operator=(const failing_syscalls &) = delete;

    /* Whether there were so many calls. */
    bool reached() const;
    /* What failed how, "" for nothing: "recv: 1 byte". */
    std::string told() const;
    /* Whether the fault is one that nobody outside should notice. */
    bool harmless() const;
};

/* No function has more faults. */
constexpr unsigned syscall_variants = 7;
