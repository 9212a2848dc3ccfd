/*
 * Giving out, confirming and taking back.
 */
#include "server/sid_requests.h"

#include <cerrno>
#include <new>
#include <utility>

#include "server/sid_claims.h"

/* A request, put so that SIDs and IIDs are alike. */
struct request_td {
    rib_ledger &ledger;
    rib_tableid_td table;
    rib_attr_type_t type;
    const uint8_t *value;
    rib_claim claim;
    errcode fault = 0;
    bool frees = false;
    bool immediately = false;
    uint32_t behaviour = 0; /* of a SID */
    uint64_t context = 0;
};

/* What it got or gave back. */
struct outcome_td {
    rib_prefix prefix;
    uint32_t number = 0;
    bool had_it = false;
};

static request_td sid_request(rib_batch_run &run, const uint8_t *value)
{
    request_td request = {run.server.sids, IPV6_RIB_TABLE_SID, RIB_ATTR_SID_REQUEST, value, {}};
    const auto held = rib_load<rib_held_sid>(value);
    request.fault = rib_sid_claim(held, run.protocol->id, &request.claim);
    request.frees = held.hs_free != 0;
    request.immediately = held.hs_immediate != 0;
    request.behaviour = held.hs_request.sr_func;
    request.context = held.hs_context;
    return request;
}

static request_td iid_request(rib_batch_run &run, const uint8_t *value)
{
    request_td request = {run.server.iids, IPV6_RIB_TABLE_IID, RIB_ATTR_IID_REQUEST, value, {}};
    const auto held = rib_load<rib_held_iid>(value);
    request.fault = rib_iid_claim(held, run.protocol->id, &request.claim);
    request.frees = held.hi_free != 0;
    request.context = held.hi_context;
    return request;
}

static rib_attr_bytes held_attrs(const request_td &request)
{
    auto attrs = std::make_unique<std::vector<uint8_t>>();
    rib_attr_append(*attrs, request.type, request.value, rib_attr_shapes[request.type].head);
    return attrs;
}

static void show(const rib_batch_run &run, rib_table &table, const request_td &request, const rib_prefix &prefix)
{
    auto route = std::make_unique<rib_route>();
    route->protoid = run.protocol->id;
    route->distance = run.protocol->distance;
    route->words.u32_36 = request.behaviour;
    route->attrs = held_attrs(request);
    route->paths.emplace_back();
    route->paths.front().epoch = run.protocol->epoch;
    rib_route_settle(*route);
    table.add(prefix, std::move(route));
}

/* The same request again: what it says beside its name counts from now on. */
static void confirm(const rib_batch_run &run, const request_td &request, const rib_prefix &prefix)
{
    rib_table &table = *run.server.tables.find(request.table);
    const rib_table::place_td place = table.locate(prefix);
    rib_route *route = rib_table::route_of(*place, run.protocol->id);
    route->paths.front().epoch = run.protocol->epoch;
    rib_attr_bytes attrs = held_attrs(request);
    if (rib_attrs_same(attrs, route->attrs))
        return;
    route->attrs = std::move(attrs);
    table.changed(place, route);
}

static errcode give(rib_batch_run &run, const request_td &request, outcome_td *outcome)
{
    const uint32_t number = request.claim.number;
    if (const rib_holding *held = request.ledger.of(request.claim.claimant)) {
        if (number != 0 && number != held->number)
            return EBUSY;
        *outcome = {held->prefix, held->number, true};
        confirm(run, request, held->prefix);
        return 0;
    }
    rib_table *table = run.server.tables.open(request.table, run.table);
    if (!table || run.server.tables.full(*table))
        return ENOSPC;
    table->ledger = &request.ledger;
    const rib_holding *given;
    if (const errcode refusal = request.ledger.give(request.claim, &given))
        return refusal;
    *outcome = {given->prefix, given->number, false};
    try {
        show(run, *table, request, given->prefix);
    } catch (const std::bad_alloc &) {
        request.ledger.ended(outcome->prefix);
        throw;
    }
    return 0;
}

static errcode take_back(rib_batch_run &run, const request_td &request, outcome_td *outcome)
{
    const rib_claim &claim = request.claim;
    const rib_holding *held = claim.number ? request.ledger.at(rib_number_prefix(claim.field, claim.number)) : nullptr;
    if (!held || held->claimant.protoid != claim.claimant.protoid)
        held = request.ledger.of(claim.claimant);
    if (!held)
        return ENOENT;
    const rib_number_field field = held->field;
    *outcome = {held->prefix, held->number, false};
    rib_table &table = *run.server.tables.find(request.table);
    const rib_table::place_td place = table.locate(outcome->prefix);
    table.withdraw(place, rib_table::route_of(*place, run.protocol->id));
    if (request.immediately)
        request.ledger.hasten(field, outcome->number);
    return 0;
}

static void tell(const request_td &request, const outcome_td &outcome, errcode code, rib_batch_request_answer *answer)
{
    const bool is_sid = request.type == RIB_ATTR_SID_REQUEST;
    *answer = {};
    answer->an_kind = request.type;
    answer->an_free = request.frees;
    answer->an_code = code;
    answer->an_context = request.context;
    if (code != 0)
        return;
    answer->an_prefix_len = outcome.prefix.len;
    rib_prefix_store(outcome.prefix, answer->an_prefix);
    (is_sid ? answer->an_opcode : answer->an_iid) = outcome.number;
}

int32_t rib_carry_out_request(rib_batch_run &run, const rib_attr_set &attrs, rib_batch_request_answer *answer)
{
    static_assert(RIB_ANSWER_SID == RIB_ATTR_SID_REQUEST && RIB_ANSWER_IID == RIB_ATTR_IID_REQUEST);
    const uint8_t *sid = attrs.value(RIB_ATTR_SID_REQUEST);
    const request_td request = sid ? sid_request(run, sid) : iid_request(run, attrs.value(RIB_ATTR_IID_REQUEST));
    outcome_td outcome;
    errcode code = request.fault;
    if (code == 0)
        code = request.frees ? take_back(run, request, &outcome) : give(run, request, &outcome);
    tell(request, outcome, code, answer);
    if (code == 0)
        return outcome.had_it ? RIB_RESULT_NO_CHANGE : RIB_RESULT_OK;
    return code == ENOSPC ? RIB_RESULT_ROUTE_LIMIT : RIB_RESULT_INVALID_PARAMETER;
}
