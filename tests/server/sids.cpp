/*
 * Requests by their byte positions.
 */
#include "tests/server/sids.h"

#include <arpa/inet.h>

#include <cstring>

static void put(bytes_t *bytes, size_t at, const auto &number)
{
    std::memcpy(&bytes->at(at), &number, sizeof number);
}

static bytes_t attribute(uint8_t type, const bytes_t &value)
{
    return bytes_t{type, 0, static_cast<uint8_t>(value.size()), static_cast<uint8_t>(value.size() >> 8)} + value;
}

bytes_t request_attr(const sid_td &sid)
{
    bytes_t value(256);
    put(&value, 0, sid.behaviour);
    put(&value, 4, sid.format);
    inet_pton(AF_INET6, sid.locator.c_str(), &value[8]);
    put(&value, 28, sid.interface);
    put(&value, 232, sid.opcode);
    put(&value, 240, sid.context);
    put(&value, 248, sid.free);
    put(&value, 252, sid.immediate);
    return attribute(14, value);
}

bytes_t request_attr(const iid_td &iid)
{
    bytes_t value(168);
    put(&value, 0, iid.kind);
    put(&value, 8, iid.low);
    put(&value, 16, iid.high);
    put(&value, 40, iid.format);
    inet_pton(AF_INET6, iid.sid.c_str(), &value[48]);
    put(&value, 64, iid.iid);
    value[72] = iid.key;
    put(&value, 152, iid.free);
    return attribute(15, value);
}

answer_td answer_of(const bytes_t &reply)
{
    const auto host = [&](size_t at, auto number) {
        std::memcpy(&number, &reply.at(at), sizeof number);
        return number;
    };
    constexpr size_t answer = 48 + 64;
    const uint8_t kind = reply.at(answer);
    return {.result = static_cast<int32_t>(get32(reply, 48 + 328)),
            .kind = kind,
            .free = reply.at(answer + 1),
            .code = host(answer + 4, uint32_t{}),
            .context = host(answer + 8, uint64_t{}),
            .prefix = addr_at(reply, answer + 16) + "/" + std::to_string(reply.at(answer + 2)),
            .number = host(answer + (kind == 14 ? 32 : 36), uint32_t{})};
}

std::string text_of(const answer_td &answer)
{
    return std::to_string(answer.result) + " " + std::to_string(answer.code) + " " + answer.prefix + " " +
           std::to_string(answer.number);
}
