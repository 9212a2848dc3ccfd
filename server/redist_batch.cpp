/*
 * Interests in whole tables, many of them begun and ended by one message.
 */
#include "server/redist_batch.h"

#include <cerrno>
#include <type_traits>

#include "ip/rib/wire/redist_batch.h"
#include "server/redistribution.h"

/* The operation that adds in a mode; RIB_REDIST_OPEN for a mode that the form does not have. */
template <class record_td> static rib_redist_op op_of(uint16_t mode)
{
    switch (mode) {
    case RIB_REDIST_BEST:
        return RIB_REDIST_ADD;
    case RIB_REDIST_ALL:
        return std::is_same_v<record_td, rib_redist_rec_td> ? RIB_REDIST_ADD_18 : RIB_REDIST_OPEN;
    case RIB_REDIST_BEST_FOREIGN:
        return RIB_REDIST_ADD_20;
    case RIB_REDIST_ALL_FOREIGN:
        return RIB_REDIST_ADD_21;
    default:
        return RIB_REDIST_OPEN;
    }
}

static rib_redist_header_td header_of(const uint8_t *msg)
{
    auto header = rib_load<rib_redist_header_td>(msg);
    rib_to_host(&header);
    return header;
}

/* A record of the message; number 0 is the opening record. */
template <class record_td> static record_td record_at(const uint8_t *msg, unsigned number)
{
    auto record = rib_load<record_td>(msg + sizeof(rib_redist_header_td) + number * sizeof(record_td));
    rib_to_host(&record);
    return record;
}

template <class record_td> static bool check(const uint8_t *msg, size_t len)
{
    if (len < sizeof(rib_redist_header_td))
        return false;
    const rib_redist_header_td header = header_of(msg);
    const unsigned count = header.rh_count;
    const rib_redist_op adds = op_of<record_td>(header.rh_mode);
    if (adds == RIB_REDIST_OPEN || header.rh_len > RIB_REDIST_PAYLOAD || header.rh_len != len - sizeof header ||
        header.rh_len != (count + 2) * sizeof(record_td))
        return false;
    for (unsigned number = 1; number <= count; ++number) {
        const auto record = record_at<record_td>(msg, number);
        if ((record.rr_op != adds && record.rr_op != adds + 1) || record.rr_table == 0)
            return false;
    }
    return record_at<record_td>(msg, 0).rr_op == RIB_REDIST_OPEN &&
           record_at<record_td>(msg, count + 1).rr_op == RIB_REDIST_CLOSE;
}

/* Whether the session may have all that the batch adds, whatever it removes. */
template <class record_td> static bool fits(const rib_session &session, const uint8_t *msg)
{
    const rib_redist_header_td header = header_of(msg);
    const auto &interests = session.consumer.interests;
    size_t size = interests.size();
    for (unsigned number = 1; number <= header.rh_count; ++number) {
        const auto record = record_at<record_td>(msg, number);
        size += record.rr_op == op_of<record_td>(header.rh_mode) && !interests.contains({"", "", record.rr_table});
    }
    return size <= RIB_SESSION_INTERESTS;
}

template <class record_td> static void apply(rib_server &server, rib_session &session, const uint8_t *msg)
{
    const rib_redist_header_td header = header_of(msg);
    const rib_interest_words words = {.parent = RIB_NO_PARENT, .mode = header.rh_mode};
    for (unsigned number = 1; number <= header.rh_count; ++number) {
        const auto record = record_at<record_td>(msg, number);
        const rib_interest_key key = {"", "", record.rr_table};
        rib_interest_words with_flags = words;
        with_flags.flags = record.rr_value;
        const auto place = session.consumer.interests.find(key);
        if (record.rr_op == op_of<record_td>(header.rh_mode))
            rib_interest_begin(server, session, key, nullptr, with_flags);
        else if (place != session.consumer.interests.end() && place->second->words.mode == header.rh_mode)
            rib_interest_end(server, session, key);
    }
    rib_forget_ended(session);
}

template <class record_td> static errcode serve(rib_server &server, rib_session &session, const uint8_t *msg, size_t len)
{
    if (!session.bound)
        return EPERM;
    if (!check<record_td>(msg, len))
        return EBADMSG;
    if (!fits<record_td>(session, msg))
        return ENOSPC;
    apply<record_td>(server, session, msg);
    return 0;
}

/* The reply is one word in the byte order of the host. */
size_t rib_serve_redist_batch(rib_server &server, rib_session &session, const uint8_t *msg, size_t len, rib_reply_area area)
{
    uint8_t *reply = area(sizeof(errcode));
    if (!reply)
        return 0;
    const bool issu = rib_load<uint32_t>(msg) == RIB_MSG_REDIST_ISSU;
    const errcode result =
        issu ? serve<rib_redist_issu_rec_td>(server, session, msg, len) : serve<rib_redist_rec_td>(server, session, msg, len);
    rib_store(reply, result);
    return sizeof result;
}
