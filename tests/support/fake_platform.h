/*
 * The small services of the platform that a test wants to steer or to watch: identity, events, blocked-thread diagnostics.
 * Each passes to a fixed, recognisable value until the test lets it fail.
 */
#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <platform/event.h>
#include <platform/event_conn.h>

#include "tests/support/hex.h"

struct fake_identity_t {
    std::string node_name = "node-7";
    std::string process_path = "/opt/router/bin/routed";
    uint32_t node_id = 0x0a0b0c0d;
    /* Not 0: that function fails. */
    int node_name_error = 0, node_id_error = 0, process_error = 0;
};
fake_identity_t &fake_identity();

struct event_attach_t {
    event_manager_t *manager;
    uint32_t code;
    event_handler_t handler;
    void *context;
};
struct fake_events_t {
    int attach_result = 7;
    errcode init_result = 0;
    std::vector<event_attach_t> attached;
    /* Calls and their numbers, oldest first: "attach <code>", and those to the one event connection: "create <reserved>",
     * "setretry <max> <first>", "notify <events>", "open", "destroy". */
    std::vector<std::string> calls;
    std::map<std::string, errcode> conn_results; /* by the first word of a call; 0 unless set */
    /* What the event connection was given; NULL while there is none. */
    event_manager_t *conn_manager = nullptr;
    event_conn_open_fn conn_open = nullptr;
    event_conn_state_fn conn_notify = nullptr;
    void *conn_context = nullptr;
};
fake_events_t &fake_events();

/* The 64 bytes of the event that the fake makes for a manager, without the pulse value that opens them. */
bytes_t fake_event_tail(const event_manager_t *manager);
/* The handle of the event connection; the fake never looks behind the pointer. */
event_conn_t *fake_event_conn();
/* A manager to register; the fake never looks behind the pointer. */
event_manager_t *fake_manager(unsigned number);

/* Threads that have announced that they wait for a mutex. */
class fake_ptd_t
{
public:
    void set(const char *function);
    void unset();
    /* Returns when that many threads in sum have announced a wait. */
    void await_announced(size_t count);
    std::vector<std::string> announced(); /* by which function */
    size_t ended();

private:
    std::mutex lock_;
    std::condition_variable changed_;
    std::vector<std::string> announced_;
    size_t ended_ = 0;
};
fake_ptd_t &fake_ptd();

/* Everything as at the start of the program. */
void fake_platform_reset();
