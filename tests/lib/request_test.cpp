/*
 * What single requests have in common: their bytes, what is made of the answers, and every failure.
 */
#include "tests/lib/request_cases.h"

namespace
{
class request : public client_test
{
protected:
    void begin(const request_case_t &c)
    {
        SetUp();
        bind();
        answer = c.reply;
    }
    bytes_t refusal(errcode code) const
    {
        bytes_t refused = answer;
        put_net(&refused, 0, code, 4);
        return refused;
    }
    bytes_t answer;
};

/* Calls with everything set to 0xee before: the code is told, and outputs are written only on success. */
void expect(const request_case_t &c, ipv6_rib_conn_p conn, int64_t result, errcode code, bool written, const char *how)
{
    const bytes_t good = hex(c.out), none(good.size(), 0xee);
    bytes_t out(std::max<size_t>(good.size(), 64), 0xee);
    errcode err = UNTOUCHED;
    EXPECT_EQ(c.call(conn, &err, out.data()), result) << how;
    EXPECT_EQ(err, c.ways & TELLS_NO_CODE ? UNTOUCHED : code) << how;
    EXPECT_TRUE(same_bytes(slice(out, 0, good.size()), written ? good : none)) << how;
}
void expect_success(const request_case_t &c, ipv6_rib_conn_p conn, const char *how)
{
    expect(c, conn, c.result, 0, true, how);
}
void expect_failure(const request_case_t &c, ipv6_rib_conn_p conn, errcode code, const char *how)
{
    expect(c, conn, c.failure(code), code, false, how);
}

TEST_F(request, exchanges)
{
    for (const request_case_t &c : single_requests()) {
        SCOPED_TRACE(c.name);
        begin(c);
        fake_msg_chan().answer(answer);
        expect_success(c, conn, "the server agrees");
        EXPECT_TRUE(same_bytes(only_sent(), std::string("0080a505 @20 000000") + c.sent));
        EXPECT_EQ(fake_msg_chan().sent[0].room, c.room);
        bytes_t blank(std::min<size_t>(c.room, 48));
        if (c.ways & PRESET_ID)
            blank[4] = blank[5] = 0xff;
        EXPECT_TRUE(same_bytes(fake_msg_chan().sent[0].area, blank));
        fake_msg_chan().answer(refusal(RIB_SRV_ERR_NOT_FOUND));
        expect_failure(c, conn, c.not_found, "the server finds nothing");
        fake_msg_chan().answer(refusal(0x42d29800));
        expect_failure(c, conn, 0x42d29800, "the server refuses");
        fake_msg_chan().fail(ECONNRESET);
        expect_failure(c, conn, ECONNRESET, "the channel breaks");
        fake_msg_chan().answer(bytes_t(c.room + 1));
        expect_failure(c, conn, EMSGSIZE, "the answer is too long");
    }
}

TEST_F(request, malformed_lists)
{
    for (const request_case_t &c : single_requests()) {
        if (c.list == 0)
            continue;
        SCOPED_TRACE(c.name);
        begin(c);
        answer.resize(c.list); /* one record that leaves the reply, fills it, or leaves room for the delimiter */
        answer.resize(c.room);
        put_net(&answer, c.list + 4, 0x0001ffff, 4);
        fake_msg_chan().answer(answer);
        expect_failure(c, conn, EBADMSG, "a record leaves the reply");
        put_net(&answer, c.list + 6, c.room - c.list - 8, 2);
        fake_msg_chan().answer(answer);
        expect_failure(c, conn, EBADMSG, "no room for the delimiter");
        put_net(&answer, c.list + 6, c.room - c.list - 16, 2);
        fake_msg_chan().answer(answer);
        expect_success(c, conn, "the delimiter ends the reply");
    }
}

TEST_F(request, nothing_is_sent_without_connection_or_memory)
{
    for (const request_case_t &c : single_requests()) {
        SCOPED_TRACE(c.name);
        begin(c);
        if (!(c.ways & OWN_REFUSAL))
            expect_failure(c, nullptr, RIB_LIB_ERR_BAD_ARG, "no connection");
        EXPECT_TRUE(fake_msg_chan().sent.empty());
        fake_msg_chan().answer(answer);
        const failing_alloc alloc(1);
        if (c.ways & ON_STACK)
            expect_success(c, conn, "no memory is needed");
        else
            expect_failure(c, conn, c.no_memory, "no memory");
        EXPECT_EQ(alloc.count(), c.ways & ON_STACK ? 0u : 1u);
        EXPECT_EQ(fake_msg_chan().sent.size(), c.ways & ON_STACK ? 1u : 0u);
    }
}

TEST_F(request, without_an_error_argument)
{
    for (const request_case_t &c : single_requests()) {
        SCOPED_TRACE(c.name);
        begin(c);
        bytes_t out(8000);
        if (c.ways & NEEDS_ERR) {
            EXPECT_EQ(c.call(conn, nullptr, out.data()), c.failed);
            EXPECT_TRUE(fake_msg_chan().sent.empty());
            continue;
        }
        fake_msg_chan().answer(answer);
        EXPECT_EQ(c.call(conn, nullptr, out.data()), c.result);
        fake_msg_chan().answer(refusal(EPERM));
        EXPECT_EQ(c.call(conn, nullptr, out.data()), c.failure(EPERM));
        EXPECT_EQ(c.call(nullptr, nullptr, out.data()),
                  c.ways & OWN_REFUSAL ? RIB_RESULT_NO_CONNECTION : c.failure(RIB_LIB_ERR_BAD_ARG));
    }
}
} // namespace
