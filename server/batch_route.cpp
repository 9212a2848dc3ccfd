/*
 * Route records: what one record with its paths does to the route of its protocol.
 */
#include <optional>
#include <utility>

#include "ip/rib/wire/batch_results.h"
#include "server/attributes.h"
#include "server/batch_path.h"
#include "server/route_reply.h"
#include "server/sid_requests.h"

/* Where the fields of a route record stand. */
#define AT(field) (record + offsetof(bori_fixed, field))

/* What a record did, for its result. */
struct outcome_td {
    int32_t result;
    const rib_route *route = nullptr; /* NULL when the protocol has none for the prefix */
    const rib_route *best = nullptr;
};

static rib_route_words words_of(const uint8_t *record)
{
    return {.flags = rib_load_net<uint32_t>(AT(borfi_flags)) & ~RIB_ROUTE_NO_PRIMARY,
            .metric = rib_load_net<uint32_t>(AT(borfi_u32_12)),
            .tag = rib_load_net<uint32_t>(AT(borfi_u32_16)),
            .local_label = rib_load_net<uint32_t>(AT(borfi_u32_20)),
            .u32_36 = rib_load_net<uint32_t>(AT(borfi_u32_36)),
            .type = rib_load_net<uint16_t>(AT(borfi_u16_6)),
            .distance = *AT(borfi_u8_40)};
}

/* Takes over words and attributes of a record; true when they differ from what the route had. */
static bool take_words(rib_route &route, const rib_protocol &protocol, const uint8_t *record)
{
    const rib_route_words words = words_of(record);
    rib_attr_bytes attrs;
    if (const size_t len = rib_batch_attr_len(AT(borfi_attrs)))
        if (std::vector<uint8_t> kept = rib_attrs_kept(rib_batch_attrs(AT(borfi_attrs)), len); !kept.empty())
            attrs = std::make_unique<std::vector<uint8_t>>(std::move(kept));
    const bool same = words == route.words && rib_attrs_same(attrs, route.attrs);
    route.words = words;
    route.attrs = std::move(attrs);
    route.distance = words.distance ? words.distance : protocol.distance;
    return !same;
}

static void apply_paths(rib_batch_run &run, rib_path_work &work, const uint8_t *record)
{
    const uint8_t *at = record + rib_batch_route_len(record);
    for (unsigned left = rib_batch_path_count(record); left != 0; --left)
        at = rib_batch_apply_path(run, work, at);
}

static void answer_paths(rib_batch_run &run, const uint8_t *record, int32_t result)
{
    const uint8_t *at = record + rib_batch_route_len(record);
    for (unsigned left = rib_batch_path_count(record); left != 0; --left)
        at = rib_batch_answer_path(run, at, result);
}

/* Result of a route that was created or changed. A backup route beside a primary one is told so. */
static int32_t change_result(const rib_table::entry_td &entry, const rib_route &route, int32_t plain)
{
    if (!route.backup_only || entry.second->backup_only)
        return plain;
    for (const rib_route *other = entry.second.get(); other; other = other->next.get())
        if (other != &route && other->backup_only)
            return RIB_RESULT_BACKUP;
    return RIB_RESULT_FIRST_BACKUP;
}

static rib_path_work work_on(const rib_batch_run &run, const uint8_t *record, rib_path_list &paths, const rib_path_list *before)
{
    return {.paths = paths,
            .before = before,
            .epoch = run.protocol->epoch,
            .route_is_backup = (rib_load_net<uint32_t>(AT(borfi_flags)) & RIB_ROUTE_NO_PRIMARY) != 0};
}

static outcome_td create_route(rib_batch_run &run, const rib_prefix &prefix, const uint8_t *record)
{
    if (rib_batch_path_count(record) == 0)
        return {RIB_RESULT_INVALID_PARAMETER};
    auto fresh = std::make_unique<rib_route>();
    rib_path_work work = work_on(run, record, fresh->paths, nullptr);
    const rib_batch_run before = run;
    apply_paths(run, work, record);
    if (fresh->paths.empty())
        return {work.refused == rib_batch_path_count(record) ? work.first_refusal : RIB_RESULT_NO_CHANGE};
    if (run.server.tables.full(*run.table)) {
        run.out = before.out;
        run.refused = before.refused;
        answer_paths(run, record, RIB_RESULT_ROUTE_LIMIT);
        return {RIB_RESULT_ROUTE_LIMIT};
    }
    fresh->protoid = run.protocol->id;
    take_words(*fresh, *run.protocol, record);
    rib_route_settle(*fresh);
    const rib_route *route = fresh.get();
    const rib_table::place_td place = run.table->add(prefix, std::move(fresh));
    return {change_result(*place, *route, RIB_RESULT_OK), route, place->second.get()};
}

static outcome_td change_route(rib_batch_run &run, rib_table::place_td place, rib_route *route, const uint8_t *record)
{
    const unsigned count = rib_batch_path_count(record);
    const bool replaces = count != 0 && (*AT(borfi_bits) & RIB_ROUTE_BIT_FLAG_NET);
    rib_path_list fresh;
    rib_path_work work = work_on(run, record, replaces ? fresh : route->paths, replaces ? &route->paths : nullptr);
    apply_paths(run, work, record);
    if (count != 0 && work.refused == count)
        return {work.first_refusal, route, place->second.get()};
    bool changed = work.changed || (replaces && fresh.size() != route->paths.size());
    if (replaces)
        route->paths = std::move(fresh);
    if (route->paths.empty()) {
        run.table->withdraw(place, route);
        return {RIB_RESULT_OK};
    }
    if (count == 0 || work.added != 0)
        changed |= take_words(*route, *run.protocol, record);
    if (!changed)
        return {RIB_RESULT_NO_CHANGE, route, place->second.get()};
    rib_route_settle(*route);
    run.table->changed(place, route);
    return {change_result(*place, *route, RIB_RESULT_CHANGED), route, place->second.get()};
}

/* Why a record is refused as a whole, or 0. */
static int32_t refusal_of(const rib_batch_run &run, const rib_prefix &prefix, const uint8_t *record, const rib_attr_set *attrs)
{
    if (run.refusal)
        return run.refusal;
    const size_t len = rib_batch_attr_len(AT(borfi_attrs));
    const bool request_only = attrs && rib_has_request(*attrs) && rib_batch_path_count(record) == 0;
    if (rib_prefix_has_host_bits(prefix) || (rib_is_request_table(run.table->id()) && !request_only) ||
        (attrs && !rib_attrs_valid(rib_batch_attrs(AT(borfi_attrs)), len, rib_attr_owner::route)))
        return RIB_RESULT_INVALID_PARAMETER;
    return 0;
}

static outcome_td apply_paths_of(rib_batch_run &run, const rib_prefix &prefix, const uint8_t *record)
{
    const rib_table::place_td place = run.table->locate(prefix);
    rib_route *route = place == run.table->end() ? nullptr : rib_table::route_of(*place, run.protocol->id);
    return route ? change_route(run, place, route, record) : create_route(run, prefix, record);
}

/* Carries out the request, and applies the paths that came with it. */
static outcome_td apply_request(rib_batch_run &run, const rib_prefix &prefix, const uint8_t *record, const rib_attr_set &attrs,
                                rib_batch_route_out *out)
{
    rib_batch_request_answer answer;
    const int32_t result = rib_carry_out_request(run, attrs, &answer);
    rib_store(out->ro_answer, answer);
    if (rib_batch_path_count(record) != 0)
        return apply_paths_of(run, prefix, record);
    const rib_table::place_td place = run.table->locate(prefix);
    if (place == run.table->end())
        return {result};
    return {result, rib_table::route_of(*place, run.protocol->id), place->second.get()};
}

static outcome_td apply_route(rib_batch_run &run, const rib_prefix &prefix, const uint8_t *record, rib_batch_route_out *out)
{
    std::optional<rib_attr_set> attrs;
    if (const size_t len = rib_batch_attr_len(AT(borfi_attrs)))
        attrs.emplace(rib_batch_attrs(AT(borfi_attrs)), len);
    if (const int32_t refusal = refusal_of(run, prefix, record, attrs ? &*attrs : nullptr)) {
        answer_paths(run, record, refusal);
        return {refusal};
    }
    if (attrs && rib_has_request(*attrs))
        return apply_request(run, prefix, record, *attrs, out);
    return apply_paths_of(run, prefix, record);
}

const uint8_t *rib_batch_apply_route(rib_batch_run &run, const uint8_t *record)
{
    const rib_prefix prefix = rib_batch_prefix(record);
    auto *out = reinterpret_cast<rib_batch_route_out *>(rib_batch_result(run, sizeof(rib_batch_route_out)));
    const outcome_td outcome = apply_route(run, prefix, record, out);
    out->ro_type = RIB_BATCH_RES_ROUTE;
    out->ro_prefix_len = prefix.len;
    out->ro_path_count = rib_batch_path_count(record);
    rib_prefix_store(prefix, &out->ro_prefix);
    out->ro_version = run.table ? run.table->version() : 0;
    out->ro_result = outcome.result;
    out->ro_flags = outcome.route ? rib_route_state(*outcome.route, outcome.best, *run.protocol) : 0;
    rib_batch_route_out_net::swap(out);
    ++run.count;
    run.refused += rib_result_refuses(outcome.result);
    return record + rib_batch_whole_route_len(record);
}
