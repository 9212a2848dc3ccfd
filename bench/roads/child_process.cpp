/*
 * Processes: begun by fork(), ended by a signal.
 */
#include "child_process.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include "machine.h"

namespace
{
/* A copy of one of our connections would keep it open when we have closed it. */
int keep_only(int link)
{
    constexpr int place = STDERR_FILENO + 1;
    if (link != place)
        dup2(link, place);
    close_range(place + 1, ~0u, 0);
    return place;
}

[[noreturn]] void run_child(int cpu, int link, const child_process::work_td &work)
{
    int status = EXIT_SUCCESS;
    try {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        pin(0, cpu);
        work(keep_only(link));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "roads: %s\n", error.what());
        status = EXIT_FAILURE;
    }
    _exit(status); // what was inherited is not ours to tidy up
}
} // namespace

child_process::child_process(int cpu, const work_td &work)
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
        throw std::system_error(errno, std::generic_category(), "socketpair");
    std::fflush(nullptr);
    pid_ = fork();
    if (pid_ < 0)
        throw std::system_error(errno, std::generic_category(), "fork");
    if (pid_ == 0)
        run_child(cpu, ends[1], work);
    close(ends[1]);
    link_ = ends[0];
    if (!await_line()) {
        end();
        throw std::runtime_error("a process did not start");
    }
}

child_process::~child_process()
{
    end();
}

void child_process::end() const
{
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    close(link_);
}

bool child_process::await_line() const
{
    char byte = 0;
    while (byte != '\n')
        if (read(link_, &byte, 1) <= 0)
            return false;
    return true;
}

void tell_ready(int link)
{
    if (write(link, "\n", 1) != 1)
        throw std::system_error(errno, std::generic_category(), "write");
}

child_process::work_td program(const std::vector<std::string> &command)
{
    return [command](int link) {
        dup2(link, STDOUT_FILENO);
        std::vector<char *> words;
        for (const std::string &word : command)
            words.push_back(const_cast<char *>(word.c_str()));
        words.push_back(nullptr);
        execv(words[0], words.data());
        throw std::system_error(errno, std::generic_category(), command[0]);
    };
}
