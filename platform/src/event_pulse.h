/*
 * How an event names its handler, and what a pulse looks like on its way: the parts of the client's event manager and of the
 * server's delivery that must agree.
 *
 * Every manager owns a datagram socket with an address that the kernel chose, in the abstract namespace. A struct sigevent
 * holds that address, the id of the handler, and a random token that only the manager and those who were given the event
 * know. A pulse repeats token and id and carries a value.
 */
#pragma once

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <sys/un.h>

/* Distinguishes our events from others in sigev_notify. */
constexpr int event_notify_pulse = 0x50554C53;

/* The kernel's names for sockets that ask for any: so many hexadecimal digits behind a zero byte. */
constexpr size_t event_name_len = 5;

struct event_token {
    uint8_t et_bytes[16];
    bool operator==(const event_token &) const = default;
};

/* Lies behind the first 16 bytes of the sigevent. */
struct event_target {
    event_token ev_token;         //  0
    uint32_t ev_attach;           // 16
    char ev_name[event_name_len]; // 20
    uint8_t ev_unused_25[23];     // 25 zero
};
static_assert(sizeof(event_target) == 48 && sizeof(struct sigevent) == 64);

constexpr uint32_t pulse_magic = 0x50554C31;

struct pulse_datagram {
    uint32_t pd_magic;
    uint32_t pd_attach;
    event_token pd_token;
    uint64_t pd_value;
};
static_assert(sizeof(pulse_datagram) == 32);

void event_write_target(struct sigevent *event, const event_target &target);
/* False when the event was not made by event_init_sigevent(). */
bool event_read_target(const struct sigevent *event, event_target *target);

/* The address of the socket that a target names; the length is what bind() and sendto() want. */
struct event_address {
    sockaddr_un ea_socket;
    socklen_t ea_len;
};
event_address event_address_of(const event_target &target);

/* Sends one pulse to the handler of an event. 0 or an errno value; EAGAIN: the manager has no room for it now. */
int pulse_send(const struct sigevent *event, uint64_t value);
