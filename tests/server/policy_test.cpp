/*
 * Policies: how their files are read, what they decide, and what clients get to see of it.
 */
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

#include "server/access.h"
#include "tests/server/rig.h"

namespace
{

constexpr uint32_t PURGE = 7, PURGE_CLIENT = 29, CLEAR = 31;
constexpr uid_t BIRD = 4001, OTHER = 4002;

struct policy_file {
    policy_file() { close(mkstemp(path)); }
    ~policy_file() { unlink(path); }
    /* Writes and reads the text; what is wrong with it, without the name of the file. */
    std::string read(const std::string &text, rib_policy *policy) const
    {
        std::ofstream(path) << text;
        std::string faults;
        const bool good = rib_policy_read(path, policy, &faults);
        EXPECT_EQ(good, faults.empty());
        for (size_t at; (at = faults.find(path)) != std::string::npos;)
            faults.erase(at, sizeof path); // and the colon
        return faults;
    }
    char path[23] = "/tmp/rib_policy_XXXXXX";
};

const char *const RULES = "# of a test\n"
                          "deny user 4001 register bgp-secret\n"
                          "\n"
                          "allow user 4001 register bgp*   # line 4\n"
                          "allow group 50 bind\n"
                          "allow user root purge static\n"
                          "deny user 0 purge *\n"
                          "allow user 4003 everything\n"
                          "allow any register open\n";

TEST(policy, the_first_rule_that_fits_decides)
{
    const policy_file file;
    rib_policy policy;
    ASSERT_EQ(file.read(RULES, &policy), "");
    using enum rib_right;
    const std::vector<gid_t> many = {7, 50};
    struct {
        const char *name;
        rib_credentials who;
        rib_right right;
        const char *protocol;
        bool allowed;
        unsigned line;
    } const cases[] = {
        {"a pattern", {BIRD}, register_protocol, "bgp-65000", true, 4},
        {"a rule before it", {BIRD}, register_protocol, "bgp-secret", false, 2},
        {"another name", {BIRD}, register_protocol, "static", false, 0},
        {"another right", {BIRD}, purge, "bgp", false, 0},
        {"registering is not binding", {BIRD}, bind, "", false, 0},
        {"a group", {OTHER, 50}, bind, "", true, 5},
        {"a further group", {OTHER, 1, 0, 0, many}, bind, "", true, 5},
        {"a group that it is not in", {OTHER, 51}, bind, "", false, 0},
        {"a user by name", {0}, purge, "static", true, 6},
        {"root may be refused", {0}, purge, "bgp", false, 7},
        {"root may do the rest", {0}, register_protocol, "bgp", true, 0},
        {"everything", {4003}, bind, "", true, 8},
        {"everybody", {OTHER}, register_protocol, "open", true, 9},
        {"the whole name counts", {OTHER}, register_protocol, "opening", false, 0},
    };
    for (const auto &c : cases) {
        const rib_verdict verdict = rib_policy_judge(policy, c.who, c.right, c.protocol);
        EXPECT_EQ(verdict.allowed, c.allowed) << c.name;
        EXPECT_EQ(verdict.rule ? verdict.rule->line : 0, c.line) << c.name;
    }
    EXPECT_TRUE(rib_policy_judge({}, {geteuid()}, bind, "").allowed);
    EXPECT_FALSE(rib_policy_judge({}, {BIRD}, bind, "").allowed);
}

TEST(policy, a_faulty_file_changes_nothing_and_says_where)
{
    const std::pair<const char *, const char *> cases[] = {
        {"permit any bind\n", "1: expected \"allow\" or \"deny\"\n"},
        {"allow\n", "1: expected \"user\", \"group\" or \"any\" behind \"allow\"\n"},
        {"\nallow user\n", "2: a name is missing behind \"user\"\n"},
        {"allow user no.such.user bind", "1: no such user: no.such.user\n"},
        {"allow group 4294967296 bind", "1: no such group: 4294967296\n"},
        {"allow any", "1: expected \"bind\", \"register\", \"purge\" or \"everything\"\n"},
        {"allow any register # all", "1: a protocol name or pattern is missing behind \"register\"\n"},
        {"allow any bind static", "1: nothing is expected behind the rule: static\n"},
        {"allow any bind\nallow x\nallow any y", "2: expected \"user\", \"group\" or \"any\" behind \"allow\"\n"
                                                 "3: expected \"bind\", \"register\", \"purge\" or \"everything\"\n"},
    };
    const policy_file file;
    rib_policy policy;
    ASSERT_EQ(file.read(RULES, &policy), "");
    const size_t before = policy.rules.size();
    for (const auto &[text, faults] : cases)
        EXPECT_EQ(file.read(text, &policy), faults) << text;
    std::string faults;
    EXPECT_FALSE(rib_policy_read("/nonexistent/policy", &policy, &faults));
    EXPECT_EQ(faults, "/nonexistent/policy: No such file or directory\n");
    chmod(file.path, 0620);
    EXPECT_NE(file.read("allow any everything", &policy), "") << "others could write it";
    EXPECT_EQ(policy.rules.size(), before);
}

struct policy_rig_td : rig_td {
    /* A bound client of a user, let in whatever the policy says. */
    rib_session &client_of(uid_t uid, const std::string &process)
    {
        rib_session &session = *rib_server_connect(server, {.uid = uid, .pid = 77});
        EXPECT_EQ(result_of(session, bind_request(process, "node1")), 0u);
        return session;
    }
    errcode registers(rib_session &session, const char *name) { return result_of(session, register_request(name, "", {0})); }
    /* A bgp protocol with one route, left by its owner. */
    void leave_route(uid_t uid)
    {
        file.read("allow any everything", &server.policy);
        rib_session &gone = client_of(uid, "gone");
        const rib_protoid_td id = add_protocol(gone, "bgp", {0});
        send(gone, single_batch(TABLE, id, {record({"2001:db8::", 32, {{"fe80::a", 1}}})}));
        rib_server_disconnect(server, &gone);
    }

    const policy_file file;
};

TEST(policy, registering)
{
    policy_rig_td rig;
    ASSERT_EQ(rig.file.read(RULES, &rig.server.policy), "");
    rib_session &bird = rig.client_of(BIRD, "bird\nrules");
    testing::internal::CaptureStderr();
    EXPECT_EQ(rig.registers(bird, "bgp1"), 0u);
    for (const char *name : {"static", "static", "bgp-secret", "ospf"})
        EXPECT_EQ(rig.registers(bird, name), uint32_t{EPERM}) << name;
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "RIB server: refused: uid 4001 pid 77 (bird?rules) may not register static (no rule allows it)\n"
              "RIB server: refused: uid 4001 pid 77 (bird?rules) may not register bgp-secret (line 2: deny user 4001 register "
              "bgp-secret)\n");
    EXPECT_EQ(rig.server.protocols.find("static", ""), nullptr);
}

TEST(policy, what_a_gone_owner_left)
{
    const bytes_t purge_client = request(PURGE_CLIENT, hex("'gone' @40 'node1' @76"));
    struct {
        const char *name, *rules;
        uid_t owner, purger;
        errcode result;
    } const cases[] = {
        {"allowed", "allow user 4002 purge b*", BIRD, OTHER, 0},
        {"of another protocol", "allow user 4002 purge static", BIRD, OTHER, EPERM},
        {"one's own", "", BIRD, BIRD, 0},
        {"root", "", BIRD, 0, 0},
        {"root, refused", "deny user root purge *", BIRD, 0, EPERM},
    };
    for (const bytes_t &message : {protoid_request(PURGE, 0), protoid_request(CLEAR, 0, TABLE), purge_client})
        for (const auto &c : cases) {
            policy_rig_td rig;
            rig.leave_route(c.owner);
            ASSERT_EQ(rig.file.read(c.rules, &rig.server.policy), "");
            rib_session &purger = rig.client_of(c.purger, "operator");
            EXPECT_EQ(rig.result_of(purger, message), c.result) << c.name;
            EXPECT_EQ(rig.found(purger, "2001:db8::1") == "none", c.result == 0) << c.name;
            EXPECT_EQ(rig.server.protocols.find("bgp", "") == nullptr, c.result == 0) << c.name;
        }
}

TEST(policy, refusals_do_not_fill_the_log)
{
    policy_rig_td rig;
    const auto lines_of = [&rig](unsigned refusals) {
        testing::internal::CaptureStderr();
        for (unsigned i = 0; i != refusals; ++i)
            EXPECT_EQ(rib_access_bind(rig.server, {.uid = OTHER, .pid = 1}), uint32_t{EPERM});
        const std::string text = testing::internal::GetCapturedStderr();
        return std::count(text.begin(), text.end(), '\n');
    };
    EXPECT_EQ(lines_of(1000), 20);
    rig.now += 10'000;
    EXPECT_EQ(lines_of(1), 2) << "how many were left out, and the new one";
}

} // namespace
