/*
 * The RIB server in a thread of this process, for programs that want one of their own: the demo and the system tests.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

enum class rib_server_role { lone, active, standby };

struct rib_server_options {
    std::string dir;                              /* run directory of the message channel; empty for the default */
    rib_server_role role = rib_server_role::lone; /* which service paths it serves: all three, or its own */
    std::string policy;                           /* file that says who may do what; empty: root and this process's own user
                                                     may do everything, nobody else anything */
    uint32_t hold_seconds = 120;                  /* how long the routes of a dead client stay */
    size_t max_clients = 1024;
    size_t max_tables = 4096;
    size_t max_routes = 16'000'000; /* per table */
    uint32_t msg_version = 0;       /* update-message format that clients are told */
    unsigned socket_mode = 0660;    /* of the socket files: who may try to connect */
    size_t fetch_bytes = 0x80000;   /* a reply with updates ends with the first one that passes so many bytes */
};

class rib_embedded_server
{
public:
    /*
     * Serves when it returns. Throws std::system_error: the run directory or a service name is not to be had, or the policy
     * file is faulty.
     */
    explicit rib_embedded_server(const rib_server_options &options);
    /* Stops and frees everything. */
    ~rib_embedded_server();
    rib_embedded_server(const rib_embedded_server &) = delete;
    rib_embedded_server &operator=(const rib_embedded_server &) = delete;

private:
    struct inside;
    std::unique_ptr<inside> inside_;
};
