/*
 * Reading updates.
 */
#include "tests/server/updates.h"

#include <cstring>
#include <stdexcept>

#include "tests/server/world.h"

bytes_t registrations(uint16_t mode, const std::vector<registration_td> &list, bool issu)
{
    static const std::map<uint16_t, uint32_t> adds = {{BEST, 1}, {ALL, 4}, {BEST_FOREIGN, 6}, {ALL_FOREIGN, 8}};
    const size_t width = issu ? 2 : 8, padding = issu ? 2 : 0;
    bytes_t records = number(0) + number(0) + number(0x0102, width) + bytes_t(padding);
    for (const registration_td &one : list)
        records = records + number(adds.at(mode) + one.removes) + number(one.table) + number(one.flags, width) + bytes_t(padding);
    records = records + number(3) + number(0) + bytes_t(width + padding);
    return hex(issu ? "7580 @20" : "7680 @20") + number(mode, 2) + number(list.size(), 2) + number(records.size()) + records;
}

bytes_t next_hops(const std::vector<hop_td> &hops)
{
    bytes_t records;
    for (const hop_td &hop : hops) {
        const rib_prefix addr = addr_of(hop.addr);
        const bytes_t value = number(hop.op) + number(hop.table) + number(addr.high, 8) + number(addr.low, 8) + number(hop.len) +
                              number(hop.value) + bytes_t(8);
        records = records + tlv(30, value) + DELIMITER;
    }
    return hex("7480 @24") + number(records.size()) + records;
}

bytes_t redist(const std::string &names, rib_tableid_td table, uint32_t mode, uint32_t parent, uint32_t command)
{
    bytes_t message = request_of(command, {{84, 0x01020304}, {88, mode}, {92, table}, {96, 0x05060708}, {100, parent}});
    const size_t slash = names.find('/');
    names.copy(reinterpret_cast<char *>(&message[24]), slash == names.npos ? names.size() : slash);
    if (slash != names.npos)
        names.copy(reinterpret_cast<char *>(&message[24 + 41]), names.size(), slash + 1);
    return message;
}

static uint16_t get16(const bytes_t &bytes, size_t at)
{
    return static_cast<uint16_t>(bytes.at(at) << 8 | bytes.at(at + 1));
}

fetched_td fetched(const bytes_t &reply, uint32_t format)
{
    if (get32(reply, 0) != reply.size() || get32(reply, 4) != reply.size() - 4 || get16(reply, 10) != 0 || reply.size() > 0x80000)
        throw std::runtime_error("head of a reply");
    fetched_td result = {get16(reply, 8), {}};
    for (size_t at = 12; at != reply.size();) {
        const size_t head = format ? 16 : 8;
        const size_t len = format ? get32(reply, at + 12) : get16(reply, at + 4);
        if (len < head || at + len > reply.size() || (format && (get16(reply, at + 6) | get32(reply, at + 8)) != 0))
            throw std::runtime_error("head of a message");
        const uint16_t type = get16(reply, at + (format ? 4 : 6));
        result.messages.push_back({get32(reply, at), type, slice(reply, at + head, len - head)});
        at += len;
    }
    return result;
}

std::vector<bytes_t> routes_of(const bytes_t &payload)
{
    std::vector<bytes_t> routes;
    for (size_t at = 0, begin = 0; at != payload.size(); begin = at) {
        for (unsigned open = 1; open != 0;) {
            const uint16_t type = get16(payload, at + 4);
            open += type == 4;
            open -= type == 0;
            at += 8u + get16(payload, at + 6);
        }
        routes.push_back(slice(payload, begin, at - begin));
    }
    return routes;
}

static std::string text_of_message(const message_td &message)
{
    const bytes_t &bytes = message.payload;
    const auto of = [](uint32_t id) { return " of " + std::to_string(id); };
    std::string text;
    const auto add = [&](const std::string &part) { text += (text.empty() ? "" : "; ") + part; };
    switch (message.type) {
    case 2:
        for (const bytes_t &route : routes_of(bytes))
            add((route.at(10) & 8 ? "- " : "") + addr_at(route, 24) + "/" + std::to_string(route.at(8)) + of(get16(route, 18)));
        return text;
    case 6:
        return "end" + of(get32(bytes, 16)) + (get32(bytes, 12) ? ", all" : "");
    case 14:
        return "marker " + std::to_string(get32(bytes, 12)) + of(get16(bytes, 8));
    case 16:
        for (size_t at = 0; at != bytes.size(); at += 92)
            add((get16(bytes, at) == 1 ? "came " : "went ") + std::to_string(get16(bytes, at + 2)) + " " +
                reinterpret_cast<const char *>(&bytes.at(at + 8)));
        return text;
    case 5:
        return "hop " + std::to_string(get32(bytes, 88)) +
               (get32(bytes, 8) ? " via " + addr_at(bytes, 12) + "/" + std::to_string(get16(bytes, 32)) + of(get16(bytes, 34))
                                : " lost");
    case 12:
        return "all told";
    default:
        throw std::runtime_error("type of a message");
    }
}

std::string told(const bytes_t &reply, uint32_t format)
{
    const fetched_td all = fetched(reply, format);
    std::string text;
    for (const message_td &message : all.messages)
        text += (text.empty() ? "" : "; ") + text_of_message(message);
    return text + (all.flags ? " #" + std::to_string(all.flags) : "");
}
