/*
 * Birth and death of connection records.
 */
#include "connection.h"

#include <cstdlib>
#include <cstring>

#include "../rib_fatal.h"
#include "messages.h"

ip_rib_conn_p rib_client_struct_allocate(uint32_t afi, uint64_t context)
{
    auto *conn = static_cast<ip_rib_conn_p>(std::calloc(1, sizeof(rib_client_struct)));
    if (conn) {
        conn->client_id = RIB_ID_NONE;
        conn->afi = afi;
        conn->client_context = context;
    }
    return conn;
}

static int init_recursive(pthread_mutex_t *lock, const char **step)
{
    pthread_mutexattr_t attr;
    *step = "mutexattr init";
    int error = pthread_mutexattr_init(&attr);
    if (error)
        return error;
    *step = "mutexattr setrecursive";
    error = pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
    if (!error) {
        *step = "lock init";
        std::memset(lock, 0, sizeof *lock);
        error = pthread_mutex_init(lock, &attr);
    }
    pthread_mutexattr_destroy(&attr);
    return error;
}

bool rib_client_struct_init(ip_rib_conn_p conn)
{
    const char *step;
    const int error = init_recursive(&conn->lock, &step);
    if (error)
        rib_log_lock("rib_client_struct_init", step, error);
    return error == 0;
}

void rib_client_free_client_struct(struct rib_client_struct **conn)
{
    rib_fatal_unless(conn, "conn");
    if (!*conn)
        return;
    (*conn)->client_id = RIB_ID_NONE;
    std::free((*conn)->nh_buff);
    (*conn)->nh_buff = nullptr;
    std::free((*conn)->redist_buff);
    (*conn)->redist_buff = nullptr;
    std::free((*conn)->lookup_reply);
    std::free(*conn);
    *conn = nullptr;
}
