/*
 * Who may do what. Rules are tried in order and the first that fits decides; behind them root and the user of this process
 * may do everything, nobody else anything. docs/ribd.md tells how the file is written.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

struct rib_credentials {
    uid_t uid = 0;
    gid_t gid = 0;
    pid_t pid = 0;
    uint32_t node_id = 0;
    std::vector<gid_t> groups = {}; /* besides gid */
};

enum class rib_right : uint8_t { bind, register_protocol, purge };
enum class rib_whom : uint8_t { anybody, user, group };

struct rib_rule {
    bool allows = false;
    rib_whom whom = rib_whom::anybody;
    uint32_t id = 0; /* of the user or group */
    bool every_right = false;
    rib_right right = rib_right::bind;
    std::string names; /* pattern of the protocol names it is about; binding has none */
    unsigned line = 0;
    std::string text;
};

struct rib_policy {
    std::vector<rib_rule> rules;
};

/* Reads a policy file. False when anything in it is wrong: faults then says what, a line each, and policy is as it was. */
bool rib_policy_read(const std::string &file, rib_policy *policy, std::string *faults);

/* The rule that decides is NULL when it is the one behind all others. */
struct rib_verdict {
    bool allowed;
    const rib_rule *rule;
};
rib_verdict rib_policy_judge(const rib_policy &policy, const rib_credentials &who, rib_right right, std::string_view name);
