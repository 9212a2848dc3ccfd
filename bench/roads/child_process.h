/*
 * Processes beside the one that measures.
 */
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

/* A process that ends with this object, or with this process. Begin it while no other thread runs. */
class child_process
{
public:
    /* Runs in the child with one end of a socket pair, its only descriptor besides the standard ones; writes a line when ready.
     */
    using work_td = std::function<void(int link)>;

    /* Returns when the child is ready. Throws std::runtime_error when it ends before. */
    child_process(int cpu, const work_td &work);
    ~child_process();
    child_process(const child_process &) = delete;
    child_process &operator=(const child_process &) = delete;

    pid_t pid() const { return pid_; }
    /* Our end of the socket pair. */
    int link() const { return link_; }

private:
    bool await_line() const;
    void end() const;

    pid_t pid_;
    int link_;
};

/* For the child. */
void tell_ready(int link);

/* The work of being a program, whose standard output is the link. */
child_process::work_td program(const std::vector<std::string> &command);
