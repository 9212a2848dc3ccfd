/*
 * Random routes that come and go in small batches, until a consumer that follows has the true table.
 */
#include "roads.h"

#include <algorithm>
#include <random>
#include <stdexcept>

#include "follower.h"
#include "served_client.h"

namespace
{
constexpr size_t changes = 200'000, changes_of_batch = 100;

/* A table of which the last route is the mark that all changes before it have been told. */
class churned_table
{
public:
    explicit churned_table(const run_options &options)
        : there_(options.routes, 1), filled_(options, cores::two, rising_routes(options.routes)), consumer_(options.routes)
    {
    }

    sample churn()
    {
        std::vector<uint32_t> chosen(changes);
        for (uint32_t &each : chosen)
            each = static_cast<uint32_t>(random_() % (there_.size() - 1));
        const auto mark = static_cast<uint32_t>(there_.size() - 1);
        const sample taken = time_each(changes, [&] {
            send(chosen);
            turn(mark);
            filled_.client.flush();
            consumer_.await(mark, there_[mark]);
        });
        if (consumer_.view() != there_)
            throw std::runtime_error("a consumer has another table");
        return taken;
    }

private:
    void turn(uint32_t route)
    {
        there_[route] = !there_[route];
        there_[route] ? filled_.client.announce(route) : filled_.client.withdraw(route);
    }

    void send(std::span<const uint32_t> chosen)
    {
        while (!chosen.empty()) {
            const auto batch = chosen.first(std::min(changes_of_batch, chosen.size()));
            for (const uint32_t route : batch)
                turn(route);
            filled_.client.flush();
            chosen = chosen.subspan(batch.size());
        }
    }

    std::vector<uint8_t> there_;
    std::mt19937 random_{1};
    served_client filled_;
    follower consumer_;
};
} // namespace

void churn_roads(bench_run &run)
{
    churned_table table(run.options);
    run.take({.name = "churn, followed by a consumer", .unit = "ns/change", .measure = [&] { return table.churn(); }});
}
