/*
 * Routes from a file, one after the other: from lines of text or JSON, or from an MRT table dump.
 */
#pragma once

#include "address.h"
#include "input.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct route_details;

struct route {
    ip_prefix prefix;
    in6_addr nexthop;                                  /* of the first path */
    std::shared_ptr<const route_details> details = {}; /* none: one path, and nothing else */
};

/* What could not be read: the line's number, or the offset of the record in the unpacked data. */
struct read_problem {
    uint64_t position = 0;
    std::string why;
};

enum class read_status { ok, bad, end };

class route_reader
{
public:
    virtual ~route_reader() = default;
    /* ok: a route; bad: the next line or record could not be read, go on; end: no more. */
    virtual read_status next(route *into, read_problem *problem) = 0;
    /* At the end: what was cut off, if the data ended too early. */
    virtual std::optional<read_problem> cut() const = 0;
    /* At the end: what was left out on purpose, a sentence each. */
    virtual std::vector<std::string> notes() const { return {}; }
    /* "text", "json" or "mrt", and what read_problem::position counts: "line" or "byte". */
    virtual const char *format() const = 0;
    virtual const char *position_unit() const = 0;
};

std::unique_ptr<route_reader> text_reader(input &bytes);
std::unique_ptr<route_reader> json_reader(input &bytes);
std::unique_ptr<route_reader> mrt_reader(input &bytes);
/* The reader that suits the first bytes. The input must outlive it. */
std::unique_ptr<route_reader> route_reader_for(input &bytes);

/* Foreign bytes for a message: what is not printable as \xNN, and no more than fits a line. */
std::string printable(std::string_view text);
