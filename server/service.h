/*
 * The RIB server on its message channel: the service names, the reply areas, the loop.
 */
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "server/server.h"

struct msg_server;

class rib_service
{
public:
    /*
     * Serves when it returns. Throws std::system_error: the run directory or a service name is not to be had, or the policy
     * file is faulty.
     */
    explicit rib_service(const rib_server_options &options);
    rib_service(const rib_service &) = delete;
    rib_service &operator=(const rib_service &) = delete;

    /* Serves until stop(). Throws std::system_error when the channel cannot go on. */
    void run();
    /* Has run() read the policy file again; a faulty one is told and changes nothing. May be called as stop(). */
    void reload();
    /* Ends run(), now or when it is called. Any thread and any signal handler may call. */
    void stop();

private:
    std::string read_policy();
    void reload_policy();

    struct closer {
        void operator()(msg_server *channel) const;
    };

    rib_server server_;
    std::unique_ptr<msg_server, closer> channel_; /* goes first: closing it disconnects the sessions */
    std::atomic<bool> stopping_ = false;
    std::atomic<bool> reloading_ = false;
};

/* The service names that a role serves. */
struct rib_service_names {
    const char *const *begin;
    const char *const *end;
};
rib_service_names rib_names_of(rib_server_role role);
