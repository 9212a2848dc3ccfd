/*
 * The server that does nothing but answer.
 */
#include "bare_server.h"

#include <cerrno>
#include <system_error>

bare_server::bare_server(const std::string &dir, const char *service, size_t reply_bytes) : reply_bytes_(reply_bytes)
{
    static constexpr msg_server_ops_t ops = {
        .connected = [](void *, msg_peer_t *, unsigned) { return 0; },
        .received = answer,
        .disconnected = [](void *, msg_peer_t *) {},
    };
    const msg_server_options_t options = {.mso_dir = dir.c_str()};
    server_ = msg_server_create(&options, &ops, this);
    if (!server_ || msg_server_attach(server_, service) != 0)
        throw std::system_error(errno, std::generic_category(), service);
    thread_ = std::thread([this] {
        while (!stop_)
            msg_server_dispatch(server_, -1);
    });
}

bare_server::~bare_server()
{
    stop_ = true;
    msg_server_wake(server_);
    thread_.join();
    msg_server_destroy(server_);
}

void bare_server::answer(void *self, msg_peer_t *peer, uint8_t *, size_t len)
{
    const size_t wanted = static_cast<bare_server *>(self)->reply_bytes_;
    const size_t bytes = wanted ? wanted : len;
    if (!msg_peer_reply_area(peer, bytes) || msg_peer_reply(peer, bytes) != 0)
        msg_peer_close(peer);
}
