/*
 * Counts changes and tells, about once a second, how many there were; nothing while there are none.
 */
#pragma once

#include "output.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

struct change_counts {
    uint64_t routes = 0, withdrawals = 0;
    uint64_t sum() const { return routes + withdrawals; }
};

/* What came in an interval, and in all. */
struct counted_interval {
    double seconds;
    change_counts changes, total;

    double rate() const { return seconds > 0 ? static_cast<double>(changes.sum()) / seconds : 0; }
    std::string line() const;
    json object() const;
};

class rate_counter
{
public:
    using time_point = std::chrono::steady_clock::time_point;

    explicit rate_counter(time_point now) : since_(now) {}

    void add(bool withdrawn) { ++(withdrawn ? changes_.withdrawals : changes_.routes); }
    /* The interval that ends now, when it took a second and something came in it. An empty second begins anew. */
    std::optional<counted_interval> due(time_point now);
    /* The interval up to now, however short; nothing when nothing came. */
    std::optional<counted_interval> rest(time_point now);
    change_counts total() const { return {total_.routes + changes_.routes, total_.withdrawals + changes_.withdrawals}; }

private:
    time_point since_;
    change_counts changes_, total_; /* of the running interval, and before it */
};
