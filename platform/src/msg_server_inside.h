/*
 * The server side of the message channel: what its files share.
 *
 * A peer reads its greeting, then one request at a time: it is not read from while its reply is outstanding. A peer is freed
 * only while its own epoll event is served; whoever wants it gone earlier shuts its socket down, which brings that event.
 */
#pragma once

#include <platform/msg_chan_server.h>

#include <boost/intrusive/list.hpp>
#include <csignal>
#include <cstdlib>
#include <new>

#include "msg_chan_address.h"
#include "msg_server_pool.h"

enum class source_kind : uint8_t { listener, peer, wake, timer, greeting_timer };

/* What an epoll event belongs to. */
struct event_source {
    source_kind es_kind;
    int es_fd;
};

using list_link = boost::intrusive::list_member_hook<boost::intrusive::link_mode<boost::intrusive::normal_link>>;

struct msg_listener : event_source {
    list_link ml_link;
    unsigned ml_service; // number in the order of attaching
    char ml_path[sizeof(sockaddr_un::sun_path)];
    bool ml_adopted; // the file is the service manager's and stays
    dev_t ml_device; // of the socket file, so that only our own is removed
    ino_t ml_inode;
};

enum class peer_state : uint8_t {
    greeting,
    reading, // a request is awaited, or is there in part
    serving, // the owner has a request and owes the reply
    replying // part of the reply is still to be sent
};

struct msg_peer : event_source {
    list_link mp_link;
    list_link mp_pulse_link;
    list_link mp_greeting_link;
    msg_server *mp_server;
    void *mp_datum;
    msg_peer_info_t mp_info;
    unsigned mp_service;
    peer_state mp_state;
    bool mp_connected;       // the owner knows of it
    bool mp_awaited;         // its greeting, in the server's list
    bool mp_closing;         // its socket is shut down, its end is near
    bool mp_pulse_pending;   // in the server's list, with:
    sigevent mp_pulse_event; // the event
    uint64_t mp_pulse_value; // and its value
    int64_t mp_deadline;     // for its greeting, in ms
    uint32_t mp_epoll;       // events asked for
    size_t mp_got;           // bytes of the frame that have arrived
    uint8_t *mp_in;          // holds them once they are more than a header, NULL before
    uint8_t mp_head[sizeof(frame_header)];
    uint32_t mp_number; // of the request that is served
    uint8_t *mp_out;    // header and reply
    size_t mp_out_room; // bytes of reply that were asked for
    size_t mp_out_len;  // bytes to send, header included
    size_t mp_out_sent;
};

struct msg_server {
    using listener_list =
        boost::intrusive::list<msg_listener, boost::intrusive::member_hook<msg_listener, list_link, &msg_listener::ml_link>>;
    using peer_list = boost::intrusive::list<msg_peer, boost::intrusive::member_hook<msg_peer, list_link, &msg_peer::mp_link>>;
    using pulse_list =
        boost::intrusive::list<msg_peer, boost::intrusive::member_hook<msg_peer, list_link, &msg_peer::mp_pulse_link>>;
    using greeting_list =
        boost::intrusive::list<msg_peer, boost::intrusive::member_hook<msg_peer, list_link, &msg_peer::mp_greeting_link>>;

    msg_server_options_t ms_options; // with the defaults filled in; mso_dir is ms_dir
    char ms_dir[chan_dir_room];
    msg_server_ops_t ms_ops;
    void *ms_owner;
    int ms_epoll;
    int ms_spare; // given up for a moment to turn a client away when descriptors run out
    event_source ms_wake;
    event_source ms_timer;
    unsigned ms_timer_ms; // the running interval, 0 when the timer is off
    bool ms_paused;       // the listeners wait for the timer
    unsigned ms_services;
    event_source ms_greeting_timer; // runs while a greeting is awaited
    listener_list ms_listeners;
    peer_list ms_peers;
    pulse_list ms_pulses;
    greeting_list ms_greeting;
    buffer_pool ms_pool;
    uint8_t *ms_in; // where the next read goes; becomes a peer's own when a message is there in part
};

template <class record> record *server_new(void)
{
    void *block = calloc(1, sizeof(record));
    return block ? new (block) record() : nullptr;
}

template <class record> void server_delete(record *rec)
{
    rec->~record();
    free(rec);
}

/* Adds a source to the epoll set. 0 or an errno value. */
int server_watch(msg_server *server, event_source *source, uint32_t events);
/* Makes the timer fire once, after ms milliseconds, unless it is running. */
void server_start_timer(msg_server *server, unsigned ms);
/* Sets the timer to the end of the first greeting's time. */
void server_await_greetings(msg_server *server);
/*
 * The listening socket that the service manager passed for a socket file, now the caller's; -1 when there is none.
 */
int server_adopt(const sockaddr_un &address);

void listener_serve(msg_server *server, msg_listener *listener);
/* Stops or resumes accepting. */
void listeners_pause(msg_server *server, bool pause);
void listener_delete(msg_server *server, msg_listener *listener);
void server_open_spare(msg_server *server);

void peer_serve(msg_peer *peer, uint32_t events);
/* Ends a peer: tells the owner, closes, frees. */
void peer_delete(msg_peer *peer);

/* Tries the pending pulses again. True when at least one was disposed of. */
bool pulses_retry(msg_server *server);
void peer_drop_pulse(msg_peer *peer);
