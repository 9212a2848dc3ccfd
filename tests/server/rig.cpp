/*
 * Messages by their byte positions: nothing here knows the server's records.
 */
#include "tests/server/rig.h"

#include <arpa/inet.h>

#include <algorithm>
#include <map>
#include <stdexcept>

bytes_t number(uint64_t value, size_t width)
{
    bytes_t bytes(width);
    put_net(&bytes, 0, value, width);
    return bytes;
}

uint32_t get32(const bytes_t &bytes, size_t at)
{
    return static_cast<uint32_t>(bytes.at(at) << 24 | bytes.at(at + 1) << 16 | bytes.at(at + 2) << 8 | bytes.at(at + 3));
}

static void put_addr(bytes_t *bytes, size_t at, const std::string &text)
{
    if (inet_pton(AF_INET6, text.c_str(), &bytes->at(at)) != 1)
        throw std::invalid_argument(text);
}

std::string addr_at(const bytes_t &bytes, size_t at)
{
    char text[INET6_ADDRSTRLEN];
    return inet_ntop(AF_INET6, &bytes.at(at), text, sizeof text);
}

static void put(bytes_t *bytes, const std::vector<field_td> &fields)
{
    for (const field_td &field : fields)
        put_net(bytes, field.at, field.value, field.width);
}

static bytes_t path_record(const path_td &path)
{
    const size_t to = path.withdraw ? 112 : 152, attrs = path.withdraw ? 240 : 272;
    bytes_t bytes = path.withdraw ? hex("02 @280") : hex("01 @40 00100001 @80 00000200 @224 02 @280");
    put(&bytes, {{to, path.interface, 4}, {to + 24, path.table, 4}, {attrs, path.attrs.size(), 2}});
    put_addr(&bytes, to + 8, path.nexthop);
    if (!path.withdraw) {
        put(&bytes, {{2, path.label_count, 1}, {4, path.metric, 4}, {228, path.ext_mask, 4}});
        bytes[95] = path.backup ? 0x40 : 0;
    }
    bytes = slice(bytes, 0, attrs + 4) + path.attrs + slice(bytes, attrs + 4, 280);
    for (uint32_t bit = 0; bit != 6; ++bit)
        if (path.ext_mask >> bit & 1)
            bytes.insert(bytes.end(), bit == 0 ? 24 : 8, 0xB0);
    return bytes;
}

bytes_t record(const route_td &route)
{
    const bool primary = std::any_of(route.paths.begin(), route.paths.end(), [](const path_td &path) { return !path.backup; });
    bytes_t bytes = hex("01 00 0e @20 00100001 @336");
    put(&bytes, {{1, route.len, 1}, {4, route.paths.size(), 2}, {8, primary ? 0u : 0x8000u, 4}, {12, route.metric, 4}});
    put(&bytes, {{32, route.replace, 1}, {40, route.distance, 1}, {64, route.attrs.size(), 2}});
    put_addr(&bytes, 48, route.prefix);
    bytes = slice(bytes, 0, 68) + route.attrs + slice(bytes, 68, 336);
    for (const path_td &path : route.paths)
        bytes = bytes + path_record(path);
    return bytes;
}

bytes_t table_record(rib_tableid_td table, rib_protoid_td protoid)
{
    return hex("06 00") + number(protoid, 2) + bytes_t(4) + number(table);
}

static bytes_t batch(bytes_t header, const std::vector<bytes_t> &records)
{
    for (const bytes_t &bytes : records)
        header.insert(header.end(), bytes.begin(), bytes.end());
    put(&header, {{20, header.size(), 4}});
    return header;
}

bytes_t single_batch(rib_tableid_td table, rib_protoid_td protoid, const std::vector<bytes_t> &records)
{
    return batch(hex("73 80 @24") + number(table) + number(protoid, 2) + bytes_t(18), records);
}

bytes_t multi_batch(const std::vector<bytes_t> &records)
{
    return batch(hex("73 80 @40 0001 @48"), records);
}

bytes_t request(uint32_t command, const bytes_t &body, size_t zeros)
{
    return hex("0080a505 @20") + number(command) + body + bytes_t(zeros);
}

bytes_t request_of(uint32_t command, const std::vector<field_td> &fields, const std::vector<addr_td> &addrs)
{
    static const std::map<uint32_t, size_t> lengths = {{0, 48},   {1, 216},  {2, 64},  {3, 40},  {4, 32},  {5, 12},  {12, 112},
                                                       {13, 112}, {14, 120}, {17, 12}, {20, 48}, {21, 48}, {22, 64}, {26, 160}};
    bytes_t body(lengths.at(command));
    put(&body, fields);
    for (const auto &[at, text] : addrs)
        put_addr(&body, at, text);
    return request(command, body, 0);
}

bytes_t bind_request(const std::string &process, const std::string &node)
{
    return request(24, hex("00000001 @80 '" + node + "' @112 '" + process + "' @156 002c 0004 02 @172"), 0);
}

bytes_t register_request(const std::string &name, const std::string &instance, const std::vector<uint32_t> &words)
{
    bytes_t body = hex("'" + name + "' @41 '" + instance + "' @84");
    for (const uint32_t word : words)
        body = body + number(word);
    body.resize(112);
    return request(9, body);
}

bytes_t protoid_request(uint32_t command, rib_protoid_td protoid, uint32_t word)
{
    const bool word_first = command == 11 || command == 19 || command == 30;
    bytes_t body = word_first ? number(word) + number(protoid, 2) : number(protoid, 2) + bytes_t(2) + number(word);
    body.resize(command == 11 ? 20 : command == 7 || command == 30 ? 16 : 8);
    return request(command, body);
}

bytes_t status_request(rib_tableid_td table)
{
    return request(23, number(table));
}

bytes_t lookup_request(const std::string &addr, uint32_t length, uint32_t flags, rib_tableid_td table)
{
    bytes_t body(32);
    put(&body, {{0, table, 4}, {24, length, 4}, {28, flags, 4}});
    put_addr(&body, 8, addr);
    return request(6, body);
}

std::string results_of(const bytes_t &reply)
{
    const auto status = static_cast<int16_t>(get32(reply, 24) >> 16);
    if (status != 1)
        return "status " + std::to_string(status) + " in " + std::to_string(reply.size()) + " bytes";
    std::string text;
    const auto word = [&](size_t at) { return std::to_string(static_cast<int32_t>(get32(reply, at))); };
    for (size_t at = 48; at != reply.size();) {
        text += text.empty() ? "" : " ";
        if (reply.at(at) == 6) {
            text += "t" + std::to_string(static_cast<int16_t>(get32(reply, at + 8) >> 16));
            at += 12;
            continue;
        }
        text += "r" + word(at + 328);
        const size_t paths = get32(reply, at + 4) >> 16;
        at += 336;
        for (size_t path = 0; path != paths; ++path, at += 280)
            text += reply.at(at) == 1 ? " a" + word(at + 40) : " d" + word(at + 24);
    }
    return text;
}

rib_session &rig_td::client(const std::string &process)
{
    rib_session *session = rib_server_connect(server, {});
    if (result_of(*session, bind_request(process, "node1")) != 0)
        throw std::runtime_error("bind");
    return *session;
}

bytes_t rig_td::send(rib_session &session, bytes_t message)
{
    message.shrink_to_fit();
    bytes_t reply;
    const size_t len = rib_server_handle(server, session, message.data(), message.size(), [&](size_t room) {
        reply.assign(room, OLD_BYTE);
        return reply.data();
    });
    reply.resize(len);
    if (wakes)
        rib_wake_consumers(server);
    return reply;
}

rib_protoid_td rig_td::add_protocol(rib_session &session, const std::string &name, const std::vector<uint32_t> &words)
{
    return static_cast<rib_protoid_td>(get32(send(session, register_request(name, "", words)), 2));
}

std::string rig_td::found(rib_session &session, const char *addr, uint32_t length, uint32_t flags)
{
    const bytes_t reply = send(session, lookup_request(addr, length, flags));
    if (const errcode result = get32(reply, 0))
        return result == NOT_FOUND ? "none" : std::to_string(result);
    const auto at = [&](size_t place) { return std::to_string(reply.at(place)); };
    return addr_at(reply, 32) + "/" + at(16) + " state " + at(18) + " protocol " + at(27) + " " + addr_at(reply, 168) + " of " +
           at(19);
}
