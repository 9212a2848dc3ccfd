/*
 * What a server holds before the messages of the input: little, so that they change all of it often.
 */
#include <cstring>

#include "fuzz/server/fuzz_server.h"
#include "ip/rib/wire/request.h"

/* The bytes of a message, zero but for what is put in. */
class message
{
public:
    explicit message(size_t len) : bytes_(len) {}
    message &put(size_t at, std::initializer_list<uint8_t> values)
    {
        std::copy(values.begin(), values.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(at));
        return *this;
    }
    message &text(size_t at, const char *text)
    {
        std::memcpy(&bytes_[at], text, std::strlen(text));
        return *this;
    }
    operator fuzz_bytes() const { return bytes_; }

private:
    std::vector<uint8_t> bytes_;
};

void fuzz_server::populate()
{
    constexpr uint8_t command_register = 9, command_add = 1, best_routes = 10, adds = 1;
    static const char *const names[clients] = {"bgp", "connected", "local"};
    for (uint8_t client = 0; client != clients; ++client) {
        send(client, fuzz_framing::bind,
             message(196).put(27, {1}).text(104, "node").text(136, names[client]).put(180, {0, 44, 0, 4}));
        send(client, fuzz_framing::request,
             message(144).put(23, {command_register}).text(24, names[client]).text(65, "1").put(111, {client}));
        send(client, fuzz_framing::registrations,
             message(76)
                 .put(0, {0x76, 0x80, 0, 0})
                 .put(20, {0, best_routes, 0, 1})
                 .put(44 + 3, {adds, 0xE0, 0x80})
                 .put(60 + 3, {3}));
        /* 2001:db8:0:CLIENT::/64, of the local protocol an address, through interface 1; of the routing one by fe80::1. */
        message route = message(240).put(23, {command_add, 0, client, 0, 0, 0xE0, 0x80});
        route.put(32, {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, client})
            .put(48, {static_cast<uint8_t>(client == 2 ? 128 : 64)})
            .put(79, {1});
        if (client == 0)
            route.put(56, {0xfe, 0x80}).put(71, {1});
        send(client, fuzz_framing::request, route);
    }
}
