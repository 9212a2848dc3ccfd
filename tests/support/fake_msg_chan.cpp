/*
 * The platform's message-channel symbols, answered by the test.
 */
#include "tests/support/fake_msg_chan.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

static auto running = std::make_unique<fake_msg_chan_t>();

fake_msg_chan_t &fake_msg_chan()
{
    return *running;
}

void fake_msg_chan_reset()
{
    running = std::make_unique<fake_msg_chan_t>();
}

static int failed(int error)
{
    errno = error;
    return -1;
}

void fake_msg_chan_t::forget_calls()
{
    connects.clear();
    disconnects.clear();
    sent.clear();
    calls.clear();
}

int fake_msg_chan_t::connect(const char *service, uint32_t flags, uint32_t reserved, uint32_t *chan,
                             const msg_chan_version_t *version)
{
    connects.push_back({service, flags, reserved, version ? bytes_at(version, sizeof *version) : bytes_t()});
    calls.emplace_back("connect");
    if (connect_error)
        return failed(connect_error);
    *chan = next_chan_++;
    return 0;
}

int fake_msg_chan_t::disconnect(const uint32_t *chan)
{
    const std::lock_guard guard(lock_);
    disconnects.push_back(*chan);
    calls.emplace_back("disconnect");
    return disconnect_error ? failed(disconnect_error) : 0;
}

int fake_msg_chan_t::connid(uint32_t chan, int32_t *id)
{
    if (connid_error)
        return failed(connid_error);
    *id = FIRST_CONNID + static_cast<int32_t>(chan - FIRST_CHAN);
    return 0;
}

chan_answer_t fake_msg_chan_t::take_answer(uint32_t chan, const void *msg, size_t len, const void *reply, size_t room)
{
    const std::lock_guard guard(lock_);
    sent.push_back({chan, bytes_at(msg, len), room, bytes_at(reply, std::min<size_t>(room, 48))});
    calls.emplace_back("send");
    if (answers_.empty())
        return {ENOMSG, {}, {}};
    chan_answer_t answer = std::move(answers_.front());
    answers_.pop_front();
    return answer;
}

int fake_msg_chan_t::send(uint32_t chan, const void *msg, size_t len, void *reply, size_t room)
{
    const chan_answer_t answer = take_answer(chan, msg, len, reply, room);
    if (answer.meanwhile)
        answer.meanwhile();
    const std::lock_guard guard(lock_);
    calls.emplace_back("answered");
    if (answer.error)
        return failed(answer.error);
    if (answer.reply.size() > room)
        return failed(EMSGSIZE);
    if (!answer.reply.empty())
        std::memcpy(reply, answer.reply.data(), answer.reply.size());
    return 0;
}

extern "C" {

int msg_chan_connect(const char *service, uint32_t flags, uint32_t reserved, uint32_t *chan)
{
    return fake_msg_chan().connect(service, flags, reserved, chan, nullptr);
}

int msg_chan_connect_xversion(const char *service, uint32_t flags, uint32_t reserved, uint32_t *chan,
                              const msg_chan_version_t *version)
{
    return fake_msg_chan().connect(service, flags, reserved, chan, version);
}

int msg_chan_disconnect(uint32_t *chan)
{
    return fake_msg_chan().disconnect(chan);
}

int msg_get_conn_connid(uint32_t chan, int32_t *connid)
{
    return fake_msg_chan().connid(chan, connid);
}

int msg_send(uint32_t chan, const void *msg, size_t len, void *reply, size_t room)
{
    return fake_msg_chan().send(chan, msg, len, reply, room);
}

int msg_conn_save_datum(uint32_t chan, msg_clinfo_datum_h datum)
{
    if (fake_msg_chan().save_datum_error)
        return failed(fake_msg_chan().save_datum_error);
    fake_msg_chan().datums[chan] = datum;
    return 0;
}

int msg_conn_get_datum(uint32_t chan, msg_clinfo_datum_h *datum)
{
    if (fake_msg_chan().get_datum_error)
        return failed(fake_msg_chan().get_datum_error);
    *datum = fake_msg_chan().datums[chan];
    return 0;
}
}
