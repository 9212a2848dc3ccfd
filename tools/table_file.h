/*
 * A file of routes read to its end, with an account of what could not be read.
 */
#pragma once

#include "output.h"
#include "problem_list.h"
#include "progress.h"
#include "route_reader.h"

#include <memory>
#include <optional>
#include <string>

class table_file
{
public:
    /* Fails the command when the file cannot be opened. */
    table_file(const std::string &name, progress &shown);

    /* The next route; false at the end. What cannot be read is counted and told, the first few in detail. */
    bool next(route *into);

    /* At the end. */
    bool flawless() const { return problems_.count() == 0 && !reader_->cut(); }
    uint64_t routes() const { return routes_; }
    /* Tells what was cut off or left out. */
    void tell_end() const;
    /* "mrt, bzip2" */
    std::string kind() const;
    json object() const;

private:
    json problem_object(const read_problem &problem) const;

    std::string name_;
    progress &shown_;
    std::unique_ptr<input> bytes_;
    std::unique_ptr<route_reader> reader_;
    problem_list problems_;
    uint64_t routes_ = 0;
};
