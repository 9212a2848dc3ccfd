/*
 * demo: shows what the library does, and checks all of it: a table is loaded into a server of this process, listed, every
 * route and many addresses are looked up and compared with the tool's own model, a second protocol overrides some prefixes
 * and leaves again, and at last everything is withdrawn. A second client follows the table all the while, and must have it right
 * after each of these.
 */
#include "commands.h"
#include "demo_follower.h"
#include "demo_server.h"
#include "explain.h"
#include "failure.h"
#include "generator.h"
#include "loader.h"
#include "lookup.h"
#include "table_file.h"
#include "verify.h"

#include <ipv6_rib/route_change.h>
#include <ipv6_rib/route_inspect.h>

#include <chrono>

namespace
{

constexpr rib_tableid_td table = IPV6_RIB_TABLE_DEFAULT;
constexpr size_t longest_lookups = 50'000, override_every = 100, gone_every = 10, samples = 5;

struct step_result {
    uint64_t count;
    uint64_t faults;
    std::optional<double> behind = {}; /* seconds after the last send, instead of those that the step took */
};

class demo
{
public:
    demo(const demo_options &options, output &out) : out_(out), shown_("demo", out.as_json())
    {
        options.file.empty() ? generate(options) : read(options.file);
        step("bind", "protocols", [&] {
            conn_.emplace();
            base_ = register_protocol(*conn_, {.name = "static", .instance = "demo", .distance = 20});
            better_ = register_protocol(*conn_, {.name = "static", .instance = "override", .distance = 10});
            return step_result{2, base_ == better_};
        });
        step("follow", "tables", [&] {
            follower_.emplace(table);
            return step_result{1, 0};
        });
    }

    int run()
    {
        step("load", "routes", [&] { return load(); });
        step("followed", "changes", [&] { return followed(model_->routes()); });
        step("count", "prefixes", [&] { return expect_prefixes(model_->routes().size()); });
        step("list", "routes", [&] { return of(verify_listed(base(), model_->routes(), shown_)); });
        step("exact lookup", "routes", [&] { return of(verify_exact(base(), model_->routes(), shown_)); });
        step("longest match", "addresses", [&] { return of(verify_longest(base(), *model_, longest_lookups, shown_)); });
        show_samples();
        overrule();
        step("withdraw", "routes", [&] { return withdraw(base_, model_->routes()); });
        step("followed", "changes", [&] { return followed({}); });
        step("count", "prefixes", [&] { return expect_prefixes(0); });
        step("all gone", "routes", [&] { return of(verify_absent(base(), every(gone_every), shown_)); });
        return finish();
    }

private:
    using clock = std::chrono::steady_clock;

    verify_target base() const { return {*conn_, table, base_, true}; }
    verify_target better() const { return {*conn_, table, better_, true}; }
    static step_result of(const verify_counts &counts) { return {counts.checked, counts.checked - counts.right}; }
    static step_result of(const load_counts &counts)
    {
        return {counts.sent, counts.refused + counts.unanswered + counts.strayed};
    }

    /* Runs a step, tells how long it took and whether all was as it should be. */
    template <class work_t> void step(const char *name, const char *unit, work_t work)
    {
        shown_.restart(name);
        const clock::time_point start = clock::now();
        const step_result result = work();
        const double seconds = result.behind.value_or(std::chrono::duration<double>(clock::now() - start).count());
        faults_ += result.faults;
        shown_.clear();
        const std::string verdict = result.faults ? fmt::format("{} WRONG", result.faults) : "ok";
        if (out_.as_json())
            out_.object({{"step", name},
                         {"count", result.count},
                         {"unit", unit},
                         {result.behind ? "seconds_behind" : "seconds", seconds},
                         {"wrong", result.faults}});
        else
            out_.line("{:<14} {:>8} {:<9} {:8.3f} s {}  {}", name, result.count, unit, seconds,
                      result.behind ? fmt::format("{:>11}", "behind") : rate_text(result.count, seconds), verdict);
        out_.finish();
    }

    /* A rate of few things says nothing, and that of a count that was read as one number neither. */
    static std::string rate_text(uint64_t count, double seconds)
    {
        constexpr double worth_a_rate = 0.01;
        const std::string rate = fmt::format("{:.0f}/s", static_cast<double>(count) / seconds);
        return fmt::format("{:>11}", seconds < worth_a_rate ? "" : rate);
    }

    void generate(const demo_options &options)
    {
        step("generate", "routes", [&] {
            routes_ = generate_table(options.routes, options.seed);
            return step_result{routes_.size(), routes_.size() != options.routes};
        });
    }

    void read(const std::string &name)
    {
        table_file source(name, shown_);
        step("read", "routes", [&] {
            route next;
            while (source.next(&next))
                routes_.push_back(next);
            return step_result{routes_.size(), 0};
        });
        source.tell_end();
        flawless_ = source.flawless();
    }

    /* In the order of the file, twice what stands there twice; the model has the last of each. */
    step_result load()
    {
        const step_result sent = send(base_, routes_);
        model_.emplace(std::move(routes_));
        return sent;
    }

    step_result send(rib_protoid_td proto, std::span<const route> routes)
    {
        route_loader loader(*conn_, table, proto, false, refusal_teller());
        for (const route &one : routes) {
            loader.add(one);
            shown_.update(loader.counts().sent, routes.size(), loader.counts().sent);
        }
        loader.flush();
        sent_ = clock::now();
        return of(loader.counts());
    }

    step_result withdraw(rib_protoid_td proto, std::span<const route> routes)
    {
        route_loader loader(*conn_, table, proto, false, refusal_teller());
        for (const route &one : routes)
            loader.withdraw(one.prefix);
        loader.flush();
        sent_ = clock::now();
        return of(loader.counts());
    }

    /* The second client has what was sent. */
    step_result followed(std::span<const route> expected)
    {
        const demo_follower::outcome told = follower_->await(expected);
        return {told.changes, told.differences, std::max(0.0, std::chrono::duration<double>(told.last - sent_).count())};
    }

    route_loader::on_refusal refusal_teller()
    {
        return [&](const route &what, const std::string &why) {
            constexpr unsigned told_in_detail = 10;
            if (refusals_++ < told_in_detail)
                shown_.message(fmt::format("{} was refused: {}", text_of(what.prefix), why));
        };
    }

    step_result expect_prefixes(size_t expected)
    {
        const uint32_t prefixes = status_of(*conn_, table).prefixes;
        return {prefixes, prefixes != expected};
    }

    void show_samples()
    {
        const std::vector<route> &routes = model_->routes();
        for (size_t i = 0; i < std::min(samples, routes.size()); ++i) {
            const ip_prefix &inside = routes[(2 * i + 1) * routes.size() / (2 * samples)].prefix;
            const ip_prefix asked = {address_of(bits_of(inside.addr) | (1 & ~mask_of(inside.len))), 128};
            const ipv6_routetype *found = look_up(*conn_, table, asked, RIB_LOOKUP_LONGEST);
            const std::string prefix = found ? text_of(prefix_of(*found)) : "no route";
            const std::string nexthop = found ? text_of(nexthop_of(*found, 0)) : "-";
            if (out_.as_json())
                out_.object({{"sample", text_of(asked.addr)}, {"prefix", prefix}, {"nexthop", nexthop}});
            else
                out_.line("    {} -> {} via {}", text_of(asked.addr), prefix, nexthop);
        }
    }

    /* The first of so many of the model's routes, and so on. */
    std::vector<route> every(size_t nth) const
    {
        std::vector<route> some;
        for (size_t i = 0; i < model_->routes().size(); i += nth)
            some.push_back(model_->routes()[i]);
        return some;
    }

    /* The model with those in the place of every so many-th. */
    std::vector<route> overridden(std::span<const route> theirs) const
    {
        std::vector<route> routes = model_->routes();
        for (size_t i = 0; i < theirs.size(); ++i)
            routes[i * override_every] = theirs[i];
        return routes;
    }

    /* The protocol that is overridden tells that it advertises the route that took its place; the route tells so, too. */
    step_result advertise(const ip_prefix &prefix)
    {
        if (ipv6_rib_set_advertising_flag(*conn_, table, &prefix.addr, prefix.len, base_, 1) != 0)
            return {1, 1};
        const ipv6_routetype *found = look_up(*conn_, table, prefix, RIB_LOOKUP_EXACT);
        return {1, !ipv6_rib_route_check_advertisement(found, base_)};
    }

    /* A better distance wins while it is there, and what it hid comes back when it leaves. */
    void overrule()
    {
        const std::vector<route> hidden = every(override_every);
        std::vector<route> theirs = hidden;
        for (route &one : theirs)
            one.nexthop = address_of(address_bits{0x20010DB8FFFF} << 80 | 1);
        step("override", "routes", [&] { return send(better_, theirs); });
        step("followed", "changes", [&] { return followed(overridden(theirs)); });
        step("overridden", "routes", [&] { return of(verify_exact(better(), theirs, shown_)); });
        step("advertise", "prefixes", [&] { return advertise(hidden.front().prefix); });
        explain(*conn_, table, hidden.front().prefix, out_);
        step("take back", "routes", [&] { return withdraw(better_, theirs); });
        step("followed", "changes", [&] { return followed(model_->routes()); });
        step("as before", "routes", [&] { return of(verify_exact(base(), hidden, shown_)); });
        step("count", "prefixes", [&] { return expect_prefixes(model_->routes().size()); });
    }

    int finish()
    {
        if (faults_)
            fail("demo FAILED: {} differences", faults_);
        if (out_.as_json())
            out_.object({{"demo", "passed"}, {"routes", model_->routes().size()}, {"input_flawless", flawless_}});
        else
            out_.line("demo passed: {} routes loaded, listed, found, followed, overridden and withdrawn, nothing differed",
                      model_->routes().size());
        return flawless_ ? exit_fine : exit_bad_input;
    }

    output &out_;
    progress shown_;
    demo_server server_;
    std::optional<rib_connection> conn_;    /* gone before its server */
    std::optional<demo_follower> follower_; /* and this, too */
    clock::time_point sent_ = {};           /* when the last message was answered */
    rib_protoid_td base_ = RIB_PROTOID_NONE, better_ = RIB_PROTOID_NONE;
    std::vector<route> routes_;
    std::optional<route_model> model_;
    uint64_t faults_ = 0;
    unsigned refusals_ = 0;
    bool flawless_ = true;
};

} // namespace

int demo_command(const demo_options &options, output &out)
{
    return demo(options, out).run();
}
