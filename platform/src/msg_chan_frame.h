/*
 * What travels on a message channel. Both ends run on one host, so all numbers are in host order.
 *
 * The client greets first; the server answers with its own greeting and, when it refuses, closes. After that the client
 * sends one request at a time and the server answers each with one reply that repeats the request's number.
 */
#pragma once

#include <cstddef>
#include <cstdint>

/* Changes with the layout of the frames or the meaning of an event's bytes. */
constexpr uint32_t chan_protocol = 1;
constexpr size_t chan_message_max = size_t{4} << 20;
/* Large messages move at twice the speed they have with the default buffers. */
constexpr int chan_send_buffer = 212992;

enum : uint32_t { frame_hello = 0x4D434801, frame_request = 0x4D434802, frame_reply = 0x4D434803 };

struct frame_header {
    uint32_t fh_kind;
    uint32_t fh_len; // bytes that follow
    uint32_t fh_number;
    uint32_t fh_unused; // zero; keeps the message aligned to 16
};
static_assert(sizeof(frame_header) == 16);

/* The first word and the meaning of the frame header stay as they are in every version, so that versions can be told apart. */
struct hello_body {
    uint32_t he_protocol; // chan_protocol
    uint32_t he_status;   // server: 0, or the errno value with which it refuses the client
    uint32_t he_version;  // server: version of the service
    uint32_t he_node_id;
    int32_t he_pid;
    uint32_t he_unused;
};
static_assert(sizeof(hello_body) == 24);

struct hello_frame {
    frame_header header;
    hello_body body;
};
/* Longest greeting that is read, for one of another version. */
constexpr size_t hello_body_max = 256;

inline bool frame_is(const frame_header &header, uint32_t kind, size_t max)
{
    return header.fh_kind == kind && header.fh_len <= max && header.fh_unused == 0;
}
