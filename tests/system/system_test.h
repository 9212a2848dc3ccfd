/*
 * What the system tests share: a run directory of their own, programs as child processes, and clients with a batch.
 */
#pragma once

#include <arpa/inet.h>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <ipv6_rib/ipv6_rib.h>

/* A run directory that the whole process uses for its message channels. */
class run_dir
{
public:
    run_dir();
    ~run_dir();
    const std::string &path() const { return path_; }

private:
    std::string path_ = "/tmp/rib_system_XXXXXX";
};

/* A program with its standard output, and what it writes to standard error behind that. */
class child_process
{
public:
    explicit child_process(const std::vector<std::string> &command);
    ~child_process();
    /* Reads up to and with a line that contains the text, and keeps the lines; false when the output ends first. */
    bool await_line(const std::string &text, std::vector<std::string> *lines = nullptr);
    /* All the output up to the end. */
    std::string rest();
    void signal(int number) const;
    int pid() const { return pid_; }
    /* Resident memory in KiB. */
    size_t resident() const;
    /* Exit status, or minus the signal that ended it. */
    int wait();

private:
    bool read_more();

    int pid_;
    int output_;
    std::string unread_;
};

/* Runs a program to its end. */
struct finished {
    int status;
    std::string output;
};
finished run(const std::vector<std::string> &command);

std::string ribd_program();
std::string ribctl_program();
/* ribd in a run directory, ready. */
child_process start_ribd(const run_dir &dir, const std::vector<std::string> &options = {});

in6_addr_t addr(const char *text);
std::string text_of(const void *address);
/* The number-th of many /48 prefixes. */
in6_addr_t numbered_prefix(uint32_t number);

/* Every route of the default table that a listing with these options gives, converted, in order. */
void for_each_listed(ipv6_rib_conn_p conn, uint32_t options, const std::function<void(const ipv6_routetype &)> &told);

/* A connection with a registered protocol, a batch buffer and its reply area. */
class test_client
{
public:
    ipv6_rib_conn_p conn = nullptr;
    rib_protoid_td protoid = RIB_PROTOID_NONE;
    rib_batch_buffer *buffer = ipv6_rib_batch_buffer_allocate(0);
    void *reply = ipv6_rib_batch_args_out_allocate();

    explicit test_client(const char *protocol = "static", int32_t (*bind)(ipv6_rib_conn_p *) = ipv6_rib_bind,
                         uint32_t kind = RIB_PROTO_KIND_ROUTING);
    ~test_client();
    test_client(const test_client &) = delete;
    test_client &operator=(const test_client &) = delete;

    void add(const in6_addr_t &prefix, uint8_t len, const in6_addr_t &nexthop) const;
    void withdraw(const in6_addr_t &prefix, uint8_t len) const;
    /* Sends; the status, or the first result that is a refusal. */
    int send() const;
    /* Sends and gives every result in order: "T table result", "R prefix/len result", "+ nexthop result", "- nexthop result". */
    std::vector<std::string> send_and_list() const;
    /* The best route for an address as "prefix/len nexthop...", or "none". */
    std::string lookup(const char *address, uint32_t len = 128, uint32_t flags = RIB_LOOKUP_LONGEST) const;
    /* Number of prefixes in a table. */
    uint32_t prefixes(rib_tableid_td table = IPV6_RIB_TABLE_DEFAULT) const;
};
