/*
 * load: a file's routes into the server.
 */
#include "commands.h"
#include "failure.h"
#include "loader.h"
#include "table_file.h"
#include "verify.h"

#include <chrono>

namespace
{

using seconds = std::chrono::duration<double>;

constexpr size_t told_in_detail = 10;

struct load_run {
    load_counts counts;
    json first_refused = json::array();
    double seconds_exchange = 0, seconds_all = 0;
    std::optional<verify_counts> verified;
};

double rate(uint64_t routes, double in_seconds)
{
    return in_seconds > 0 ? static_cast<double>(routes) / in_seconds : 0;
}

route_loader::on_refusal refusal_teller(progress &shown, json &first)
{
    return [&](const route &what, const std::string &why) {
        if (first.size() == told_in_detail)
            return;
        const std::string prefix = text_of(what.prefix);
        shown.message(fmt::format("{} was refused: {}", prefix, why));
        first.push_back({{"prefix", prefix}, {"nexthop", text_of(what.nexthop)}, {"result", why}});
    };
}

/* Sends every route of the file; the routes are kept only when they are wanted again. */
void send_all(table_file &source, route_loader &loader, uint8_t distance, std::vector<route> *kept)
{
    route read;
    while (source.next(&read)) {
        loader.add(read, distance);
        if (kept)
            kept->push_back(read);
    }
    loader.flush();
}

bool all_well(const load_run &run)
{
    return run.counts.all_well() && (!run.verified || run.verified->wrong == 0);
}

json object_of(const load_run &run, const table_file &source)
{
    const load_counts &counts = run.counts;
    json told = source.object();
    told["sent"] = counts.sent;
    told["messages"] = counts.messages;
    told["route_results"] = counts.routes.object();
    told["path_results"] = counts.paths.object();
    told["refused"] = counts.refused;
    told["first_refused"] = run.first_refused;
    told["unanswered"] = counts.unanswered;
    told["strayed"] = counts.strayed;
    told["seconds_exchange"] = run.seconds_exchange;
    told["seconds"] = run.seconds_all;
    told["routes_per_second_exchange"] = rate(counts.sent, run.seconds_exchange);
    told["routes_per_second"] = rate(counts.sent, run.seconds_all);
    if (const auto &verified = run.verified)
        told["verified"] = {
            {"checked", verified->checked}, {"right", verified->right}, {"hidden", verified->hidden}, {"wrong", verified->wrong}};
    told["ok"] = all_well(run) && source.flawless();
    return told;
}

void print_text(const load_run &run, const table_file &source, output &out)
{
    const load_counts &counts = run.counts;
    out.line("sent      {} routes in {} messages ({})", counts.sent, counts.messages, source.kind());
    out.line("routes    {}", counts.routes.text());
    out.line("paths     {}", counts.paths.text());
    if (counts.refused)
        out.line("refused   {} routes", counts.refused);
    if (counts.unanswered)
        out.line("MISSING   {} routes were not answered", counts.unanswered);
    if (counts.strayed)
        out.line("STRAYED   {} results were for other routes than those sent", counts.strayed);
    out.line("time      {:.3f} s in exchanges ({:.0f} routes/s), {:.3f} s in all ({:.0f} routes/s)", run.seconds_exchange,
             rate(counts.sent, run.seconds_exchange), run.seconds_all, rate(counts.sent, run.seconds_all));
    if (const auto &verified = run.verified)
        out.line("verified  {} prefixes: {} right, {} hidden by another protocol, {} wrong", verified->checked, verified->right,
                 verified->hidden, verified->wrong);
}

/* A prefix that stands twice in the file is in the table with its last next hop. */
verify_counts verify(const verify_target &target, std::vector<route> kept, bool quiet)
{
    const route_model model(std::move(kept));
    progress shown("verifying", quiet);
    return verify_exact(target, model.routes(), shown);
}

} // namespace

int load_command(const load_options &options, output &out)
{
    load_run run;
    progress shown("loading", out.as_json());
    table_file source(options.file, shown);
    const rib_connection conn;
    const rib_protoid_td proto = register_protocol(conn, options.protocol);
    std::vector<route> kept;

    const auto start = std::chrono::steady_clock::now();
    route_loader loader(conn, options.table, proto, options.small, refusal_teller(shown, run.first_refused));
    send_all(source, loader, options.distance, options.verify ? &kept : nullptr);
    run.seconds_all = seconds(std::chrono::steady_clock::now() - start).count();
    shown.clear();
    source.tell_end();
    run.counts = loader.counts();
    run.seconds_exchange = seconds(run.counts.exchange).count();
    if (options.verify)
        run.verified = verify({conn, options.table, proto, false}, std::move(kept), out.as_json());

    if (out.as_json())
        out.object(object_of(run, source));
    else
        print_text(run, source, out);
    if (!all_well(run))
        return exit_failed;
    return source.flawless() ? exit_fine : exit_bad_input;
}
