/*
 * Codec of the encoded bind reply.
 */
#include <platform/bind_reply.h>

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>

constexpr uint8_t bind_reply_encoding = 1;
constexpr size_t bind_reply_header = 4;

errcode wirc_rib_bind_reply_decode_ext(wirc_rib_bind_reply_t *decoded, const void *value, size_t length, wirc_alloc_t, uint32_t,
                                       uint32_t)
{
    if (!decoded || !value)
        return EINVAL;
    *decoded = {};
    const auto *bytes = static_cast<const uint8_t *>(value);
    if (length < bind_reply_header || bytes[0] != bind_reply_encoding)
        return EBADMSG;
    if (bytes[1] & WIRC_BIND_REPLY_HAS_MSG_VERSION) {
        uint32_t version;
        if (length < bind_reply_header + sizeof version)
            return EBADMSG;
        memcpy(&version, bytes + bind_reply_header, sizeof version);
        decoded->wbr_msg_version = ntohl(version);
        decoded->wbr_presence = WIRC_BIND_REPLY_HAS_MSG_VERSION;
    }
    return 0;
}

void wirc_rib_bind_reply_free_ext(wirc_rib_bind_reply_t *decoded, wirc_free_t, uint32_t, uint32_t)
{
    if (decoded)
        *decoded = {};
}

size_t wirc_rib_bind_reply_encode(const wirc_rib_bind_reply_t *reply, void *value, size_t room)
{
    const bool has_version = reply->wbr_presence & WIRC_BIND_REPLY_HAS_MSG_VERSION;
    const uint32_t version = htonl(reply->wbr_msg_version);
    const size_t length = bind_reply_header + (has_version ? sizeof version : 0);
    if (length > room)
        return 0;
    const uint8_t header[bind_reply_header] = {bind_reply_encoding,
                                               static_cast<uint8_t>(has_version ? WIRC_BIND_REPLY_HAS_MSG_VERSION : 0)};
    memcpy(value, header, sizeof header);
    if (has_version)
        memcpy(static_cast<uint8_t *>(value) + sizeof header, &version, sizeof version);
    return length;
}
