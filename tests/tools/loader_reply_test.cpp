/*
 * How the loader accounts for answers that do not fit what was sent. The send is this file's own: it answers with bytes
 * written by hand.
 */
#include "tests/support/hex.h"
#include "tools/failure.h"
#include "tools/loader.h"

#include <gtest/gtest.h>

#include <cstring>

static bytes_t answer; /* results, from offset 48 of the reply */
static int status;

int ipv6_rib_batch_buffer_send(ipv6_rib_conn_p, rib_batch_buffer *buffer, void *reply)
{
    const auto len = static_cast<uint32_t>(48 + answer.size());
    std::memset(reply, 0, 48);
    std::memcpy(reply, &len, sizeof len); // in host order, as the library leaves it
    std::memcpy(static_cast<uint8_t *>(reply) + 48, answer.data(), answer.size());
    ipv6_rib_batch_buffer_clear(buffer);
    return status;
}

namespace
{

/* Results for 2001:db8:N::/48 as they come from the server. */
bytes_t route_result(const char *number, const char *paths, const char *result)
{
    return hex(std::string("01 30 0000 ") + paths + "@48 20010db8 " + number + "@328 " + result + "@336");
}
bytes_t path_result(const char *result)
{
    return hex(std::string("01 @40 ") + result + "@280");
}
bytes_t good(const char *number)
{
    return route_result(number, "0001", "00000000") + path_result("00000000");
}

struct reply_case {
    const char *name;
    bytes_t answer;
    uint64_t refused = 0, unanswered = 0, strayed = 0;
};
/* Two routes were sent: 2001:db8:1::/48 and 2001:db8:2::/48. */
const reply_case cases[] = {
    {"both taken", good("0001") + good("0002")},
    {"nothing changed is no refusal", good("0001") + route_result("0002", "0001", "00000004") + path_result("00000004")},
    {"no answer at all", {}, 0, 2},
    {"one answer is missing", good("0001"), 0, 1},
    {"the first answer is missing", good("0002"), 0, 1, 1},
    {"an answer too many", good("0001") + good("0002") + good("0003"), 0, 0, 1},
    {"in the wrong order", good("0002") + good("0001"), 0, 0, 2},
    {"a path without answer", good("0001") + route_result("0002", "0000", "00000000"), 0, 1},
    {"a path too many",
     good("0001") + route_result("0002", "0002", "00000000") + path_result("00000000") + path_result("00000000"), 0, 0, 1},
    {"a refused route", route_result("0001", "0001", "fffffffe") + path_result("00000000") + good("0002"), 1},
    {"a refused path", good("0001") + route_result("0002", "0001", "00000000") + path_result("00000006"), 1},
    {"a result cut off", slice(good("0001") + good("0002"), 0, 616 + 336), 0, 1},
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
    for (const reply_case &c : cases) {
        answer = c.answer;
        route_loader loader = loader_of_two();
        loader.flush();
        EXPECT_EQ(loader.counts().refused, c.refused) << c.name;
        EXPECT_EQ(loader.counts().unanswered, c.unanswered) << c.name;
        EXPECT_EQ(loader.counts().strayed, c.strayed) << c.name;
        EXPECT_EQ(loader.counts().sent, 2u) << c.name;
    }
}

TEST(loader_reply, a_message_that_was_not_processed_fails_the_command)
{
    answer.clear();
    for (const int refusal : {0, RIB_RESULT_INVALID_PARAMETER, RIB_RESULT_RPC_ERROR}) {
        status = refusal;
        route_loader loader = loader_of_two();
        try {
            loader.flush();
            ADD_FAILURE() << "status " << refusal << " passed";
        } catch (const command_failure &failure) {
            EXPECT_NE(std::string(failure.what()).find(ribresulttype_to_string(refusal)), std::string::npos) << failure.what();
        }
    }
}
