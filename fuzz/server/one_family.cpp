/*
 * Messages of one family to a server that holds a little, or has not met its clients: a run of them, each led by a byte that
 * chooses the client and two bytes of length. The build names the family.
 */
#include "fuzz/server/fuzz_server.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    constexpr fuzz_framing framing = fuzz_framing::FUZZ_FAMILY;
    fuzz_server server;
    if (framing != fuzz_framing::bind)
        server.populate();
    for (fuzz_input input(data, size); !input.empty();) {
        const uint8_t client = input.byte();
        server.send(client, framing, input.block());
    }
    server.finish();
    return 0;
}
