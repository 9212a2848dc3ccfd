/*
 * Follows what is redistributed of a table, or the way to next hops in it: keeps the process's event connection, registers
 * whenever it is established, fetches what the server has queued and tells it to a sink. Nothing is kept but the names of
 * protocols. One at a time in a process, and one thread for all of it.
 */
#pragma once

#include "connection.h"

#include <ipv6_rib/next_hop_batch.h>
#include <ipv6_rib/route.h>
#include <ipv6_rib/update.h>

#include <platform/event.h>

#include <chrono>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct follow_options {
    rib_tableid_td table = IPV6_RIB_TABLE_DEFAULT;
    std::optional<protocol_identity> source; /* whose routes; none for everyone's */
    bool best = false;                       /* only the routes that forward */
    bool retry = true;                       /* wait for a server, at the start and when it was lost */
    std::vector<in6_addr> next_hops = {};    /* if there are any, the way to them is followed instead of routes, */
    uint32_t least_length = 0;               /* by routes with prefixes of this length at least */
};

/* Who is told. What is thrown here ends the step that told it. */
class follow_sink
{
public:
    virtual ~follow_sink() = default;
    /* A route that is new or changed, or its withdrawal (RIB_ROUTE_WITHDRAWN); gone afterwards. */
    virtual void change(const ipv6_routetype & /* route */) {}
    /* All routes that were there at the registration have been told. source is RIB_PROTOID_NONE for the whole table. */
    virtual void complete(rib_tableid_td /* table */, rib_protoid_td /* source */) {}
    /* RIB_MARKER_* of a source. */
    virtual void marker(rib_protoid_td /* source */, uint32_t /* marker */) {}
    virtual void protocol(bool /* came */, rib_protoid_td /* id */) {}
    /* Each next hop once, and then when the way to it has changed; gone afterwards. */
    virtual void next_hop(const rib_next_hop_update & /* told */) {}
    /* Each has been told; again when the table has converged, behind the changes made until then. */
    virtual void next_hops_told(rib_tableid_td /* table */) {}
    /* Behind the first of these all is told anew; what went in between is not told. */
    virtual void established(uint32_t /* client_id */) {}
    virtual void lost() {}
    /* Once for each time that there is nothing to do but to try again. */
    virtual void waits_for(const std::string & /* whom */) {}
};

class follower
{
public:
    follower(const follow_options &options, follow_sink &sink);
    ~follower();
    follower(const follower &) = delete;
    follower &operator=(const follower &) = delete;

    /* Handles what there is, and else waits for it, about so long. Fails the command when the server refuses, and without
     * retry when it is not there. */
    void step(std::chrono::milliseconds patience);
    /* Whether the next step has work without waiting. */
    bool busy() const { return registered_ && updates_wait_ && !broken_; }
    /* "static/ribctl", or the number of an identifier without a name. */
    std::string name_of(rib_protoid_td id);

private:
    using clock = std::chrono::steady_clock;
    using manager = std::unique_ptr<event_manager_t, void (*)(event_manager_t *)>;
    struct callbacks; /* what the library calls */
    struct failed_exchange {
        std::string text;
        clock::time_point when;
    };

    /* Nothing may be thrown through the library: it is kept until the step ends. */
    template <class work_t> void guarded(work_t work) noexcept;
    void close();
    void rethrow();
    void dispatch(std::chrono::milliseconds patience);
    void check_connection();
    void begin(ipv6_rib_conn_p conn);
    void end();
    void ask();
    errcode ask_for_table();
    errcode ask_for_source();
    errcode ask_for_next_hops();
    bool follows_next_hops() const { return !options_.next_hops.empty(); }
    void fetch();
    void wait_for(const std::string &whom);
    void exchange_failed(const char *what, errcode err);

    follow_options options_;
    follow_sink &sink_;
    manager manager_;
    ipv6_rib_conn_p conn_ = nullptr;
    bool registered_ = false, updates_wait_ = false, waiting_ = false;
    clock::time_point started_ = clock::now(), next_ask_ = {};
    std::optional<failed_exchange> broken_;
    std::map<rib_protoid_td, std::string> names_;
    std::exception_ptr thrown_;
};
