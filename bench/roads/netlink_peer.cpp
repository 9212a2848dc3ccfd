/*
 * Many RTM_NEWROUTE in a send, of which only the last one is acknowledged; the kernel reports each that fails.
 */
#include "netlink_peer.h"

#include <cerrno>
#include <cstring>
#include <linux/if.h>
#include <linux/rtnetlink.h>
#include <memory>
#include <sched.h>
#include <string>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <vector>

#include <libmnl/libmnl.h>

#include "bench/bench_client.h"
#include "child_process.h"
#include "machine.h"
#include "stopwatch.h"

namespace
{
constexpr size_t batch_bytes = 128 * 1024;
constexpr size_t message_room = 128; /* more than any message takes */
constexpr size_t reply_bytes = 32 * 1024;
constexpr int loopback = 1; /* the only interface of a new namespace */

/* What the child tells. */
struct outcome {
    double ns_each;
    char refused[128]; /* why not; empty when it went well */
};

[[noreturn]] void fail(const char *what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

class kernel_table
{
public:
    kernel_table() : socket_(mnl_socket_open(NETLINK_ROUTE), mnl_socket_close)
    {
        if (!socket_ || mnl_socket_bind(socket_.get(), 0, MNL_SOCKET_AUTOPID) != 0)
            fail("netlink");
    }

    /* Its routes go when it goes down. */
    void set_loopback(bool up)
    {
        nlmsghdr *head = begin(RTM_NEWLINK, 0);
        auto *link = static_cast<ifinfomsg *>(mnl_nlmsg_put_extra_header(head, sizeof(ifinfomsg)));
        link->ifi_index = loopback;
        link->ifi_flags = up ? IFF_UP : 0;
        link->ifi_change = IFF_UP;
        end();
        flush();
    }

    void add(uint32_t route)
    {
        nlmsghdr *head = begin(RTM_NEWROUTE, NLM_F_CREATE);
        auto *message = static_cast<rtmsg *>(mnl_nlmsg_put_extra_header(head, sizeof(rtmsg)));
        message->rtm_family = AF_INET6;
        message->rtm_dst_len = bench_prefix_len;
        message->rtm_table = RT_TABLE_MAIN;
        message->rtm_protocol = RTPROT_STATIC;
        message->rtm_scope = RT_SCOPE_UNIVERSE;
        message->rtm_type = RTN_UNICAST;
        const in6_addr_t prefix = bench_prefix(route);
        mnl_attr_put(head, RTA_DST, sizeof prefix, &prefix);
        mnl_attr_put_u32(head, RTA_OIF, loopback);
        end();
    }

    void flush()
    {
        if (!last_)
            return;
        last_->nlmsg_flags |= NLM_F_ACK;
        if (mnl_socket_sendto(socket_.get(), area_.data(), used_) < 0)
            fail("netlink send");
        await_answer(last_->nlmsg_seq);
        last_ = nullptr;
        used_ = 0;
    }

private:
    nlmsghdr *begin(uint16_t type, uint16_t flags)
    {
        if (used_ + message_room > area_.size())
            flush();
        last_ = mnl_nlmsg_put_header(area_.data() + used_);
        last_->nlmsg_type = type;
        last_->nlmsg_flags = static_cast<uint16_t>(NLM_F_REQUEST | flags);
        last_->nlmsg_seq = ++number_;
        return last_;
    }
    /* The message has all of its attributes. */
    void end() { used_ += MNL_ALIGN(last_->nlmsg_len); }

    void await_answer(uint32_t number)
    {
        const unsigned port = mnl_socket_get_portid(socket_.get());
        for (bool answered = false; !answered;) {
            char reply[reply_bytes];
            const ssize_t got = mnl_socket_recvfrom(socket_.get(), reply, sizeof reply);
            if (got < 0)
                fail("netlink receive");
            int left = static_cast<int>(got);
            for (auto *head = reinterpret_cast<nlmsghdr *>(reply); mnl_nlmsg_ok(head, left); head = mnl_nlmsg_next(head, &left)) {
                if (head->nlmsg_pid != port || head->nlmsg_type != NLMSG_ERROR)
                    continue;
                check(static_cast<const nlmsgerr *>(mnl_nlmsg_get_payload(head))->error);
                answered |= head->nlmsg_seq == number;
            }
        }
    }

    static void check(int error)
    {
        errno = -error;
        if (error != 0)
            fail("the kernel refused a route");
    }

    std::vector<char> area_ = std::vector<char>(batch_bytes);
    std::unique_ptr<mnl_socket, int (*)(mnl_socket *)> socket_;
    nlmsghdr *last_ = nullptr; /* in the area */
    size_t used_ = 0;
    uint32_t number_ = 0;
};

/* A namespace of this process's own; who is not root needs one of users besides. */
void enter_namespace()
{
    if (unshare(CLONE_NEWNET) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0)
        fail("no network namespace");
}

outcome load(std::span<const uint32_t> routes)
{
    outcome result = {};
    try {
        enter_namespace();
        kernel_table table;
        table.set_loopback(true);
        result.ns_each = time_each(routes.size(), [&] {
                             for (const uint32_t route : routes)
                                 table.add(route);
                             table.flush();
                         }).figure;
        table.set_loopback(false); // or the kernel would empty the table beside the next measurement
    } catch (const std::exception &error) {
        strncpy(result.refused, error.what(), sizeof result.refused - 1);
    }
    return result;
}
} // namespace

sample load_kernel(std::span<const uint32_t> routes)
{
    const child_process loader(server_cpu(cores::one), [&](int link) {
        tell_ready(link);
        const outcome result = load(routes);
        if (write(link, &result, sizeof result) != sizeof result)
            fail("write");
    });
    outcome result = {};
    if (recv(loader.link(), &result, sizeof result, MSG_WAITALL) != sizeof result)
        throw netlink_unavailable("the process that should load the kernel ended");
    if (result.refused[0] != '\0')
        throw netlink_unavailable(result.refused);
    return {result.ns_each};
}
