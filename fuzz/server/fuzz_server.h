/*
 * A whole server on plain memory with three clients. Every message is answered within the area that it asked for; what is
 * behind the area is not the program's, so that a sanitizer sees the first byte too many.
 */
#pragma once

#include <vector>

#include "fuzz/input.h"
#include "server/server.h"

/* What the start of a message is made to say, whatever it said: the type, and the lengths that the server compares. */
enum class fuzz_framing { none, bind, request, routes, protocols, registrations, count };

class fuzz_server
{
public:
    static constexpr size_t clients = 3;

    fuzz_server();
    /* A message from a client, that of the number's remainder. */
    void send(size_t client, fuzz_framing framing, fuzz_bytes bytes);
    void fetch(size_t client);
    /* Its connection ends, and it comes again as another one that has not introduced itself. */
    void come_again(size_t client);
    void pass(uint64_t ms);
    /* Introduces all clients; the first registers a routing protocol, the second connected routes, the third local ones, and the
     * first and second each have a route. */
    void populate();
    /* All clients hear what waits and go, and all that is held ends. Aborts unless that leaves nothing behind. */
    void finish();

private:
    size_t hand_over(rib_session &session, std::vector<uint8_t> msg);
    void fetch_all(size_t client);
    void check_counts() const;
    void check_empty();

    uint64_t now_ = 1000;
    rib_server server_;
    rib_session *sessions_[clients];
};
