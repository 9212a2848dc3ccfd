/*
 * Codec of the encoded bind reply. On the wire: one byte of encoding version (1), one byte of presence bits, two zero
 * bytes, then the present 32-bit values in the order of their bits, in network order. Unknown presence bits and bytes
 * behind the known values are skipped, so that newer servers can add values.
 */
#ifndef PLATFORM_BIND_REPLY_H
#define PLATFORM_BIND_REPLY_H

#include <stddef.h>
#include <stdint.h>

#include <platform/platform.h>

PLATFORM_BEGIN

#define WIRC_BIND_REPLY_HAS_MSG_VERSION 0x1u
#define WIRC_BIND_REPLY_MAX 8u /* bytes of the longest encoding */

typedef struct wirc_rib_bind_reply {
    uint32_t wbr_msg_version; /* update-message format */
    uint32_t wbr_presence;    /* which values were there */
} wirc_rib_bind_reply_t;

typedef void *(*wirc_alloc_t)(size_t size);
typedef void (*wirc_free_t)(void *block);

/**
 * Decodes; nothing of this record needs memory, so the allocator is not called. Reserved arguments are ignored.
 * @return 0, EINVAL (a NULL argument), EBADMSG (truncated or of another encoding version: *decoded is zero)
 */
PLATFORM_API errcode wirc_rib_bind_reply_decode_ext(wirc_rib_bind_reply_t *decoded, const void *value, size_t length,
                                                    wirc_alloc_t alloc, uint32_t reserved_1, uint32_t reserved_2);
/** Releases what a decode allocated. */
PLATFORM_API void wirc_rib_bind_reply_free_ext(wirc_rib_bind_reply_t *decoded, wirc_free_t release, uint32_t reserved_1,
                                               uint32_t reserved_2);
/** Encodes into room bytes; the length, or 0 when it does not fit. */
PLATFORM_API size_t wirc_rib_bind_reply_encode(const wirc_rib_bind_reply_t *reply, void *value, size_t room);

PLATFORM_END

#endif
