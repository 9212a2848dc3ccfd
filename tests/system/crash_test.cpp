/*
 * A client that downloads a table and the server are killed at random moments, as processes of their own: whatever was in
 * flight, after each recovery the server and a consumer that lived through it hold exactly what the client has.
 *
 * RIB_CRASH_KILLS says how often, RIB_CRASH_TABLE names a file of routes to use, RIB_CRASH_SEED repeats a run.
 */
#include "replay.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <memory>
#include <random>
#include <thread>

namespace
{
using process_ptr = std::unique_ptr<child_process>;
using clock_type = std::chrono::steady_clock;

std::string setting(const char *name, const std::string &otherwise)
{
    const char *set = std::getenv(name);
    return set ? set : otherwise;
}

/* The consumer, catching up all the time. */
class following
{
public:
    explicit following(replica *follower)
        : thread_([this, follower] {
              while (!stopping_) {
                  follower->catch_up();
                  std::this_thread::sleep_for(std::chrono::milliseconds(2));
              }
          })
    {
    }
    ~following()
    {
        stopping_ = true;
        thread_.join();
    }

private:
    std::atomic<bool> stopping_ = false;
    std::thread thread_;
};

class crash : public ::testing::Test
{
protected:
    run_dir dir;
    process_ptr ribd;
    process_ptr source;
    std::string table = setting("RIB_CRASH_TABLE", dir.path() + "/table.txt");

    void start_server()
    {
        ribd.reset(new child_process(start_ribd(dir, {"--hold-time", "3600"})));
        ASSERT_TRUE(ribd->await_line("ready"));
    }
    void start_producer(uint32_t seed)
    {
        source.reset(new child_process({"/proc/self/exe", "--producer", table, std::to_string(seed)}));
        ASSERT_TRUE(source->await_line("begin")) << "seed " << seed;
    }
    /* How often the producer that has begun had to recover. */
    int await_producer()
    {
        std::vector<std::string> lines;
        if (!source->await_line("done", &lines))
            return -1;
        EXPECT_EQ(source->wait(), 0);
        return std::stoi(lines.back().substr(5));
    }
    static void kill_process(child_process *process)
    {
        process->signal(SIGKILL);
        EXPECT_EQ(process->wait(), -SIGKILL);
    }
    void round(std::mt19937 *engine, uint32_t *seed, double span);
};

/* Kills the producer, which another one follows; or the server once or twice, which the producer has to notice. */
void crash::round(std::mt19937 *engine, uint32_t *seed, double span)
{
    std::uniform_real_distribution<double> moment(0, span);
    const auto pause = [&] { std::this_thread::sleep_for(std::chrono::duration<double>(moment(*engine))); };
    int server_kills = 0;
    start_producer(*seed);
    pause();
    if ((*engine)() % 2 == 0) {
        source->signal(SIGKILL);
        source->wait(); // it may have ended by itself
        start_producer(++*seed);
    } else {
        server_kills = 1 + ((*engine)() % 4 == 0);
        for (int kills = 0; kills != server_kills; kills++) {
            if (kills != 0)
                pause();
            kill_process(ribd.get());
            start_server();
        }
    }
    const int recoveries = await_producer();
    EXPECT_LE(recoveries, server_kills);
    ASSERT_GE(recoveries, 0);
    if (recoveries < server_kills) { // it ended before a kill, or took two for one
        start_producer(++*seed);
        ASSERT_EQ(await_producer(), 0);
    }
}

TEST_F(crash, nothing_is_lost_or_left_over)
{
    const uint32_t first_seed =
        static_cast<uint32_t>(std::stoul(setting("RIB_CRASH_SEED", std::to_string(std::random_device()()))));
    const size_t kills = std::stoul(setting("RIB_CRASH_KILLS", "50"));
    const std::vector<table_route> routes = std::getenv("RIB_CRASH_TABLE") ? read_table(table) : generated_table(dir, 20'000);
    std::printf("RIB_CRASH_SEED=%u, %zu kills, %zu routes\n", first_seed, kills, routes.size());
    ASSERT_FALSE(routes.empty());
    start_server();
    replica follower;
    start_producer(first_seed);
    const auto begin = clock_type::now();
    ASSERT_EQ(await_producer(), 0);
    const std::chrono::duration<double> span = clock_type::now() - begin;
    std::mt19937 engine(first_seed);
    uint32_t seed = first_seed;
    for (size_t kill = 0; kill != kills && !HasFailure(); kill++) {
        SCOPED_TRACE("kill " + std::to_string(kill) + " of RIB_CRASH_SEED=" + std::to_string(first_seed));
        {
            const following meanwhile(&follower);
            ASSERT_NO_FATAL_FAILURE(round(&engine, &++seed, span.count()));
        }
        ASSERT_TRUE(follower.catch_up());
        const table_td should = played(seed, routes);
        EXPECT_EQ(difference(listed(follower.conn), should), "") << "the server's";
        EXPECT_EQ(difference(follower.table, should), "") << "the consumer's";
    }
}

int produce(const char *table, uint32_t seed)
{
    const std::vector<table_route> routes = read_table(table);
    producer source(routes);
    const auto recover = [&] {
        if (!source.up())
            source.recover();
    };
    std::puts("begin");
    std::fflush(stdout);
    play(seed, routes.size(), [&](size_t route, uint8_t hop) {
        source.change(route, hop);
        recover();
    });
    source.finish();
    recover();
    std::printf("done %u\n", source.rebinds);
    return 0;
}
} // namespace

int main(int argc, char **argv)
{
    if (argc == 4 && std::string(argv[1]) == "--producer")
        return produce(argv[2], static_cast<uint32_t>(std::stoul(argv[3])));
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
