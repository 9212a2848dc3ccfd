/*
 * The bare channel between two processes: messages and replies of given sizes, and as the most that a server can be asked for,
 * each record of a message put into a hash table by its prefix.
 */
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "child_process.h"
#include "exchanges.h"
#include "machine.h"

/* Where a message of routes has the records, and what of each is stored. */
constexpr size_t bare_prefix_offset = 48, bare_stored_bytes = 64;

class bare_process
{
public:
    /* What is done with each reply. */
    using on_reply_td = std::function<void(uint8_t *reply, size_t len)>;

    explicit bare_process(cores which);
    ~bare_process();
    bare_process(const bare_process &) = delete;
    bare_process &operator=(const bare_process &) = delete;

    /* One message and its reply, which stays where it is until the next one. */
    uint8_t *send(const exchange &what) { return send(what, 0); }
    /* All of them, one after the other. */
    void replay(std::span<const exchange> all, const on_reply_td &on_reply = nullptr);
    /* The same, each message with as many of the routes as it has room for; the server stores them. */
    void replay_and_store(std::span<const exchange> all, std::span<const uint32_t> routes);

private:
    uint8_t *send(const exchange &what, uint32_t stored);

    client_seat seat_;
    child_process server_;
    uint32_t chan_ = 0;
    std::vector<uint8_t> message_, reply_;
};
