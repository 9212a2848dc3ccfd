/*
 * What of a file could not be read: counted, and told on standard error, the first few places in detail.
 */
#pragma once

#include "progress.h"
#include "route_reader.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

class problem_list
{
public:
    /* unit is what positions count: "line" or "byte". */
    problem_list(const std::string &file, const char *unit, progress &shown) : file_(file), unit_(unit), shown_(shown) {}

    void add(const read_problem &problem);
    /* At the end. */
    void tell_rest() const;
    void tell_note(const std::string &note) const;
    void tell_cut(const std::optional<read_problem> &cut) const;

    uint64_t count() const { return count_; }
    const std::vector<read_problem> &first() const { return first_; }

private:
    std::string file_;
    const char *unit_;
    progress &shown_;
    uint64_t count_ = 0;
    std::vector<read_problem> first_;
};
