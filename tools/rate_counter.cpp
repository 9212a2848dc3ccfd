#include "rate_counter.h"

#include <utility>

std::string counted_interval::line() const
{
    return fmt::format("{:>9} routes {:>9} withdrawals {:>9.0f}/s, in all {} routes {} withdrawals", changes.routes,
                       changes.withdrawals, rate(), total.routes, total.withdrawals);
}

json counted_interval::object() const
{
    return {{"event", "count"},
            {"seconds", seconds},
            {"routes", changes.routes},
            {"withdrawals", changes.withdrawals},
            {"per_second", rate()},
            {"total_routes", total.routes},
            {"total_withdrawals", total.withdrawals}};
}

std::optional<counted_interval> rate_counter::due(time_point now)
{
    using namespace std::chrono_literals;
    return now - since_ < 1s ? std::nullopt : rest(now);
}

std::optional<counted_interval> rate_counter::rest(time_point now)
{
    const double seconds = std::chrono::duration<double>(now - std::exchange(since_, now)).count();
    if (changes_.sum() == 0)
        return std::nullopt;
    total_ = total();
    return counted_interval{seconds, std::exchange(changes_, {}), total_};
}
