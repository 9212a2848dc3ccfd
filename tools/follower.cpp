#include "follower.h"

#include "failure.h"
#include "results.h"
#include "route_reader.h"

#include <ipv6_rib/redist_batch.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

using namespace std::chrono_literals;

/* The connection's state is told without a context. */
static follower *running;

template <class work_t> void follower::guarded(work_t work) noexcept
{
    if (thrown_)
        return;
    try {
        work();
    } catch (...) {
        thrown_ = std::current_exception();
    }
}

struct follower::callbacks {
    static follower &of(void *context) { return *static_cast<follower *>(context); }

    static void state(uint32_t event, ipv6_rib_conn_p conn, uint32_t)
    {
        running->guarded([&] { event == IPV6_RIB_ESTABLISHED ? running->begin(conn) : running->end(); });
    }
    /* Other connections of the process may have the same handler. */
    static void updates(void *conn, uint32_t, void *)
    {
        if (running && conn == running->conn_)
            running->updates_wait_ = true;
    }
    static void route(uint32_t, ipv6_routetype *route, void *context)
    {
        of(context).guarded([&] { of(context).sink_.change(*route); });
    }
    static void dump_end(uint32_t table, uint32_t, uint32_t source, void *context)
    {
        of(context).guarded([&] { of(context).sink_.complete(table, static_cast<rib_protoid_td>(source)); });
    }
    static void marker(uint32_t, uint16_t source, uint32_t marker, void *context)
    {
        of(context).guarded([&] { of(context).sink_.marker(source, marker); });
    }
    static void next_hop(uint32_t, void *told, void *context, uint32_t)
    {
        of(context).guarded([&] { of(context).sink_.next_hop(*static_cast<const rib_next_hop_update *>(told)); });
    }
    static void next_hops_told(uint32_t table, void *context)
    {
        of(context).guarded([&] { of(context).sink_.next_hops_told(table); });
    }
    /* The name of one that went stays: its routes may still have to be told withdrawn. */
    static void protocol(uint32_t, uint32_t operation, uint16_t id, uint32_t, const char *name, const char *instance,
                         void *context)
    {
        of(context).guarded([&] {
            of(context).names_[id] = text_of(protocol_names{id, printable(name), printable(instance)});
            of(context).sink_.protocol(operation == RIB_PROTO_CAME, id);
        });
    }
};

follower::follower(const follow_options &options, follow_sink &sink)
    : options_(options), sink_(sink), manager_(event_manager_create(), event_manager_destroy)
{
    if (!manager_)
        fail("cannot make an event manager: {}", std::strerror(errno));
    running = this;
    errcode err = 0;
    ipv6_rib_connect_client(manager_.get(), callbacks::updates, callbacks::state, &err);
    if (err) {
        close();
        fail("cannot open a connection by events: {}", error_text(err));
    }
}

follower::~follower()
{
    close();
}

void follower::close()
{
    errcode ignored = 0;
    ipv6_rib_destroy_client(0, &ignored);
    ipv6_rib_unbind(&conn_);
    ipv6_rib_unnotify(manager_.get());
    running = nullptr;
}

void follower::rethrow()
{
    if (thrown_)
        std::rethrow_exception(std::exchange(thrown_, nullptr));
}

void follower::step(std::chrono::milliseconds patience)
{
    dispatch(busy() ? 0ms : patience);
    check_connection();
    if (!conn_ || broken_)
        return;
    if (!registered_ && clock::now() >= next_ask_)
        ask();
    if (busy())
        fetch();
    rethrow();
}

void follower::dispatch(std::chrono::milliseconds patience)
{
    if (event_manager_dispatch(manager_.get(), static_cast<int>(patience.count())) < 0 && errno != EINTR)
        fail("cannot wait for events: {}", std::strerror(errno));
    rethrow();
}

/* An exchange that failed with its connection is told by the loss, which takes a moment to be noticed. */
void follower::check_connection()
{
    if (broken_ && clock::now() - broken_->when > 1s)
        fail("{}", broken_->text);
    if (conn_)
        return;
    if (!options_.retry && clock::now() - started_ > 1s)
        fail("cannot reach the RIB server (is ribd running? run directory {})", run_directory());
    if (options_.retry)
        wait_for(fmt::format("the RIB server (run directory {})", run_directory()));
}

void follower::begin(ipv6_rib_conn_p conn)
{
    conn_ = conn;
    registered_ = updates_wait_ = waiting_ = false;
    next_ask_ = {};
    broken_.reset();
    names_.clear();
    sink_.established(ipv6_rib_get_my_client_id(conn));
}

void follower::end()
{
    conn_ = nullptr;
    registered_ = updates_wait_ = waiting_ = false;
    broken_.reset();
    sink_.lost();
    if (!options_.retry)
        fail("the connection to the RIB server was lost");
}

void follower::ask()
{
    const errcode err = follows_next_hops() ? ask_for_next_hops() : options_.source ? ask_for_source() : ask_for_table();
    if (options_.source && err == RIB_SRV_ERR_NOT_FOUND) {
        next_ask_ = clock::now() + 1s;
        wait_for(fmt::format("protocol {}/{}", printable(options_.source->name), printable(options_.source->instance)));
    } else if (follows_next_hops() && err == ENOSPC) {
        fail("registering next hops failed: the server keeps no more of them for a client");
    } else if (err) {
        exchange_failed(follows_next_hops() ? "registering next hops" : "registering for redistribution", err);
    } else {
        registered_ = updates_wait_ = true; // the dump may have begun before the event was watched
        waiting_ = false;
    }
}

errcode follower::ask_for_table()
{
    const rib_updatemode mode = options_.best ? RIB_REDIST_BEST : RIB_REDIST_ALL;
    uint16_t count = 0;
    errcode err = ipv6_rib_redist_batch_init(conn_, mode);
    if (err == 0)
        err = ipv6_rib_redist_batch_register(conn_, 1, options_.table, mode, 0, 0, &count);
    if (err == 0)
        err = ipv6_rib_redist_batch_finish(conn_, &count);
    return err;
}

errcode follower::ask_for_source()
{
    const rib_updatemode mode = options_.best ? RIB_REDIST_BEST : RIB_REDIST_ALL;
    const char *name = options_.source->name.c_str(), *instance = options_.source->instance.c_str();
    errcode err = 0;
    ipv6_rib_protocol_redist(conn_, name, instance, options_.table, 0, mode, &err);
    return err ? err : ipv6_rib_redist_enable_rcmd_markers(conn_, name, instance, options_.table);
}

errcode follower::ask_for_next_hops()
{
    errcode err = ipv6_rib_nh_batch_init(conn_, 0);
    for (auto at = options_.next_hops.begin(); err == 0 && at != options_.next_hops.end(); ++at)
        err = ipv6_rib_nh_batch_register(conn_, 1, options_.table, &*at, options_.least_length, 0);
    if (err == 0)
        err = ipv6_rib_nh_batch_register_converge(conn_, options_.table);
    return err ? err : ipv6_rib_nh_batch_finish(conn_);
}

/* A few passes at a time, so that a server which always has more does not keep the caller from looking up. */
void follower::fetch()
{
    constexpr uint32_t passes = 4;
    updates_wait_ = false;
    if (follows_next_hops())
        names_.clear(); // who follows no routes is not told of protocols that come and go
    errcode err = 0;
    ipv6_rib_fetch_update(conn_, this, &err, RIB_UPDATE_ROUTES, callbacks::route, RIB_UPDATE_DUMP_END, callbacks::dump_end,
                          RIB_UPDATE_SOURCE_MARKER, callbacks::marker, RIB_UPDATE_PROTOCOLS, callbacks::protocol,
                          RIB_UPDATE_NEXT_HOP, callbacks::next_hop, RIB_UPDATE_NEXT_HOPS_TOLD, callbacks::next_hops_told,
                          RIB_UPDATE_PASS_LIMIT, passes, RIB_UPDATE_END);
    if (err == RIB_LIB_ERR_PASS_LIMIT)
        updates_wait_ = true;
    else if (err)
        exchange_failed("fetching updates", err);
}

void follower::wait_for(const std::string &whom)
{
    if (!std::exchange(waiting_, true))
        sink_.waits_for(whom);
}

void follower::exchange_failed(const char *what, errcode err)
{
    broken_ = {fmt::format("{} failed: {}", what, error_text(err)), clock::now()};
}

std::string follower::name_of(rib_protoid_td id)
{
    if (const auto known = names_.find(id); known != names_.end())
        return known->second;
    try {
        return names_[id] = protocol_name(conn_, id);
    } catch (const command_failure &) { // the connection is going: the number has to do
        return fmt::format("protocol {}", id);
    }
}
