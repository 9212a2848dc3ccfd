#include "results.h"

#include <fmt/format.h>

#include <cstring>
#include <numeric>

std::string error_text(errcode code)
{
    switch (code) {
    case RIB_LIB_ERR_BAD_ARG:
        return "an argument is missing";
    case RIB_LIB_ERR_NO_MEMORY:
        return "out of memory";
    case RIB_LIB_ERR_NO_CONNECTION:
        return "there is no connection";
    case RIB_LIB_ERR_CLIENT_INFO:
        return "the names of this node or process are not to be had";
    case RIB_LIB_ERR_BATCH_SEND:
        return "it did not reach the server";
    case RIB_SRV_ERR_NOT_FOUND:
        return "the server knows no such entry";
    default:
        break;
    }
    constexpr errcode system_errors = 4096;
    return code < system_errors ? std::strerror(static_cast<int>(code)) : fmt::format("code {:#010x}", code);
}

std::string batch_error_text(rib_batch_buffer_result result)
{
    switch (result) {
    case RIB_BATCH_BUFFER_ERROR:
        return "there is no room for it, or it cannot be had here";
    case RIB_BATCH_BUFFER_INVALID_TUNNEL:
        return "its two network identifiers differ";
    case RIB_BATCH_BUFFER_INVALID_OPCODE:
        return "the value of a SID's function is 1 to 65534";
    case RIB_BATCH_BUFFER_INVALID_SID_REQ:
        return "a SID needs a function";
    case RIB_BATCH_BUFFER_SID_INTEROP_FAILED:
        return "there is no such SID format";
    default:
        return fmt::format("batch result {}", static_cast<int>(result));
    }
}

bool refused(int result)
{
    return result < 0 || result > RIB_RESULT_EXISTS;
}

uint64_t result_tally::total() const
{
    return std::accumulate(counts_.begin(), counts_.end(), uint64_t{0});
}

uint64_t result_tally::refusals() const
{
    uint64_t sum = 0;
    for (size_t i = 0; i < counts_.size(); ++i)
        sum += refused(result_of(i)) ? counts_[i] : 0;
    return sum;
}

std::string result_tally::text() const
{
    std::string told;
    for (size_t i = 0; i < counts_.size(); ++i)
        if (counts_[i])
            told += fmt::format("{}{} {}", told.empty() ? "" : ", ", ribresulttype_to_string(result_of(i)), counts_[i]);
    return told.empty() ? "none" : told;
}

json result_tally::object() const
{
    json told = json::object();
    for (size_t i = 0; i < counts_.size(); ++i)
        if (counts_[i])
            told[ribresulttype_to_string(result_of(i))] = counts_[i];
    return told;
}
