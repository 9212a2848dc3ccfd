/*
 * Replies that are cut or spoilt in any one place, to every request: each call ends with a result that is documented, and all
 * that it hands out can be walked. The rest is for the sanitizers to see.
 */
#include <cstring>
#include <memory>

#include "tests/lib/request_cases.h"
#include "tests/support/route_bytes.h"

namespace
{
constexpr size_t LOOKUP_ROOM = 221544;

template <bool convert_later> int64_t look_up(ipv6_rib_conn_p conn, errcode *err, uint8_t *)
{
    static const auto route = std::make_unique<ipv6_routetype>();
    const in6_addr_t addr = {};
    const int found = convert_later ? ipv6_rib_route_lookup_internal(conn, 1, &addr, 128, 0, 0, route.get(), err)
                                    : ipv6_rib_route_lookup(conn, 1, &addr, 128, 0, 0, route.get(), err);
    if (found && convert_later)
        ipv6_rib_route_xform(route.get());
    if (found)
        visit_route(route.get());
    return found;
}

std::vector<request_case_t> all_requests()
{
    std::vector<request_case_t> cases = single_requests();
    const bytes_t found = bytes_t(8) + full_route() + DELIMITER;
    cases.push_back({"lookup", look_up<false>, "", LOOKUP_ROOM, found, 1, 0, 8, "", 0, 0});
    cases.push_back({"internal lookup", look_up<true>, "", LOOKUP_ROOM, found, 1, 0, 8, "", 0, 0});
    cases.push_back({"routes", get_and_walk_routes, "", 524288, hex("00000000 00000002 a5") + full_route() + full_route(), 0,
                     IS_CODE, 0, "", 0, ENODATA});
    return cases;
}

/* Calls visit with every proper prefix of a reply and with each place spoilt, as a byte or as a number. The middle of a long
 * reply, which is one of many like it, is sampled. */
template <class visit_t> void each_spoilt(const bytes_t &good, visit_t visit)
{
    for (size_t offset = 0; offset < good.size(); ++offset) {
        if (good.size() > 2048 && offset >= 256 && good.size() - offset > 64 && offset % 41)
            continue;
        visit(slice(good, 0, offset), offset, "ends");
        bytes_t spoilt = good;
        for (const int byte : {good[offset] ^ 0xff, good[offset] ^ 0x01, good[offset] + 1}) {
            spoilt[offset] = static_cast<uint8_t>(byte);
            visit(spoilt, offset, "differs");
        }
        for (const size_t width : {1u, 2u, 4u})
            for (const uint8_t byte : {uint8_t{0x00}, uint8_t{0xff}}) {
                spoilt = good;
                std::fill_n(spoilt.begin() + static_cast<ptrdiff_t>(offset), std::min(width, good.size() - offset), byte);
                visit(spoilt, offset, byte ? "is at its maximum" : "is zero");
            }
    }
}

/* The first word of a reply that stands before zeros. */
errcode told(const bytes_t &reply)
{
    const bytes_t word = slice(reply + bytes_t(4), 0, 4);
    return errcode{word[0]} << 24 | errcode{word[1]} << 16 | errcode{word[2]} << 8 | word[3];
}

/* Whether a code is documented for an answer: the server's own one stands, but for the one that means that nothing is there. */
bool documented(const request_case_t &c, errcode told, errcode code)
{
    if (told)
        return code == (told == RIB_SRV_ERR_NOT_FOUND ? c.not_found : told);
    return code == 0 || code == EBADMSG || (code == EMSGSIZE && c.room == LOOKUP_ROOM);
}

using hostile_reply = client_test;

TEST_F(hostile_reply, every_request_survives_it)
{
    for (const request_case_t &c : all_requests()) {
        SetUp();
        bind();
        each_spoilt(c.reply, [&](const bytes_t &reply, size_t offset, const char *how) {
            fake_msg_chan().forget_calls();
            fake_msg_chan().answer(reply);
            bytes_t out(8000, 0xee);
            errcode err = UNTOUCHED;
            const int64_t result = c.call(conn, &err, out.data());
            captured_tev();
            if (c.ways & TELLS_NO_CODE)
                err = result != c.failed ? 0 : told(reply) ? told(reply) : errcode{EBADMSG};
            const bool failed_whole = result == c.failure(err) && out == bytes_t(out.size(), 0xee);
            EXPECT_TRUE(documented(c, told(reply), err) && (err == 0 || failed_whole))
                << c.name << ": byte " << offset << " " << how << ": " << err << ", result " << result;
        });
    }
}
} // namespace
