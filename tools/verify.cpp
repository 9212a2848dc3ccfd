#include "verify.h"

#include "failure.h"
#include "interrupt.h"
#include "lookup.h"
#include "random.h"
#include "route_details.h"
#include "route_fetch.h"

#include <algorithm>

namespace
{

constexpr uint64_t told_in_detail = 10;

enum class finding { right, hidden, wrong };

bool has_path(const ipv6_routetype &found, const route_path &path)
{
    for (unsigned i = 0; i < found.rt_path_count; ++i)
        if (same_address(nexthop_of(found, i), path.nexthop) && found.rt_path[i].path_interface == path.interface)
            return true;
    return false;
}

/* The paths that are expected, in any order, and no other ones. */
bool has_paths(const ipv6_routetype &found, const route &expected)
{
    if (!expected.details)
        return found.rt_path_count == 1 && same_address(nexthop_of(found, 0), expected.nexthop);
    const std::vector<route_path> &paths = expected.details->paths;
    return found.rt_path_count == paths.size() &&
           std::all_of(paths.begin(), paths.end(), [&](const route_path &path) { return has_path(found, path); });
}

finding compare(const verify_target &target, const route *expected, const ipv6_routetype *found)
{
    if (!expected || !found)
        return !expected && !found ? finding::right : finding::wrong;
    if (!(prefix_of(*found) == expected->prefix))
        return finding::wrong;
    if (found->rt_protoid != target.proto)
        return target.alone ? finding::wrong : finding::hidden;
    return has_paths(*found, *expected) ? finding::right : finding::wrong;
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
    return fmt::format("{}: {} was expected, the server has {}", text_of(asked), wanted, got);
}

/* Counts what was found, and tells a difference. */
void take(const verify_target &target, const ip_prefix &asked, const route *expected, const ipv6_routetype *found,
          verify_counts *counts, progress &shown)
{
    const finding result = compare(target, expected, found);
    ++counts->checked;
    counts->right += result == finding::right;
    counts->hidden += result == finding::hidden;
    counts->wrong += result == finding::wrong;
    if (result == finding::wrong && counts->wrong <= told_in_detail)
        shown.message(difference(asked, expected, found));
}

void check(const verify_target &target, const ip_prefix &asked, uint32_t flags, const route *expected, verify_counts *counts,
           progress &shown)
{
    take(target, asked, expected, look_up(target.conn, target.table, asked, flags), counts, shown);
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

/* Both are in prefix order, and so walked side by side. */
verify_counts verify_listed(const verify_target &target, std::span<const route> routes, progress &shown)
{
    verify_counts counts;
    auto expected = routes.begin();
    const auto take_missing = [&] {
        take(target, expected->prefix, &*expected, nullptr, &counts, shown);
        ++expected;
    };
    for_each_route(target.conn, {.table = target.table}, [&](const ipv6_routetype &found, const paths_attributes &) {
        if (!target.alone && found.rt_protoid != target.proto)
            return true;
        const ip_prefix prefix = prefix_of(found);
        while (expected != routes.end() && in_prefix_order(expected->prefix, prefix))
            take_missing();
        const bool known = expected != routes.end() && expected->prefix == prefix;
        take(target, prefix, known ? &*expected : nullptr, &found, &counts, shown);
        expected += known;
        shown.update(counts.checked, routes.size(), counts.checked);
        return true;
    });
    while (expected != routes.end())
        take_missing();
    return counts;
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
