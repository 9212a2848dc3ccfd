/*
 * SRv6 in a batch: SID lists of paths that are refused, and requests for SIDs and IIDs.
 */
#include "tests/support/attribute_steps.h"
#include "tests/support/fake_srv6.h"

namespace
{
constexpr auto OK = RIB_BATCH_BUFFER_OK, FULL = RIB_BATCH_BUFFER_FULL, ERROR = RIB_BATCH_BUFFER_ERROR;
const in6_addr NO_ADDR = {};

class srv6 : public testing::Test
{
protected:
    srv6() { captured_tev(); }
    ~srv6() override { fake_srv6() = {}; }
};

/* A list of one SID with its format and structure. */
std::string sid_list(const char *count_and_function, const char *format, const char *sid, const char *structure)
{
    return std::string(count_and_function) + format + " 00*12 " + sid + " " + structure + " 00*12";
}

TEST_F(srv6, refused_lists_are_logged_once)
{
    const std::string good = sid_list("01 000000 02000000", "01000000", "fc 00*14 01", "00*4");
    const std::string unknown_format = sid_list("01 000000 01000000", "63000000", "fc 00*14 01", "00*4");
    constexpr auto INTEROP_FAILED = RIB_BATCH_BUFFER_SID_INTEROP_FAILED;
    std::string most = "18 000000 04000000";
    for (unsigned sid = 0; sid < 24; ++sid)
        most += " 00*16 fc 00*31";
    const step_t nothing = all({});
    const struct {
        const char *name;
        std::string list;
        int result;
        step_t before = all({}); /* behind the opened path */
        std::function<int(srv6_sid_list_t *)> interop = nullptr, lengths = nullptr;
    } cases[] = {
        {"24 SIDs", most, OK},
        {"no SIDs", "00 000000 01000000", ERROR},
        {"25 SIDs", "19 000000 00000000", RIB_BATCH_BUFFER_TOO_MANY_SIDS},
        {"headend behaviour 0", sid_list("01 000000 00000000", "63000000", "00*16", "00*4"),
         RIB_BATCH_BUFFER_INVALID_TRANSIT_FUNC},
        {"the behaviour before the route", sid_list("01 000000 00010000", "00000000", "fc 00*15", "00*4"),
         RIB_BATCH_BUFFER_INVALID_TRANSIT_FUNC, ipv6_rib_batch_buffer_complete},
        {"the route before the format", unknown_format, ERROR, ipv6_rib_batch_buffer_complete},
        {"an unknown format", unknown_format, INTEROP_FAILED},
        {"a failure of the format", good, INTEROP_FAILED, nothing, [](auto) { return -1; }},
        {"the format before the SID", sid_list("01 000000 01000000", "63000000", "00*16", "00*4"), INTEROP_FAILED},
        {"the SID ::", sid_list("01 000000 01000000", "01000000", "00*16", "00*4"), ERROR},
        {"any other result for the lengths", good, 0, nothing, nullptr, [](auto) { return 0; }},
        {"behind a path", good, ERROR, add_path},
    };
    for (const auto &c : cases)
        for (const bool add : {true, false}) {
            SCOPED_TRACE(std::string(c.name) + (add ? "" : ", withdrawn"));
            const batch_buffer_owner buffer = used_batch();
            ASSERT_EQ(all({add ? open_path : open_withdrawal, c.before})(buffer.get()), OK);
            fake_srv6().interop = c.interop;
            fake_srv6().lengths = c.lengths;
            const step_t set =
                given(add ? ipv6_rib_batch_buffer_path_set_srv6_sid_list : ipv6_rib_batch_buffer_path_del_srv6_sid_list, c.list);
            check_result(buffer, set, static_cast<result_t>(c.result), c.result == OK);
            char text[80];
            std::snprintf(text, sizeof text, "Error in batch buffer operation - SRv6 SID list add, error: 0x%x",
                          static_cast<unsigned>(c.result));
            const std::vector<tev_line_t> line = {{"BATCH_BUFFER_ERR", 3, text}};
            EXPECT_EQ(captured_tev(), c.result == OK || c.result == INTEROP_FAILED ? std::vector<tev_line_t>() : line);
        }
    for (const auto set : {ipv6_rib_batch_buffer_path_set_srv6_sid_list, ipv6_rib_batch_buffer_path_del_srv6_sid_list})
        EXPECT_EQ(set(used_batch().get(), nullptr), ERROR);
    const batch_buffer_owner buffer = used_batch();
    EXPECT_EQ(all({open_path, given(ipv6_rib_batch_buffer_path_set_srv6_sid_list, good)})(buffer.get()), OK);
    check_result(buffer, given(ipv6_rib_batch_buffer_path_set_srv6_sid_list, good), ERROR, false);
    EXPECT_EQ(captured_tev().size(), 3u) << "no list twice, and a second one";
}

const auto CONTEXT = reinterpret_cast<const void *>(uintptr_t{0x0102030405060708});
const std::string CONTEXT_BYTES = " 0807060504030201 ";
const std::string SID_REQUEST = "12000000 02*4 03*224 34120000 04*4", IID_REQUEST = "05*64 06*4 07*4 08*80 ";

/* A request given by its bytes. */
template <class request_td> step_t asked(result_t (*ask)(rib_batch_buffer *, const request_td *, const void *), std::string text)
{
    return [=](rib_batch_buffer *b) {
        bytes_t request = hex(text);
        return ask(b, as<request_td>(request), CONTEXT);
    };
}
const step_t ask_sid = asked(ipv6_rib_batch_buffer_add_srv6_sid_req, SID_REQUEST);
const step_t ask_iid = asked(ipv6_rib_batch_buffer_add_iid_req, IID_REQUEST);
const step_t give_iid_back = [](auto b) {
    bytes_t request = hex(IID_REQUEST);
    return ipv6_rib_batch_buffer_free_iid_req(b, as<ip_rib_iid_req_t>(request), 0xf1f2f3f4, CONTEXT);
};
const step_t open_zero_route = [](auto b) { return ipv6_rib_batch_buffer_init_route(b, &NO_ADDR, 0); };
const step_t one_table = [](auto b) { return ipv6_rib_batch_buffer_init(b, 0xE0803FFF, 1), OK; };
const step_t many_tables = [](auto b) { return ipv6_rib_batch_buffer_init2(b), OK; };
step_t table(rib_tableid_td table)
{
    return [=](auto b) { return ipv6_rib_batch_table_init(b, table, 1); };
}

/* A route ::/0 with one attribute, as it travels. */
std::string zero_route(const char *attribute)
{
    return std::string("01 00 0e 00 00*4 00008000 @20 00100001 00*7 80 @41 ffff 0000 01 @64 ") + attribute;
}
bytes_t sid_route(const std::string &flags)
{
    return hex(zero_route("0104 0000 0e 00 0001 ") + SID_REQUEST + CONTEXT_BYTES + flags + " @596");
}
bytes_t iid_route(const std::string &flags)
{
    return hex(zero_route("00ac 0000 0f 00 a800 ") + IID_REQUEST + flags + CONTEXT_BYTES + " @508");
}

TEST_F(srv6, requests)
{
    const struct {
        const char *name;
        step_t ask;
        bytes_t record;
    } cases[] = {
        {"a SID", ask_sid, sid_route("00*4 00*4")},
        {"a SID back", asked(ipv6_rib_batch_buffer_free_srv6_sid_req, SID_REQUEST), sid_route("01000000 00*4")},
        {"at once", asked(ipv6_rib_batch_buffer_immediate_free_srv6_sid_req, SID_REQUEST), sid_route("01000000 01000000")},
        {"an IID", ask_iid, iid_route("00*4 00*4")},
        {"an IID back", give_iid_back, iid_route("01000000 f4f3f2f1")},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const batch_buffer_owner buffer = used_batch();
        EXPECT_EQ(all({one_table, open_zero_route, c.ask})(buffer.get()), OK);
        EXPECT_EQ(ipv6_rib_batch_buffer_add_route3(buffer.get()), OK);
        EXPECT_TRUE(same_bytes(batch_view_t{buffer.get()}.data(), c.record));
        check_result(buffer, c.ask, ERROR, false);
        const std::string unit = "ip/rib/lib/src/rib_lib_batch.*Assertion `";
        const bool sid = c.name != std::string_view("an IID") && c.name != std::string_view("an IID back");
        EXPECT_DEATH(c.ask(nullptr), unit + (sid ? "\\(\\(void\\*\\)0\\) != buffer'" : "buffer != \\(\\(void\\*\\)0\\)'"));
    }
    const batch_buffer_owner buffer = used_batch();
    EXPECT_DEATH(ipv6_rib_batch_buffer_add_srv6_sid_req(buffer.get(), nullptr, CONTEXT), "`\\(\\(void\\*\\)0\\) != sid_req'");
    EXPECT_DEATH(ipv6_rib_batch_buffer_free_iid_req(buffer.get(), nullptr, 1, CONTEXT), "`iid_req != \\(\\(void\\*\\)0\\)'");
}

TEST_F(srv6, what_a_sid_request_may_ask_for)
{
    constexpr auto OPCODE = RIB_BATCH_BUFFER_INVALID_OPCODE, WORD = RIB_BATCH_BUFFER_INVALID_SID_REQ;
    const struct {
        uint32_t word, opcode;
        const char *prefix;
        result_t result;
        int consulted; /* the platform, about the opcode; it refuses 0 and 0x10000 */
    } cases[] = {
        {18, 1, "00", OK, 1},
        {18, 0xFFFE, "00", OK, 1},
        {18, 0xFFFF, "00", OK, 0},
        {18, 0xFFFF0000, "00", OK, 0},
        {18, 0xFFFFFFFF, "00", OK, 0},
        {0xFFFFFFFE, 1, "00", OK, 1},
        {18, 0, "00", OPCODE, 1},
        {18, 0x10000, "00", OPCODE, 1},
        {0, 0x10000, "01", OPCODE, 1},
        {0, 1, "01", WORD, 1},
        {0xFFFFFFFF, 1, "00", WORD, 1},
        {18, 1, "20010db8", RIB_BATCH_BUFFER_NOT_ZERO_PREFIX, 1},
        {18, 1, "00*15 01", RIB_BATCH_BUFFER_NOT_ZERO_PREFIX, 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.word << " " << c.opcode << " " << c.prefix);
        int consulted = 0;
        fake_srv6().opcode = [&](uint32_t opcode) { return ++consulted, opcode == c.opcode && opcode != 0 && opcode != 0x10000; };
        const batch_buffer_owner buffer = used_batch();
        const in6_addr prefix = address(c.prefix);
        ipv6_rib_batch_buffer_init_route(buffer.get(), &prefix, 128);
        const srv6_sid_req_t request = {.sr_func = c.word, .sr_opcode = c.opcode};
        check_result(
            buffer, [&](auto b) { return ipv6_rib_batch_buffer_add_srv6_sid_req(b, &request, nullptr); }, c.result,
            c.result == OK);
        EXPECT_EQ(consulted, c.consulted);
    }
}

TEST_F(srv6, tables_that_may_have_an_iid_request)
{
    const auto init = [](rib_tableid_td id) -> step_t {
        return [=](auto b) { return ipv6_rib_batch_buffer_init(b, id, 1), OK; };
    };
    const step_t clear = [](auto b) { return ipv6_rib_batch_buffer_clear(b), OK; };
    constexpr auto REFUSED = RIB_BATCH_BUFFER_NOT_IID_TABLE;
    const struct {
        const char *name;
        step_t tables;
        result_t result;
    } cases[] = {
        {"IIDs", init(0xE0803FFF), OK},
        {"default IPv4", init(0xE0000000), OK},
        {"default IPv6", init(0xE0800000), OK},
        {"another", init(0xE0800001), REFUSED},
        {"the other byte order", init(0xFF3F80E0), REFUSED},
        {"many, IIDs", all({many_tables, table(0xE0803FFF)}), OK},
        {"many, default IPv4", all({many_tables, table(0xE0000000)}), OK},
        {"many, default IPv6 behind another", all({many_tables, table(7), table(0xE0800000)}), OK},
        {"many, another behind IIDs", all({many_tables, table(0xE0803FFF), table(7)}), REFUSED},
        {"many, none open", many_tables, REFUSED},
        {"many, none open any more", all({many_tables, table(0xE0803FFF), clear}), REFUSED},
        {"many, and one of them before", all({init(0xE0803FFF), many_tables}), REFUSED},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const batch_buffer_owner buffer = used_batch();
        ASSERT_EQ(all({c.tables, open_zero_route})(buffer.get()), OK);
        check_result(buffer, ask_iid, c.result, c.result == OK);
    }
    EXPECT_EQ(ipv6_rib_batch_get_iid_tableid(), 0xE0803FFFu);
    EXPECT_EQ(ipv6_rib_clear_iid_by_vrfid(1), 0u);
}

TEST_F(srv6, iid_requests_in_one_call)
{
    constexpr uint32_t LIMIT = 63440, TABLE = 12, ALL = 12 + 508;
    bytes_t request = hex(IID_REQUEST);
    const auto *iid = as<ip_rib_iid_req_t>(request);
    const auto add = [&](auto b) { return ipv6_rib_batch_buffer_add_iid_only_req(b, 0x0506, iid, CONTEXT); };
    const auto give_back = [&](auto b) { return ipv6_rib_batch_buffer_free_iid_only_req(b, 0x0506, iid, 0xf1f2f3f4, CONTEXT); };
    const struct {
        uint32_t filled;
        result_t result;
        uint32_t added;
    } cases[] = {
        {0, OK, ALL},
        {LIMIT - ALL, OK, ALL},
        {LIMIT - ALL + 4, FULL, ALL},
        {LIMIT - 348, FULL, ALL},
        {LIMIT - 344, FULL, TABLE}, /* the step that opens the table says so */
        {LIMIT, FULL, TABLE},
    };
    const batch_buffer_owner buffer = allocate_batch(1);
    const batch_view_t view{buffer.get()};
    for (const auto &c : cases)
        for (const bool free : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.filled << (free ? ", back" : ""));
            many_tables(buffer.get());
            fill_to(buffer.get(), c.filled);
            EXPECT_EQ(free ? give_back(buffer.get()) : add(buffer.get()), c.result);
            bytes_t expected = hex("06 00 0605 00*4 ff3f80e0"); /* open */
            const uint32_t behind = c.filled + TABLE;
            std::memcpy(expected.data() + 4, &behind, sizeof behind);
            if (c.added == ALL)
                expected = expected + iid_route(free ? "01000000 f4f3f2f1" : "00*4 00*4");
            EXPECT_TRUE(same_bytes(slice(view.data(), c.filled, SIZE_MAX), expected));
            EXPECT_EQ(view.data_len(), c.filled + c.added);
        }
    const bytes_t before = view.all();
    EXPECT_EQ(ipv6_rib_batch_buffer_iid_table_init(buffer.get(), 1), ERROR);
    EXPECT_EQ(add(buffer.get()), ERROR) << "over the limit";
    EXPECT_TRUE(same_bytes(view.all(), before));
    EXPECT_EQ(give_back(nullptr), ERROR);

    ipv6_rib_batch_buffer_clear(buffer.get());
    ipv6_rib_batch_buffer_init(buffer.get(), 7, 1);
    EXPECT_EQ(add(buffer.get()), RIB_BATCH_BUFFER_NOT_IID_TABLE);
    EXPECT_TRUE(same_bytes(view.data(), "06 00 0506 0000000c e0803fff")) << "what was done stays";
    many_tables(buffer.get());
    EXPECT_EQ(ipv6_rib_batch_buffer_iid_table_init(buffer.get(), 0x0506), OK);
    EXPECT_TRUE(same_bytes(view.data(), "06 00 0605 0c000000 ff3f80e0"));
}
} // namespace
