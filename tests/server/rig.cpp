/*
 * Messages by their byte positions: nothing here knows the server's records.
 */
#include "tests/server/rig.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

bytes_td hex(const char *text)
{
    bytes_td bytes;
    std::string digits;
    for (; *text; ++text) {
        if (*text == '#')
            text += strcspn(text, "\n") - 1;
        else if (std::isxdigit(static_cast<unsigned char>(*text)))
            digits += *text;
        if (digits.size() == 2) {
            bytes.push_back(static_cast<uint8_t>(std::stoul(digits, nullptr, 16)));
            digits.clear();
        }
    }
    return bytes;
}

std::string hex_of(const bytes_td &bytes)
{
    std::string text;
    for (size_t at = 0; at != bytes.size(); ++at) {
        char digits[8];
        snprintf(digits, sizeof digits, "%02x%s", bytes[at], at % 16 == 15 ? "\n" : at % 4 == 3 ? " " : "");
        text += digits;
    }
    return text;
}

void put_addr(bytes_td &bytes, size_t at, const char *text)
{
    if (inet_pton(AF_INET6, text, &bytes.at(at)) != 1)
        throw std::invalid_argument(text);
}

void append(bytes_td &bytes, const bytes_td &more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
}

static bytes_td path_record(const path_td &path)
{
    const size_t fixed = 280;
    bytes_td bytes(fixed + path.attrs.size());
    const size_t array = path.withdraw ? 240 : 272;
    put8(bytes, 0, path.withdraw ? 2 : 1);
    put_addr(bytes, path.withdraw ? 120 : 160, path.nexthop);
    put32(bytes, path.withdraw ? 112 : 152, path.interface);
    put32(bytes, path.withdraw ? 136 : 176, path.table);
    put16(bytes, array, static_cast<uint16_t>(path.attrs.size()));
    std::copy(path.attrs.begin(), path.attrs.end(), bytes.begin() + static_cast<std::ptrdiff_t>(array + 4));
    if (path.withdraw)
        return bytes;
    put8(bytes, 2, path.label_count);
    put32(bytes, 4, path.metric);
    put32(bytes, 40, 0x100001);
    put32(bytes, 80, 512);
    put8(bytes, 95, path.backup ? 0x40 : 0);
    put8(bytes, 224, 2);
    put32(bytes, 228, path.ext_mask);
    for (uint32_t bit = 0; bit != 6; ++bit)
        if (path.ext_mask >> bit & 1)
            bytes.insert(bytes.end(), bit == 0 ? 24 : 8, 0xB0);
    return bytes;
}

bytes_td record(const route_td &route)
{
    bytes_td bytes(336 + route.attrs.size());
    const bool primary = std::any_of(route.paths.begin(), route.paths.end(), [](const path_td &path) { return !path.backup; });
    put8(bytes, 0, 1);
    put8(bytes, 1, route.len);
    put8(bytes, 2, 14);
    put16(bytes, 4, static_cast<uint16_t>(route.paths.size()));
    put32(bytes, 8, primary ? 0 : 0x8000);
    put32(bytes, 12, route.metric);
    put32(bytes, 20, 0x100001);
    put8(bytes, 32, route.replace);
    put8(bytes, 40, route.distance);
    put_addr(bytes, 48, route.prefix);
    put16(bytes, 64, static_cast<uint16_t>(route.attrs.size()));
    std::copy(route.attrs.begin(), route.attrs.end(), bytes.begin() + 68);
    for (const path_td &path : route.paths)
        append(bytes, path_record(path));
    return bytes;
}

bytes_td table_record(rib_tableid_td table, rib_protoid_td protoid)
{
    bytes_td bytes(12);
    put8(bytes, 0, 6);
    put16(bytes, 2, protoid);
    put32(bytes, 8, table);
    return bytes;
}

bytes_td complete_marker()
{
    return hex("03 000000");
}

bytes_td converge_marker(rib_tableid_td table)
{
    bytes_td bytes = hex("04 000000 00000000 00000000");
    put32(bytes, 4, table);
    return bytes;
}

static bytes_td batch(uint16_t argument, bytes_td header, const std::vector<bytes_td> &records)
{
    for (const bytes_td &bytes : records)
        append(header, bytes);
    put8(header, 0, 0x73);
    put8(header, 1, 0x80);
    put32(header, 20, static_cast<uint32_t>(header.size()));
    put16(header, 40, argument);
    return header;
}

bytes_td single_batch(rib_tableid_td table, rib_protoid_td protoid, const std::vector<bytes_td> &records)
{
    bytes_td header(48);
    put32(header, 24, table);
    put16(header, 28, protoid);
    return batch(0, header, records);
}

bytes_td multi_batch(const std::vector<bytes_td> &records)
{
    return batch(1, bytes_td(48), records);
}

bytes_td request(uint32_t command, const bytes_td &body, size_t delimiter_at, size_t sent)
{
    bytes_td bytes = hex("0080a505");
    bytes.resize(24 + sent);
    put32(bytes, 20, command);
    std::copy(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(delimiter_at), bytes.begin() + 24);
    return bytes;
}

bytes_td bind_request(const std::string &process, const std::string &node)
{
    bytes_td body(172);
    put32(body, 0, 1);
    put_text(body, 80, node);
    put_text(body, 112, process);
    put16(body, 156, 44);
    put16(body, 158, 4);
    put8(body, 160, 2);
    return request(0x18, body, 172, 172);
}

bytes_td register_request(const std::string &name, const std::string &instance, const std::vector<uint32_t> &words)
{
    bytes_td body(112);
    put_text(body, 0, name);
    put_text(body, 41, instance);
    for (size_t word = 0; word != words.size(); ++word)
        put32(body, 84 + 4 * word, words[word]);
    return request(9, body, 112, 120);
}

/* Where command has its identifier and its word; the rest of its body is zero. */
bytes_td protoid_request(uint32_t command, rib_protoid_td protoid, uint32_t word)
{
    const bool word_first = command == 11 || command == 19 || command == 30;
    const size_t size = command == 11 ? 20 : command == 7 || command == 30 ? 16 : 8;
    bytes_td body(size);
    put16(body, word_first ? 4 : 0, protoid);
    put32(body, word_first ? 0 : 4, word);
    if (word_first && command != 19)
        put32(body, 8, 0);
    return request(command, body, size, size + 8);
}

bytes_td purge_client_request(const std::string &process, const std::string &node)
{
    bytes_td body(76);
    put_text(body, 0, process);
    put_text(body, 40, node);
    return request(29, body, 76, 84);
}

bytes_td status_request(rib_tableid_td table)
{
    bytes_td body(4);
    put32(body, 0, table);
    return request(23, body, 4, 12);
}

bytes_td lookup_request(const char *addr, uint32_t length, uint32_t flags, rib_tableid_td table)
{
    bytes_td body(32);
    put32(body, 0, table);
    put_addr(body, 8, addr);
    put32(body, 24, length);
    put32(body, 28, flags);
    return request(6, body, 32, 40);
}

rib_session &rig_td::client(const std::string &process)
{
    rib_session *session = rib_server_connect(server, {});
    if (result_of(*session, bind_request(process, "node1")) != 0)
        throw std::runtime_error("bind");
    return *session;
}

bytes_td rig_td::send(rib_session &session, bytes_td message)
{
    message.shrink_to_fit();
    bytes_td reply;
    const size_t len = rib_server_handle(server, session, message.data(), message.size(), [&](size_t room) {
        reply.assign(room, OLD_BYTE);
        return reply.data();
    });
    reply.resize(len);
    return reply;
}

rib_protoid_td rig_td::add_protocol(rib_session &session, const std::string &name, std::vector<uint32_t> words)
{
    const bytes_td reply = send(session, register_request(name, "", words));
    return static_cast<rib_protoid_td>(get32(reply, 2));
}

int16_t status_of(const bytes_td &reply)
{
    return static_cast<int16_t>(get32(reply, 24) >> 16);
}

std::string results_of(const bytes_td &reply)
{
    if (status_of(reply) != 1)
        return "status " + std::to_string(status_of(reply)) + " in " + std::to_string(reply.size()) + " bytes";
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

std::string found(rig_td &rig, rib_session &session, const bytes_td &lookup)
{
    const bytes_td reply = rig.send(session, lookup);
    if (get32(reply, 0) != 0)
        return get32(reply, 0) == 0x42D29400 ? "none" : std::to_string(get32(reply, 0));
    char prefix[INET6_ADDRSTRLEN];
    char nexthop[INET6_ADDRSTRLEN];
    inet_ntop(AF_INET6, &reply.at(16 + 16), prefix, sizeof prefix);
    inet_ntop(AF_INET6, &reply.at(16 + 128 + 8 + 16), nexthop, sizeof nexthop);
    return std::string(prefix) + "/" + std::to_string(reply.at(16)) + " state " + std::to_string(reply.at(18)) + " protocol " +
           std::to_string(reply.at(27)) + " via " + nexthop + " of " + std::to_string(reply.at(19));
}
