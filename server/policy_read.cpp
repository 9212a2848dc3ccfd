/*
 * Policy files: a rule in a line, "allow" or "deny", who, and what:
 *
 *   allow user bird register bgp*
 *
 * A name of a user or group that does not exist is a fault, because a rule that silently fits nobody would hide a mistake.
 */
#include "server/policy.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <grp.h>
#include <optional>
#include <pwd.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

using rib_words = std::vector<std::string>;

static rib_words words_of(const std::string &line)
{
    rib_words words;
    std::istringstream stream(line.substr(0, line.find('#')));
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

static std::optional<uint32_t> number_of(const std::string &text)
{
    uint32_t number;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc{} && stop == end ? std::optional(number) : std::nullopt;
}

static std::optional<uint32_t> user_of(const std::string &name)
{
    if (const auto number = number_of(name))
        return number;
    const passwd *found = getpwnam(name.c_str());
    return found ? std::optional(found->pw_uid) : std::nullopt;
}

static std::optional<uint32_t> group_of(const std::string &name)
{
    if (const auto number = number_of(name))
        return number;
    const group *found = getgrnam(name.c_str());
    return found ? std::optional(found->gr_gid) : std::nullopt;
}

/* The word under the cursor, which moves behind it; empty at the end. */
static std::string take(const rib_words &words, size_t *cursor)
{
    return *cursor < words.size() ? words[(*cursor)++] : std::string();
}

/* Each of these fills its part of the rule and returns what is wrong with it, or nothing. */
static std::string read_whom(const rib_words &words, size_t *cursor, rib_rule *rule)
{
    const std::string kind = take(words, cursor);
    if (kind == "any")
        return "";
    if (kind != "user" && kind != "group")
        return "expected \"user\", \"group\" or \"any\" behind \"" + words[0] + "\"";
    rule->whom = kind == "user" ? rib_whom::user : rib_whom::group;
    const std::string name = take(words, cursor);
    const auto id = rule->whom == rib_whom::user ? user_of(name) : group_of(name);
    if (!id)
        return name.empty() ? "a name is missing behind \"" + kind + "\"" : "no such " + kind + ": " + name;
    rule->id = *id;
    return "";
}

static std::string read_right(const rib_words &words, size_t *cursor, rib_rule *rule)
{
    const std::string right = take(words, cursor);
    rule->every_right = right == "everything";
    if (rule->every_right || right == "bind")
        return "";
    if (right != "register" && right != "purge")
        return "expected \"bind\", \"register\", \"purge\" or \"everything\"";
    rule->right = right == "register" ? rib_right::register_protocol : rib_right::purge;
    rule->names = take(words, cursor);
    return rule->names.empty() ? "a protocol name or pattern is missing behind \"" + right + "\"" : "";
}

static std::string read_rule(const rib_words &words, rib_rule *rule)
{
    size_t cursor = 1;
    rule->allows = words[0] == "allow";
    if (!rule->allows && words[0] != "deny")
        return "expected \"allow\" or \"deny\"";
    for (const auto read_part : {read_whom, read_right})
        if (std::string fault = read_part(words, &cursor, rule); !fault.empty())
            return fault;
    return cursor == words.size() ? "" : "nothing is expected behind the rule: " + words[cursor];
}

static std::string joined(const rib_words &words)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

/* Whoever could write the file would rule over the server. */
static std::string file_fault(const std::string &file)
{
    struct stat found;
    if (stat(file.c_str(), &found) != 0)
        return std::strerror(errno);
    const bool trusted = (found.st_uid == 0 || found.st_uid == geteuid()) && (found.st_mode & (S_IWGRP | S_IWOTH)) == 0;
    return trusted ? "" : "must belong to root or the server's user, and be writable by nobody else";
}

bool rib_policy_read(const std::string &file, rib_policy *policy, std::string *faults)
{
    rib_policy fresh;
    const std::string fault = file_fault(file);
    *faults = fault.empty() ? "" : file + ": " + fault + "\n";
    std::ifstream stream(file);
    unsigned number = 0;
    for (std::string line; std::getline(stream, line);) {
        const rib_words words = words_of(line);
        rib_rule rule = {.line = ++number, .text = joined(words)};
        if (words.empty())
            continue;
        if (const std::string wrong = read_rule(words, &rule); !wrong.empty())
            *faults += file + ":" + std::to_string(number) + ": " + wrong + "\n";
        fresh.rules.push_back(std::move(rule));
    }
    if (faults->empty() && (!stream.is_open() || stream.bad()))
        *faults = file + ": " + std::strerror(errno) + "\n";
    if (!faults->empty())
        return false;
    *policy = std::move(fresh);
    return true;
}
