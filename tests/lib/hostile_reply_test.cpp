/*
 * Replies that are cut or spoilt in any one place, to every request and to fetches: each call ends with a result that is
 * documented, and all that it hands out can be walked. The rest is for the sanitizers to see.
 */
#include <cstring>
#include <memory>

#include "tests/lib/hostile_reply.h"
#include "tests/lib/request_cases.h"
#include "tests/lib/update_cases.h"
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

/* Fetches a reply, and behind it one that ends the fetch, if it comes to that. Callback 12 is not told how long its payload is,
 * and so cannot look at it. */
void fetch_spoilt(ipv6_rib_conn_p conn, const bytes_t &reply, const std::string &what)
{
    fake_msg_chan().forget_calls();
    fake_msg_chan().forget_answers();
    fake_msg_chan().answer(reply);
    fake_msg_chan().answer(fetch_reply(1));
    update_log_t log;
    const errcode code = fetch_updates(conn, &log, ALL_UPDATES & ~update_types({12}));
    EXPECT_TRUE(code == 0 || code == EMSGSIZE) << what << ": " << code;
    for (const tev_line_t &line : captured_tev())
        EXPECT_EQ(line.mnemonic, "FETCH_UPDATE") << what;
}

TEST_F(hostile_reply, every_fetch_survives_it)
{
    for (const uint8_t format : {uint8_t{0}, uint8_t{1}}) {
        SetUp();
        bind(format);
        for (const update_case_t &c : update_cases())
            each_spoilt(fetch_reply(2, update_message(format, c.type, c.payload)),
                        [&](const bytes_t &reply, size_t offset, const char *how) {
                            fetch_spoilt(conn, reply,
                                         std::string(c.name) + " in format " + std::to_string(format) + ": byte " +
                                             std::to_string(offset) + " " + how);
                        });
    }
}

/* Each message as the last one of a full area, where the sanitizers see the first byte behind it. */
TEST_F(hostile_reply, every_fetch_survives_it_at_the_end_of_its_area)
{
    bind();
    for (const update_case_t &c : update_cases()) {
        const bytes_t message = update_message(1, c.type, c.payload);
        bytes_t reply = fetch_reply(2, update_message(1, 1, bytes_t(FETCH_ROOM - 12 - 16))); /* of a type that nobody hears of */
        each_spoilt(message, [&](const bytes_t &spoilt, size_t offset, const char *how) {
            if (how == std::string_view("is zero")) /* which makes nothing longer */
                return;
            put_net(&reply, 12 + 12, FETCH_ROOM - 12 - spoilt.size(), 4); /* up to there reaches the filling */
            std::copy(spoilt.begin(), spoilt.end(), reply.end() - static_cast<ptrdiff_t>(spoilt.size()));
            fetch_spoilt(conn, reply, std::string(c.name) + ": byte " + std::to_string(offset) + " " + how);
        });
    }
}
} // namespace
