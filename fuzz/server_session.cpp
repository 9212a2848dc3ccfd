/*
 * The life of a server: three clients that send what the input says, framed as it says, fetch, go and come again, while time
 * passes. A step is a byte that chooses the client, one that chooses what it does, and what that takes.
 */
#include "fuzz/server/fuzz_server.h"

static void step(fuzz_server &server, fuzz_input &input)
{
    enum : uint8_t { fetch = static_cast<uint8_t>(fuzz_framing::count), come_again, pass, kinds };
    const uint8_t client = input.byte(), kind = input.byte() % kinds;
    if (kind == fetch)
        server.fetch(client);
    else if (kind == come_again)
        server.come_again(client);
    else if (kind == pass)
        server.pass(input.number());
    else
        server.send(client, static_cast<fuzz_framing>(kind), input.block());
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzz_server server;
    for (fuzz_input input(data, size); !input.empty();)
        step(server, input);
    server.finish();
    return 0;
}
