/*
 * Each allocation of each operation fails once, against a real server. Only the client's thread runs out of memory.
 */
#include "tests/faults/operations.h"
#include "tests/support/failing_alloc.h"

/* Runs an operation whose nth allocation fails. Whether there were so many. */
static bool run_without_memory(fault_rig &rig, const fault_operation &operation, size_t nth, const fault_outcome &healthy)
{
    const std::string what = std::string(operation.name) + ", allocation " + std::to_string(nth);
    SCOPED_TRACE(what);
    watch_over(what);
    rig.begin();
    fault_outcome outcome = {};
    size_t count;
    {
        const failing_alloc fault(nth);
        outcome = operation.run(rig);
        count = fault.count();
    }
    if (!is_told(operation.without_memory, outcome.code) || count < nth) {
        EXPECT_EQ(outcome, healthy);
    }
    rig.expect_usable(operation.changes_channel);
    rig.end();
    rig.expect_all_closed();
    return count >= nth;
}

TEST(faults, every_allocation_fails_once)
{
    const run_dir dir;
    fault_rig rig(dir);
    for (const fault_operation &operation : fault_operations()) {
        rig.begin();
        const fault_outcome healthy = operation.run(rig);
        rig.end();
        EXPECT_FALSE(is_told(operation.without_memory, healthy.code)) << operation.name << ": " << healthy;
        for (size_t nth = 1; run_without_memory(rig, operation, nth, healthy) && !HasFatalFailure();)
            nth++;
    }
}
