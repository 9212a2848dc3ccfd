/*
 * ribd among clients that misbehave: it stays up, serves the others as before, and its memory stays within bounds.
 *
 * RIB_STORM makes the storm so many times longer.
 */
#include "system_test.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <fstream>
#include <memory>
#include <mutex>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

#include "platform/src/msg_chan_frame.h"
#include "tests/server/rig.h"

namespace
{

using namespace std::chrono_literals;
using clock_type = std::chrono::steady_clock;

constexpr size_t MESSAGE_MAX = 0x80000;
/* What a client may cost: nothing to speak of while idle, one message or reply while it has one. */
constexpr size_t IDLE_KIB = 16, BUSY_KIB = 512 + 16;

unsigned times()
{
    const char *set = std::getenv("RIB_STORM");
    return set ? static_cast<unsigned>(std::stoul(set)) : 1;
}

/* A client made by hand, as far as it goes. */
class raw_client
{
public:
    explicit raw_client(const run_dir &dir)
    {
        sockaddr_un address = {.sun_family = AF_UNIX};
        std::snprintf(address.sun_path, sizeof address.sun_path, "%s/dev_ip_ipv6_rib", dir.path().c_str());
        if (connect(fd_, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
            ADD_FAILURE() << "connect: " << std::strerror(errno);
    }
    raw_client(raw_client &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    ~raw_client()
    {
        if (fd_ >= 0)
            close(fd_);
    }

    void send(const void *bytes, size_t len) const
    {
        for (const char *at = static_cast<const char *>(bytes); len != 0;) {
            const ssize_t sent = ::send(fd_, at, len, MSG_NOSIGNAL);
            if (sent <= 0)
                return;
            at += sent;
            len -= static_cast<size_t>(sent);
        }
    }
    void send_hello(size_t len = sizeof(hello_frame)) const
    {
        const hello_frame hello = {{frame_hello, sizeof(hello_body), 0, 0}, {.he_protocol = chan_protocol}};
        send(&hello, len);
    }
    /* True when the server greets back and takes the client. */
    bool greet() const
    {
        hello_frame hello;
        send_hello();
        return recv(fd_, &hello, sizeof hello, MSG_WAITALL) == sizeof hello && hello.body.he_status == 0;
    }
    void announce(size_t len) const
    {
        const frame_header header = {frame_request, static_cast<uint32_t>(len), 1, 0};
        send(&header, sizeof header);
    }
    void request(const bytes_t &message) const
    {
        announce(message.size());
        send(message.data(), message.size());
    }
    bytes_t reply() const
    {
        frame_header header = {};
        recv(fd_, &header, sizeof header, MSG_WAITALL);
        bytes_t body(header.fh_len);
        recv(fd_, body.data(), body.size(), MSG_WAITALL);
        return body;
    }
    /* Whether the server closes the connection in that time. */
    bool closed_within(int ms) const
    {
        pollfd end = {.fd = fd_, .events = POLLRDHUP, .revents = 0};
        return poll(&end, 1, ms) == 1;
    }

private:
    int fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

/* A client that looks a route up all the time, and how long that took. */
class honest_client
{
public:
    honest_client()
        : thread_([this] {
              run();
              ended_ = true;
          })
    {
    }
    ~honest_client()
    {
        stopping_ = true;
        thread_.join();
    }
    /*
     * The 99th percentile in us of the lookups that ended since the last call, which are at least a thousand; no number
     * is as large when it was served wrongly.
     */
    double p99()
    {
        for (;; std::this_thread::sleep_for(5ms)) {
            const std::lock_guard guard(lock_);
            if (ended_)
                return HUGE_VAL;
            if (taken_.size() < 1000)
                continue;
            std::vector<double> taken = std::exchange(taken_, {});
            const auto at = taken.begin() + static_cast<ptrdiff_t>(taken.size() * 99 / 100);
            std::nth_element(taken.begin(), at, taken.end());
            return *at;
        }
    }

private:
    void run()
    {
        test_client client("honest");
        client.add(addr("2001:db8::"), 32, addr("fe80::1"));
        EXPECT_EQ(client.send(), 1);
        while (!stopping_) {
            const auto begin = clock_type::now();
            ASSERT_EQ(client.lookup("2001:db8::1"), "2001:db8::/32 fe80::1");
            const std::chrono::duration<double, std::micro> took = clock_type::now() - begin;
            const std::lock_guard guard(lock_);
            taken_.push_back(took.count());
        }
    }

    std::mutex lock_;
    std::vector<double> taken_;
    std::atomic<bool> stopping_ = false;
    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

void allow_descriptors()
{
    rlimit limit;
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

struct storm : ::testing::Test {
    void SetUp() override
    {
        allow_descriptors();
        ASSERT_TRUE(ribd.await_line("ready"));
        honest = std::make_unique<honest_client>();
    }
    /* Runs a part of the storm; its clients, which are connected until the memory was read, may cost so much each. */
    void rage(const char *name, size_t kib_each, const std::function<void(std::vector<raw_client> *)> &part)
    {
        honest->p99();
        const double calm = honest->p99();
        const size_t before = ribd.resident();
        std::vector<raw_client> clients;
        part(&clients);
        const double stormy = honest->p99();
        const size_t after = ribd.resident();
        EXPECT_LT(stormy, std::max(5 * calm, FLOOR_US)) << name << ": p99 of lookups in us, " << calm << " before";
        EXPECT_LE(after, before + kib_each * clients.size() + SLACK_KIB) << name << ": KiB";
        std::printf("%-32s lookup p99 %6.0f us, %6.0f before; %5zu clients, %5.1f KiB each\n", name, stormy, calm, clients.size(),
                    clients.empty() ? 0
                                    : static_cast<double>(after) / static_cast<double>(clients.size()) -
                                          static_cast<double>(before) / static_cast<double>(clients.size()));
    }

    static constexpr double FLOOR_US = 100'000; /* a busy machine lets one wait that long */
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    static constexpr size_t SLACK_KIB = 1'048'576; /* a sanitizer keeps what was freed */
#else
    static constexpr size_t SLACK_KIB = 16'384;
#endif
    const run_dir dir;
    child_process ribd = start_ribd(dir);
    std::unique_ptr<honest_client> honest;
};

bytes_t large_batch(rib_protoid_td id)
{
    std::vector<bytes_t> records;
    for (uint32_t i = 0; i != 800; ++i)
        records.push_back(record({text_of(&static_cast<const in6_addr_t &>(numbered_prefix(i))), 48, {{"fe80::a", 1}}}));
    return single_batch(TABLE, id, records);
}

TEST_F(storm, does_not_reach_others)
{
    const raw_client mute(dir), stammering(dir);
    stammering.send_hello(7);

    rage("connect and vanish", IDLE_KIB, [&](auto *) {
        for (unsigned i = 0; i != 10'000 * times(); ++i) {
            const raw_client client(dir);
            if (i % 2 != 0)
                continue;
            client.send_hello();
            client.announce(1000);
            client.send(&client, sizeof client);
        }
    });
    rage("announce 4 GiB", IDLE_KIB, [&](auto *) {
        for (unsigned i = 0; i != 200 * times(); ++i) {
            const raw_client client(dir);
            EXPECT_TRUE(client.greet());
            client.announce(UINT32_MAX);
            EXPECT_TRUE(client.closed_within(5'000));
        }
    });
    rage("send a byte at a time", BUSY_KIB, [&](auto *clients) {
        const bytes_t part(MESSAGE_MAX - 1000, 0x5A);
        for (unsigned i = 0; i != 64; ++i) {
            clients->emplace_back(dir);
            EXPECT_TRUE(clients->back().greet());
            clients->back().announce(MESSAGE_MAX);
            clients->back().send(part.data(), part.size());
        }
        for (unsigned i = 0; i != 100 * times(); ++i, std::this_thread::sleep_for(2ms))
            for (const raw_client &client : *clients)
                client.send("x", 1);
    });
    rage("never read", BUSY_KIB, [&](auto *clients) {
        for (unsigned i = 0; i != 32; ++i) {
            const raw_client &client = clients->emplace_back(dir);
            EXPECT_TRUE(client.greet());
            client.request(bind_request("mute", "node1"));
            EXPECT_EQ(get32(client.reply(), 0), 0u);
            client.request(register_request("mute" + std::to_string(i), "", {0}));
            client.request(large_batch(static_cast<rib_protoid_td>(get32(client.reply(), 2))));
        }
    });
    EXPECT_TRUE(mute.closed_within(5'000)) << "never greeted";
    EXPECT_TRUE(stammering.closed_within(5'000)) << "stopped in its greeting";
}

TEST_F(storm, as_many_clients_as_are_allowed)
{
    rage("many at once", IDLE_KIB, [&](auto *clients) {
        for (unsigned i = 0; i != 1023; ++i) {
            clients->emplace_back(dir);
            ASSERT_TRUE(clients->back().greet()) << i;
        }
        EXPECT_FALSE(raw_client(dir).greet()) << "with the honest one they are 1024";
        clients->pop_back();
        bool served = false;
        for (unsigned tries = 0; tries != 500 && !served; ++tries, std::this_thread::sleep_for(2ms))
            served = raw_client(dir).greet();
        EXPECT_TRUE(served) << "one has left";
    });
}

/* Seconds of processor time that a process has used. */
double cpu_seconds(pid_t pid)
{
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    const std::string text{std::istreambuf_iterator<char>(stat), {}};
    unsigned long user = 0, system = 0;
    std::sscanf(text.c_str() + text.rfind(')') + 1, " %*c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %lu %lu", &user, &system);
    return static_cast<double>(user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

TEST(storm_without_descriptors, those_that_are_in_are_served_and_others_turned_away)
{
    const run_dir dir;
    child_process ribd({"/bin/sh", "-c", "ulimit -n 40; exec " + ribd_program() + " --dir " + dir.path()});
    ASSERT_TRUE(ribd.await_line("ready"));
    const test_client honest("honest");
    std::vector<raw_client> clients;
    do
        clients.emplace_back(dir);
    while (clients.size() != 100 && clients.back().greet());
    EXPECT_GT(clients.size(), 10u);
    EXPECT_LT(clients.size(), 40u);
    const double used = cpu_seconds(ribd.pid());
    std::this_thread::sleep_for(500ms);
    EXPECT_LT(cpu_seconds(ribd.pid()) - used, 0.1) << "turns in circles";
    EXPECT_EQ(honest.prefixes(), 0u);
    clients.clear();
    bool served = false;
    for (unsigned tries = 0; tries != 500 && !served; ++tries, std::this_thread::sleep_for(2ms))
        served = raw_client(dir).greet();
    EXPECT_TRUE(served) << "recovers";
}

} // namespace
