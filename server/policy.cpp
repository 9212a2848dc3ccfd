/*
 * Which rule of a policy decides.
 */
#include "server/policy.h"

#include <algorithm>
#include <fnmatch.h>
#include <unistd.h>

static bool is_meant(const rib_rule &rule, const rib_credentials &who)
{
    switch (rule.whom) {
    case rib_whom::anybody:
        return true;
    case rib_whom::user:
        return who.uid == rule.id;
    case rib_whom::group:
        return who.gid == rule.id || std::find(who.groups.begin(), who.groups.end(), rule.id) != who.groups.end();
    }
    return false;
}

static bool is_about(const rib_rule &rule, rib_right right, const std::string &name)
{
    if (rule.every_right)
        return true;
    return rule.right == right && (right == rib_right::bind || fnmatch(rule.names.c_str(), name.c_str(), 0) == 0);
}

rib_verdict rib_policy_judge(const rib_policy &policy, const rib_credentials &who, rib_right right, std::string_view name)
{
    const std::string text(name);
    for (const rib_rule &rule : policy.rules)
        if (is_meant(rule, who) && is_about(rule, right, text))
            return {rule.allows, &rule};
    return {who.uid == 0 || who.uid == geteuid(), nullptr};
}
