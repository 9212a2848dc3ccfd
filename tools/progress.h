/*
 * How far a long step is, on standard error: a bar on a terminal, else a plain line now and then. Messages for people
 * pass through here too, so that they do not mix with the bar.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

class progress
{
public:
    /* A quiet one shows nothing but messages. */
    progress(const std::string &step, bool quiet);
    ~progress() { clear(); }
    progress(const progress &) = delete;
    progress &operator=(const progress &) = delete;

    /* done of whole (0 when the whole is not known), and the routes handled so far. Draws only when it is time to. */
    void update(uint64_t done, uint64_t whole, uint64_t routes);
    void message(const std::string &text);
    /* Begins another step: its rate counts from now. */
    void restart(const std::string &step);
    /* Takes the bar away, before anything else is printed. */
    void clear();

private:
    using clock = std::chrono::steady_clock;

    void draw_bar(uint64_t done, uint64_t whole, uint64_t routes, double rate);

    std::string step_;
    bool quiet_, terminal_, drawn_ = false;
    clock::time_point start_, due_;
};
