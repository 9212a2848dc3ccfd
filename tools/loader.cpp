#include "loader.h"

#include "failure.h"
#include "interrupt.h"
#include "route_details.h"

route_loader::route_loader(ipv6_rib_conn_p conn, rib_tableid_td table, rib_protoid_td proto, bool small_messages, on_refusal told)
    : conn_(conn), told_(std::move(told)), small_(small_messages),
      buffer_(ipv6_rib_batch_buffer_allocate(small_messages), ipv6_rib_batch_buffer_free),
      reply_(ipv6_rib_batch_args_out_allocate(), ipv6_rib_batch_args_out_free)
{
    if (!buffer_ || !reply_)
        fail("no memory for a batch");
    ipv6_rib_batch_buffer_init(buffer_.get(), table, proto);
}

/* Asked before a route is begun, so that none crosses the end of its message. */
void route_loader::make_room()
{
    if (!ipv6_rib_batch_buffer_route_fits(buffer_.get(), 1))
        flush();
}

void route_loader::check(rib_batch_buffer_result result) const
{
    if (result != RIB_BATCH_BUFFER_OK)
        fail("a batch with {} routes took no further one (result {})", waiting_.size(), static_cast<int>(result));
}

void route_loader::add(const route &what, uint8_t distance)
{
    constexpr uint32_t replace_paths = 1;
    if (what.details) {
        add_detailed(what, distance);
        return;
    }
    make_room();
    check(
        ipv6_rib_batch_buffer_add_route2(buffer_.get(), &what.prefix.addr, what.prefix.len, 0, 0, 0, replace_paths, 0, distance));
    check(ipv6_rib_batch_buffer_add_path(buffer_.get(), 0, 0, &what.nexthop, &in6addr_any, 0, 0, 0));
    waiting_.push_back(what);
}

/* What the library refuses, or what fits into no message, is found out before it stands in the message. */
void route_loader::add_detailed(const route &what, uint8_t distance)
{
    constexpr bool replace_paths = true;
    if (!trial_)
        trial_.reset(ipv6_rib_batch_buffer_allocate(small_));
    if (!trial_)
        fail("no memory for a batch");
    ipv6_rib_batch_buffer_clear(trial_.get());
    const rib_batch_sizes sizes = sizes_of(*what.details);
    std::string why = "it fits into no message";
    if (ipv6_rib_batch_buffer_route_fits2(trial_.get(), &sizes))
        why = write_route(trial_.get(), what.prefix, *what.details, replace_paths, distance);
    if (!why.empty()) {
        refuse(what, why);
        return;
    }
    if (!ipv6_rib_batch_buffer_route_fits2(buffer_.get(), &sizes))
        flush();
    why = write_route(buffer_.get(), what.prefix, *what.details, replace_paths, distance);
    if (!why.empty())
        fail("{}: {}", text_of(what.prefix), why);
    waiting_.push_back(what);
}

void route_loader::refuse(const route &what, const std::string &why)
{
    ++counts_.refused;
    if (told_)
        told_(what, why);
}

void route_loader::withdraw(const ip_prefix &what)
{
    make_room();
    check(ipv6_rib_batch_buffer_add_route(buffer_.get(), &what.addr, what.len, 0, 0));
    check(ipv6_rib_batch_buffer_delete_path(buffer_.get(), &in6addr_any, 0, 0)); // :: stands for every path
    waiting_.push_back({what, in6addr_any});
}

void route_loader::flush()
{
    check_interrupt();
    if (waiting_.empty())
        return;
    const auto start = std::chrono::steady_clock::now();
    const int status = ipv6_rib_batch_buffer_send(conn_, buffer_.get(), reply_.get());
    counts_.exchange += std::chrono::steady_clock::now() - start;
    ++counts_.messages;
    counts_.sent += waiting_.size();
    if (status <= 0)
        fail("the exchange of a batch with {} routes failed: {} ({} routes were answered before)", waiting_.size(),
             ribresulttype_to_string(status), counts_.routes.total());
    walk_results();
    waiting_.clear();
}

void route_loader::walk_results()
{
    size_t answered = 0;
    void *const reply = reply_.get();
    for (void *at = ipv6_rib_batch_args_out_first_route(reply); at; at = ipv6_rib_batch_args_out_next_route(reply, at)) {
        const auto *result = static_cast<const rib_batch_route_out *>(at);
        if (result->ro_type != RIB_BATCH_OUT_ROUTE)
            continue;
        if (answered < waiting_.size())
            take_result(result, answered++);
        else
            ++counts_.strayed;
    }
    counts_.unanswered += waiting_.size() - answered;
}

void route_loader::take_result(const rib_batch_route_out *result, size_t index)
{
    const route &what = waiting_[index];
    const int route_result = result->ro_result;
    const size_t expected = what.details ? what.details->paths.size() : 1;
    size_t paths = 0;
    const int path_result = take_path_results(const_cast<rib_batch_route_out *>(result), &paths);
    counts_.routes.add(route_result);
    if (!(ip_prefix{address_at(&result->ro_prefix), result->ro_prefix_len} == what.prefix)) {
        ++counts_.strayed;
        return;
    }
    counts_.unanswered += paths < expected;
    counts_.strayed += paths > expected;
    if (refused(route_result) || refused(path_result))
        refuse(what, ribresulttype_to_string(refused(route_result) ? route_result : path_result));
}

/* The result of the last path that was refused, or of the last one. */
int route_loader::take_path_results(void *route_result, size_t *count)
{
    int last = RIB_RESULT_OK;
    for (void *at = ipv6_rib_batch_route_out_first_path(route_result); at;
         at = ipv6_rib_batch_route_out_next_path(route_result, at)) {
        const auto *added = static_cast<const rib_batch_path_out *>(at);
        const auto *withdrawn = static_cast<const rib_batch_path_del_out *>(at);
        const int result = added->po_type == 1 ? added->po_result : withdrawn->pd_result;
        last = refused(last) && !refused(result) ? last : result;
        counts_.paths.add(result);
        ++*count;
    }
    return last;
}
