/*
 * A server that does nothing but answer, but for what its owner does with a message. The bound of every road that crosses the
 * channel.
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>

#include <platform/msg_chan_server.h>

class bare_server
{
public:
    /* Takes a message, and says how many bytes its reply has; what is in them does not matter. */
    using answer_td = std::function<size_t(const uint8_t *msg, size_t len)>;

    /* Serves a name of the run directory in a thread of its own. Throws std::system_error. */
    bare_server(const std::string &dir, const char *service, answer_td answer);
    ~bare_server();

private:
    static void received(void *self, msg_peer_t *peer, uint8_t *msg, size_t len);

    msg_server_t *server_;
    answer_td answer_;
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};
