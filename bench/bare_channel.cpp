/*
 * A client that sends and receives, and a server that only answers.
 */
#include "bare_channel.h"

#include <cstdlib>
#include <vector>

#include <platform/msg_chan.h>

#include "bare_server.h"
#include "bench_client.h"

void bench_bare_channel(benchmark::State &state, size_t sent, size_t answered, size_t items)
{
    bare_server server(bench_run_dir(), "/dev/bench", [=](const uint8_t *, size_t) { return answered; });
    uint32_t chan;
    if (msg_chan_connect("/dev/bench", 0, 0, &chan) != 0)
        std::abort();
    std::vector<char> msg(sent), reply(answered);
    for (auto _ : state)
        if (msg_send(chan, msg.data(), msg.size(), reply.data(), reply.size()) != 0)
            state.SkipWithError("send failed");
    msg_chan_disconnect(&chan);
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(items));
}
