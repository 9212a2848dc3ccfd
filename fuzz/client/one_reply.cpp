/*
 * One operation of a family, all of whose messages get the same reply: the first byte chooses the operation, the rest is the
 * reply. The build names the family, and the format of updates.
 */
#include "fuzz/client/operations.h"

static fuzz_bytes reply;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const ipv6_rib_conn_p conn = connect_client(FUZZ_UPDATE_FORMAT);
    static const client_operations operations = FUZZ_FAMILY;
    fuzz_input input(data, size);
    const client_operation operation = operations[input.byte() % operations.size()];
    reply = input.rest();
    next_answer = [] { return std::optional(reply); };
    operation(conn);
    return 0;
}
