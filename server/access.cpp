/*
 * Asking the policy, and telling what it refuses.
 */
#include "server/access.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>

#include <fmt/format.h>

constexpr uint64_t LOG_PERIOD_MS = 10'000;
constexpr unsigned LOG_LINES = 20; /* in a period */

/* The kernel's name for a process: a client that was not let in has not told its own. */
static std::string command_of(pid_t pid)
{
    std::string name;
    std::ifstream file(fmt::format("/proc/{}/comm", pid));
    std::getline(file, name);
    return name.empty() ? "unknown" : name;
}

/* Names come from clients: nothing in them may look like a line of its own. */
static std::string printable(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return text;
}

/* A log that cannot be written is no reason to end. */
static void write_line(const std::string &text)
{
    std::fputs(("RIB server: " + text + "\n").c_str(), stderr);
}

/* A client that tries again and again on fresh connections does not fill the log. */
static bool log_has_room(rib_refusal_log &log, uint64_t now)
{
    if (now >= log.period_end) {
        if (log.left_out != 0)
            write_line(fmt::format("{} more refusals were not told", log.left_out));
        log = {.period_end = now + LOG_PERIOD_MS};
    }
    if (log.lines == LOG_LINES) {
        ++log.left_out;
        return false;
    }
    ++log.lines;
    return true;
}

static void tell(rib_server &server, const rib_credentials &who, const std::string &process, const std::string &operation,
                 const rib_rule *rule)
{
    if (!log_has_room(server.refusals, server.now_ms()))
        return;
    const std::string reason = rule ? fmt::format("line {}: {}", rule->line, rule->text) : "no rule allows it";
    write_line(fmt::format("refused: uid {} pid {} ({}) may not {} ({})", who.uid, who.pid, printable(process),
                           printable(operation), reason));
}

errcode rib_access_bind(rib_server &server, const rib_credentials &who)
{
    const rib_verdict verdict = rib_policy_judge(server.policy, who, rib_right::bind, "");
    if (!verdict.allowed)
        tell(server, who, command_of(who.pid), "bind", verdict.rule);
    return verdict.allowed ? 0 : EPERM;
}

static errcode ask(rib_server &server, rib_session &session, rib_right right, const std::string &name)
{
    const rib_verdict verdict = rib_policy_judge(server.policy, session.credentials, right, name);
    if (verdict.allowed)
        return 0;
    const std::pair reason(right, verdict.rule ? verdict.rule->line : 0);
    if (std::find(session.refusals.begin(), session.refusals.end(), reason) == session.refusals.end()) {
        session.refusals.push_back(reason);
        const char *what = right == rib_right::purge ? "purge" : "register";
        tell(server, session.credentials, session.process, fmt::format("{} {}", what, name), verdict.rule);
    }
    return EPERM;
}

errcode rib_access_register(rib_server &server, rib_session &session, std::string_view proto_name)
{
    return ask(server, session, rib_right::register_protocol, std::string(proto_name));
}

errcode rib_access_purge(rib_server &server, rib_session &session, const rib_protocol &protocol)
{
    return session.credentials.uid == protocol.uid ? 0 : ask(server, session, rib_right::purge, protocol.proto_name);
}
