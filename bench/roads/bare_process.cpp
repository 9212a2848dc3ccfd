/*
 * Both ends of the bare channel. A message begins with what its answer is to be.
 */
#include "bare_process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <unistd.h>

#include <absl/container/flat_hash_map.h>

#include <platform/msg_chan.h>

#include "bench/bare_server.h"
#include "bench/bench_client.h"

namespace
{
constexpr const char *service = "/dev/bench/bare";
constexpr size_t room = 0x80000;

struct bare_request {
    uint32_t reply_bytes;
    uint32_t stored; /* records of the message that are to be stored */
};

using stored_prefix = std::array<uint8_t, 16>;
using stored_route = std::array<uint8_t, bare_stored_bytes>;
using stored_table = absl::flat_hash_map<stored_prefix, stored_route>;

void store(stored_table *table, const uint8_t *records, uint32_t count)
{
    for (const uint8_t *at = records; count != 0; --count, at += bench_record_bytes) {
        stored_prefix prefix;
        std::memcpy(prefix.data(), at + bare_prefix_offset, prefix.size());
        std::memcpy((*table)[prefix].data(), at, bare_stored_bytes);
    }
}

void serve(int link)
{
    stored_table table;
    const bare_server server(bench_run_dir(), service, [&table](const uint8_t *msg, size_t) -> size_t {
        bare_request request;
        std::memcpy(&request, msg, sizeof request);
        store(&table, msg + bench_batch_head, request.stored);
        return request.reply_bytes;
    });
    tell_ready(link);
    pause(); // until it is killed
}
} // namespace

bare_process::bare_process(cores which) : seat_(which), server_(server_cpu(which), serve), message_(room), reply_(room)
{
    if (msg_chan_connect(service, 0, 0, &chan_) != 0)
        throw std::system_error(errno, std::generic_category(), service);
    seat_.settle();
}

bare_process::~bare_process()
{
    msg_chan_disconnect(&chan_);
}

uint8_t *bare_process::send(const exchange &what, uint32_t stored)
{
    const bare_request request = {static_cast<uint32_t>(what.answered), stored};
    std::memcpy(message_.data(), &request, sizeof request);
    if (msg_send(chan_, message_.data(), what.sent, reply_.data(), reply_.size()) != 0)
        throw std::system_error(errno, std::generic_category(), "the bare channel");
    return reply_.data();
}

void bare_process::replay(std::span<const exchange> all, const on_reply_td &on_reply)
{
    for (const exchange &each : all) {
        uint8_t *reply = send(each);
        if (on_reply)
            on_reply(reply, each.answered);
    }
}

void bare_process::replay_and_store(std::span<const exchange> all, std::span<const uint32_t> routes)
{
    for (const exchange &each : all) {
        const size_t fit = each.sent < bench_batch_head ? 0 : (each.sent - bench_batch_head) / bench_record_bytes;
        const auto now = routes.first(std::min(fit, routes.size()));
        uint8_t *at = message_.data() + bench_batch_head + bare_prefix_offset;
        for (const uint32_t route : now) {
            const in6_addr_t prefix = bench_prefix(route);
            std::memcpy(at, &prefix, sizeof prefix);
            at += bench_record_bytes;
        }
        send(each, static_cast<uint32_t>(now.size()));
        routes = routes.subspan(now.size());
    }
}
