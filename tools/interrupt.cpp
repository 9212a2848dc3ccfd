#include "interrupt.h"

#include "failure.h"

#include <csignal>

static volatile std::sig_atomic_t interrupted;

void watch_interrupts()
{
    struct sigaction action = {};
    action.sa_handler = [](int) { interrupted = 1; };
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND); // a second signal ends the process at once
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

void check_interrupt()
{
    if (interrupted)
        throw command_failure(exit_interrupted, "interrupted");
}
