#include "verify.h"

#include "failure.h"
#include "interrupt.h"
#include "random.h"
#include "results.h"

namespace
{

constexpr uint64_t told_in_detail = 10;

enum class finding { right, hidden, wrong };

finding compare(const verify_target &target, const route *expected, const ipv6_routetype *found)
{
    if (!expected || !found)
        return !expected && !found ? finding::right : finding::wrong;
    if (!(prefix_of(*found) == expected->prefix))
        return finding::wrong;
    if (found->rt_protoid != target.proto)
        return target.alone ? finding::wrong : finding::hidden;
    return found->rt_path_count == 1 && same_address(nexthop_of(*found, 0), expected->nexthop) ? finding::right : finding::wrong;
}

std::string difference(const ip_prefix &asked, const route *expected, const ipv6_routetype *found)
{
    const std::string wanted =
        expected ? fmt::format("{} by {}", text_of(expected->prefix), text_of(expected->nexthop)) : "no route";
    std::string got = "no route";
    if (found) {
        got = fmt::format("{} by {} of protocol {} with {} paths", text_of(prefix_of(*found)), text_of(nexthop_of(*found, 0)),
                          +found->rt_protoid, +found->rt_path_count);
    }
    return fmt::format("lookup of {}: {} was expected, the server has {}", text_of(asked), wanted, got);
}

void check(const verify_target &target, const ip_prefix &asked, uint32_t flags, const route *expected, verify_counts *counts,
           progress &shown)
{
    const ipv6_routetype *found = look_up(target.conn, target.table, asked, flags);
    const finding result = compare(target, expected, found);
    ++counts->checked;
    counts->right += result == finding::right;
    counts->hidden += result == finding::hidden;
    counts->wrong += result == finding::wrong;
    if (result == finding::wrong && counts->wrong <= told_in_detail)
        shown.message(difference(asked, expected, found));
}

/* Inside a route of the model, or, one time in eight, anywhere in global unicast space. */
in6_addr some_address(random_source &random, const route_model &model)
{
    const address_bits noise = address_bits{random.next()} << 64 | random.next();
    if (model.routes().empty() || random.below(8) == 0)
        return address_of(address_bits{1} << 125 | noise >> 3);
    const ip_prefix &inside = model.routes()[random.below(model.routes().size())].prefix;
    return address_of(bits_of(inside.addr) | (noise & ~mask_of(inside.len)));
}

} // namespace

ip_prefix prefix_of(const ipv6_routetype &found)
{
    return {address_at(&found.rt_prefix), found.rt_prefix_len};
}

in6_addr nexthop_of(const ipv6_routetype &found, size_t path)
{
    return address_at(&found.rt_path[path].path_nexthop);
}

const ipv6_routetype *look_up(ipv6_rib_conn_p conn, rib_tableid_td table, const ip_prefix &what, uint32_t flags)
{
    static thread_local ipv6_routetype found = {};
    errcode err = 0;
    if (ipv6_rib_route_lookup(conn, table, &what.addr, what.len, flags, 0, &found, &err))
        return &found;
    if (err != 0 && err != RIB_SRV_ERR_NOT_FOUND)
        fail("the lookup of {} failed: {}", text_of(what), error_text(err));
    return nullptr;
}

static verify_counts verify_prefixes(const verify_target &target, std::span<const route> routes, bool present, progress &shown)
{
    verify_counts counts;
    for (const route &one : routes) {
        check_interrupt();
        check(target, one.prefix, RIB_LOOKUP_EXACT, present ? &one : nullptr, &counts, shown);
        shown.update(counts.checked, routes.size(), counts.checked);
    }
    return counts;
}

verify_counts verify_exact(const verify_target &target, std::span<const route> routes, progress &shown)
{
    return verify_prefixes(target, routes, true, shown);
}

verify_counts verify_absent(const verify_target &target, std::span<const route> routes, progress &shown)
{
    return verify_prefixes(target, routes, false, shown);
}

verify_counts verify_longest(const verify_target &target, const route_model &model, size_t lookups, progress &shown)
{
    constexpr uint64_t seed = 6;
    random_source random(seed);
    verify_counts counts;
    while (counts.checked < lookups) {
        check_interrupt();
        const in6_addr addr = some_address(random, model);
        check(target, {addr, 128}, RIB_LOOKUP_LONGEST, model.longest(addr), &counts, shown);
        shown.update(counts.checked, lookups, counts.checked);
    }
    return counts;
}
