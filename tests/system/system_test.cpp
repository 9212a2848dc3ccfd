/*
 * Processes, run directories and clients of the system tests.
 */
#include "system_test.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

run_dir::run_dir()
{
    if (!mkdtemp(path_.data()))
        throw std::runtime_error("no run directory");
    setenv("MSG_CHAN_DIR", path_.c_str(), 1);
}

run_dir::~run_dir()
{
    std::filesystem::remove_all(path_);
}

child_process::child_process(const std::vector<std::string> &command)
{
    int ends[2];
    if (pipe(ends) != 0)
        throw std::runtime_error("no pipe");
    pid_ = fork();
    if (pid_ == 0) {
        dup2(ends[1], STDOUT_FILENO);
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        std::vector<char *> words;
        for (const std::string &word : command)
            words.push_back(const_cast<char *>(word.c_str()));
        words.push_back(nullptr);
        execv(words[0], words.data());
        _exit(127);
    }
    close(ends[1]);
    output_ = ends[0];
}

child_process::~child_process()
{
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        wait();
    }
    close(output_);
}

bool child_process::read_more()
{
    char piece[65536];
    const ssize_t got = read(output_, piece, sizeof piece);
    if (got > 0)
        unread_.append(piece, static_cast<size_t>(got));
    return got > 0;
}

bool child_process::await_line(const std::string &text, std::vector<std::string> *lines)
{
    size_t begin = 0;
    for (bool found = false; !found;) {
        const size_t end = unread_.find('\n', begin);
        if (end == std::string::npos) {
            unread_.erase(0, std::exchange(begin, 0));
            if (!read_more())
                return false;
            continue;
        }
        const std::string line = unread_.substr(begin, end - begin);
        begin = end + 1;
        found = line.find(text) != std::string::npos;
        if (lines)
            lines->push_back(line);
    }
    unread_.erase(0, begin);
    return true;
}

std::string child_process::rest()
{
    while (read_more()) {
    }
    return std::move(unread_);
}

size_t child_process::resident() const
{
    std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
    for (std::string word; status >> word;)
        if (size_t kib; word == "VmRSS:" && status >> kib)
            return kib;
    return 0;
}

void child_process::signal(int number) const
{
    kill(pid_, number);
}

int child_process::wait()
{
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

finished run(const std::vector<std::string> &command)
{
    child_process process(command);
    std::string output = process.rest();
    return {process.wait(), std::move(output)};
}

std::string ribd_program()
{
    return RIB_BIN_DIR "/ribd";
}

std::string ribctl_program()
{
    return RIB_BIN_DIR "/ribctl";
}

child_process start_ribd(const run_dir &dir, const std::vector<std::string> &options)
{
    std::vector<std::string> command = {ribd_program(), "--dir", dir.path()};
    command.insert(command.end(), options.begin(), options.end());
    return child_process(command);
}

in6_addr_t addr(const char *text)
{
    in6_addr_t address = {};
    EXPECT_EQ(inet_pton(AF_INET6, text, &address), 1) << text;
    return address;
}

in6_addr_t numbered_prefix(uint32_t number)
{
    in6_addr_t address = addr("2001::");
    const uint32_t net = htonl(number);
    std::memcpy(&address.s6_addr[2], &net, sizeof net);
    return address;
}

std::string text_of(const void *address)
{
    char text[INET6_ADDRSTRLEN];
    return inet_ntop(AF_INET6, address, text, sizeof text);
}

void for_each_listed(ipv6_rib_conn_p conn, uint32_t options, const std::function<void(const ipv6_routetype &)> &told)
{
    in6_addr_t start = {};
    uint32_t flag = RIB_FETCH_FROM_START, start_len = 0;
    do {
        uint32_t count = 0;
        void *routes = nullptr;
        const errcode code =
            ipv6_rib_get_routes(conn, IPV6_RIB_TABLE_DEFAULT, "", "", start, start_len, {}, 0, &flag, &count, options, &routes);
        EXPECT_EQ(code, 0u);
        if (code != 0)
            return;
        rib_get_route_iter iter;
        ipv6_routetype *route;
        for (errcode end = ipv6_rib_get_route_get_first_route(routes, &iter, &route); end == 0;
             end = ipv6_rib_get_route_get_next_route(&iter, &route)) {
            ipv6_rib_route_xform(route);
            std::copy_n(route->rt_prefix, sizeof start, start.s6_addr);
            start_len = route->rt_prefix_len;
            told(*route);
        }
        ipv6_rib_route_free(routes);
    } while (flag);
}

test_client::test_client(const char *protocol, int32_t (*bind)(ipv6_rib_conn_p *), uint32_t kind)
{
    EXPECT_GT(bind(&conn), 0) << std::strerror(errno);
    errcode err = 1;
    protoid = ipv6_rib_register_protocol(conn, protocol, "test", kind, 0, 0, 0, &err);
    EXPECT_EQ(err, 0u);
    ipv6_rib_batch_buffer_init(buffer, IPV6_RIB_TABLE_DEFAULT, protoid);
}

test_client::~test_client()
{
    ipv6_rib_unbind(&conn);
    ipv6_rib_batch_buffer_free(buffer);
    ipv6_rib_batch_args_out_free(reply);
}

void test_client::add(const in6_addr_t &prefix, uint8_t len, const in6_addr_t &nexthop) const
{
    EXPECT_EQ(ipv6_rib_batch_buffer_add_route(buffer, &prefix, len, 0, 1), RIB_BATCH_BUFFER_OK);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_path(buffer, 0, 0, &nexthop, &nexthop, 0, 0, 0), RIB_BATCH_BUFFER_OK);
}

void test_client::withdraw(const in6_addr_t &prefix, uint8_t len) const
{
    const in6_addr_t all = {};
    EXPECT_EQ(ipv6_rib_batch_buffer_add_route(buffer, &prefix, len, 0, 0), RIB_BATCH_BUFFER_OK);
    EXPECT_EQ(ipv6_rib_batch_buffer_delete_path(buffer, &all, 0, 0), RIB_BATCH_BUFFER_OK);
}

int test_client::send() const
{
    const int status = ipv6_rib_batch_buffer_send(conn, buffer, reply);
    if (status <= 0)
        return status;
    for (void *at = ipv6_rib_batch_args_out_first_route(reply); at; at = ipv6_rib_batch_args_out_next_route(reply, at)) {
        const int result = static_cast<rib_batch_route_out *>(at)->ro_result;
        if (*static_cast<uint8_t *>(at) == RIB_BATCH_OUT_ROUTE && (result < 0 || result > RIB_RESULT_EXISTS))
            return result;
    }
    return status;
}

static void list_paths(void *route, std::vector<std::string> *list)
{
    for (void *at = ipv6_rib_batch_route_out_first_path(route); at; at = ipv6_rib_batch_route_out_next_path(route, at)) {
        if (*static_cast<uint8_t *>(at) == 1) {
            auto *path = static_cast<rib_batch_path_out *>(at);
            list->push_back("+ " + text_of(&path->po_nexthop) + " " + std::to_string(path->po_result));
        } else {
            auto *path = static_cast<rib_batch_path_del_out *>(at);
            list->push_back("- " + text_of(&path->pd_nexthop) + " " + std::to_string(path->pd_result));
        }
    }
}

std::vector<std::string> test_client::send_and_list() const
{
    std::vector<std::string> list;
    const int status = ipv6_rib_batch_buffer_send(conn, buffer, reply);
    if (status <= 0)
        return {"status " + std::to_string(status)};
    for (void *at = ipv6_rib_batch_args_out_first_route(reply); at; at = ipv6_rib_batch_args_out_next_route(reply, at)) {
        if (*static_cast<uint8_t *>(at) == RIB_BATCH_OUT_TABLE) {
            auto *table = static_cast<rib_batch_table_out *>(at);
            char text[32];
            snprintf(text, sizeof text, "T %x %d", unsigned{table->to_table}, int{table->to_result});
            list.emplace_back(text);
        } else {
            auto *route = static_cast<rib_batch_route_out *>(at);
            list.push_back("R " + text_of(&route->ro_prefix) + "/" + std::to_string(route->ro_prefix_len) + " " +
                           std::to_string(route->ro_result));
            list_paths(route, &list);
        }
    }
    return list;
}

std::string test_client::lookup(const char *address, uint32_t len, uint32_t flags) const
{
    const auto route = std::make_unique<ipv6_routetype>();
    const in6_addr_t key = addr(address);
    errcode err = 1;
    if (!ipv6_rib_route_lookup(conn, IPV6_RIB_TABLE_DEFAULT, &key, len, flags, 0, route.get(), &err))
        return err ? "error " + std::to_string(err) : "none";
    std::string text = text_of(&route->rt_prefix) + "/" + std::to_string(route->rt_prefix_len);
    for (unsigned i = 0; i < route->rt_path_count; i++)
        text += " " + text_of(&route->rt_path[i].path_nexthop);
    return text;
}

uint32_t test_client::prefixes(rib_tableid_td table) const
{
    uint32_t status[2] = {};
    EXPECT_EQ(ipv6_rib_get_table_status(conn, table, status), 0u);
    return status[1];
}
