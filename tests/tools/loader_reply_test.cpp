/*
 * How the loader accounts for answers that do not fit what was sent. The send is this file's own: it answers with bytes
 * written by hand.
 */
#include "tests/support/hex.h"
#include "tools/failure.h"
#include "tools/loader.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <tuple>

static bytes_t answer; /* results, from offset 48 of the reply */
static int status;

int ipv6_rib_batch_buffer_send(ipv6_rib_conn_p, rib_batch_buffer *buffer, void *reply)
{
    const auto len = static_cast<uint32_t>(48 + answer.size());
    std::memset(reply, 0, 48);
    std::memcpy(reply, &len, sizeof len); // in host order, as the library leaves it
    std::copy(answer.begin(), answer.end(), static_cast<uint8_t *>(reply) + 48);
    ipv6_rib_batch_buffer_clear(buffer);
    return status;
}

namespace
{

/* Results for 2001:db8:N::/48 as they come from the server. */
bytes_t route_result(const std::string &number, uint8_t paths, int result)
{
    bytes_t bytes = hex("01 30 @48 20010db8 " + number + " @336");
    put_net(&bytes, 4, paths, 2);
    put_net(&bytes, 328, static_cast<uint32_t>(result), 4);
    return bytes;
}
bytes_t path_result(uint8_t result)
{
    bytes_t bytes = hex("01 @280");
    bytes[43] = result;
    return bytes;
}
bytes_t good(const std::string &number)
{
    return route_result(number, 1, 0) + path_result(0);
}

const bytes_t first = good("0001");
/* Two routes were sent: 2001:db8:1::/48 and 2001:db8:2::/48. */
const std::tuple<const char *, bytes_t, std::array<uint64_t, 3>> cases[] = {
    // refused, unanswered, strayed
    {"both taken", first + good("0002"), {0, 0, 0}},
    {"nothing changed is no refusal", first + route_result("0002", 1, 4) + path_result(4), {0, 0, 0}},
    {"no answer at all", {}, {0, 2, 0}},
    {"one answer is missing", first, {0, 1, 0}},
    {"the first answer is missing", good("0002"), {0, 1, 1}},
    {"an answer too many", first + good("0002") + good("0003"), {0, 0, 1}},
    {"in the wrong order", good("0002") + first, {0, 0, 2}},
    {"a path without answer", first + route_result("0002", 0, 0), {0, 1, 0}},
    {"a path too many", first + route_result("0002", 2, 0) + path_result(0) + path_result(0), {0, 0, 1}},
    {"a refused route", route_result("0001", 1, -2) + path_result(0) + good("0002"), {1, 0, 0}},
    {"a refused path", first + route_result("0002", 1, 0) + path_result(6), {1, 0, 0}},
    {"a result cut off", slice(first + good("0002"), 0, 616 + 336), {0, 1, 0}},
};

route_loader loader_of_two()
{
    route_loader loader(nullptr, IPV6_RIB_TABLE_DEFAULT, 0, false, {});
    for (const uint64_t number : {1u, 2u})
        loader.add({{address_of(address_bits{0x20010DB80000 | number} << 80), 48}, in6addr_loopback});
    return loader;
}

} // namespace

TEST(loader_reply, every_route_is_accounted_for)
{
    status = 1;
    for (const auto &[name, reply, expected] : cases) {
        answer = reply;
        route_loader loader = loader_of_two();
        loader.flush();
        const load_counts &got = loader.counts();
        EXPECT_EQ((std::array{got.refused, got.unanswered, got.strayed}), expected) << name;
        EXPECT_EQ(got.sent, 2u) << name;
    }
}

TEST(loader_reply, a_message_that_was_not_processed_fails_the_command)
{
    answer.clear();
    for (const int refusal : {0, RIB_RESULT_INVALID_PARAMETER, RIB_RESULT_RPC_ERROR}) {
        status = refusal;
        EXPECT_THAT([] { loader_of_two().flush(); },
                    testing::ThrowsMessage<command_failure>(testing::HasSubstr(ribresulttype_to_string(refusal))));
    }
}
