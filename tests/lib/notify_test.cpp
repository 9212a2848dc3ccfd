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
    return ipv6_rib_notify(fake_manager(manager), 0x0102, handler, fake_manager(9));
}

TEST_F(notify_test, four_managers_and_no_fifth)
{
    for (unsigned manager = 1; manager <= 4; ++manager) {
        EXPECT_EQ(notify(manager), 0u) << manager;
        ASSERT_EQ(fake_events().attached.size(), manager);
        const event_attach_t &attached = fake_events().attached.back();
        EXPECT_EQ(attached.manager, fake_manager(manager));
        EXPECT_EQ(attached.code, 0x0102u);
        EXPECT_EQ(attached.handler, &handler);
        EXPECT_EQ(attached.context, fake_manager(9));
    }
    EXPECT_EQ(notify(5), RIB_LIB_ERR_SIGEVENT_TABLE);
    EXPECT_EQ(notify(3), 0u) << "registered already, whether or not the registry is full";
    EXPECT_EQ(ipv6_rib_unnotify(fake_manager(2)), 0u);
    EXPECT_EQ(notify(5), 0u) << "a place that was freed is used again";
    EXPECT_EQ(notify(2), RIB_LIB_ERR_SIGEVENT_TABLE);
    EXPECT_EQ(ipv6_rib_unnotify(fake_manager(3)), 0u);
    EXPECT_EQ(ipv6_rib_unnotify(fake_manager(3)), RIB_LIB_ERR_SIGEVENT_TABLE) << "a manager has one place";
    EXPECT_EQ(ipv6_rib_bind_mevm(fake_manager(3), &conn), -1);
}

TEST_F(notify_test, failures_register_nothing)
{
    struct {
        const char *name;
        int attach_result;
        errcode init_result, result;
    } const cases[] = {
        {"the handler cannot be attached", -1, 0, EINVAL},
        {"the event cannot be made", 7, ENOSPC, ENOSPC},
        {"the event is not needed, which is no failure", 7, 0x42D28E00, 0},
    };
    for (const auto &c : cases) {
        fake_events().attach_result = c.attach_result;
        fake_events().init_result = c.init_result;
        EXPECT_EQ(notify(1), c.result) << c.name;
        EXPECT_EQ(ipv6_rib_unnotify(fake_manager(1)), RIB_LIB_ERR_SIGEVENT_TABLE) << c.name;
    }
    fake_events().attached.clear();
    EXPECT_EQ(ipv6_rib_notify(fake_manager(1), 1, nullptr, nullptr), errcode{EINVAL});
    const failing_alloc alloc(1);
    EXPECT_EQ(notify(1), errcode{ENOMEM});
    EXPECT_TRUE(fake_events().attached.empty());
}
} // namespace
