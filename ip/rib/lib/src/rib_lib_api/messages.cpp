/*
 * The message records of the library, exported for programs that know them, and the calls that raise them.
 */
#include "messages.h"

#include <cstring>

#include <ipv6_rib/messages.h>
#include <platform/tev.h>

static_assert(sizeof(tev_msg_rec_t) == 72 && sizeof(tev_msg_limit_t) == 32);

static constexpr uint32_t component = 0x05A5u << 16;

/* Both objects of one message and their getters. */
#define RIB_MESSAGE(name, mnemonic, format, severity, flags, number, limit)                                                      \
    tev_msg_limit_t tev_msg_limit_rib_lib_##name = {limit};                                                                      \
    const tev_msg_rec_t tev_msg_rec_rib_lib_##name = {                                                                           \
        0, format, &tev_msg_limit_rib_lib_##name, "RIB_LIB", "ROUTING", mnemonic, flags, severity, {}, component | (number), 0}; \
    const tev_msg_rec_t *tev_msg_rec_rib_lib_##name##_getfn(void)                                                                \
    {                                                                                                                            \
        return &tev_msg_rec_rib_lib_##name;                                                                                      \
    }                                                                                                                            \
    tev_msg_limit_t *tev_msg_limit_rib_lib_##name##_getfn(void)                                                                  \
    {                                                                                                                            \
        return &tev_msg_limit_rib_lib_##name;                                                                                    \
    }

RIB_MESSAGE(batch_buffer_err, "BATCH_BUFFER_ERR", "Error in batch buffer operation - %s, error: 0x%x", TEV_ERR, 1, 1, 10)
RIB_MESSAGE(batch_buffer_send_err, "BATCH_BUFFER_SEND_ERR", "Client error - %s, redist register batch send just after init",
            TEV_ERR, 1, 2, 10)
RIB_MESSAGE(err_lock_fatal, "ERR_LOCK_FATAL", "%s Pthread %s, unexpected fatal error [%s]", TEV_ERR, 0, 3, 60)
RIB_MESSAGE(err_possible_connection_leak, "ERR_POSSIBLE_CONNECTION_LEAK",
            "RIB client binding with a non-NULL connection handle. Potential client memory leak.", TEV_WARNING, 1, 4, 60)
RIB_MESSAGE(fetch_update, "FETCH_UPDATE", "Error fetching RIB update - %s", TEV_ERR, 1, 5, 10)
RIB_MESSAGE(unbind, "UNBIND", "Failed to %s during client unbind - %s", TEV_WARNING, 0, 6, 60)

void rib_log_batch_buffer(const char *operation, int result)
{
    tev_errmsg(tev_msg_rec_rib_lib_batch_buffer_err_getfn(), TEV_ERR, operation, static_cast<unsigned>(result));
}

void rib_log_lock(const char *who, const char *operation, int error)
{
    tev_errmsg(tev_msg_rec_rib_lib_err_lock_fatal_getfn(), TEV_ERR, who, operation, std::strerror(error));
}

void rib_log_connection_leak()
{
    tev_errmsg(tev_msg_rec_rib_lib_err_possible_connection_leak_getfn(), TEV_WARNING);
}

void rib_log_fetch_update(const char *problem)
{
    tev_errmsg(tev_msg_rec_rib_lib_fetch_update_getfn(), TEV_ERR, problem);
}

void rib_log_unbind(const char *operation, int error)
{
    tev_errmsg(tev_msg_rec_rib_lib_unbind_getfn(), TEV_WARNING, operation, std::strerror(error));
}
