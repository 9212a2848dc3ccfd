/*
 * Internal functions that no exported one shows whole: attribute arrays, the form of paths that update fetches use,
 * protocol notifications, and the contracts of the layers below the interface.
 */
#include <climits>
#include <cstring>
#include <memory>

#include "ip/rib/lib/src/rib_addr.h"
#include "ip/rib/lib/src/rib_lib_api/bind.h"
#include "ip/rib/lib/src/rib_lib_api/connection.h"
#include "ip/rib/lib/src/rib_lib_api/locks.h"
#include "ip/rib/lib/src/rib_lib_api/proto_notif.h"
#include "ip/rib/lib/src/rib_lib_api/route_decode.h"
#include "ip/rib/lib/src/rib_lib_api/transport.h"
#include "ip/rib/lib/src/rib_lib_batch/path.h"
#include "ip/rib/lib/src/rib_lib_utils.h"
#include "tests/support/client_test.h"

namespace
{
using internal = client_test;

/* An attribute array with room for every value. */
struct attributes {
    alignas(8) char bytes[2048] = {};
    ip_rib_attr_set_array_td *array() { return reinterpret_cast<ip_rib_attr_set_array_td *>(bytes); }
    int add(unsigned type, const char *value)
    {
        return rib_copy_var_attr_set(array(), static_cast<rib_attr_type_t>(type), value);
    }
};

TEST_F(internal, attributes_are_kept_once_and_refused_when_unknown)
{
    attributes got;
    const char word[] = "abcd", none[64] = {};
    EXPECT_EQ(got.add(3, word), 1);
    EXPECT_EQ(got.add(16, word), 1);
    EXPECT_EQ(got.add(3, word), 0) << "a second of its type";
    for (const unsigned refused : {0u, 8u, 19u, 255u})
        EXPECT_EQ(got.add(refused, word), 0) << refused;
    for (const unsigned counted : {1u, 2u, 4u})
        EXPECT_EQ(got.add(counted, none), 1) << "nothing to add";
    EXPECT_EQ(got.add(5, nullptr), 1) << "nothing to add";
    EXPECT_EQ(got.array()->asa_len, 8 + 5);
    EXPECT_EQ(got.add(5, none), 1) << "that of no setter";
    EXPECT_TRUE(same_bytes(bytes_at(got.bytes, 4 + 8 + 5 + 44), "3900 0000 03 00 0400 'abcd' 10 00 0100 'a' 05 00 2800 00*40"));
    EXPECT_DEATH(rib_copy_var_attr_set(nullptr, RIB_ATTR_ROUTE_L2_INFO, word),
                 "ip/rib/lib/src/rib_lib_utils:.*Assertion `attr_set_array != \\(\\(void\\*\\)0\\)' failed");
}

TEST_F(internal, fetched_paths_leave_parts_of_their_slots_alone)
{
    auto route = std::make_unique<rib_routetype>();
    const bytes_t path =
        hex("01020304 11121314 21222324 a1*4 b1*16 b2*16 31323334 41424344 c1*12 51525354 61626364 c2*4 7172 8182 c3*4");
    const bytes_t record = hex("000000 02 @128") + hex("00*4 0400 5800") + path + hex("00*4 0c00 0200 ffff 00*8") +
                           hex("00*4 0400 5800") + path + hex("00*8");
    std::memcpy(route.get(), record.data(), record.size());
    rib_strip_tlv_from_path(route.get());
    EXPECT_EQ(route->rt_path_count, 2);
    const bytes_t slot = bytes_at(&route->rt_path[0], 88);
    EXPECT_TRUE(same_bytes(slice(slot, 0, 12), "04030201 14131211 24232221"));
    EXPECT_TRUE(same_bytes(slice(slot, 16, 56), "b1*16 b2*16 34333231 44434241 c1*12 54535251"));
    EXPECT_TRUE(same_bytes(slice(slot, 76, 6), "c2*4 0000"));
    /* What is left out is what stood in the slot before: the path's header and its own earlier bytes, already moved over. */
    EXPECT_TRUE(same_bytes(slice(slot, 12, 4), "14131211"));
    EXPECT_FALSE(same_bytes(slice(slot, 72, 4), "64636261"));
    EXPECT_FALSE(same_bytes(slice(slot, 82, 2), "8281"));
    EXPECT_TRUE(captured_tev().empty());
}

TEST_F(internal, notifications_are_kept_in_signed_order)
{
    bind();
    int values[5];
    const int32_t ids[] = {7, -3, INT32_MIN, INT32_MAX, 0};
    EXPECT_EQ(rib_client_proto_notif_first(conn), nullptr);
    for (size_t i = 0; i < 5; i++)
        EXPECT_EQ(rib_client_proto_notif_add(conn, ids[i], &values[i]), 0);
    EXPECT_EQ(rib_client_proto_notif_add(conn, -3, &values[0]), EEXIST);
    EXPECT_EQ(rib_client_proto_notif_find(conn, -3), &values[1]);
    EXPECT_EQ(rib_client_proto_notif_find(conn, 1), nullptr);
    EXPECT_EQ(rib_client_proto_notif_find(nullptr, 1), nullptr);
    for (const size_t next : {2u, 1u, 4u, 0u, 3u}) {
        EXPECT_EQ(rib_client_proto_notif_first(conn), &values[next]);
        EXPECT_EQ(rib_client_proto_notif_rem(conn, ids[next]), 0);
    }
    EXPECT_EQ(rib_client_proto_notif_rem(conn, 7), 0) << "not there";
    EXPECT_EQ(conn->proto_notif, nullptr);
}

TEST_F(internal, the_transport_sends_a_bare_header_and_needs_a_reply)
{
    bind();
    rib_lwm_command_msg msg = {};
    rib_lwm_res_header reply = {};
    fake_msg_chan().answer("01020304");
    EXPECT_EQ(rib_client_lwm_send(conn, RIB_CMD_GET_ROUTES, &msg, 0, &reply, sizeof reply), 0x01020304u);
    EXPECT_TRUE(same_bytes(only_sent(), "0080a505 00*16 0000001a"));
    EXPECT_EQ(rib_client_lwm_send(nullptr, RIB_CMD_GET_ROUTES, &msg, 0, &reply, sizeof reply), RIB_LIB_ERR_NO_CONNECTION);
    EXPECT_DEATH(rib_client_lwm_send_no_lock(conn, RIB_CMD_GET_ROUTES, &msg, 0, nullptr, 0),
                 "rib_lib_api:.*Assertion `reply != \\(\\(void\\*\\)0\\)' failed");
}

TEST_F(internal, records_end_with_what_hangs_on_them)
{
    bind();
    EXPECT_EQ(conn->msg_version, 1u) << "from the reply to the bind";
    rib_client_struct *record = rib_client_struct_allocate(2, 0x0102030405060708);
    EXPECT_EQ(record->client_id, 0xFFFFFFFFu);
    EXPECT_EQ(record->client_context, 0x0102030405060708u);
    record->nh_buff = std::malloc(10);
    record->redist_buff = std::malloc(10);
    rib_client_free_client_struct(&record); // a leak fails the sanitizer build
    rib_client_free_client_struct(&record);
    EXPECT_DEATH(rib_client_free_client_struct(nullptr), "rib_lib_api:.*Assertion `conn' failed");
}

TEST_F(internal, small_contracts)
{
    EXPECT_EQ(rib_client_bind_option("/dev/active_standby"), RIB_BIND_STANDBY);
    EXPECT_EQ(rib_client_bind_option("/dev/active"), RIB_BIND_ACTIVE);
    for (const auto lock :
         {rib_client_mutex_lock, rib_client_mutex_unlock_inline, rib_client_mutex_only_lock_inline, rib_client_mutex_only_unlock})
        EXPECT_EQ(lock(nullptr), EINVAL);
    bind();
    EXPECT_EQ(rib_client_mutex_lock(conn), 0);
    EXPECT_EQ(rib_client_mutex_only_lock_inline(conn), 0) << "the lock is recursive";
    EXPECT_EQ(rib_client_mutex_only_unlock(conn), 0);
    EXPECT_EQ(rib_client_mutex_unlock_inline(conn), 0);
    rib_batch_add_path_in path;
    EXPECT_DEATH(rib_batch_buffer_set_path_infosource(nullptr, &path), "rib_lib_batch:.*Assertion `infosource' failed");
    const in6_addr low = address("01"), high = address("02");
    EXPECT_LT(rib_cmp_addr(&low, &high), 0);
    EXPECT_DEATH(rib_cmp_addr(nullptr, &high), "rib_ipv6_addr_public_funcs:.*Assertion");
}
} // namespace
