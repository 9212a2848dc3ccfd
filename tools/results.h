/*
 * The library's codes in words, and a count of the answers that the server gave.
 */
#pragma once

#include "output.h"

#include <ipv6_rib/batch.h>
#include <ipv6_rib/errors.h>

#include <array>
#include <cstdint>
#include <string>

/* Why an operation failed. */
std::string error_text(errcode code);
/* Why a batch did not take something. */
std::string batch_error_text(rib_batch_buffer_result result);
/* Whether a RIB result of a route or a path says that it was not taken. */
bool refused(int result);

/* How often each RIB result was given. */
class result_tally
{
public:
    void add(int result) { ++counts_[slot(result)]; }
    uint64_t total() const;
    uint64_t refusals() const;
    /* "Successful 850, No change 2"; "none" when nothing was counted. */
    std::string text() const;
    json object() const;

private:
    static constexpr int lowest = RIB_RESULT_PRIMARY_PATHID, highest = RIB_RESULT_UNKNOWN;
    static constexpr size_t outside = highest - lowest + 1; // results without a name

    static size_t slot(int result)
    {
        return result < lowest || result > highest ? outside : static_cast<size_t>(result - lowest);
    }
    static int result_of(size_t slot) { return static_cast<int>(slot) + lowest; }

    std::array<uint64_t, outside + 1> counts_ = {};
};
