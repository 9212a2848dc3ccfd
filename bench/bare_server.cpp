/*
 * The server that does nothing but answer.
 */
#include "bare_server.h"

#include <cerrno>
#include <system_error>
#include <utility>

bare_server::bare_server(const std::string &dir, const char *service, answer_td answer) : answer_(std::move(answer))
{
    static constexpr msg_server_ops_t ops = {
        .connected = [](void *, msg_peer_t *, unsigned) { return 0; },
        .received = received,
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

void bare_server::received(void *self, msg_peer_t *peer, uint8_t *msg, size_t len)
{
    const size_t bytes = static_cast<bare_server *>(self)->answer_(msg, len);
    if (!msg_peer_reply_area(peer, bytes) || msg_peer_reply(peer, bytes) != 0)
        msg_peer_close(peer);
}
