#include "identifier.h"

#include "argument.h"
#include "failure.h"
#include "results.h"
#include "srv6_names.h"

#include <cerrno>
#include <cstring>

static std::string refusal_text(errcode code)
{
    switch (code) {
    case EINVAL:
        return "the server finds a value in it that cannot be";
    case EBUSY:
        return "another request has it, or this one has another, which has to be given back first";
    case ENOSPC:
        return "none is left";
    case ENOENT:
        return "it is not held";
    default:
        return error_text(code);
    }
}

static void check(rib_batch_buffer_result result, const std::string &what)
{
    if (result != RIB_BATCH_BUFFER_OK)
        fail("{} cannot be asked for: {}", what, batch_error_text(result));
}

identifier_answer ask_identifier(ipv6_rib_conn_p conn, rib_tableid_td table, rib_protoid_td proto, const std::string &what,
                                 request_putter put)
{
    single_batch batch(conn, table, proto);
    check(ipv6_rib_batch_buffer_init_route(batch.buffer(), &in6addr_any, 0), what);
    check(put(batch.buffer()), what);
    check(ipv6_rib_batch_buffer_add_route3(batch.buffer()), what);
    const rib_batch_route_out &result = batch.send();
    identifier_answer answer;
    std::memcpy(&answer.told, result.ro_answer, sizeof answer.told);
    answer.had_it = result.ro_result == RIB_RESULT_NO_CHANGE;
    if (answer.told.an_code)
        fail("{} was refused: {}", what, refusal_text(answer.told.an_code));
    if (answer.told.an_kind == RIB_ANSWER_NONE)
        fail("{} was not answered: {}", what, ribresulttype_to_string(result.ro_result));
    return answer;
}

ip_prefix prefix_of(const rib_batch_request_answer &told)
{
    return {address_at(told.an_prefix), told.an_prefix_len};
}

const void *context_pointer(uint64_t context)
{
    static_assert(sizeof(uintptr_t) == sizeof context);
    return reinterpret_cast<const void *>(static_cast<uintptr_t>(context));
}

srv6_sid_fmt_info_t format_argument(const std::string &name)
{
    const auto format = format_named(name);
    if (!format)
        fail("'{}': not a SID format ({})", printable(name), format_names());
    return *format;
}
