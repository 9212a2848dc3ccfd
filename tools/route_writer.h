/*
 * Routes with details on their way into a batch, and batches of one route.
 */
#pragma once

#include "address.h"
#include "route_details.h"

#include <ipv6_rib/batch_route.h>
#include <ipv6_rib/batch_send.h>

#include <memory>
#include <string>

using batch_buffer = std::unique_ptr<rib_batch_buffer, void (*)(rib_batch_buffer *)>;

/* Room that the route takes; ask for it before writing. */
rib_batch_sizes sizes_of(const route_details &details);
/* Writes route and paths: empty, or what the library refused, and then the batch holds half a route. */
std::string write_route(rib_batch_buffer *buffer, const ip_prefix &prefix, const route_details &details, bool replace,
                        uint8_t default_distance);

/* A batch for one route, which is answered on the spot. */
class single_batch
{
public:
    /* Fails the command without memory. */
    single_batch(ipv6_rib_conn_p conn, rib_tableid_td table, rib_protoid_td proto);

    rib_batch_buffer *buffer() { return buffer_.get(); }
    /* Sends; the result of the route, which lives as long as this. Fails the command when there is none. */
    const rib_batch_route_out &send();
    /* Of its paths the result of the last one that was refused, or RIB_RESULT_OK. */
    int refused_path();

private:
    ipv6_rib_conn_p conn_;
    batch_buffer buffer_;
    std::unique_ptr<void, void (*)(void *)> reply_;
    void *route_ = nullptr;
};
