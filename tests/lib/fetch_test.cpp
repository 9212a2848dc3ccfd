/*
 * Fetching updates: what is asked for, what each message becomes, when a fetch goes on and ends, and replies that do not
 * hold what they claim.
 */
#include <future>

#include "tests/lib/update_cases.h"
#include "tests/support/client_test.h"
#include "tests/support/route_bytes.h"

namespace
{
constexpr int TRANSIENT = 0x42D29600;
constexpr uint8_t FORMATS[] = {0, 1};
constexpr uint32_t AT_PASSES = update_types({17, 18, 19});

class fetch_test : public client_test
{
protected:
    errcode fetch(uint32_t types = ALL_UPDATES, uint32_t pass_limit = 0)
    {
        log.told.clear();
        return fetch_updates(conn, &log, types, pass_limit);
    }
    /* Fetches one reply with these messages. */
    bytes_t told(const bytes_t &messages, uint32_t types = ALL_UPDATES)
    {
        fake_msg_chan().answer(fetch_reply(1, messages));
        EXPECT_EQ(fetch(types), 0u);
        return log.told;
    }
    static void expect_faults(std::initializer_list<const char *> texts)
    {
        std::vector<tev_line_t> lines;
        for (const char *text : texts)
            lines.push_back(update_fault(text));
        EXPECT_EQ(captured_tev(), lines);
    }
    update_log_t log;
};

TEST_F(fetch_test, the_request_and_the_area)
{
    bind();
    for (const int fetched : {1, 2}) {
        fake_msg_chan().forget_calls();
        EXPECT_EQ(told(bytes_t(100, 0xff)), hex("11")) << fetched;
        EXPECT_TRUE(same_bytes(only_sent(), "0080a505 @20 00000019 @280"));
        EXPECT_EQ(fake_msg_chan().sent[0].chan, fake_msg_chan_t::FIRST_CHAN);
        EXPECT_EQ(fake_msg_chan().sent[0].room, FETCH_ROOM);
        EXPECT_EQ(fake_msg_chan().sent[0].area, bytes_t(48)) << "nothing of an earlier fetch is left";
    }
    told(update_message(1, 12));
    fake_msg_chan().answer(slice(fetch_reply(1, update_message(1, 12)), 0, 12));
    EXPECT_EQ(fetch(), 0u);
    EXPECT_EQ(log.told, hex("11")) << "nor is it told again";
    fake_msg_chan().forget_calls();
    EXPECT_EQ(fetch_updates(nullptr, &log), RIB_LIB_ERR_BAD_ARG);
    EXPECT_EQ(ipv6_rib_fetch_update(nullptr, nullptr, nullptr, 254), static_cast<int32_t>(0u - RIB_LIB_ERR_BAD_ARG));
    EXPECT_TRUE(fake_msg_chan().calls.empty());
}

TEST_F(fetch_test, every_message)
{
    for (const uint8_t format : FORMATS) {
        SetUp();
        bind(format);
        bytes_t messages, expected;
        for (const update_case_t &c : update_cases()) {
            SCOPED_TRACE(std::string(c.name) + " in format " + std::to_string(format));
            const bytes_t message = update_message(format, c.type, c.payload);
            EXPECT_TRUE(same_bytes(told(message), c.told_to(ALL_UPDATES, format) + hex("11")));
            for (unsigned type = 1; type <= 26; ++type) {
                const bytes_t at_end = type == 17 ? hex("11") : bytes_t();
                EXPECT_TRUE(same_bytes(told(message, 1u << type), c.told_to(1u << type, format) + at_end)) << "only " << type;
            }
            messages = messages + message;
            expected = expected + c.told_to(ALL_UPDATES, format);
        }
        EXPECT_TRUE(same_bytes(told(messages), expected + hex("11"))) << "all in one reply";
        expect_faults({});
    }
}

TEST_F(fetch_test, a_state_record_keeps_its_values_within_a_reply)
{
    bind();
    const bytes_t full = update_message(1, 9, hex("00*16 11121314 21222324 c1*240")), empty = update_message(1, 8);
    fake_msg_chan().answer(fetch_reply(0, full + empty));
    fake_msg_chan().answer(fetch_reply(1, empty));
    EXPECT_EQ(fetch(update_types({26})), 0u);
    const bytes_t rest = hex("14 01020304 24232221 c1*240");
    EXPECT_TRUE(same_bytes(log.told, hex("1a 01") + rest + hex("1a 00") + rest + hex("1a 00 00 01020304 00*244")));
}

TEST_F(fetch_test, passes)
{
    const struct {
        const char *name;
        std::vector<int> replies; /* flags, or a negative error */
        uint32_t types, pass_limit;
        errcode code;
        const char *told;
    } cases[] = {
        {"flag 1 ends", {1}, AT_PASSES, 0, 0, "11"},
        {"flag 8 ends", {8}, AT_PASSES, 0, 0, "11"},
        {"no flag goes on", {0, 0x04, 0xffe4, 1}, AT_PASSES, 0, 0, "11 11 11 11"},
        {"flag 2 is told", {2, 3}, AT_PASSES, 0, 0, "11 12 11 12"},
        {"flag 16 is told and ends", {0, 0x10}, AT_PASSES, 0, 0, "11 11 13"},
        {"the order", {0x1b}, AT_PASSES, 0, 0, "11 12 13"},
        {"flag 16 goes on when it is told to nobody", {0x12, 0x10, 9}, update_types({17}), 0, 0, "11 11 11"},
        {"flags without any callback", {0x12, 0, 1}, 0, 0, 0, ""},
        {"the last pass of a limit", {0, 0, 0}, AT_PASSES, 3, RIB_LIB_ERR_PASS_LIMIT, "11 11 11"},
        {"an end in the last pass of a limit", {0, 0, 1}, AT_PASSES, 3, 0, "11 11 11"},
        {"a stop in the last pass of a limit", {0x10}, AT_PASSES, 1, 0, "11 13"},
        {"a transient failure is no pass",
         {-TRANSIENT, 0, -TRANSIENT, -TRANSIENT, 0},
         AT_PASSES,
         2,
         RIB_LIB_ERR_PASS_LIMIT,
         "11 11"},
        {"a transient failure leaves no trace", {-TRANSIENT, 1}, AT_PASSES, 0, 0, "11"},
        {"a failure ends", {-ECONNRESET}, AT_PASSES, 0, ECONNRESET, ""},
        {"a failure in a later pass ends", {2, -EPIPE}, AT_PASSES, 0, EPIPE, "11 12"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        bind();
        for (const int reply : c.replies)
            if (reply < 0)
                fake_msg_chan().fail(-reply);
            else
                fake_msg_chan().answer(fetch_reply(static_cast<uint16_t>(reply)));
        EXPECT_EQ(fetch(c.types, c.pass_limit), c.code);
        EXPECT_TRUE(same_bytes(log.told, c.told));
        EXPECT_EQ(fake_msg_chan().sent.size(), c.replies.size());
        expect_faults({});
    }
    SetUp();
    bind();
    fake_msg_chan().connid_error = EBADF;
    EXPECT_EQ(fetch(), RIB_LIB_ERR_NO_CONNECTION);
    EXPECT_TRUE(fake_msg_chan().sent.empty());
}

TEST_F(fetch_test, lists_of_callbacks)
{
    bind();
    const rib_word_update_cb word = [](uint32_t, void *context) { *static_cast<std::string *>(context) += "10 "; };
    const rib_pass_update_cb pass = [](void *context) { *static_cast<std::string *>(context) += "17 "; };
    const bytes_t reply = fetch_reply(0, update_message(1, 12) + update_message(1, 13, bytes_t(4)));
    for (int pass_number = 0; pass_number < 4; ++pass_number)
        fake_msg_chan().answer(reply);
    std::string calls;
    errcode err = 0;
    ipv6_rib_fetch_update(conn, &calls, &err, 11, 0, 2, 10, word, 22, 23, 11, 2, 25, 0, 27, 255, -1, 11, 1, 17, pass, 254);
    EXPECT_EQ(err, RIB_LIB_ERR_PASS_LIMIT);
    EXPECT_EQ(calls, "10 17 10 17 ") << "types that do not exist take no value; the first limit above 0 counts";
    const std::vector<tev_line_t> lines(16, update_fault("Invalid callback type specified"));
    EXPECT_EQ(captured_tev(), lines) << "in each pass";
    EXPECT_EQ(ipv6_rib_fetch_update(conn, &calls, nullptr, 11, 1, 254), static_cast<int32_t>(0u - RIB_LIB_ERR_PASS_LIMIT));
    EXPECT_EQ(calls, "10 17 10 17 ");
}

/* A rebind takes the locks that a pass holds, here in another thread; the next pass uses the new channel. */
TEST_F(fetch_test, callbacks_hold_no_lock)
{
    bind();
    fake_msg_chan().answer(fetch_reply(0));
    fake_msg_chan().answer(BIND_REPLY);
    fake_msg_chan().answer("00*12");
    fake_msg_chan().answer(fetch_reply(1));
    log.meanwhile = [&] {
        log.meanwhile = {};
        EXPECT_GT(std::async(std::launch::async, [&] { return ipv6_rib_rebind(conn); }).get(), 0);
        EXPECT_EQ(ipv6_rib_update_complete(conn, 1, 0), 0u);
    };
    EXPECT_EQ(fetch(), 0u);
    EXPECT_EQ(log.told, hex("11 11"));
    ASSERT_EQ(fake_msg_chan().sent.size(), 4u);
    EXPECT_EQ(fake_msg_chan().sent[3].chan, fake_msg_chan_t::FIRST_CHAN + 1);
}

/* Replies with two messages, spoilt. Flags and callbacks of the pass are honoured in any case. */
TEST_F(fetch_test, replies_that_claim_what_they_do_not_hold)
{
    constexpr const char *SIZE = "Invalid message size from server1";
    for (const uint8_t format : FORMATS) {
        const bytes_t good = update_message(format, 12);
        const auto reply = [&](const bytes_t &second) { return fetch_reply(0x12, good + second); };
        const auto with_block = [&](int64_t change, int64_t count_change = 0) {
            bytes_t spoilt = reply(good);
            put_net(&spoilt, 4, static_cast<uint64_t>(static_cast<int64_t>(spoilt.size()) - 4 + change), 4);
            put_net(&spoilt, 0, static_cast<uint64_t>(static_cast<int64_t>(spoilt.size()) + count_change), 4);
            return spoilt;
        };
        const size_t head = good.size();
        const char *longer =
            format == 0 ? "fewer bytes remaining than V0 msg contains" : "fewer bytes remaining than V1 msg contains";
        const struct {
            const char *name;
            bytes_t reply;
            size_t told;
            const char *fault;
            uint8_t format_at_bind;
        } cases[] = {
            {"whole", reply(good), 2, nullptr, format},
            {"empty", fetch_reply(0x12), 0, nullptr, format},
            {"an unknown format", reply(good), 0, nullptr, 2},
            {"a block that ends early", with_block(-static_cast<int64_t>(head)), 1, nullptr, format},
            {"a block of 7 bytes", with_block(-static_cast<int64_t>(2 * head) - 1), 0, SIZE, format},
            {"a block of none", with_block(-static_cast<int64_t>(2 * head) - 8), 0, SIZE, format},
            {"a block longer than the reply", with_block(1), 0, SIZE, format},
            {"a block of the maximum", with_block(static_cast<int64_t>(0xffffffff - 2 * head - 8)), 0, SIZE, format},
            {"fewer bytes than the block", with_block(0, -1), 0, SIZE, format},
            {"no bytes", with_block(0, -static_cast<int64_t>(2 * head) - 12), 0, SIZE, format},
            {"a message longer than the rest", reply(update_message(format, 12, {}, 1)), 1, longer, format},
            {"a message of the maximum", reply(update_message(format, 12, {}, 0xffffffff - head)), 1, longer, format},
            {"a message shorter than its header", reply(update_message(format, 12, {}, size_t{0} - 1) + good), 1, SIZE, format},
            {"a message of no length", reply(update_message(format, 12, {}, size_t{0} - head) + good), 1, SIZE, format},
            {"a rest shorter than a header", reply(bytes_t(head - 1, 0xff)), 1, nullptr, format},
            {"a rest of 7 bytes", reply(bytes_t(7, 0xff)), 1, nullptr, format},
            {"a rest of format 0's header", reply(bytes_t(8, 0)), 1, format == 0 ? SIZE : nullptr, format},
        };
        for (const auto &c : cases) {
            SCOPED_TRACE(std::string(c.name) + ", format " + std::to_string(format));
            SetUp();
            bind(c.format_at_bind);
            fake_msg_chan().answer(c.reply);
            EXPECT_EQ(fetch(), 0u);
            EXPECT_TRUE(same_bytes(log.told, hex(c.told == 2   ? "0a 01020304 0a 01020304 111213"
                                                 : c.told == 1 ? "0a 01020304 111213"
                                                               : "111213")));
            if (c.fault)
                expect_faults({c.fault});
            else
                expect_faults({});
        }
    }
}

TEST_F(fetch_test, replies_as_long_as_may_be)
{
    bind();
    fake_msg_chan().answer(fetch_reply(1, update_message(1, 20, bytes_t(FETCH_ROOM - 12 - 16, 0xa5))));
    EXPECT_EQ(fetch(), 0u);
    EXPECT_EQ(log.told, hex("15 01020304") + bytes_t(FETCH_ROOM - 28, 0xa5) + hex("11"));
    for (const uint32_t claimed : {uint32_t{FETCH_ROOM + 1}, 0x80000000, 0xffffffff}) {
        bytes_t reply = fetch_reply(0, update_message(1, 12));
        put_net(&reply, 0, claimed, 4);
        fake_msg_chan().forget_calls();
        fake_msg_chan().answer(reply);
        EXPECT_EQ(fetch(), errcode{EMSGSIZE}) << claimed;
        EXPECT_EQ(log.told, bytes_t());
        EXPECT_EQ(fake_msg_chan().sent.size(), 1u);
    }
    expect_faults({});
}

/* A message that does not hold what is read of it is reported and left out; the next one is told. */
TEST_F(fetch_test, messages_that_do_not_hold_what_is_read)
{
    const struct {
        uint16_t type;
        size_t needed;
        bool in_record;
    } shapes[] = {{4, 72, true}, {5, 88, true}, {6, 12, true}, {9, 264, false}, {11, 16, false}, {14, 8, true}, {15, 16, true}};
    const bytes_t three = hex("00*4 0001 0003 a1a2");
    for (const uint8_t format : FORMATS) {
        SetUp();
        bind(format);
        const bytes_t next = update_message(format, 12);
        const auto expect_left_out = [&](uint16_t type, const bytes_t &payload) {
            SCOPED_TRACE("type " + std::to_string(type) + ", payload of " + std::to_string(payload.size()));
            EXPECT_TRUE(same_bytes(told(update_message(format, type, payload) + next), "0a 01020304 11"));
            expect_faults({"Invalid update message"});
        };
        for (const auto &shape : shapes) {
            const bytes_t whole(shape.needed), less(shape.needed - 1);
            EXPECT_GT(told(update_message(format, shape.type, shape.in_record ? tlv(1, whole) : whole) + next).size(), 6u);
            expect_faults({});
            expect_left_out(shape.type, shape.in_record ? tlv(1, less) : less);
            expect_left_out(shape.type, {});
            if (shape.in_record) {
                expect_left_out(shape.type, slice(tlv(1, whole), 0, 8 + shape.needed - 1));
                expect_left_out(shape.type, bytes_t(7));
            }
        }
        for (const char *count : {"00000002", "40000000", "ffffffff"})
            expect_left_out(15, tlv(1, hex("00*12") + hex(count) + bytes_t(7)));
        for (const bytes_t &payload : {bytes_t(), bytes_t(7), bytes_t(8), three}) {
            expect_left_out(21, payload);
            if (format == 0)
                expect_left_out(20, payload);
        }
    }
}

TEST_F(fetch_test, routes_that_do_not_hold_what_they_claim)
{
    const bytes_t plain = route_of(0, {}), next = update_message(1, 12);
    constexpr const char *NO_ROUTE = "Corrupt buffer? - ROUTE TLV \n";
    const struct {
        const char *name;
        bytes_t payload;
        size_t routes; /* how many are told, all without attributes */
        const char *fault;
    } cases[] = {
        {"another record in a route's place", plain + tlv(5, fixed_part(0)) + DELIMITER + plain, 1, NO_ROUTE},
        {"a short route record", tlv(3, slice(fixed_part(0), 0, 127)) + DELIMITER + plain, 0, NO_ROUTE},
        {"a long route record", tlv(3, fixed_part(0) + bytes_t(1)) + DELIMITER + plain, 0, NO_ROUTE},
        {"a route without its end", plain + slice(plain, 0, plain.size() - 1), 1, ""},
        {"more entries in type 6", route_of(0, tlv(6, hex("0a0b 0002 00*55"))) + plain, 2, ""},
        {"a short type 6", route_of(0, tlv(6, hex("0a0b 00"))) + plain, 2, ""},
        {"more advertisers", route_of(0, tlv(7, hex("02000000 0700 09"))) + plain, 2, ""},
        {"the most advertisers", route_of(0, tlv(7, hex("ffffffff 0700"))) + plain, 2, ""},
        {"short attributes", route_of(0, tlv(7, hex("0100 00")) + tlv(8, hex("0808 01")) + tlv(15, {})) + plain, 2, ""},
    };
    bind();
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        for (const uint16_t type : {uint16_t{2}, uint16_t{10}}) {
            const bytes_t one = told(update_message(1, type, plain), update_types({type == 2 ? 1u : 8u}));
            bytes_t expected;
            for (size_t n = 0; n < c.routes; ++n)
                expected = expected + one;
            EXPECT_TRUE(same_bytes(told(update_message(1, type, c.payload) + next), expected + hex("0a 01020304 11")));
            const auto faults = captured_tev();
            if (*c.fault) {
                EXPECT_EQ(faults, tev_lines({update_fault(c.fault)}));
            }
        }
    }
}
} // namespace
