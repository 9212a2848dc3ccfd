/*
 * The connection of one command to the RIB server.
 */
#pragma once

#include <ipv6_rib/connection.h>
#include <ipv6_rib/protocol.h>

#include <string>
#include <vector>

class rib_connection
{
public:
    /* Binds; fails the command when the server cannot be reached. */
    rib_connection();
    ~rib_connection() { ipv6_rib_unbind(&conn_); }
    rib_connection(const rib_connection &) = delete;
    rib_connection &operator=(const rib_connection &) = delete;
    operator ipv6_rib_conn_p() const { return conn_; }

private:
    ipv6_rib_conn_p conn_ = nullptr;
};

struct protocol_identity {
    std::string name, instance;
    uint32_t kind = RIB_PROTO_KIND_STATIC;
    uint32_t distance = 0; /* 0 for the kind's */
    uint32_t hold_seconds = RIB_PROTO_HOLD_FOREVER;
};

/* Fails the command when the server refuses. */
rib_protoid_td register_protocol(ipv6_rib_conn_p conn, const protocol_identity &identity);

struct protocol_names {
    rib_protoid_td id;
    std::string name, instance; /* both empty when the identifier is not registered */
};

std::vector<protocol_names> names_of(ipv6_rib_conn_p conn, const std::vector<rib_protoid_td> &ids);
/* "static/ribctl", or the number of an identifier without a name. */
std::string name_of(ipv6_rib_conn_p conn, rib_protoid_td id);
