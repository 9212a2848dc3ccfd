/*
 * The records through which the library reports trouble to the platform's message facility, for programs that want to
 * recognise them: each with its rate-limit record and with getters that give the addresses. The layout is the
 * facility's (<platform/tev.h>).
 */
#ifndef IPV6_RIB_MESSAGES_H
#define IPV6_RIB_MESSAGES_H

#include <ipv6_rib/types.h>

IPV6_RIB_BEGIN

struct tev_msg_rec;
struct tev_msg_limit;

#define IPV6_RIB_MESSAGE(name)                                                                                                   \
    IPV6_RIB_API extern const struct tev_msg_rec tev_msg_rec_rib_lib_##name;                                                     \
    IPV6_RIB_API extern struct tev_msg_limit tev_msg_limit_rib_lib_##name;                                                       \
    IPV6_RIB_API const struct tev_msg_rec *tev_msg_rec_rib_lib_##name##_getfn(void);                                             \
    IPV6_RIB_API struct tev_msg_limit *tev_msg_limit_rib_lib_##name##_getfn(void);

IPV6_RIB_MESSAGE(batch_buffer_err)             /* an attribute was refused */
IPV6_RIB_MESSAGE(batch_buffer_send_err)        /* kept for programs that know it; never raised */
IPV6_RIB_MESSAGE(err_lock_fatal)               /* a lock or disconnect failed */
IPV6_RIB_MESSAGE(err_possible_connection_leak) /* a bind found its handle set */
IPV6_RIB_MESSAGE(fetch_update)                 /* an update or a route record could not be decoded */
IPV6_RIB_MESSAGE(unbind)                       /* disconnecting failed during an unbind */

#undef IPV6_RIB_MESSAGE

IPV6_RIB_END

#endif
