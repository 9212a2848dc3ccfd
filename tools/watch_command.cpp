/*
 * watch: follows what is redistributed of a table, change by change or in numbers.
 */
#include "argument.h"
#include "commands.h"
#include "failure.h"
#include "follow_output.h"
#include "rate_counter.h"

namespace
{

follow_options follow_options_of(const watch_options &options)
{
    follow_options follow = {.table = options.table, .best = options.best, .retry = options.retry};
    if (!options.protocol.empty())
        follow.source = protocol_argument(options.protocol);
    return follow;
}

class watcher final : public follow_sink
{
public:
    watcher(const watch_options &options, output &out)
        : options_(options), out_(out), counter_(clock::now()), follower_(follow_options_of(options), *this)
    {
    }

    /* Ends with the dump when only that is wanted, else by what is thrown. */
    int run()
    {
        try {
            while (!(options_.until_complete && complete_))
                step();
        } catch (const command_failure &) {
            finish();
            throw;
        }
        finish();
        return exit_fine;
    }

    void change(const ipv6_routetype &route) override
    {
        counter_.add(route.rt_state & RIB_ROUTE_WITHDRAWN);
        if (options_.count)
            show(counter_.due(clock::now()));
        else if (out_.as_json())
            out_.object(change_object(route, name_));
        else
            out_.line("{}", change_line(route, name_));
    }
    void complete(rib_tableid_td table, rib_protoid_td source) override
    {
        complete_ = true;
        show(complete_update(table, source, name_));
    }
    void marker(rib_protoid_td source, uint32_t marker) override { show(marker_update(source, marker, name_)); }
    void protocol(bool came, rib_protoid_td id) override { show(protocol_update(came, id, name_)); }
    void established(uint32_t client_id) override
    {
        begun_ = true;
        show(established_update(client_id));
    }
    void lost() override
    {
        complete_ = false;
        show(lost_update());
    }
    void waits_for(const std::string &whom) override { fmt::print(stderr, "ribctl: waiting for {}\n", whom); }

private:
    using clock = std::chrono::steady_clock;

    void step()
    {
        if (options_.count)
            show(counter_.due(clock::now()));
        follow_step(follower_, out_);
    }

    void show(const shown_update &update) { show_update(out_, update); }
    void show(const std::optional<counted_interval> &interval)
    {
        if (interval)
            show(shown_update{interval->line(), interval->object()});
    }

    /* Tells people what came in all; programs find it behind the last event. */
    void finish()
    {
        if (!begun_)
            return;
        if (options_.count)
            show(counter_.rest(clock::now()));
        const auto [routes, withdrawals] = counter_.total();
        if (out_.as_json())
            out_.object({{"event", "end"}, {"routes", routes}, {"withdrawals", withdrawals}, {"complete", complete_}});
        out_.finish();
        if (!out_.as_json())
            fmt::print(stderr, "ribctl: {} routes and {} withdrawals were told{}\n", routes, withdrawals,
                       complete_ ? "" : ", and not all that is there");
    }

    const watch_options &options_;
    output &out_;
    rate_counter counter_;
    bool begun_ = false;    /* there was a connection at all */
    bool complete_ = false; /* since the connection was established */
    protocol_namer name_ = [this](rib_protoid_td id) { return follower_.name_of(id); };
    follower follower_;
};

} // namespace

int watch_command(const watch_options &options, output &out)
{
    return watcher(options, out).run();
}
