/*
 * The locks around an exchange, beside the same locks of the C library taken by hand: alone, and with another thread on the same
 * connection or on one of its own.
 */
#include <pthread.h>

#include "ip/rib/lib/src/rib_lib_api/locks.h"
#include "ratios.h"

namespace
{
rib_client_struct connections[2];

void prepare(const benchmark::State &)
{
    for (rib_client_struct &conn : connections)
        rib_client_struct_init(&conn);
}

void take_by_hand(ip_rib_conn_p conn)
{
    pthread_rwlock_rdlock(&rib_bind_mutex);
    pthread_mutex_lock(&conn->lock);
    pthread_mutex_unlock(&conn->lock);
    pthread_rwlock_unlock(&rib_bind_mutex);
}

void take(ip_rib_conn_p conn)
{
    rib_client_mutex_lock_inline(conn);
    rib_client_mutex_unlock_inline(conn);
}

template <void (*take_locks)(ip_rib_conn_p), bool own> void bracket(benchmark::State &state)
{
    const ip_rib_conn_p conn = &connections[own ? state.thread_index() : 0];
    for (auto _ : state)
        take_locks(conn);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(bracket<take_by_hand, false>)->Name("by_hand")->Setup(prepare)->UseRealTime();
BENCHMARK(bracket<take, false>)->Name("bracket")->Setup(prepare)->UseRealTime();
BENCHMARK(bracket<take_by_hand, true>)->Name("by_hand_own_connections")->Setup(prepare)->Threads(2)->UseRealTime();
BENCHMARK(bracket<take, true>)->Name("bracket_own_connections")->Setup(prepare)->Threads(2)->UseRealTime();
BENCHMARK(bracket<take_by_hand, false>)->Name("by_hand_one_connection")->Setup(prepare)->Threads(2)->UseRealTime();
BENCHMARK(bracket<take, false>)->Name("bracket_one_connection")->Setup(prepare)->Threads(2)->UseRealTime();
} // namespace

int main(int argc, char **argv)
{
    return run_benchmarks(argc, argv,
                          {{"bracket", "by_hand", "uncontended"},
                           {"bracket_own_connections", "by_hand_own_connections", "two threads, each on its connection"},
                           {"bracket_one_connection", "by_hand_one_connection", "two threads on one connection"}});
}
