/*
 * For tests of the message channel: a run directory for each test, a real server in a thread, and the two ends made by hand.
 */
#pragma once

#include <platform/msg_chan.h>
#include <platform/msg_chan_server.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/src/msg_chan_frame.h"

using bytes = std::vector<uint8_t>;

constexpr const char *test_service = "/dev/test/service";

/* Where the services of this test are; gone with it. */
class run_dir
{
public:
    run_dir();
    ~run_dir();
    std::string file(const std::string &name) const { return path + "/" + name; }
    std::string path;
};

/* A server in a thread. Its callbacks run there; run() runs something else there and waits for it. */
class threaded_server
{
public:
    std::function<int(msg_peer_t *, unsigned)> connected = [](msg_peer_t *, unsigned) { return 0; };
    /* By default a message comes back as it was sent. */
    std::function<void(msg_peer_t *, uint8_t *, size_t)> received = echo;
    std::function<void(msg_peer_t *)> disconnected = [](msg_peer_t *) {};

    ~threaded_server() { stop(); }
    void start(const msg_server_options_t &options = {});
    void stop();
    void run(const std::function<void(msg_server_t *)> &work);
    static void echo(msg_peer_t *peer, uint8_t *msg, size_t len);

private:
    msg_server_t *server_ = nullptr;
    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable done_;
    const std::function<void(msg_server_t *)> *work_ = nullptr;
    bool stopping_ = false;
};

/* A server made by hand: accepts clients one after the other and plays its script with each. */
class raw_server
{
public:
    raw_server(const run_dir &dir, std::function<void(int)> script);
    ~raw_server();

private:
    int listener_;
    std::function<void(int)> script_;
    std::thread thread_;
};

/* The ends made by hand. Sending stops quietly when the other end is gone. */
int raw_connect(const run_dir &dir);
void raw_send(int fd, const void *area, size_t len);
bool raw_receive(int fd, void *area, size_t len);
bool raw_closed(int fd); // waits for the end of the stream
hello_frame raw_hello(void);
/* Takes the client's greeting and answers it. */
void raw_greet(int fd);
/* Takes a request; its header. */
frame_header raw_request(int fd);
/* A greeted client. */
int raw_client(const run_dir &dir);

/* Opens a channel to the test service; 0 when it fails. */
uint32_t open_channel(void);
/* The errno value of a failed call, 0 of a good one. */
inline int error_of(int result)
{
    return result == 0 ? 0 : errno;
}
bytes pattern(size_t len, unsigned seed = 1);
