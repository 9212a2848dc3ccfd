/*
 * CPUs and memory.
 */
#include "machine.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <sched.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/utsname.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace
{
void set_cpus(pid_t process, const std::vector<int> &cpus)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    for (const int cpu : cpus)
        CPU_SET(cpu, &set);
    if (sched_setaffinity(process, sizeof set, &set) != 0)
        throw std::system_error(errno, std::generic_category(), "sched_setaffinity");
}

std::vector<int> current_cpus()
{
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) != 0)
        throw std::system_error(errno, std::generic_category(), "sched_getaffinity");
    std::vector<int> cpus;
    for (int cpu = 0; cpu < CPU_SETSIZE; cpu++)
        if (CPU_ISSET(cpu, &set))
            cpus.push_back(cpu);
    return cpus;
}

/* Read before anything is pinned. */
const std::vector<int> allowed = current_cpus();

std::string cpu_model()
{
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);)
        if (line.starts_with("model name"))
            return line.substr(line.find(": ") + 2);
    return "unknown processor";
}
} // namespace

int server_cpu(cores which)
{
    return which == cores::two && allowed.size() > 1 ? allowed[1] : allowed[0];
}

unsigned cpu_count()
{
    return static_cast<unsigned>(allowed.size());
}

void pin(pid_t process, int cpu)
{
    set_cpus(process, {cpu});
}

client_seat::client_seat(cores which) : before_(current_cpus())
{
    set_cpus(0, which == cores::one ? std::vector<int>{allowed[0]} : allowed);
}

client_seat::~client_seat()
{
    set_cpus(0, before_);
}

void client_seat::settle()
{
    pin(0, allowed[0]);
}

size_t resident_bytes(pid_t process)
{
    std::ifstream rollup("/proc/" + std::to_string(process) + "/smaps_rollup");
    for (std::string word; rollup >> word;)
        if (size_t kib; word == "Rss:" && rollup >> kib)
            return kib * 1024;
    throw std::runtime_error("the memory of process " + std::to_string(process) + " cannot be read");
}

void ready_memory(size_t bytes)
{
    const auto page_bytes = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    bytes = std::min(bytes, static_cast<size_t>(sysconf(_SC_AVPHYS_PAGES)) * page_bytes / 2);
    void *memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw std::system_error(errno, std::generic_category(), "mmap");
    madvise(memory, bytes, MADV_HUGEPAGE);
    madvise(memory, bytes, MADV_POPULATE_WRITE);
    munmap(memory, bytes);
}

std::string machine_name()
{
    utsname name = {};
    uname(&name);
    return cpu_model() + ", " + std::to_string(allowed.size()) + " of " + std::to_string(std::thread::hardware_concurrency()) +
           " CPUs, " + name.sysname + " " + name.release;
}
