/*
 * The operations into which faults are injected: everything that allocates or talks to the server, against a real server in
 * a thread of this process.
 */
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <platform/event.h>

#include "server/embed.h"
#include "tests/system/system_test.h"

/* The client that an operation is run for. */
struct fault_client {
    ipv6_rib_conn_p conn = nullptr;
    rib_protoid_td protoid = RIB_PROTOID_NONE;
};

/* A server, clients that gave it routes to ask for, and the client that the faults hit. */
class fault_rig : public fault_client
{
public:
    explicit fault_rig(const run_dir &dir);
    ~fault_rig();
    fault_rig(const fault_rig &) = delete;
    fault_rig &operator=(const fault_rig &) = delete;

    /* A fresh client, with a protocol registered and its read buffers there. */
    void begin();
    void end();
    /* Fails unless the client can go on: at once, or, when that may be, after a rebind. */
    void expect_usable(bool may_rebind);
    /* Fails unless all descriptors of clients that went are closed before long. */
    void expect_all_closed() const;

private:
    size_t idle_descriptors_ = 0;
    rib_embedded_server server_;
    test_client connected_{"connected", ipv6_rib_bind, RIB_PROTO_KIND_CONNECTED};
    test_client local_{"local", ipv6_rib_bind, RIB_PROTO_KIND_LOCAL};
    test_client keeper_{"keeper"};
};

/* What an operation returned, and what it answered when that was success. */
struct fault_outcome {
    errcode code;
    std::string answer = "";
    bool operator==(const fault_outcome &) const = default;
};
std::ostream &operator<<(std::ostream &out, const fault_outcome &outcome);

constexpr errcode FAILED = 0xFFFFFFFF; /* -1 */
constexpr errcode ANY_ERRNO = 1;       /* in a list of codes */

struct fault_operation {
    const char *name;
    fault_outcome (*run)(fault_client &rig);
    std::vector<errcode> without_memory;  /* the codes that tell of it */
    std::vector<errcode> without_channel; /* the codes that tell of a channel that failed */
    bool changes_channel = false;         /* so that without memory there may be none */
};
const std::vector<fault_operation> &fault_operations();

/* Whether a code is among those of a list. */
bool is_told(const std::vector<errcode> &codes, errcode code);

/* Ends the program, and says during what, when a case takes longer than it may. */
void watch_over(const std::string &what);
