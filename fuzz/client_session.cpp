/*
 * Three clients of one process that do what the input says, with an answer of the input's own for every message. A step is a
 * byte that chooses the client, one that chooses the family of the operation and one that chooses the operation; an answer is a
 * block. A number above the longest block breaks the channel, as the end of the input does.
 */
#include <iterator>

#include "fuzz/client/operations.h"

static fuzz_input input;

static std::optional<fuzz_bytes> answer()
{
    constexpr size_t longest = 0xF000;
    if (input.empty())
        return {};
    const size_t len = input.number();
    return len > longest ? std::nullopt : std::optional(input.take(len));
}

static void begin(ipv6_rib_conn_p &conn, uint8_t how)
{
    ipv6_rib_unbind(&conn);
    if (how & 1)
        ipv6_rib_bind(&conn);
    else
        conn = connect_client(how >> 1 & 1);
}

static void step(ipv6_rib_conn_p &conn)
{
    static const client_operations families[] = {request_operations, route_operations,    update_operations,
                                                 batch_operations,   protocol_operations, registration_operations};
    const uint8_t family = input.byte(), number = input.byte();
    if (family < std::size(families)) {
        const client_operations &operations = families[family];
        return operations[number % operations.size()](conn);
    }
    if (number & 1)
        ipv6_rib_rebind(conn);
    else
        begin(conn, number >> 1);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    input = {data, size};
    next_answer = answer;
    ipv6_rib_conn_p clients[3] = {};
    for (ipv6_rib_conn_p &conn : clients)
        conn = connect_client(0);
    while (!input.empty())
        step(clients[input.byte() % std::size(clients)]);
    for (ipv6_rib_conn_p &conn : clients)
        ipv6_rib_unbind(&conn);
    return 0;
}
