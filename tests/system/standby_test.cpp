/*
 * A client that downloads to an active and a standby server goes on with the one when the other dies in the middle, and both
 * end with the same table once the dead one has returned.
 */
#include "replay.h"

#include <chrono>
#include <csignal>
#include <random>
#include <thread>

namespace
{
TEST(standby, carries_on_until_the_active_returns)
{
    const run_dir dir;
    const auto start = [&](const char *role) {
        std::unique_ptr<child_process> ribd(new child_process(start_ribd(dir, {"--role", role})));
        EXPECT_TRUE(ribd->await_line("ready"));
        return ribd;
    };
    const std::vector<table_route> routes = generated_table(dir, 20'000);
    const auto standby = start("standby");
    auto active = start("active");
    producer on_active(routes, ipv6_rib_bind_active, ipv6_rib_rebind_active);
    producer on_standby(routes, ipv6_rib_bind_standby, ipv6_rib_rebind_standby);
    std::mt19937 engine;
    for (uint32_t seed = 1; seed != 11 && !testing::Test::HasFailure(); seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        size_t left = engine() % routes.size(); // changes until the kill
        std::thread killer;
        play(seed, routes.size(), [&](size_t route, uint8_t hop) {
            on_active.change(route, hop);
            on_standby.change(route, hop);
            if (left-- == 0)
                killer = std::thread([&active, moment = engine() % 1000] {
                    std::this_thread::sleep_for(std::chrono::microseconds(moment));
                    active->signal(SIGKILL);
                });
        });
        killer.join();
        EXPECT_EQ(active->wait(), -SIGKILL);
        on_active.finish();
        EXPECT_FALSE(on_active.up());
        on_standby.finish();
        EXPECT_TRUE(on_standby.up());
        const table_td should = table_of(routes, on_standby.choice);
        EXPECT_EQ(difference(listed(on_standby.client.conn), should), "") << "the standby's, alone";
        active = start("active");
        on_active.recover();
        EXPECT_EQ(difference(listed(on_active.client.conn), should), "") << "the new active's";
        EXPECT_EQ(difference(listed(on_standby.client.conn), should), "") << "the standby's, afterwards";
    }
}
} // namespace
