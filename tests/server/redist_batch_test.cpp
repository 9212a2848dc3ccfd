/*
 * Registrations of many tables: what they begin and end, and messages that are not what they seem.
 */
#include <cerrno>
#include <cstring>
#include <tuple>

#include "tests/server/updates.h"

namespace
{

std::string interests_of(const rib_session &session)
{
    std::string text;
    for (const auto &[key, interest] : session.consumer.interests)
        text += std::to_string(key.table) + " mode " + std::to_string(interest->words.mode) + " flags " +
                std::to_string(interest->words.flags) + "; ";
    return text;
}

TEST(redist_batch, registers_and_removes)
{
    rig_td rig;
    rib_session &session = rig.client();
    const std::tuple<const char *, bytes_t, const char *> cases[] = {
        {"none", registrations(BEST, {}), ""},
        {"added, with all bits of the flags", registrations(BEST, {{7, 0, 0x100000000}}), "7 mode 10 flags 4294967296; "},
        {"another mode takes its place", registrations(ALL, {{7, 0, 2}, {8, 0, 3}}), "7 mode 18 flags 2; 8 mode 18 flags 3; "},
        {"of another mode, and not there", registrations(BEST_FOREIGN, {{7, 1}, {9, 1}}),
         "7 mode 18 flags 2; 8 mode 18 flags 3; "},
        {"removed and added again", registrations(ALL, {{7, 1}, {8, 1}, {7, 0, 4}}), "7 mode 18 flags 4; "},
        {"the compact form", registrations(ALL_FOREIGN, {{7, 0, 0xFFFF}}, true), "7 mode 21 flags 65535; "},
        {"the compact form removes", registrations(ALL_FOREIGN, {{7, 1}}, true), ""},
    };
    for (const auto &[name, message, left] : cases) {
        EXPECT_EQ(word_of(rig.send(session, message)), 0u) << name;
        EXPECT_EQ(interests_of(session), left) << name;
    }
    EXPECT_EQ(word_of(rig.send(*rib_server_connect(rig.server, {}), registrations(BEST, {{7}}))), uint32_t{EPERM});
}

/* Of each message every prefix, and every byte changed: refused whole, or the byte is one that is not read. */
TEST(redist_batch, malformed)
{
    rig_td rig;
    rib_session &session = rig.client();
    const bytes_t messages[] = {registrations(BEST, {{0x01020304, 0, 5}, {0x01020305, 0, 6}}),
                                registrations(BEST, {{0x01020304, 0, 5}, {0x01020305, 0, 6}}, true)};
    for (const bytes_t &message : messages) {
        const size_t record = message[0] == 0x75 ? 12 : 16;
        for (size_t len = 4; len != message.size(); ++len)
            EXPECT_EQ(word_of(rig.send(session, slice(message, 0, len))), uint32_t{EBADMSG}) << len;
        EXPECT_EQ(word_of(rig.send(session, message + bytes_t(record))), uint32_t{EBADMSG});
        EXPECT_EQ(interests_of(session), "");
        for (size_t at = 20; at != message.size(); ++at) {
            const size_t within = (at - 28) % record, number = (at - 28) / record;
            const bool read = at < 28 || within < 4;
            bytes_t changed = message;
            changed[at] ^= 0x04;
            EXPECT_EQ(word_of(rig.send(session, changed)), read ? uint32_t{EBADMSG} : 0u) << "byte " << at;
            EXPECT_EQ(session.consumer.interests.size(), read ? 0u : 2u) << "byte " << at << " of record " << number;
            rig.send(session, request_of(17, {}));
        }
    }
    const bytes_t refused[] = {
        registrations(BEST, {{0}}),
        registrations(ALL, {{7}}, true),
        registrations(BEST, {{7, 3}}),
        registrations(BEST, std::vector<registration_td>(499, {7})),
    };
    for (const bytes_t &message : refused)
        EXPECT_EQ(word_of(rig.send(session, message)), uint32_t{EBADMSG});
    EXPECT_EQ(interests_of(session), "");
}

TEST(redist_batch, no_more_than_a_session_may_have)
{
    rig_td rig;
    rib_session &session = rig.client();
    for (rib_tableid_td table = 1; table < 65'536; table += 255) {
        std::vector<registration_td> list;
        for (rib_tableid_td one = table; one != table + 255; ++one)
            list.push_back({one});
        EXPECT_EQ(word_of(rig.send(session, registrations(BEST, list))), 0u);
    }
    EXPECT_EQ(word_of(rig.send(session, registrations(BEST, {{1}, {65'536}, {65'537}}))), uint32_t{ENOSPC});
    EXPECT_EQ(session.consumer.interests.size(), 65'535u) << "nothing of it was done";
    EXPECT_EQ(word_of(rig.send(session, registrations(BEST, {{1}, {65'536}}))), 0u);
}

} // namespace
