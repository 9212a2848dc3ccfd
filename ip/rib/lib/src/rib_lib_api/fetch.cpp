/*
 * Fetching updates in passes. The connection's locks are held for the exchange alone; callbacks run without them.
 */
#include "fetch.h"

#include <algorithm>
#include <cerrno>

#include <ipv6_rib/errors.h>
#include <platform/msg_chan.h>

#include "ip/rib/wire/update.h"
#include "locks.h"
#include "read_pool.h"

/* The server is not ready; the pass is repeated at once. */
constexpr errcode TRY_AGAIN = 0x42D29600;

rib_fetch_list::rib_fetch_list(va_list list)
{
    va_list args;
    va_copy(args, list);
    for (int type; (type = va_arg(args, int)) != RIB_UPDATE_END;) {
        if (type == RIB_UPDATE_PASS_LIMIT) {
            const auto limit = va_arg(args, uint32_t);
            pass_limit_ = pass_limit_ ? pass_limit_ : limit;
            limited_ = true;
        } else if (type <= 0 || type > highest || type == 2 || type == 22 || type == 23 || type == 25) {
            rib_log_fetch_update("Invalid callback type specified");
        } else {
            function_[type] = va_arg(args, any_function);
        }
    }
    va_end(args);
}

/* A fetch on its way. */
struct fetch_td {
    ip_rib_conn_p conn;
    void *context;
    void *buffer = nullptr;
    size_t used = 0; /* bytes of the buffer that any pass may have written */
    uint32_t format = 0;
    uint32_t passes = 0;
    errcode code = 0;
};

/* Sends the request and receives the reply. The caller holds the connection's locks. */
static errcode exchange(fetch_td &fetch)
{
    rib_lwm_command_msg request = {.lcm_type = RIB_MSG_LWM, .lcm_command = rib_swap(uint32_t{RIB_CMD_FETCH_UPDATE})};
    int32_t connid;
    if (msg_get_conn_connid(fetch.conn->conn, &connid) != 0)
        return RIB_LIB_ERR_NO_CONNECTION;
    fetch.format = fetch.conn->msg_version;
    if (msg_send(fetch.conn->conn, &request, sizeof request, fetch.buffer, rib_fetch_reply_td::room) == 0)
        return 0;
    fetch.used = rib_fetch_reply_td::room; // a part of it may have come
    return static_cast<errcode>(errno);
}

/* One pass up to its reply, under the connection's locks. */
static errcode receive(fetch_td &fetch)
{
    errcode code;
    do {
        if (const int error = rib_client_mutex_lock_inline(fetch.conn)) {
            rib_log_lock("rib_client_redistribute_fetch", "lock", error);
            return RIB_LIB_ERR_READ_BUF;
        }
        code = exchange(fetch);
        if (const int error = rib_client_mutex_unlock_inline(fetch.conn)) {
            rib_log_lock("rib_client_redistribute_fetch", "unlock", error);
            return RIB_LIB_ERR_READ_BUF;
        }
    } while (code == TRY_AGAIN);
    return code;
}

/* The end of the messages in a reply, or where they begin when the reply tells nonsense. */
static uint8_t *end_of_messages(const rib_fetch_reply_td *reply, uint8_t *begin)
{
    constexpr size_t before_block = offsetof(rib_fetch_reply_td, fr_block);
    if (reply->fr_block < RIB_FETCH_BLOCK_HEAD || reply->fr_block + uint64_t{before_block} > reply->fr_len) {
        rib_log_fetch_update("Invalid message size from server1");
        return begin;
    }
    return begin + reply->fr_block - RIB_FETCH_BLOCK_HEAD;
}

/* Handles one reply. Whether another pass is to follow. */
static bool rib_client_process_fetch_read(fetch_td &fetch, const rib_fetch_list &list)
{
    auto *reply = static_cast<rib_fetch_reply_td *>(fetch.buffer);
    rib_to_host(reply);
    if (reply->fr_len > rib_fetch_reply_td::room) {
        fetch.used = rib_fetch_reply_td::room;
        fetch.code = EMSGSIZE;
        return false;
    }
    fetch.used = std::max<size_t>({fetch.used, reply->fr_len, sizeof *reply});
    fetch.passes++;
    const uint16_t flags = reply->fr_flags;
    rib_fetch_pass pass = {.list = list, .context = fetch.context, .format = fetch.format};
    auto *messages = reinterpret_cast<uint8_t *>(reply + 1);
    rib_client_take_messages(pass, messages, end_of_messages(reply, messages));
    const auto call = [&](int type) {
        const auto callback = list.get<rib_pass_update_cb>(type);
        if (callback)
            callback(fetch.context);
        return callback != nullptr;
    };
    call(RIB_UPDATE_PASS_END);
    if (flags & RIB_FETCH_DUMP_ENDED)
        call(RIB_UPDATE_PASS_FLAG_2);
    if (((flags & RIB_FETCH_STOP) && call(RIB_UPDATE_PASS_STOP)) || (flags & (RIB_FETCH_DONE | RIB_FETCH_DONE_2)))
        return false;
    if (list.pass_limit() != 0 && fetch.passes >= list.pass_limit()) {
        fetch.code = RIB_LIB_ERR_PASS_LIMIT;
        return false;
    }
    return true;
}

static void run(fetch_td &fetch, va_list list)
{
    bool more = true;
    while (more && (fetch.code = receive(fetch)) == 0)
        more = rib_client_process_fetch_read(fetch, rib_fetch_list(list));
}

int32_t rib_client_redistribute_fetch(ip_rib_conn_p conn, void *context, errcode *err, va_list list)
{
    fetch_td fetch = {.conn = conn, .context = context};
    if (!conn) {
        fetch.code = RIB_LIB_ERR_BAD_ARG;
    } else {
        rib_client_get_read_buf(&rib_client_read_buf_pool_instance, &fetch.code, &fetch.buffer);
        if (fetch.buffer) {
            run(fetch, list);
            rib_client_return_read_buf(&rib_client_read_buf_pool_instance, &fetch.code, &fetch.buffer, fetch.used);
        }
    }
    if (err)
        *err = fetch.code;
    return static_cast<int32_t>(0 - fetch.code);
}
