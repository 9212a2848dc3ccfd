#include "progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

using namespace std::chrono_literals;

progress::progress(const std::string &step, bool quiet) : quiet_(quiet), terminal_(isatty(STDERR_FILENO))
{
    restart(step);
}

void progress::restart(const std::string &step)
{
    clear();
    step_ = step;
    start_ = clock::now();
    due_ = start_ + (terminal_ ? 200ms : 5s);
}

void progress::update(uint64_t done, uint64_t whole, uint64_t routes)
{
    const clock::time_point now = clock::now();
    if (quiet_ || now < due_)
        return;
    due_ = now + (terminal_ ? 100ms : 5s);
    const double rate = static_cast<double>(routes) / std::chrono::duration<double>(now - start_).count();
    if (terminal_)
        draw_bar(done, whole, routes, rate);
    else
        fmt::print(stderr, "{}: {} routes, {:.0f}/s\n", step_, routes, rate);
}

void progress::draw_bar(uint64_t done, uint64_t whole, uint64_t routes, double rate)
{
    constexpr size_t width = 30;
    std::string bar;
    if (whole > 0) {
        const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(whole));
        const auto full = static_cast<size_t>(part * width);
        bar = fmt::format("[{:=<{}}{: <{}}] {:3.0f} % ", "", full, "", width - full, part * 100);
    }
    fmt::print(stderr, "\r{} {}{:>9} routes {:>8.0f}/s\033[K", step_, bar, routes, rate);
    std::fflush(stderr);
    drawn_ = true;
}

void progress::message(const std::string &text)
{
    clear();
    fmt::print(stderr, "ribctl: {}\n", text);
}

void progress::clear()
{
    if (drawn_)
        fmt::print(stderr, "\r\033[K");
    drawn_ = false;
}
