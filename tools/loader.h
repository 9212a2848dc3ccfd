/*
 * Sends routes to the server in full batches and accounts for every one of them: the server answers each route and each
 * path, and an answer that is missing, or is for another route, is counted as a fault.
 */
#pragma once

#include "results.h"
#include "route_reader.h"
#include "route_writer.h"

#include <ipv6_rib/batch_send.h>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

struct load_counts {
    uint64_t sent = 0, messages = 0;
    result_tally routes, paths;
    uint64_t refused = 0;    /* routes of which the route or its path was refused */
    uint64_t unanswered = 0; /* routes for which the reply held no result, or none for their path */
    uint64_t strayed = 0;    /* results for routes that were not asked for at their place */
    std::chrono::nanoseconds exchange{0};

    bool all_well() const { return refused == 0 && unanswered == 0 && strayed == 0; }
};

class route_loader
{
public:
    /* Told of each refused route. */
    using on_refusal = std::function<void(const route &what, const std::string &why)>;

    route_loader(ipv6_rib_conn_p conn, rib_tableid_td table, rib_protoid_td proto, bool small_messages, on_refusal told);

    /* Puts a route in the place of the protocol's route for the prefix; distance, for routes without one of their own, 0 for the
     * protocol's. Sends when the batch is full. */
    void add(const route &what, uint8_t distance = 0);
    /* Withdraws the protocol's route for the prefix, all its paths. */
    void withdraw(const ip_prefix &what);
    /* Sends what waits. Fails the command when the exchange fails. */
    void flush();

    const load_counts &counts() const { return counts_; }

private:
    void make_room();
    void add_detailed(const route &what, uint8_t distance);
    void refuse(const route &what, const std::string &why);
    void check(rib_batch_buffer_result result) const;
    void walk_results();
    void take_result(const rib_batch_route_out *result, size_t index);
    int take_path_results(void *route_result, size_t *count);

    ipv6_rib_conn_p conn_;
    on_refusal told_;
    bool small_;
    batch_buffer buffer_;
    batch_buffer trial_ = {nullptr, ipv6_rib_batch_buffer_free}; /* made for the first route with details */
    std::unique_ptr<void, void (*)(void *)> reply_;
    std::vector<route> waiting_; /* the routes of the open message, in order */
    load_counts counts_;
};
