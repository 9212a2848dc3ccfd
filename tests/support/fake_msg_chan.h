/*
 * The message channel as a test sees it: the platform's symbols, defined in the test program, record every call and answer
 * with what the test has queued. No server, no socket.
 *
 * A message that nobody has queued an answer for fails with ENOMSG. An answer longer than the reply area fails with EMSGSIZE,
 * a shorter one leaves the rest of the area alone, as the real channel does.
 */
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <platform/msg_chan.h>

#include "tests/support/hex.h"

struct chan_connect_t {
    std::string service;
    uint32_t flags;
    uint32_t reserved;
    bytes_t version; /* the descriptor of a versioned connect, else empty */
    bool operator==(const chan_connect_t &) const = default;
};

struct chan_message_t {
    uint32_t chan;
    bytes_t msg;
    size_t room;
    bytes_t area; /* the first bytes of the reply area before the answer */
};

struct chan_answer_t {
    int error = 0; /* not 0: the send fails with this errno */
    bytes_t reply;
    std::function<void()> meanwhile; /* runs in the sender before the answer, without any lock of this fake */
};

class fake_msg_chan_t
{
public:
    static constexpr uint32_t FIRST_CHAN = 0x51;
    static constexpr int32_t FIRST_CONNID = 0x1234561;

    /* What the platform does; set before the call. Every connected channel gets the next id. */
    int connect_error = 0;
    int connid_error = 0;
    int disconnect_error = 0;
    int save_datum_error = 0;
    int get_datum_error = 0;

    void answer(const bytes_t &reply, std::function<void()> meanwhile = {})
    {
        answers_.push_back({0, reply, std::move(meanwhile)});
    }
    void answer(std::string_view reply) { answer(hex(reply)); }
    void fail(int error) { answers_.push_back({error, {}, {}}); }
    void forget_answers() { answers_.clear(); }

    /* What was called, oldest first. */
    std::vector<chan_connect_t> connects;
    std::vector<uint32_t> disconnects;
    std::vector<chan_message_t> sent;
    /* "connect", "send", "answered" and "disconnect" in the order in which they happened. */
    std::vector<std::string> calls;
    /* What is kept with each channel. */
    std::map<uint32_t, msg_clinfo_datum_h> datums;

    void forget_calls();

    int connect(const char *service, uint32_t flags, uint32_t reserved, uint32_t *chan, const msg_chan_version_t *version);
    int disconnect(const uint32_t *chan);
    int connid(uint32_t chan, int32_t *id);
    int send(uint32_t chan, const void *msg, size_t len, void *reply, size_t room);

private:
    chan_answer_t take_answer(uint32_t chan, const void *msg, size_t len, const void *reply, size_t room);

    std::mutex lock_;
    std::deque<chan_answer_t> answers_;
    uint32_t next_chan_ = FIRST_CHAN;
};

/* The channel of the running test. */
fake_msg_chan_t &fake_msg_chan();
/* A fresh one, at the beginning of a test. */
void fake_msg_chan_reset();
