/*
 * The registry of event managers: four places, one for each manager.
 */
#include "tests/support/client_test.h"

namespace
{

using notify_test = client_test;

void handler(void *, uint32_t, void *) {}

errcode notify(unsigned manager)
{
    return ipv6_rib_notify(fake_manager(manager), 0x0102, handler, nullptr);
}

TEST_F(notify_test, the_handler_is_attached_as_given)
{
    int context = 0;
    EXPECT_EQ(ipv6_rib_notify(fake_manager(1), 0x01020304, handler, &context), 0u);
    ASSERT_EQ(fake_events().attached.size(), 1u);
    EXPECT_EQ(fake_events().attached[0].manager, fake_manager(1));
    EXPECT_EQ(fake_events().attached[0].code, 0x01020304u);
    EXPECT_EQ(fake_events().attached[0].handler, &handler);
    EXPECT_EQ(fake_events().attached[0].context, &context);
}

TEST_F(notify_test, four_managers_and_no_fifth)
{
    for (unsigned manager = 1; manager <= 4; ++manager)
        EXPECT_EQ(notify(manager), 0u) << manager;
    EXPECT_EQ(notify(5), RIB_LIB_ERR_SIGEVENT_TABLE);
    EXPECT_EQ(notify(3), 0u) << "registered already, whether or not the registry is full";
    EXPECT_EQ(ipv6_rib_unnotify(fake_manager(2)), 0u);
    EXPECT_EQ(notify(5), 0u) << "a place that was freed is used again";
    EXPECT_EQ(notify(2), RIB_LIB_ERR_SIGEVENT_TABLE);
}

TEST_F(notify_test, a_manager_has_one_place)
{
    EXPECT_EQ(notify(1), 0u);
    EXPECT_EQ(notify(1), 0u);
    EXPECT_EQ(ipv6_rib_unnotify(fake_manager(1)), 0u);
    EXPECT_EQ(ipv6_rib_unnotify(fake_manager(1)), RIB_LIB_ERR_SIGEVENT_TABLE);
    EXPECT_EQ(ipv6_rib_bind_mevm(fake_manager(1), &conn), -1);
}

struct failure_case_t {
    const char *name;
    int attach_result;
    errcode init_result;
    errcode result;
};
const failure_case_t failure_cases[] = {
    {"the handler cannot be attached", -1, 0, EINVAL},
    {"the event cannot be made", 7, ENOSPC, ENOSPC},
    {"the event is not needed, which is no failure", 7, 0x42D28E00, 0},
};

TEST_F(notify_test, failures_register_nothing)
{
    for (const failure_case_t &c : failure_cases) {
        fake_events().attach_result = c.attach_result;
        fake_events().init_result = c.init_result;
        EXPECT_EQ(notify(1), c.result) << c.name;
        EXPECT_EQ(ipv6_rib_unnotify(fake_manager(1)), RIB_LIB_ERR_SIGEVENT_TABLE) << c.name;
    }
}

TEST_F(notify_test, no_handler)
{
    EXPECT_EQ(ipv6_rib_notify(fake_manager(1), 1, nullptr, nullptr), errcode{EINVAL});
    EXPECT_TRUE(fake_events().attached.empty());
}

TEST_F(notify_test, no_memory)
{
    const failing_alloc alloc(1);
    EXPECT_EQ(notify(1), errcode{ENOMEM});
    EXPECT_EQ(alloc.count(), 1u);
    EXPECT_TRUE(fake_events().attached.empty());
}

TEST_F(notify_test, unknown_manager)
{
    EXPECT_EQ(ipv6_rib_unnotify(fake_manager(6)), RIB_LIB_ERR_SIGEVENT_TABLE);
}

} // namespace
