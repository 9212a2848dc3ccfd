/*
 * A server that does nothing but answer: each message with a reply of the same size, or of a size of its own. The bound
 * of every road that crosses the channel.
 */
#pragma once

#include <atomic>
#include <string>
#include <thread>

#include <platform/msg_chan_server.h>

class bare_server
{
public:
    /* Serves a name of the run directory; replies of so many bytes, or of the message's size for 0. Throws std::system_error. */
    bare_server(const std::string &dir, const char *service, size_t reply_bytes);
    ~bare_server();

private:
    static void answer(void *self, msg_peer_t *peer, uint8_t *msg, size_t len);

    msg_server_t *server_;
    size_t reply_bytes_;
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};
